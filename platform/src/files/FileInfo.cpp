#include "files/FileInfo.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include "quillmark/platform/Files.h"
#include "time/Ticks.h"

namespace quillmark::platform {
namespace {

constexpr std::int64_t NanosecondsPerTick = 100;

FILETIME FromStatx(const statx_timestamp& time) {
    return ToFileTime(time.tv_sec, time.tv_nsec);
}

int ReadInfo(int folder, const char* path, int flags, FileInfo& info) {
    struct statx data {};
    if (::statx(folder, path, flags, STATX_BASIC_STATS | STATX_BTIME, &data) != 0) {
        return errno;
    }
    info.id = {(std::uint64_t{data.stx_dev_major} << 32) | data.stx_dev_minor, data.stx_ino};
    info.mode = data.stx_mode;
    info.size = S_ISREG(data.stx_mode) ? data.stx_size : 0;
    const bool hasBirthTime = (data.stx_mask & STATX_BTIME) != 0 && data.stx_btime.tv_sec != 0;
    info.creation = FromStatx(hasBirthTime ? data.stx_btime : data.stx_ctime);
    info.access = FromStatx(data.stx_atime);
    info.write = FromStatx(data.stx_mtime);
    info.isLink = S_ISLNK(data.stx_mode);
    return 0;
}

}  // namespace

bool FileInfo::IsFolder() const {
    return S_ISDIR(mode);
}

bool FileInfo::IsRegular() const {
    return S_ISREG(mode);
}

bool FileInfo::IsReadOnly() const {
    return S_ISREG(mode) && (mode & S_IWUSR) == 0;
}

DWORD FileInfo::Attributes() const {
    const DWORD attributes = (IsFolder() ? FILE_ATTRIBUTE_DIRECTORY : 0) |
                             (IsReadOnly() ? FILE_ATTRIBUTE_READONLY : 0) | (isLink ? FILE_ATTRIBUTE_REPARSE_POINT : 0);
    return attributes == 0 ? FILE_ATTRIBUTE_NORMAL : attributes;
}

int ReadInfo(int folder, const char* path, Links links, FileInfo& info) {
    return ReadInfo(folder, path, links == Links::Keep ? AT_SYMLINK_NOFOLLOW : 0, info);
}

int ReadInfo(int descriptor, FileInfo& info) {
    return ReadInfo(descriptor, "", AT_EMPTY_PATH, info);
}

FILETIME ToFileTime(std::int64_t seconds, std::uint32_t nanoseconds) {
    const std::int64_t ticks = TicksFromUnixTime({.tv_sec = seconds, .tv_nsec = nanoseconds});
    return FileTimeOf(static_cast<std::uint64_t>(std::max<std::int64_t>(ticks, 0)));
}

timespec ToTimespec(std::uint64_t ticks) {
    const auto value = static_cast<std::int64_t>(ticks);
    return {value / TicksPerSecond - UnixEpochSeconds, value % TicksPerSecond * NanosecondsPerTick};
}

}  // namespace quillmark::platform
