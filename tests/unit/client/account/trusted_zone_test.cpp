// The server's address in the trusted zone.
#include "support/Wrap.h"
#include "support/ZoneWatch.h"
#include "unit/client/ClientTest.h"

namespace {

// What CoInitializeEx answers instead of being called; S_OK for calling it.
HRESULT forcedResult = S_OK;

}  // namespace

QUILLMARK_WRAP(HRESULT, CoInitializeEx, (LPVOID reserved, DWORD mode)) {
    const HRESULT result = forcedResult == S_OK ? QUILLMARK_REAL(CoInitializeEx)(reserved, mode) : forcedResult;
    quillmark::platform::NoteComInitialisation(result);
    return result;
}

namespace quillmark::test {
namespace {

class TrustedZone : public ClientTest {
protected:
    void SetUp() override { platform::ClearZoneMappings(); }
    void TearDown() override {
        forcedResult = S_OK;
        platform::FailZoneManagerCreation(S_OK);
        platform::ClearZoneMappings();
    }
    void Add(const WideString& address) {
        SetServer(address, 443);
        client->AddURIToTrustedZone();
    }
};

TEST_F(TrustedZone, ASecureServerIsMappedByItsHttpsAddress) {
    Add(QM_W("https://files.example.com"));
    EXPECT_EQ(platform::ZoneMappings(), (std::vector<platform::ZoneMapping>{{2, QM_W("https://files.example.com")}}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::AddURIToTrustedZone",
                        "Adding https://files.example.com to the trusted zone"));
}

TEST_F(TrustedZone, AnotherServerIsMappedByItsHttpAddress) {
    Add(QM_W("http://files.example.com"));
    EXPECT_EQ(platform::ZoneMappings(), (std::vector<platform::ZoneMapping>{{2, QM_W("http://files.example.com")}}));
}

TEST_F(TrustedZone, DiscoveryAddsTheServerInIntegratedModeBeforeItAsksForTheMode) {
    std::size_t mappedBefore = 77;
    factory->OnCall([&](const std::string& call) {
        if (call == "GetResponse(r2)") {
            mappedBefore = platform::ZoneMappings().size();
        }
    });
    SetServer(QM_W("https://h"), 443);
    client->SetAuthMode(AUTH_MODE_INTEGRATED);
    Discover();
    EXPECT_EQ(mappedBefore, 1u);
    factory->OnCall({});
}

TEST_F(TrustedZone, DiscoveryGoesOnWhenTheManagerCannotBeMade) {
    platform::FailZoneManagerCreation(E_FAIL);
    client->SetAuthMode(AUTH_MODE_INTEGRATED);
    Discover();
    EXPECT_EQ(client->GetApiPath(nullptr), QM_W("/qm/kerberos"));
}

TEST_F(TrustedZone, DiscoveryLeavesTheZoneAloneInPasswordMode) {
    Discover();
    EXPECT_TRUE(platform::ZoneMappings().empty());
}

TEST_F(TrustedZone, ReleasesTheManagerAndCom) {
    Add(QM_W("https://h"));
    EXPECT_EQ(platform::LiveZoneManagers(), 0u);
    EXPECT_EQ(platform::ComInitialisationsOfThisThread(), 0u);
}

TEST_F(TrustedZone, UsesComAsItIsOnAThreadInTheMultithreadedApartment) {
    ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    Add(QM_W("https://h"));
    EXPECT_EQ(platform::ZoneMappings().size(), 1u);
    EXPECT_EQ(platform::ComInitialisationsOfThisThread(), 1u);
    ::CoUninitialize();
}

TEST_F(TrustedZone, DoesNothingOnAThreadThatCannotHaveCom) {
    forcedResult = E_OUTOFMEMORY;
    Add(QM_W("https://h"));
    EXPECT_TRUE(platform::ZoneMappings().empty());
    EXPECT_EQ(platform::LiveZoneManagers(), 0u);
    EXPECT_FALSE(log.Mentions("trusted zone"));
    EXPECT_FALSE(log.Mentions("Exception:"));
    EXPECT_TRUE(log.Has(Error, "ComInit", "CScopedCOM::CScopedCOM", "Failed to initialize COM with hr=0x8007000e"));
}

TEST_F(TrustedZone, DiscoveryGoesOnOnAThreadThatCannotHaveCom) {
    forcedResult = E_OUTOFMEMORY;
    client->SetAuthMode(AUTH_MODE_INTEGRATED);
    Discover();
    EXPECT_TRUE(platform::ZoneMappings().empty());
    EXPECT_EQ(client->GetApiPath(nullptr), QM_W("/qm/kerberos"));
}

TEST_F(TrustedZone, AnAddressThatIsMappedAlreadyIsNoFailure) {
    Add(QM_W("https://h"));
    Add(QM_W("https://h"));
    EXPECT_EQ(platform::ZoneMappings().size(), 1u);
    EXPECT_TRUE(log.Texts(Error).empty());
}

TEST_F(TrustedZone, AManagerThatCannotBeMadeIsOnlyLogged) {
    platform::FailZoneManagerCreation(REGDB_E_CLASSNOTREG);
    Add(QM_W("https://h"));
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::AddURIToTrustedZone",
                        "Exception: CNativeHttp::AddURIToTrustedZone(),ln=4283 : CoCreateInstance() failed, "
                        "hresult=0x80040154"));
    EXPECT_EQ(platform::ComInitialisationsOfThisThread(), 0u);
}

}  // namespace
}  // namespace quillmark::test
