// The plan of a transfer: what is to be done so that a target tree has what a source tree has.
//
// Nothing here touches the network, the disk, the terminal or the clock: trees are read through TreeReader, steps go to
// whoever asked for them as they are found. So one walk serves both: a transfer that begins while the walk goes on and
// keeps nothing but the folders on the way, and a plan that is shown first and kept whole.
//
// Order. A folder comes before what is in it; its files come first, then its folders with what is in them, both by
// name. Deletions come at the end, what is in a folder before the folder.
//
// What is deleted (only with deleteExtra): what the target has and the source has not. Never: what a pattern excludes,
// what a kept item is in, links and special files, beginnings of unfinished downloads, anything of a folder where one
// side has a file, and nothing at all when a part of the source could not be read: what cannot be seen is not gone.
// Nothing of a target folder is touched whose listing has a name that is none, such as "" or "..".
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "quillmark/AttributeTime.h"
#include "transfer/Patterns.h"
#include "transfer/TransferObserver.h"

namespace quillmark::cli {

// One item of a tree, as a listing tells it.
struct TreeEntry {
    enum class Kind {
        File,
        Folder,
        FolderLink,  // a link to a folder
        Special,     // a pipe, socket or device
        Broken,      // it is there, but cannot be looked at: error
    };

    WideString name;
    Kind kind = Kind::File;
    bool link = false;  // a file behind a link, or a link that leads nowhere
    std::int64_t size = 0;
    CAttributeTime created;
    CAttributeTime modified;
    std::string revision;  // of a server item
    DWORD error = 0;
};

class TreeReader {
public:
    virtual ~TreeReader() = default;
    // What a folder of the tree holds, in any order; the top is the empty path. 0 or an error code; what was read
    // before the error is handed back all the same.
    [[nodiscard]] virtual DWORD List(const WideString& path, std::vector<TreeEntry>& entries) = 0;
};

// What the storage behind a folder of the server takes.
struct FolderAbilities {
    bool delta = false;
    bool resumable = false;
    std::uint64_t largestFile = 0;  // bytes, 0 for any
};

enum class StepKind { MakeFolder, Transfer, Skip, Fail, Delete };

enum class StepReason {
    New,           // MakeFolder, Transfer: the target has nothing of the name
    Changed,       // Transfer: the target's file differs
    Asked,         // Transfer: it is to be sent whatever the target has
    Same,          // Skip: also a folder that both have
    Excluded,      // Skip: a pattern says so
    FolderLink,    // Skip: the tree does not go on behind a link
    Link,          // Skip: a link to a file that only the target has
    Special,       // Skip
    Unfinished,    // Skip: the beginning of a download, under its temporary name
    OnlyInTarget,  // Delete; Skip without deleteExtra
    NotLocalName,  // Fail: it cannot be a local name
    NotText,       // Fail: it cannot be sent to a server
    NameTaken,     // Fail: for the target it is the same name as another item's
    WrongKind,     // Fail: a file on one side, a folder on the other
    InTheWay,      // Fail: a pipe, socket or device stands in the target where it is to go
    TooLarge,      // Fail: the server's folder does not take such a file
    Unreadable,    // Fail: error says why
};

struct PlanStep {
    StepKind kind = StepKind::Transfer;
    StepReason reason = StepReason::New;
    WideString path;  // from the trees' top; empty for the top itself
    bool folder = false;
    Method method = Method::Whole;
    std::int64_t size = 0;    // bytes of the source's file, of its range, or of the one to be deleted
    std::uint64_t limit = 0;  // TooLarge: what the folder takes
    CAttributeTime created;
    CAttributeTime modified;
    std::string revision;  // of the server item: what is fetched, replaced or deleted
    DWORD error = 0;
    bool inTarget = false;  // Fail, Skip, Delete: it is about what the target has, and not about the source
    WideString extra;       // Delete: what only the target has, this item or a folder that it is in
};

// An earlier state of a local file.
struct BaseFile {
    std::int64_t size = 0;
    CAttributeTime modified;
};

struct PlanOptions {
    Direction direction = Direction::Up;
    ExcludePatterns exclude;
    bool always = false;           // also files that are the same
    bool deleteExtra = false;      // what only the target has is deleted
    std::optional<Method> method;  // that every file takes, whatever would suit it
    // All of these may be empty.
    std::function<FolderAbilities(const WideString& path)> abilities;     // nothing offered without it
    std::function<std::optional<BaseFile>(const WideString& path)> base;  // uploads: the file's earlier state
    std::function<bool(const WideString& name)> isLocalName;              // downloads; any name without it
    std::function<WideString(const WideString& name)> localKey;           // the same for local names that are the same
};

// From this size on an upload goes in chunks where the folder takes them, so that it can be continued.
inline constexpr std::int64_t ResumableUploadSize = 16 * 1024 * 1024;
// From this size on the part of a download is kept when it ends early.
inline constexpr std::int64_t KeptDownloadSize = 4 * 1024 * 1024;
// A delta is not worth its requests below this size.
inline constexpr std::int64_t DeltaSize = 1024 * 1024;

// Endings of names that a download has before it is complete, and of what is kept with it. No such item is
// transferred or deleted with a folder.
inline constexpr const WideChar* PartEnding = QM_W(".quillmark-part");
inline constexpr const WideChar* PartRecordEnding = QM_W(".quillmark-part-of");
inline constexpr const WideChar* NewPartRecordEnding = QM_W(".quillmark-part-of.new");
inline constexpr const WideChar* TemporaryEnding = QM_W(".quillmark-temp");
[[nodiscard]] bool IsUnfinishedName(const WideString& name);

// Size and last-write time, at the millisecond that the server keeps.
[[nodiscard]] bool IsSameFile(const TreeEntry& left, const TreeEntry& right);

// The step for one file; target: the file that is there.
[[nodiscard]] PlanStep PlanFile(const PlanOptions& options, const WideString& path, const TreeEntry& source,
                                const TreeEntry* target);

class TreePlanner {
public:
    enum class Answer {
        GoOn,
        LeaveOut,  // a folder that could not be made: nothing of it is planned
        Stop,      // the walk ends here
    };
    using Sink = std::function<Answer(const PlanStep& step)>;

