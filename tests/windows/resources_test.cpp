// What the process holds does not grow with use.
#include <gtest/gtest.h>
#include <tlhelp32.h>

#include <ostream>

#include "LoadedLibrary.h"

namespace quillmark::test {
namespace {

struct Resources {
    DWORD handles = 0;
    DWORD graphics = 0;
    DWORD windows = 0;
    DWORD threads = 0;
};

std::ostream& operator<<(std::ostream& stream, const Resources& resources) {
    return stream << resources.handles << " handles, " << resources.graphics << " graphics objects, "
                  << resources.windows << " window objects, " << resources.threads << " threads";
}

Resources Held() {
    Resources held;
    ::GetProcessHandleCount(::GetCurrentProcess(), &held.handles);
    held.graphics = ::GetGuiResources(::GetCurrentProcess(), GR_GDIOBJECTS);
    held.windows = ::GetGuiResources(::GetCurrentProcess(), GR_USEROBJECTS);
    const HANDLE threads = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL more = ::Thread32First(threads, &entry); more != FALSE; more = ::Thread32Next(threads, &entry)) {
        held.threads += entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1 : 0;
    }
    ::CloseHandle(threads);
    return held;
}

// A few may come with the system's own bookkeeping; one per use would be thousands.
void ExpectNoMore(const Resources& before, const Resources& after) {
    constexpr DWORD Few = 8;
    EXPECT_LE(after.handles, before.handles + Few) << before << "; then " << after;
    EXPECT_LE(after.graphics, before.graphics + Few) << before << "; then " << after;
    EXPECT_LE(after.windows, before.windows + Few) << before << "; then " << after;
    EXPECT_LE(after.threads, before.threads + Few) << before << "; then " << after;
}

TEST(ResourcesTest, DoNotGrowOverTenThousandOperations) {
    const Host host;
    ASSERT_EQ(host.Login(), 0u);
    const HANDLE cancel = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    auto record = MakeAttributes();
    const auto use = [&](int times) {
        for (int round = 0; round < times; ++round) {
            ASSERT_EQ(host->GetPathAttributes(QM_W("/"), record, cancel).error, 0u) << round;
        }
    };
    use(200);
    const Resources before = Held();
    use(10'000);
    ExpectNoMore(before, Held());
    ::CloseHandle(cancel);
}

TEST(ResourcesTest, DoNotGrowOverAThousandClientObjects) {
    const LoadedLibrary library;
    library.init(0, std::make_shared<Services::ServicesCollection>());
    const auto use = [&](int times) {
        for (int round = 0; round < times; ++round) {
            const ClientPointer client(library.createInstance(QM_W("device")));
            ASSERT_NE(client, nullptr);
        }
    };
    use(20);
    const Resources before = Held();
    use(1'000);
    ExpectNoMore(before, Held());
    library.init(0, nullptr);
}

}  // namespace
}  // namespace quillmark::test
