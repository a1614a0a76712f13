#include "account/Password.h"

#include <cstdio>

#include "Input.h"
#include "LocalFiles.h"
#include "System.h"

namespace quillmark::cli {
namespace {

constexpr std::size_t LongestPassword = 4096;

// What cannot be a password is not sent as one: each wrong attempt counts.
std::string FirstLine(const std::string& text, const std::string& where) {
    const std::string line = text.substr(0, text.find_first_of("\r\n"));
    if (line.empty()) {
        throw Failure("the first line of " + where + " is empty: it should be the password", ExitCode::LocalFile);
    }
    if (line.find('\0') != std::string::npos || line.size() > LongestPassword) {
        throw Failure("the first line of " + where + " is no password: it is too long or has null characters",
                      ExitCode::LocalFile);
    }
    return line;
}

}  // namespace

std::string ReadPasswordLine(HANDLE interrupt) {
    const std::optional<std::string> line = ReadUnlessInterrupted(interrupt, [](std::string& text) {
        int unit = 0;
        while ((unit = std::getchar()) != EOF && unit != '\n' && text.size() <= LongestPassword) {
            text.push_back(static_cast<char>(unit));
        }
        return true;
    });
    if (!line) {
        throw Failure("cancelled", ExitCode::Cancelled);
    }
    return *line;
}

std::optional<std::string> PasswordAtHand(const GlobalOptions& options) {
    if (options.inputPassword) {
        return FirstLine(*options.inputPassword, "standard input");
    }
    if (!options.passwordFile.empty()) {
        constexpr std::size_t LongestFile = 64 * 1024;
        const std::string file = "the password file '" + options.passwordFile + "'";
        std::string text;
        Require(ReadLocalFile(options.Path(options.passwordFile), LongestFile, text), "cannot read " + file);
        return FirstLine(text, file);
    }
    const std::string password = Environment("QUILLMARK_PASSWORD");
    return password.empty() ? std::nullopt : std::optional(password);
}

std::string RequirePassword(const GlobalOptions& options, const std::string& user) {
    if (const std::optional<std::string> password = PasswordAtHand(options)) {
        return *password;
    }
    std::string password;
    switch (AskSecret("Password for " + user + ": ", options.interrupt, password)) {
        case Answer::Interrupted:
            throw Failure("cancelled", ExitCode::Cancelled);
        case Answer::NoTerminal:
            throw Failure("no password: there is no terminal to ask on; use --password-file or QUILLMARK_PASSWORD",
                          ExitCode::Usage);
        case Answer::None:
            throw Failure("no password was given", ExitCode::Usage);
        case Answer::Given:
            break;
    }
    return password;
}

}  // namespace quillmark::cli
