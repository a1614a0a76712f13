// COM and the zone manager of this system, seen through what they show to tests alone.
#include "quillmark/platform/Com.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "quillmark/platform/ZoneWatch.h"

namespace {

using namespace quillmark::platform;

constexpr HRESULT Failure(DWORD code) {
    return static_cast<HRESULT>(code);
}

constexpr GUID OtherGuid = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};

// Each case starts on a thread without COM and in a process without mappings.
class ComPosixTest : public testing::Test {
protected:
    void SetUp() override { ClearZoneMappings(); }
    void TearDown() override {
        FailZoneManagerCreation(S_OK);
        while (ComInitialisationsOfThisThread() > 0) {
            CoUninitialize();
        }
        EXPECT_EQ(LiveZoneManagers(), 0u);
    }

    static IInternetSecurityManager* NewManager() {
        void* object = nullptr;
        EXPECT_EQ(CoCreateInstance(CLSID_InternetSecurityManager, nullptr, 23, IID_IInternetSecurityManager, &object),
                  0);
        return static_cast<IInternetSecurityManager*>(object);
    }
};

TEST_F(ComPosixTest, CountsSuccessesOfTheThreadAndNotMore) {
    EXPECT_EQ(CoInitializeEx(nullptr, 2), 0);
    EXPECT_EQ(CoInitializeEx(nullptr, 2), 1);
    EXPECT_LT(CoInitializeEx(nullptr, 0), 0);
    EXPECT_EQ(ComInitialisationsOfThisThread(), 2u);
    CoUninitialize();
    CoUninitialize();
    EXPECT_EQ(ComInitialisationsOfThisThread(), 0u);
    CoUninitialize();
    EXPECT_EQ(CoInitializeEx(nullptr, 2), 0);
}

TEST_F(ComPosixTest, EachThreadHasItsOwnCount) {
    EXPECT_EQ(CoInitializeEx(nullptr, 0), 0);
    HRESULT other = -1;
    ULONG count = 7;
    std::thread thread([&] {
        count = ComInitialisationsOfThisThread();
        other = CoInitializeEx(nullptr, 2);
        CoUninitialize();
    });
    thread.join();
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(other, 0);
    EXPECT_EQ(ComInitialisationsOfThisThread(), 1u);
}

TEST_F(ComPosixTest, WhatIsRefusedIsNotCounted) {
    int reserved = 0;
    EXPECT_EQ(CoInitializeEx(&reserved, 2), Failure(0x80070057));
    EXPECT_EQ(CoInitializeEx(nullptr, 0x100), Failure(0x80070057));
    EXPECT_EQ(ComInitialisationsOfThisThread(), 0u);
}

TEST_F(ComPosixTest, TheManagerIsAliveUntilItIsReleasedAndNoPartOfAnotherObject) {
    ASSERT_EQ(CoInitializeEx(nullptr, 0), 0);
    IInternetSecurityManager* manager = NewManager();
    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(LiveZoneManagers(), 1u);
    void* object = &object;
    EXPECT_EQ(CoCreateInstance(CLSID_InternetSecurityManager, manager, 23, IID_IUnknown, &object), Failure(0x80040110));
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(manager->Release(), 0u);
    EXPECT_EQ(LiveZoneManagers(), 0u);
}

TEST_F(ComPosixTest, CreationFailsAsATestAskedFor) {
    ASSERT_EQ(CoInitializeEx(nullptr, 2), 0);
    FailZoneManagerCreation(Failure(0x80070005));
    void* object = &object;
    EXPECT_EQ(CoCreateInstance(CLSID_InternetSecurityManager, nullptr, 23, IID_IInternetSecurityManager, &object),
              Failure(0x80070005));
    EXPECT_EQ(object, nullptr);
    FailZoneManagerCreation(S_OK);
    NewManager()->Release();
}

TEST_F(ComPosixTest, ObjectsAreCountedOverAllTheirInterfaces) {
    ASSERT_EQ(CoInitializeEx(nullptr, 2), 0);
    IInternetSecurityManager* manager = NewManager();
    void* unknown = nullptr;
    EXPECT_EQ(manager->QueryInterface(IID_IUnknown, &unknown), 0);
    EXPECT_EQ(manager->AddRef(), 3u);
    EXPECT_EQ(manager->Release(), 2u);
    EXPECT_EQ(manager->Release(), 1u);
    EXPECT_EQ(static_cast<IUnknown*>(unknown)->Release(), 0u);
}

