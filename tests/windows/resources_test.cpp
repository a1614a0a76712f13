// What the process holds does not grow with use.
#include <gtest/gtest.h>

#include "LoadedLibrary.h"
#include "ProcessResources.h"

namespace quillmark::test {
namespace {

// A few may come with the system's own bookkeeping; one per use would be thousands.
void ExpectNoMore(const ProcessResources& before, const ProcessResources& after) {
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
    const ProcessResources before = HeldResources();
    use(10'000);
    ExpectNoMore(before, HeldResources());
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
    const ProcessResources before = HeldResources();
    use(1'000);
    ExpectNoMore(before, HeldResources());
    library.init(0, nullptr);
}

}  // namespace
}  // namespace quillmark::test
