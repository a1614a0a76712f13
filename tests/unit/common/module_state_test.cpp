#include "common/ModuleState.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace quillmark {
namespace {

using Services::ServicesCollection;

class ModuleStateTest : public ::testing::Test {
protected:
    void TearDown() override { InstallServices(nullptr); }
};

struct CountedRegistry : RegistryInterface {
    explicit CountedRegistry(std::atomic<int>& destroyed) : m_destroyed(destroyed) {}
    ~CountedRegistry() override { ++m_destroyed; }
    std::atomic<int>& m_destroyed;
};

TEST_F(ModuleStateTest, MakesPlainSeamsWithoutACollection) {
    InstallServices(nullptr);
    const auto fileSystem = FileSystem();
    const auto registry = Registry();
    const auto winHttp = WinHttp();
    ASSERT_NE(fileSystem, nullptr);
    ASSERT_NE(registry, nullptr);
    ASSERT_NE(winHttp, nullptr);
    EXPECT_EQ(typeid(*fileSystem), typeid(FileSystemInterface));
    EXPECT_EQ(typeid(*registry), typeid(RegistryInterface));
    EXPECT_EQ(typeid(*winHttp), typeid(WinHttpInterface));
}

TEST_F(ModuleStateTest, KeepsOneOfEachSeam) {
    InstallServices(nullptr);
    EXPECT_EQ(FileSystem(), FileSystem());
    EXPECT_EQ(Registry(), Registry());
    EXPECT_EQ(WinHttp(), WinHttp());
}

TEST_F(ModuleStateTest, FillsTheEmptyMemberOnly) {
    const auto collection = std::make_shared<ServicesCollection>();
    const auto fileSystem = collection->fileSystem = std::make_shared<FileSystemInterface>();
    const auto winHttp = collection->winHttp = std::make_shared<WinHttpInterface>();
    InstallServices(collection);
    EXPECT_EQ(collection->registry, nullptr);

    EXPECT_EQ(FileSystem(), fileSystem);
    EXPECT_EQ(WinHttp(), winHttp);
    EXPECT_NE(collection->registry, nullptr);
    EXPECT_EQ(Registry(), collection->registry);
}

TEST_F(ModuleStateTest, FillsAllMembersAtTheFirstUseOfOne) {
    const auto collection = std::make_shared<ServicesCollection>();
    InstallServices(collection);
    const auto winHttp = WinHttp();
    EXPECT_NE(collection->fileSystem, nullptr);
    EXPECT_NE(collection->registry, nullptr);
    EXPECT_EQ(collection->winHttp, winHttp);
}

TEST_F(ModuleStateTest, ReleasesTheReplacedCollectionOnce) {
    std::atomic<int> destroyed = 0;
    auto first = std::make_shared<ServicesCollection>();
    first->registry = std::make_shared<CountedRegistry>(destroyed);
    const auto second = std::make_shared<ServicesCollection>();
    second->registry = std::make_shared<RegistryInterface>();

    InstallServices(std::move(first));
    EXPECT_EQ(destroyed, 0);
    InstallServices(second);
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(Registry(), second->registry);
    InstallServices(second);
    EXPECT_EQ(Registry(), second->registry);
}

TEST_F(ModuleStateTest, KeepsTheOldSeamForACallInFlight) {
    std::atomic<int> destroyed = 0;
    auto first = std::make_shared<ServicesCollection>();
    first->registry = std::make_shared<CountedRegistry>(destroyed);
    InstallServices(std::move(first));
    {
        const auto inFlight = Registry();
        InstallServices(std::make_shared<ServicesCollection>());
        EXPECT_EQ(destroyed, 0);
        EXPECT_NE(Registry(), inFlight);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST_F(ModuleStateTest, LetsAReplacedSeamUseTheServicesWhileItIsReleased) {
    struct AsksAtItsEnd : RegistryInterface {
        explicit AsksAtItsEnd(std::shared_ptr<RegistryInterface>& found) : m_found(found) {}
        ~AsksAtItsEnd() override { m_found = Registry(); }
        std::shared_ptr<RegistryInterface>& m_found;
    };
    std::shared_ptr<RegistryInterface> found;
    auto first = std::make_shared<ServicesCollection>();
    first->registry = std::make_shared<AsksAtItsEnd>(found);
    InstallServices(std::move(first));
    const auto second = std::make_shared<ServicesCollection>();
    InstallServices(second);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found, second->registry);
}

TEST_F(ModuleStateTest, ServesThreadsWhileCollectionsAreReplaced) {
    std::atomic<bool> stop = false;
    std::atomic<int> missing = 0;
    std::vector<std::thread> readers;
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([&] {
            while (!stop) {
                missing += FileSystem() == nullptr || Registry() == nullptr || WinHttp() == nullptr ? 1 : 0;
            }
        });
    }
    for (int i = 0; i < 500; ++i) {
        InstallServices(i % 2 == 0 ? std::make_shared<ServicesCollection>() : nullptr);
    }
    stop = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(missing, 0);
}

}  // namespace
}  // namespace quillmark
