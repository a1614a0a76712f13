#include "integration/kerberos/KerberosTest.h"

#include <cstdlib>
#include <filesystem>

#include "quillmark/Eventing.h"

namespace quillmark::testing {

// A registry of the test's own takes what discovery enters into the trusted zone.
KerberosTest::KerberosTest() {
    std::filesystem::create_directory(m_folder.Path() / "registry");
    ::setenv("QUILLMARK_REGISTRY", (m_folder / "registry").c_str(), 1);
}

KerberosTest::~KerberosTest() {
    m_client.reset();
    ::Init(0, nullptr);
    Eventing::CloseLog(m_log);
}

void KerberosTest::Use(const Realm& realm, const std::string& ticket) {
    ::setenv("KRB5_CONFIG", realm.ConfigurationFile().c_str(), 1);
    ::setenv("KRB5CCNAME", ticket.c_str(), 1);
}

void KerberosTest::MakeClient(const std::string& url) {
    m_client.emplace(url);
    m_log = Eventing::OpenLog((m_folder / "log").c_str(), 4);
    ::Init(m_log, std::make_shared<Services::ServicesCollection>());
    Client()->SetAuthMode(AUTH_MODE_INTEGRATED);
}

void KerberosTest::MakeClientAndLogin() {
    Use(m_realm, m_realm.Ticket("anna"));
    MakeClient();
    ASSERT_EQ(0u, Login());
}

DWORD KerberosTest::List() {
    ItemList children;
    std::shared_ptr<IServerAttributes> self;
    return Client()->GetPathListing(QM_W("/"), children, self, nullptr).error;
}

DWORD KerberosTest::Upload(const std::string& name, std::uint64_t size) {
    const WideString local = WritePatternAt(m_folder / "up", size);
    return Client()->UploadFile(local, WidenUtf8("/" + name), UploadAttributes(static_cast<std::int64_t>(size)),
                                nullptr, nullptr, 0);
}

DWORD KerberosTest::Download(const std::string& name) {
    return Client()->DownloadFile(WidenUtf8("/" + name), WidenUtf8(m_folder / "down"), nullptr, MakeAttributes(),
                                  WideString(), nullptr, nullptr, 0);
}

void KerberosTest::ExpectRoundTrip(const std::string& name, std::uint64_t size) {
    EXPECT_EQ(0u, Upload(name, size));
    EXPECT_EQ(0u, Download(name));
    EXPECT_EQ(size, std::filesystem::file_size(m_folder / "down"));
    EXPECT_TRUE(ReadFileAt(m_folder / "up") == ReadFileAt(m_folder / "down")) << name;
}

bool KerberosTest::Logged(const std::string& text) const {
    return ReadFileAt(m_folder / "log").find(text) != std::string::npos;
}

}  // namespace quillmark::testing
