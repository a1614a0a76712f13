#include "integration/kerberos/Realm.h"

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "integration/support/HostClient.h"

namespace quillmark::testing {
namespace {

constexpr std::uint32_t Lifetime = 36'007;  // of a ticket in seconds; a number that nothing else in a cache has

std::uint32_t NumberAt(const std::string& bytes, std::size_t at) {
    std::uint32_t number = 0;
    for (std::size_t index = at; index < at + 4; ++index) {
        number = number << 8 | static_cast<unsigned char>(bytes[index]);
    }
    return number;
}

void PutNumberAt(std::string& bytes, std::size_t at, std::uint32_t number) {
    for (std::size_t index = at + 4; index-- > at; number >>= 8) {
        bytes[index] = static_cast<char>(number & 0xFF);
    }
}

}  // namespace

Realm::Realm(std::string name) : m_name(std::move(name)) {
    // The front end, which is not root, reads the configuration and the keys.
    std::filesystem::permissions(m_folder.Path(), std::filesystem::perms(0755));
    WriteConfiguration(0);
    MakeDatabase();
    m_centre.emplace(m_folder.Path().string(), Environment(), [this](std::uint16_t port) {
        WriteConfiguration(port);
        return std::vector<std::string>{"krb5kdc", "-n", "-P", m_folder / "pid"};
    });
    m_centre->Start();
}

// The centre speaks TCP alone, so that a datagram lost on a busy machine costs nobody a second.
void Realm::WriteConfiguration(std::uint16_t port) const {
    const std::string address = "127.0.0.1:" + std::to_string(port);
    WriteFileAt(ConfigurationFile(),
                "[libdefaults]\n"
                "default_realm = " +
                    m_name +
                    "\n"
                    "dns_lookup_realm = false\n"
                    "dns_lookup_kdc = false\n"
                    "dns_canonicalize_hostname = false\n"
                    "rdns = false\n"
                    "udp_preference_limit = 1\n"
                    "default_client_keytab_name = FILE:" +
                    (m_folder / "none.keytab") +
                    "\n"
                    "[realms]\n" +
                    m_name + " = {\n kdc = " + address +
                    "\n}\n"
                    "[domain_realm]\nlocalhost = " +
                    m_name + "\n");
    WriteFileAt(m_folder / "kdc.conf",
                "[kdcdefaults]\n"
                "kdc_listen = \"\"\n"
                "kdc_tcp_listen = " +
                    address +
                    "\n"
                    "[realms]\n" +
                    m_name +
                    " = {\n"
                    " database_name = " +
                    (m_folder / "principals") +
                    "\n"
                    " key_stash_file = " +
                    (m_folder / "stash") +
                    "\n"
                    " supported_enctypes = aes256-cts:normal\n}\n"
                    "[logging]\nkdc = FILE:" +
                    (m_folder / "kdc.log") + "\n");
}

void Realm::MakeDatabase() const {
    RunProgram({"kdb5_util", "-r", m_name, "create", "-s", "-P", "master"}, Environment());
    AddUser("anna");
    Administrate("addprinc -randkey HTTP/localhost");
    Administrate("ktadd -k " + ServiceKeys() + " HTTP/localhost");
    std::filesystem::permissions(ServiceKeys(), std::filesystem::perms(0644));
}

// kadmin.local ends well even when a command fails, and says so on standard error only.
void Realm::Administrate(const std::string& command) const {
    RunProgram({"kadmin.local", "-r", m_name, "-q", command}, Environment());
}

void Realm::AddUser(const std::string& name) const {
    Administrate("addprinc -pw ticket " + name);
}

std::string Realm::Ticket(const std::string& user) const {
    const std::string file = m_folder / ("ticket-" + user);
    RunProgram({"kinit", "-c", "FILE:" + file, "-l", std::to_string(Lifetime), user}, Environment(), "ticket\n");
    return "FILE:" + file;
}

// The cache holds the times in plain text, as 32-bit seconds: issued, valid from, valid until.
std::string Realm::YesterdaysTicket(const std::string& user) const {
    constexpr std::uint32_t Day = 24 * 60 * 60;
    const std::string ticket = Ticket(user);
    const std::string file = ticket.substr(std::string("FILE:").size());
    std::string cache = ReadFileAt(file);
    int found = 0;
    for (std::size_t at = 0; at + 12 <= cache.size(); ++at) {
        const std::uint32_t issued = NumberAt(cache, at);
        if (issued > Day && NumberAt(cache, at + 4) == issued && NumberAt(cache, at + 8) == issued + Lifetime) {
            for (const std::size_t field : {at, at + 4, at + 8}) {
                PutNumberAt(cache, field, NumberAt(cache, field) - Day);
            }
            ++found;
        }
    }
    if (found != 1) {
        throw std::runtime_error("the ticket's times are not where they were expected");
    }
    WriteFileAt(file, cache);
    return ticket;
}

Process::Environment Realm::Environment() const {
    return {{"KRB5_CONFIG", ConfigurationFile()}, {"KRB5_KDC_PROFILE", m_folder / "kdc.conf"}};
}

}  // namespace quillmark::testing
