#include <fcntl.h>
#include <sys/stat.h>

#include <stdexcept>

#include "handles/HandleTable.h"
#include "unit/platform/SystemFiles.h"

namespace quillmark::test {

namespace {

timespec ToTimespec(std::uint64_t ticks) {
    constexpr std::uint64_t TicksPerSecond = 10'000'000;
    constexpr std::int64_t SecondsFrom1601To1970 = 11'644'473'600;
    return {static_cast<time_t>(static_cast<std::int64_t>(ticks / TicksPerSecond) - SecondsFrom1601To1970),
            static_cast<long>(ticks % TicksPerSecond * 100)};
}

}  // namespace

void SetTimes(const std::filesystem::path& path, std::uint64_t access, std::uint64_t write) {
    const timespec times[] = {ToTimespec(access), ToTimespec(write)};
    if (::utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) {
        throw std::runtime_error("the times of a test's file cannot be set");
    }
}

// An entry's own permissions do not keep it.
void MakeRemovable(const std::filesystem::path&) {}

std::size_t OpenHandles() {
    return platform::OpenHandleCount();
}

}  // namespace quillmark::test
