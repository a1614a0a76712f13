// The file that keeps a login from one command to the next: server, user, device and session token, readable by its
// owner only. The password is never in it; the device's token is, for a new login when the session has ended.
#pragma once

#include <string>

#include "quillmark/WideString.h"

namespace quillmark::cli {

struct StoredSession {
    std::string server;  // with scheme and port: "https://files.example.com:8443"
    std::string user;
    std::string device;
    std::string token;
    std::string deviceToken;  // where the server wanted one
    std::string integrated;   // "yes": logged in with a Kerberos ticket
    std::string authority;    // the file that was named with --ca; absolute
    std::string since;        // when the token was given: "2026-01-02T03:04:05.678Z"
};

// Others than its owner can read or change the file: what it says may be somebody else's word.
inline constexpr DWORD ErrorNotPrivate = 1314;  // ERROR_PRIVILEGE_NOT_HELD

// Where the file is when no other place is named; empty for a user without a home.
[[nodiscard]] WideString DefaultSessionPath();

// 0, ERROR_FILE_NOT_FOUND when nobody logged in, ERROR_INVALID_DATA when the file is not one of ours or not whole,
// ErrorNotPrivate.
[[nodiscard]] DWORD LoadSession(const WideString& path, StoredSession& session);

// Makes the folder when it is missing. 0 or an error code.
[[nodiscard]] DWORD SaveSession(const WideString& path, const StoredSession& session);

}  // namespace quillmark::cli
