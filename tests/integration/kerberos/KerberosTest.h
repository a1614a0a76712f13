// What the suites share: a realm, the reference server behind its front end, and a client object in the mode that
// answers with the logged-on user's ticket.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "integration/kerberos/FrontEnd.h"
#include "integration/kerberos/Realm.h"
#include "integration/support/Appliance.h"
#include "integration/support/HostClient.h"
#include "integration/support/TempFolder.h"

namespace quillmark::testing {

class KerberosTest : public ::testing::Test {
protected:
    KerberosTest();
    ~KerberosTest() override;

    void StartFrontEnd(FrontEnd::Holds holds = FrontEnd::Holds::ForTheConnection) {
        m_frontEnd.emplace(m_realm, m_server, holds);
    }
    // This process is a member of that realm, and its user has that ticket. Before the first client is made.
    static void Use(const Realm& realm, const std::string& ticket);
    // Makes the client, for the front end or another server. Everything that it does from now on is logged.
    void MakeClient() { MakeClient(m_frontEnd->Url()); }
    void MakeClient(const std::string& url);
    // The same with a ticket of anna's, and logged in.
    void MakeClientAndLogin();
    // With the ticket alone: neither name nor password.
    [[nodiscard]] DWORD Login() { return m_client->Login("", ""); }
    [[nodiscard]] DWORD List();
    [[nodiscard]] DWORD Upload(const std::string& name, std::uint64_t size);
    [[nodiscard]] DWORD Download(const std::string& name);
    // Uploads a file of that size, downloads it and compares the two.
    void ExpectRoundTrip(const std::string& name, std::uint64_t size);
    [[nodiscard]] bool Logged(const std::string& text) const;

    [[nodiscard]] const Realm& HomeRealm() const { return m_realm; }
    [[nodiscard]] Realm& HomeRealm() { return m_realm; }
    [[nodiscard]] const Appliance& Server() const { return m_server; }
    [[nodiscard]] FrontEnd& Front() { return *m_frontEnd; }
    [[nodiscard]] HostClient& Client() { return *m_client; }
    [[nodiscard]] std::string Local(const std::string& name) const { return m_folder / name; }

private:
    TempFolder m_folder;
    Realm m_realm{"QUILLMARK.TEST"};
    Appliance m_server{{"--no-sync", "--identity-header", FrontEnd::IdentityHeader}};
    std::optional<FrontEnd> m_frontEnd;
    std::uint64_t m_log = 0;
    std::optional<HostClient> m_client;
};

}  // namespace quillmark::testing
