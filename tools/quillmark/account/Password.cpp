#include "account/Password.h"

#include <cstdio>

#include "LocalFiles.h"
#include "System.h"

namespace quillmark::cli {
namespace {

constexpr std::size_t LongestPassword = 4096;

}  // namespace

std::string ReadPasswordLine() {
    std::string line;
    int unit = 0;
    while ((unit = std::getchar()) != EOF && unit != '\n' && line.size() < LongestPassword) {
        line.push_back(static_cast<char>(unit));
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return line;
}

std::optional<std::string> PasswordAtHand(const GlobalOptions& options) {
    if (options.inputPassword) {
        return options.inputPassword;
    }
    if (!options.passwordFile.empty()) {
        std::string password;
        Require(ReadLocalFile(options.Path(options.passwordFile), LongestPassword, password),
                "cannot read the password file '" + options.passwordFile + "'");
        return password.substr(0, password.find_first_of("\r\n"));
    }
    const std::string password = Environment("QUILLMARK_PASSWORD");
    return password.empty() ? std::nullopt : std::optional(password);
}

std::string RequirePassword(const GlobalOptions& options, const std::string& user) {
    if (const std::optional<std::string> password = PasswordAtHand(options)) {
        return *password;
    }
    std::string password;
    if (!AskSecret("Password for " + user + ": ", password)) {
        throw Failure("no password: there is no terminal to ask on; use --password-file or QUILLMARK_PASSWORD",
                      ExitCode::Usage);
    }
    return password;
}

}  // namespace quillmark::cli
