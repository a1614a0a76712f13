#include "unit/winhttp/StalledLookup.h"

#include <dlfcn.h>
#include <netdb.h>

#include <condition_variable>
#include <mutex>
#include <string_view>

namespace quillmark::test {

namespace {

std::mutex mutex;
std::condition_variable changed;
bool stalled = false;
int blocked = 0;

}  // namespace

StalledLookup::StalledLookup() {
    const std::lock_guard lock(mutex);
    stalled = true;
}

StalledLookup::~StalledLookup() {
    std::unique_lock lock(mutex);
    stalled = false;
    changed.notify_all();
    changed.wait(lock, [] { return blocked == 0; });
}

void StalledLookup::AwaitBegun() const {
    std::unique_lock lock(mutex);
    changed.wait(lock, [] { return blocked != 0; });
}

// True when the look-up was held up and has no result.
bool HoldUp(std::string_view name) {
    std::unique_lock lock(mutex);
    if (!stalled || name != StalledName) {
        return false;
    }
    ++blocked;
    changed.notify_all();
    changed.wait(lock, [] { return !stalled; });
    --blocked;
    changed.notify_all();
    return true;
}

}  // namespace quillmark::test

// Stands before the C library's own for all libraries of the test program.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                                  const addrinfo* hints, addrinfo** result) {
    using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
    if (name != nullptr && quillmark::test::HoldUp(name)) {
        return EAI_AGAIN;
    }
    return real(name, service, hints, result);
}
