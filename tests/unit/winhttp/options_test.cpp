// Options and credentials.
#include <gtest/gtest.h>

#include "unit/winhttp/OptionsTest.h"
#include "unit/winhttp/WineCodes.h"

namespace quillmark::test {
namespace {

TEST_F(OptionsTest, TimeoutsAreKeptAndInherited) {
    for (const DWORD option : {WINHTTP_OPTION_RESOLVE_TIMEOUT, WINHTTP_OPTION_CONNECT_TIMEOUT,
                               WINHTTP_OPTION_SEND_TIMEOUT, WINHTTP_OPTION_RECEIVE_TIMEOUT}) {
        EXPECT_EQ(ERROR_SUCCESS, Set(m_session, option, 2)) << option;
        const ScopedHandle later = OpenRequest(m_session, 80, "GET", "/");
        DWORD value = 0;
        EXPECT_EQ(ERROR_SUCCESS, Get(later, option, value)) << option;
        EXPECT_EQ(2u, value) << option;
        EXPECT_EQ(ERROR_SUCCESS, Set(later, option, 1)) << option;
        EXPECT_EQ(ERROR_SUCCESS, Get(m_session, option, value)) << option;
        EXPECT_EQ(2u, value) << option;
        EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_TYPE, Set(m_connection, option, 1)) << option;
    }
}

TEST_F(OptionsTest, TenRedirectsAreFollowedUnlessSaidOtherwise) {
    DWORD value = 0;
    EXPECT_EQ(ERROR_SUCCESS, Get(m_request, WINHTTP_OPTION_MAX_HTTP_AUTOMATIC_REDIRECTS, value));
    EXPECT_EQ(10u, value);
}

TEST_F(OptionsTest, InfiniteTimeoutIsNone) {
    EXPECT_EQ(ERROR_SUCCESS, Set(m_request, WINHTTP_OPTION_SEND_TIMEOUT, INFINITE));
    DWORD value = 1;
    EXPECT_EQ(ERROR_SUCCESS, Get(m_request, WINHTTP_OPTION_SEND_TIMEOUT, value));
    // Wine gives back what it was given.
    EXPECT_THAT(value, OrUnderWine<DWORD>(0, INFINITE));
}

TEST_F(OptionsTest, UnknownAndMisplacedOnes) {
    DWORD value = 0;
    EXPECT_EQ(ERROR_WINHTTP_INVALID_OPTION, Set(m_request, 9999, 0));
    // Wine has one code for every option that it cannot tell, and one for every one that it cannot set.
    EXPECT_THAT(Get(m_request, 9999, value), OrWineSays(ERROR_WINHTTP_INVALID_OPTION, ERROR_INVALID_PARAMETER));
    EXPECT_THAT(Get(m_request, WINHTTP_OPTION_DISABLE_FEATURE, value),
                OrWineSays(ERROR_WINHTTP_INVALID_OPTION, ERROR_INVALID_PARAMETER));
    EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_TYPE, Set(m_session, WINHTTP_OPTION_DISABLE_FEATURE, 0));
    EXPECT_THAT(Set(m_session, WINHTTP_OPTION_AUTOLOGON_POLICY, 1),
                OrWineSays(ERROR_WINHTTP_INCORRECT_HANDLE_TYPE, ERROR_WINHTTP_INVALID_OPTION));
    for (const DWORD option : {WINHTTP_OPTION_HANDLE_TYPE, WINHTTP_OPTION_PARENT_HANDLE,
                               WINHTTP_OPTION_SECURITY_CERTIFICATE_STRUCT, WINHTTP_OPTION_URL}) {
        EXPECT_THAT(Set(m_request, option, 0),
                    OrWineSays(ERROR_WINHTTP_OPTION_NOT_SETTABLE, ERROR_WINHTTP_INVALID_OPTION))
            << option;
    }
}

TEST_F(OptionsTest, ContextIsKept) {
    DWORD_PTR context = 0x123456789A;
    EXPECT_TRUE(WinHttpSetOption(m_request, WINHTTP_OPTION_CONTEXT_VALUE, &context, sizeof(context)));
    DWORD_PTR kept = 0;
    DWORD size = sizeof(kept);
    EXPECT_TRUE(WinHttpQueryOption(m_request, WINHTTP_OPTION_CONTEXT_VALUE, &kept, &size));
    EXPECT_EQ(context, kept);
}

TEST_F(OptionsTest, CredentialsAreChecked) {
    const auto set = [&](DWORD target, DWORD scheme, LPCWSTR user, LPCWSTR password) {
        return Code(WinHttpSetCredentials(m_request, target, scheme, user, password, nullptr));
    };
    EXPECT_EQ(ERROR_SUCCESS, set(WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_NEGOTIATE, nullptr, nullptr));
    EXPECT_EQ(ERROR_SUCCESS, set(WINHTTP_AUTH_TARGET_PROXY, WINHTTP_AUTH_SCHEME_BASIC, QM_W("u"), QM_W("p")));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, set(2, WINHTTP_AUTH_SCHEME_BASIC, QM_W("u"), QM_W("p")));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, set(WINHTTP_AUTH_TARGET_SERVER, 0, QM_W("u"), QM_W("p")));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, set(WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_BASIC, nullptr, nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, set(WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_BASIC, QM_W("u"), nullptr));
}

}  // namespace
}  // namespace quillmark::test
