// What code that asks COM for the zone manager relies on, whichever the manager is.
#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "quillmark/Platform.h"
#include "support/Wine.h"

namespace {

using quillmark::test::OrUnderWine;

constexpr HRESULT Failure(DWORD code) {
    return static_cast<HRESULT>(code);
}

constexpr GUID OtherGuid = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};
constexpr DWORD AnyContext = 23;

// Each case is a process of its own, so it starts on a thread without COM.
class ComTest : public testing::Test {
protected:
    // Successes are taken back at the end.
    HRESULT Initialise(DWORD mode) {
        const HRESULT result = CoInitializeEx(nullptr, mode);
        m_successes += result >= 0 ? 1 : 0;
        return result;
    }
    void Uninitialise() {
        CoUninitialize();
        --m_successes;
    }
    void TearDown() override {
        while (m_successes > 0) {
            Uninitialise();
        }
    }

    static IInternetSecurityManager* NewManager() {
        void* object = nullptr;
        EXPECT_EQ(
            CoCreateInstance(CLSID_InternetSecurityManager, nullptr, AnyContext, IID_IInternetSecurityManager, &object),
            0);
        return static_cast<IInternetSecurityManager*>(object);
    }

private:
    int m_successes = 0;
};

TEST_F(ComTest, CountsInitialisationsOfTheSameMode) {
    EXPECT_EQ(Initialise(2), 0);
    EXPECT_EQ(Initialise(2), 1);
    Uninitialise();
    EXPECT_EQ(Initialise(2), 1);
    Uninitialise();
    Uninitialise();
    EXPECT_EQ(Initialise(2), 0);
}

TEST_F(ComTest, RefusesToChangeTheModeUntilTheThreadHasLeftIt) {
    EXPECT_EQ(Initialise(0), 0);
    EXPECT_EQ(Initialise(2), Failure(0x80010106));
    Uninitialise();
    EXPECT_EQ(Initialise(2), 0);
    EXPECT_EQ(Initialise(0), Failure(0x80010106));
}

TEST_F(ComTest, EachThreadHasItsOwnMode) {
    EXPECT_EQ(Initialise(0), 0);
    HRESULT other = -1;
    std::thread thread([&] {
        other = CoInitializeEx(nullptr, 2);
        CoUninitialize();
    });
    thread.join();
    EXPECT_EQ(other, 0);
    EXPECT_EQ(Initialise(0), 1);
}

// Wine looks at neither.
TEST_F(ComTest, RefusesAReservedPointerAndUnknownFlags) {
    int reserved = 0;
    EXPECT_THAT(CoInitializeEx(&reserved, 2), OrUnderWine(Failure(0x80070057), HRESULT{0}));
    EXPECT_THAT(CoInitializeEx(nullptr, 0x102), OrUnderWine(Failure(0x80070057), HRESULT{1}));
}

TEST_F(ComTest, CreatesTheZoneManagerOnAnInitialisedThreadOnly) {
    void* object = &object;
    EXPECT_EQ(
        CoCreateInstance(CLSID_InternetSecurityManager, nullptr, AnyContext, IID_IInternetSecurityManager, &object),
        Failure(0x800401F0));
    EXPECT_EQ(object, nullptr);
    ASSERT_EQ(Initialise(0), 0);
    IInternetSecurityManager* manager = NewManager();
    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(manager->Release(), 0u);
}

TEST_F(ComTest, CreationFailsAsDocumented) {
    ASSERT_EQ(Initialise(2), 0);
    void* object = &object;
    const auto create = [&](REFCLSID classId, DWORD context, REFIID interfaceId) {
        object = &object;
        return CoCreateInstance(classId, nullptr, context, interfaceId, &object);
    };
    EXPECT_EQ(create(OtherGuid, AnyContext, IID_IUnknown), Failure(0x80040154));
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(create(CLSID_InternetSecurityManager, CLSCTX_LOCAL_SERVER, IID_IUnknown), Failure(0x80040154));
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(create(CLSID_InternetSecurityManager, AnyContext, OtherGuid), Failure(0x80004002));
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(CoCreateInstance(CLSID_InternetSecurityManager, nullptr, AnyContext, IID_IUnknown, nullptr),
              Failure(0x80004003));
}

