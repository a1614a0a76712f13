// Codes that Wine 8 gives in the place of those that WinHTTP documents. The documented one is right everywhere; Wine's
// is taken under Wine only.
#pragma once

#include <gmock/gmock.h>

#include "support/Wine.h"

namespace quillmark::test {

template <typename... Codes>
testing::Matcher<DWORD> OrWineSays(DWORD documented, Codes... wine) {
    if (UnderWine()) {
        return testing::AnyOf(documented, static_cast<DWORD>(wine)...);
    }
    return testing::Eq(documented);
}

// Windows Sockets' own.
inline constexpr DWORD SocketTimedOut = 10060;
inline constexpr DWORD SocketReset = 10054;

inline testing::Matcher<DWORD> IsTimeout() {
    return OrWineSays(ERROR_WINHTTP_TIMEOUT, SocketTimedOut);
}

// Before a reply's head. Wine takes the end of the connection for a reply without a status line.
inline testing::Matcher<DWORD> IsConnectionError() {
    return OrWineSays(ERROR_WINHTTP_CONNECTION_ERROR, ERROR_WINHTTP_INVALID_SERVER_RESPONSE, SocketReset);
}

// In a reply's body. Wine takes any end for the body's.
inline testing::Matcher<DWORD> IsLostInTheBody() {
    return OrWineSays(ERROR_WINHTTP_CONNECTION_ERROR, ERROR_SUCCESS);
}

// A reply that is none. Wine takes what it can read of it.
inline testing::Matcher<DWORD> IsInvalidReply() {
    return OrWineSays(ERROR_WINHTTP_INVALID_SERVER_RESPONSE, ERROR_SUCCESS);
}

// Wine tells what is wrong with a certificate by a code of its own.
inline testing::Matcher<DWORD> IsSecureFailure() {
    return OrWineSays(ERROR_WINHTTP_SECURE_FAILURE, ERROR_WINHTTP_SECURE_CHANNEL_ERROR);
}

}  // namespace quillmark::test
