// One folder of .reg files: its contents as of now, and changes to it.
//
// Any thread may use a store; its lock is held while files are read or written, never while anybody waits for a change.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "quillmark/platform/Types.h"
#include "registry/KeyTree.h"

namespace quillmark::platform {

// What a folder held when it was read; never changes.
struct RegSnapshot {
    KeyTree others{KeyTree::Kind::Contents};  // all files but our own
    KeyTree changes{KeyTree::Kind::Changes};  // our own file
    KeyTree contents{KeyTree::Kind::Contents};
    FILETIME newest{};
};

class RegStore {
public:
    // The store that holds the root now, by the environment. root is a folded root name.
    [[nodiscard]] static std::shared_ptr<RegStore> ForRoot(const std::u16string& root);

    RegStore(std::string folder, std::vector<std::u16string> roots);

    [[nodiscard]] const std::string& Folder() const { return m_folder; }
    [[nodiscard]] const std::vector<std::u16string>& Roots() const { return m_roots; }

    // The contents, read again when the files have changed. What cannot be read counts as empty; while the process is
    // short of descriptors or memory, what was read last counts.
    [[nodiscard]] std::shared_ptr<const RegSnapshot> Current();

    // Runs the edit on a copy of our own changes, with the files locked and freshly read, and writes the result when
    // the edit returns ERROR_SUCCESS. Any other code is returned and nothing is written; so is the reason why our own
    // file cannot be read, which must not be replaced by what is known of it.
    using Edit = std::function<DWORD(const RegSnapshot& now, KeyTree& changes)>;
    [[nodiscard]] DWORD Change(const Edit& edit);

    // Whether this process may write here.
    [[nodiscard]] bool IsWritable() const;

    // A key that was deleted through this store stays deleted for the handles that were open then. A handle
    // remembers the number of deletions at its opening.
    [[nodiscard]] std::uint64_t Deletions();
    void RecordDeletion(const KeyPath& path);
    [[nodiscard]] bool DeletedSince(const KeyPath& path, std::uint64_t deletions);

private:
    struct FileStamp;

    // What tells one state of the folder from another.
    struct Fingerprint {
        std::vector<FileStamp> files;
        // Whether every file is old enough that another write to it would show in its times.
        bool settled = false;
    };

    // 0, or the errno value that says why the folder cannot be listed. A missing folder is an empty one.
    [[nodiscard]] int Look(Fingerprint& fingerprint) const;
    // Brings the snapshot up to date. 0, or the errno value that says why it does not show all of our own file.
    [[nodiscard]] int Refresh();
    [[nodiscard]] DWORD Write(const KeyTree& changes) const;

    const std::string m_folder;
    const std::vector<std::u16string> m_roots;
    std::mutex m_lock;
    std::shared_ptr<const RegSnapshot> m_snapshot;  // never null
    std::shared_ptr<const Fingerprint> m_fingerprint;
    int m_ownError = 0;  // why our own file could not be read for the snapshot
    std::uint64_t m_deletionCount = 0;
    std::map<KeyPath, std::uint64_t> m_deletions;
};

}  // namespace quillmark::platform