TEST_F(ComTest, ObjectsLiveUntilTheLastReleaseOfAnyOfTheirInterfaces) {
    ASSERT_EQ(Initialise(2), 0);
    IInternetSecurityManager* manager = NewManager();
    void* unknown = nullptr;
    EXPECT_EQ(manager->QueryInterface(IID_IUnknown, &unknown), 0);
    void* same = nullptr;
    EXPECT_EQ(static_cast<IUnknown*>(unknown)->QueryInterface(IID_IInternetSecurityManager, &same), 0);
    EXPECT_NE(manager->Release(), 0u);
    EXPECT_NE(static_cast<IUnknown*>(unknown)->Release(), 0u);
    EXPECT_EQ(static_cast<IInternetSecurityManager*>(same)->Release(), 0u);
}

TEST_F(ComTest, AnInterfaceThatTheManagerDoesNotHaveIsRefused) {
    ASSERT_EQ(Initialise(2), 0);
    IInternetSecurityManager* manager = NewManager();
    void* object = &object;
    EXPECT_EQ(manager->QueryInterface(OtherGuid, &object), Failure(0x80004002));
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(manager->Release(), 0u);
}

TEST(ComConstantsTest, HaveTheValuesThatWindowsGivesThem) {
    const GUID securityManager = {0x7B8A2D94, 0x0AC9, 0x11D1, {0x89, 0x6C, 0x00, 0xC0, 0x4F, 0xB6, 0xBF, 0xC4}};
    const GUID managerInterface = {0x79EAC9EE, 0xBAF9, 0x11CE, {0x8C, 0x82, 0x00, 0xAA, 0x00, 0x4B, 0xA9, 0x0B}};
    const GUID unknownInterface = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    EXPECT_TRUE(CLSID_InternetSecurityManager == securityManager);
    EXPECT_TRUE(IID_IInternetSecurityManager == managerInterface);
    EXPECT_TRUE(IID_IUnknown == unknownInterface);
    EXPECT_EQ(DWORD{CLSCTX_ALL}, AnyContext);
    EXPECT_EQ(DWORD{COINIT_MULTITHREADED}, 0u);
    EXPECT_EQ(DWORD{COINIT_APARTMENTTHREADED}, 2u);
    EXPECT_EQ(DWORD{URLZONE_TRUSTED}, 2u);
    EXPECT_EQ(DWORD{SZM_CREATE}, 0u);
    EXPECT_EQ(DWORD{SZM_DELETE}, 1u);
}

// A pointer to a virtual function begins with its place in the table in bytes, plus one.
template <typename Function>
std::size_t SlotOf(Function function) {
    std::ptrdiff_t place = 0;
    std::memcpy(&place, &function, sizeof(place));
    return static_cast<std::size_t>(place - 1) / sizeof(void*);
}

TEST(ComConstantsTest, TheInterfaceHasTheOrderOfItsTable) {
    using Query = HRESULT (STDMETHODCALLTYPE IUnknown::*)(REFIID, void**);
    EXPECT_EQ(SlotOf(static_cast<Query>(&IUnknown::QueryInterface)), 0u);
    EXPECT_EQ(SlotOf(&IInternetSecurityManager::AddRef), 1u);
    EXPECT_EQ(SlotOf(&IInternetSecurityManager::Release), 2u);
    EXPECT_EQ(SlotOf(&IInternetSecurityManager::SetSecuritySite), 3u);
    EXPECT_EQ(SlotOf(&IInternetSecurityManager::GetSecuritySite), 4u);
    EXPECT_EQ(SlotOf(&IInternetSecurityManager::MapUrlToZone), 5u);
    EXPECT_EQ(SlotOf(&IInternetSecurityManager::GetSecurityId), 6u);
    EXPECT_EQ(SlotOf(&IInternetSecurityManager::ProcessUrlAction), 7u);
    EXPECT_EQ(SlotOf(&IInternetSecurityManager::QueryCustomPolicy), 8u);
    EXPECT_EQ(SlotOf(&IInternetSecurityManager::SetZoneMapping), 9u);
    EXPECT_EQ(SlotOf(&IInternetSecurityManager::GetZoneMappings), 10u);
}

}  // namespace
