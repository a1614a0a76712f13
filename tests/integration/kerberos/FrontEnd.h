// Apache in front of the reference server: it asks for Negotiate on the Kerberos branch and names the user in a header
// that clients cannot send.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "integration/kerberos/Daemon.h"
#include "integration/kerberos/Realm.h"
#include "integration/support/Appliance.h"
#include "integration/support/TempFolder.h"

namespace quillmark::testing {

class FrontEnd {
public:
    // How long an answered challenge holds.
    enum class Holds { ForTheConnection, ForTheCookie, ForTheRequest };

    // The header that the server has to believe: {"--identity-header", IdentityHeader}.
    static constexpr const char* IdentityHeader = "X-Remote-User";

    FrontEnd(const Realm& realm, const Appliance& server, Holds holds);
    FrontEnd(const FrontEnd&) = delete;
    FrontEnd& operator=(const FrontEnd&) = delete;

    [[nodiscard]] std::string Url() const { return "http://localhost:" + std::to_string(m_apache->Port()); }
    // Closes all connections, on the spot, and takes new ones on the same port.
    void Restart();
    // What it answered to requests on the Kerberos branch, in no certain order, each as "401 POST /folders/f -" with
    // the user as the last word. Waits for that many; there may be more.
    [[nodiscard]] std::vector<std::string> AwaitAnswers(std::size_t count) const;
    // How many bytes of bodies and heads it has read for requests with this answer.
    [[nodiscard]] std::uint64_t BytesReadFor(const std::string& answer) const;

private:
    struct Answer {
        std::string text;
        std::uint64_t bytesRead;
    };
    [[nodiscard]] std::string Configuration(const Appliance& server, const Realm& realm, Holds holds) const;
    [[nodiscard]] std::vector<Answer> Answers() const;

    TempFolder m_folder;
    std::optional<Daemon> m_apache;
};

}  // namespace quillmark::testing
