#include "registry/RegStore.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <utility>

#include "files/CaseFold.h"
#include "files/Descriptor.h"
#include "files/FileInfo.h"
#include "files/Outcome.h"
#include "files/UserFolders.h"
#include "quillmark/platform/Errors.h"
#include "registry/RegText.h"

namespace quillmark::platform {
namespace {

constexpr const char* MachineFolder = "/etc/quillmark";
constexpr std::string_view OwnFile = "quillmark.reg";
constexpr const char* LockFile = ".quillmark.lock";
constexpr std::size_t LargestFile = 16UL * 1024 * 1024;
// Longer than the clock behind file times stands still.
constexpr std::int64_t SettledAfterNanoseconds = 50'000'000;

std::int64_t Nanoseconds(const timespec& time) {
    return time.tv_sec * 1'000'000'000 + time.tv_nsec;
}

bool IsRegistryFile(std::string_view name) {
    constexpr std::string_view extension = ".reg";
    if (name.size() <= extension.size()) {
        return false;
    }
    const std::string_view end = name.substr(name.size() - extension.size());
    return std::equal(end.begin(), end.end(), extension.begin(), [](char one, char other) {
        return (one >= 'A' && one <= 'Z' ? one + ('a' - 'A') : one) == other;
    });
}

// The bytes of a regular file; none of one that is gone or is no regular file. 0, or the errno value that says why a
// file cannot be read (EFBIG for one that is too large).
int ReadWhole(const std::string& path, std::string& bytes) {
    bytes.clear();
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.IsOpen()) {
        return errno == ENOENT || errno == ENXIO ? 0 : errno;
    }
    FileInfo info;
    if (const int error = ReadInfo(file.Get(), info); error != 0 || !info.IsRegular()) {
        return error;
    }
    if (info.size > LargestFile) {
        return EFBIG;
    }
    std::string read(info.size, '\0');
    std::size_t got = 0;
    while (got < read.size()) {
        const ssize_t count = ::read(file.Get(), read.data() + got, read.size() - got);
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        if (count == 0) {
            break;
        }
        got += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    read.resize(got);
    bytes = std::move(read);
    return 0;
}

// Whether the process is short of something at the moment, which says nothing about the files.
bool IsShortage(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

DWORD WriteWhole(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return ErrorFromErrno(errno);
        }
        bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return ::fsync(file) == 0 ? ERROR_SUCCESS : ErrorFromErrno(errno);
}

// A new file under a name of its own, gone again unless it took its place.
class Replacement {
public:
    explicit Replacement(const std::string& target) : m_target(target), m_path(target + ".XXXXXX") {
        m_file = Descriptor(::mkostemp(m_path.data(), O_CLOEXEC));
    }
    ~Replacement() {
        if (m_file.IsOpen() && !m_placed) {
            ::unlink(m_path.c_str());
        }
    }
    DWORD Fill(std::string_view bytes) {
        if (!m_file.IsOpen()) {
            return ErrorFromErrno(errno);
        }
        FileInfo present;
        const bool exists = ReadInfo(AT_FDCWD, m_target.c_str(), Links::Follow, present) == 0;
        if (::fchmod(m_file.Get(), exists ? present.mode & 0777 : 0644) != 0) {
            return ErrorFromErrno(errno);
        }
        return WriteWhole(m_file.Get(), bytes);
    }
    DWORD Place() {
        m_placed = ::rename(m_path.c_str(), m_target.c_str()) == 0;
        return m_placed ? ERROR_SUCCESS : ErrorFromErrno(errno);
    }

private:
    const std::string m_target;
    std::string m_path;
    Descriptor m_file;
    bool m_placed = false;
};

// Held while one process changes the folder, so that another one's change in between is not lost.
DWORD LockFolder(const std::string& folder, Descriptor& lock) {
    if (const int error = MakeFolders(folder); error != 0) {
        return ErrorFromErrno(error);
    }
    lock = Descriptor(::open((folder + "/" + LockFile).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lock.IsOpen()) {
        return ErrorFromErrno(errno);
    }
    while (::flock(lock.Get(), LOCK_EX) != 0) {
        if (errno != EINTR) {
            return ErrorFromErrno(errno);
        }
    }
    return ERROR_SUCCESS;
}

std::shared_ptr<RegStore> StoreOf(const std::string& folder, std::vector<std::u16string> roots) {
    // Never destroyed: keys may still be open while the process runs its last destructors.
    static std::mutex& lock = *new std::mutex;
    static auto& stores = *new std::map<std::pair<std::string, std::size_t>, std::shared_ptr<RegStore>>;
    const std::lock_guard guard(lock);
    std::shared_ptr<RegStore>& store = stores[{folder, roots.size()}];
    if (store == nullptr) {
        store = std::make_shared<RegStore>(folder, std::move(roots));
    }
    return store;
}

}  // namespace

struct RegStore::FileStamp {
    std::string name;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t written = 0;
    std::int64_t changed = 0;

    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

std::shared_ptr<RegStore> RegStore::ForRoot(const std::u16string& root) {
    if (const char* folder = std::getenv("QUILLMARK_REGISTRY"); folder != nullptr && *folder != '\0') {
        return StoreOf(folder, {u"HKEY_LOCAL_MACHINE", u"HKEY_CURRENT_USER", u"HKEY_USERS"});
    }
    if (root == u"HKEY_CURRENT_USER") {
        return StoreOf(UserFolder("XDG_CONFIG_HOME", ".config") + "/quillmark", {u"HKEY_CURRENT_USER"});
    }
    return StoreOf(MachineFolder, {u"HKEY_LOCAL_MACHINE", u"HKEY_USERS"});
}

RegStore::RegStore(std::string folder, std::vector<std::u16string> roots)
    : m_folder(std::move(folder)), m_roots(std::move(roots)), m_snapshot(std::make_shared<RegSnapshot>()) {}

int RegStore::Look(Fingerprint& fingerprint) const {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    std::int64_t newest = 0;
    struct CloseFolder {
        void operator()(DIR* folder) const { ::closedir(folder); }
    };
    const std::unique_ptr<DIR, CloseFolder> folder(::opendir(m_folder.c_str()));
    const int opening = folder != nullptr || errno == ENOENT ? 0 : errno;
    while (const dirent* entry = folder == nullptr ? nullptr : ::readdir(folder.get())) {
        struct stat data {};
        if (!IsRegistryFile(entry->d_name) || ::fstatat(::dirfd(folder.get()), entry->d_name, &data, 0) != 0) {
            continue;
        }
        fingerprint.files.push_back({entry->d_name, data.st_dev, data.st_ino, data.st_size, Nanoseconds(data.st_mtim),
                                     Nanoseconds(data.st_ctim)});
        newest = std::max({newest, Nanoseconds(data.st_mtim), Nanoseconds(data.st_ctim)});
    }
    std::sort(fingerprint.files.begin(), fingerprint.files.end(),
              [](const FileStamp& one, const FileStamp& other) { return one.name < other.name; });
    fingerprint.settled = newest + SettledAfterNanoseconds < Nanoseconds(now);
    return opening;
}

std::shared_ptr<const RegSnapshot> RegStore::Current() {
    const std::lock_guard guard(m_lock);
    (void)Refresh();
    return m_snapshot;
}

int RegStore::Refresh() {
    auto fingerprint = std::make_shared<Fingerprint>();
    int ownError = Look(*fingerprint);
    if (IsShortage(ownError)) {
        return ownError;
    }
    if (m_fingerprint != nullptr && m_fingerprint->settled && m_fingerprint->files == fingerprint->files) {
        return m_ownError;
    }
    auto snapshot = std::make_shared<RegSnapshot>();
    std::int64_t newest = 0;
    for (const FileStamp& file : fingerprint->files) {
        const bool own = file.name == OwnFile;
        std::string bytes;
        const int error = ReadWhole(m_folder + "/" + file.name, bytes);
        if (IsShortage(error)) {
            return error;
        }
        ownError = own && error != 0 ? error : ownError;
        ApplyRegFile(bytes, m_roots, own ? snapshot->changes : snapshot->others);
        newest = std::max(newest, file.written);
    }
    snapshot->contents.Apply(snapshot->others);
    snapshot->contents.Apply(snapshot->changes);
    snapshot->newest = ToFileTime(newest / 1'000'000'000, static_cast<std::uint32_t>(newest % 1'000'000'000));
    m_fingerprint = std::move(fingerprint);
    m_snapshot = std::move(snapshot);
    m_ownError = ownError;
    return ownError;
}

DWORD RegStore::Change(const Edit& edit) {
    const std::lock_guard guard(m_lock);
    Descriptor lock;
    if (const DWORD code = LockFolder(m_folder, lock); code != ERROR_SUCCESS) {
        return code;
    }
    if (const int error = Refresh(); error != 0) {
        // The file that would be written anew holds more than is known of it.
        return ErrorFromErrno(error);
    }
    KeyTree changes(m_snapshot->changes);
    if (const DWORD code = edit(*m_snapshot, changes); code != ERROR_SUCCESS) {
        return code;
    }
    const DWORD code = Write(changes);
    if (code == ERROR_SUCCESS) {
        // Now there are descriptors: what this process wrote it will know, also when there are none.
        (void)Refresh();
    }
    return code;
}

DWORD RegStore::Write(const KeyTree& changes) const {
    const std::string bytes = WriteRegFile(changes);
    if (bytes.size() > LargestFile) {
        return ERROR_NO_SYSTEM_RESOURCES;
    }
    Replacement replacement(m_folder + "/" + std::string(OwnFile));
    if (const DWORD code = replacement.Fill(bytes); code != ERROR_SUCCESS) {
        return code;
    }
    if (const DWORD code = replacement.Place(); code != ERROR_SUCCESS) {
        return code;
    }
    const Descriptor folder(::open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder.IsOpen() && ::fsync(folder.Get()) == 0 ? ERROR_SUCCESS : ErrorFromErrno(errno);
}

bool RegStore::IsWritable() const {
    return ::faccessat(AT_FDCWD, NearestFolder(m_folder).c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

std::uint64_t RegStore::Deletions() {
    const std::lock_guard guard(m_lock);
    return m_deletionCount;
}

void RegStore::RecordDeletion(const KeyPath& path) {
    KeyPath folded;
    for (const std::u16string& name : path) {
        folded.push_back(FoldCase(name));
    }
    const std::lock_guard guard(m_lock);
    m_deletions[std::move(folded)] = ++m_deletionCount;
}

bool RegStore::DeletedSince(const KeyPath& path, std::uint64_t deletions) {
    KeyPath folded;
    for (const std::u16string& name : path) {
        folded.push_back(FoldCase(name));
    }
    const std::lock_guard guard(m_lock);
    const auto deletion = m_deletions.find(folded);
    return deletion != m_deletions.end() && deletion->second > deletions;
}

}  // namespace quillmark::platform
