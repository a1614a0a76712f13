// A Kerberos realm of the test's own: a key distribution centre in a temporary folder, the user "anna" and the service
// HTTP/localhost. Nothing of the system's own configuration is read, no name is looked up.
#pragma once

#include <optional>
#include <string>

#include "integration/kerberos/Daemon.h"
#include "integration/support/TempFolder.h"

namespace quillmark::testing {

class Realm {
public:
    // name: "QUILLMARK.TEST". Returns when the centre answers.
    explicit Realm(std::string name);
    Realm(const Realm&) = delete;
    Realm& operator=(const Realm&) = delete;

    void AddUser(const std::string& name) const;
    // Signs the user in as kinit does and gives back where the ticket is, a name for KRB5CCNAME.
    [[nodiscard]] std::string Ticket(const std::string& user) const;
    // The same, as the user finds it the day after: expired.
    [[nodiscard]] std::string YesterdaysTicket(const std::string& user) const;
    // A name for KRB5CCNAME behind which there is no ticket.
    [[nodiscard]] std::string NoTicket() const { return "FILE:" + (m_folder / "none"); }
    // No more tickets for services from now on.
    void Stop() { m_centre->Kill(); }

    // For KRB5_CONFIG of the realm's members.
    [[nodiscard]] std::string ConfigurationFile() const { return m_folder / "krb5.conf"; }
    // The keys of HTTP/localhost, readable for everybody.
    [[nodiscard]] std::string ServiceKeys() const { return m_folder / "http.keytab"; }

private:
    void WriteConfiguration(std::uint16_t port) const;
    void MakeDatabase() const;
    void Administrate(const std::string& command) const;
    [[nodiscard]] Process::Environment Environment() const;

    const std::string m_name;
    TempFolder m_folder;
    std::optional<Daemon> m_centre;
};

}  // namespace quillmark::testing