TEST_F(ComPosixTest, KeepsMappingsInTheirOrderAndTakesThemOut) {
    ASSERT_EQ(CoInitializeEx(nullptr, 2), 0);
    IInternetSecurityManager* manager = NewManager();
    EXPECT_EQ(manager->SetZoneMapping(2, u"https://b.example", 0), 0);
    EXPECT_EQ(manager->SetZoneMapping(2, u"http://a.example", 0), 0);
    EXPECT_EQ(manager->SetZoneMapping(2, u"https://b.example", 0), Failure(0x80070050));
    manager->Release();
    const std::vector<ZoneMapping> both = {{2, u"https://b.example"}, {2, u"http://a.example"}};
    EXPECT_EQ(ZoneMappings(), both);
    manager = NewManager();
    EXPECT_EQ(manager->SetZoneMapping(2, u"https://b.example", 1), 0);
    EXPECT_EQ(manager->SetZoneMapping(2, u"https://b.example", 1), Failure(0x80070002));
    manager->Release();
    const std::vector<ZoneMapping> one = {{2, u"http://a.example"}};
    EXPECT_EQ(ZoneMappings(), one);
}

TEST_F(ComPosixTest, MappingRefusesBadArguments) {
    ASSERT_EQ(CoInitializeEx(nullptr, 2), 0);
    IInternetSecurityManager* manager = NewManager();
    EXPECT_EQ(manager->SetZoneMapping(2, nullptr, 0), Failure(0x80070057));
    EXPECT_EQ(manager->SetZoneMapping(2, u"", 0), Failure(0x80070057));
    EXPECT_EQ(manager->SetZoneMapping(5, u"http://a", 0), Failure(0x80070057));
    EXPECT_EQ(manager->SetZoneMapping(2, u"http://a", 2), Failure(0x80070057));
    manager->Release();
    EXPECT_TRUE(ZoneMappings().empty());
}

TEST_F(ComPosixTest, WhatTheManagerDoesNotDoSaysSo) {
    ASSERT_EQ(CoInitializeEx(nullptr, 2), 0);
    IInternetSecurityManager* manager = NewManager();
    const HRESULT notThere = Failure(0x80004001);
    EXPECT_EQ(manager->SetSecuritySite(nullptr), notThere);
    EXPECT_EQ(manager->GetSecuritySite(nullptr), notThere);
    EXPECT_EQ(manager->MapUrlToZone(u"http://a", nullptr, 0), notThere);
    EXPECT_EQ(manager->GetSecurityId(u"http://a", nullptr, nullptr, 0), notThere);
    EXPECT_EQ(manager->ProcessUrlAction(u"http://a", 0, nullptr, 0, nullptr, 0, 0, 0), notThere);
    EXPECT_EQ(manager->QueryCustomPolicy(u"http://a", OtherGuid, nullptr, nullptr, nullptr, 0, 0), notThere);
    EXPECT_EQ(manager->GetZoneMappings(2, nullptr, 0), notThere);
    manager->Release();
}

TEST_F(ComPosixTest, ManyThreadsMapWithoutLosingOne) {
    constexpr int ThreadCount = 8;
    constexpr int Mappings = 50;
    std::vector<std::thread> threads;
    for (int i = 0; i < ThreadCount; ++i) {
        threads.emplace_back([i] {
            ASSERT_EQ(CoInitializeEx(nullptr, 0), 0);
            for (int j = 0; j < Mappings; ++j) {
                IInternetSecurityManager* manager = NewManager();
                const std::u16string pattern = {static_cast<char16_t>(u'a' + i), static_cast<char16_t>(u'A' + j)};
                EXPECT_EQ(manager->SetZoneMapping(2, pattern.c_str(), 0), 0);
                manager->Release();
            }
            CoUninitialize();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(ZoneMappings().size(), std::size_t{ThreadCount} * Mappings);
}

}  // namespace