    // All three outlive the planner.
    TreePlanner(const PlanOptions& options, TreeReader& source, TreeReader& target)
        : m_options(options), m_source(source), m_target(target) {}

    // Walks both trees. targetThere: the target's top is there, and is a folder.
    void Walk(bool targetThere, const Sink& sink);

    // After the walk: whether every folder of the source could be read.
    [[nodiscard]] bool IsSourceComplete() const { return m_sourceComplete; }
    // After the walk: what was not deleted because the source could not be read in full.
    [[nodiscard]] std::uint64_t Withheld() const { return m_withheld; }

private:
    struct Folder {
        WideString path;
        bool inTarget = false;
        bool mayDelete = true;  // false behind a link
    };
    using Entries = std::vector<TreeEntry>;

    // Each returns false when the walk is to end.
    bool WalkFolder(const Folder& folder);
    bool PlanEntry(const Folder& folder, const TreeEntry& source, const TreeEntry* target,
                   std::vector<Folder>& folders);
    bool PlanExtras(const Folder& folder, const Entries& target, const std::set<WideString>& named);
    // Collects what is to be deleted of an item that only the target has; extra: that item, or a folder that it is in.
    // False when something of it stays.
    bool Collect(const WideString& path, const TreeEntry& entry, const WideString& extra);
    bool CollectChildren(const WideString& path, const WideString& extra);
    bool EmitDeletions();

    [[nodiscard]] bool ReadBoth(const Folder& folder, Entries& source, Entries& target);
    // False after the failure was told. Sorted by name.
    [[nodiscard]] bool ReadTarget(const WideString& path, Entries& entries);
    [[nodiscard]] WideString KeyOf(const WideString& name) const;
    bool Emit(const PlanStep& step);

    const PlanOptions& m_options;
    TreeReader& m_source;
    TreeReader& m_target;
    const Sink* m_sink = nullptr;
    Answer m_answer = Answer::GoOn;
    std::vector<PlanStep> m_deletions;
    bool m_sourceComplete = true;
    std::uint64_t m_withheld = 0;
};

}  // namespace quillmark::cli
