// Options that Wine 8 does not have, or sets without looking at the value.
#include <gtest/gtest.h>

#include "unit/winhttp/OptionsTest.h"

namespace quillmark::test {
namespace {

class OptionsPosixTest : public OptionsTest {};

TEST_F(OptionsPosixTest, HandleTypesAndParents) {
    DWORD value = 0;
    EXPECT_EQ(ERROR_SUCCESS, Get(m_session, WINHTTP_OPTION_HANDLE_TYPE, value));
    EXPECT_EQ(WINHTTP_HANDLE_TYPE_SESSION, value);
    EXPECT_EQ(ERROR_SUCCESS, Get(m_connection, WINHTTP_OPTION_HANDLE_TYPE, value));
    EXPECT_EQ(WINHTTP_HANDLE_TYPE_CONNECT, value);
    EXPECT_EQ(ERROR_SUCCESS, Get(m_request, WINHTTP_OPTION_HANDLE_TYPE, value));
    EXPECT_EQ(WINHTTP_HANDLE_TYPE_REQUEST, value);
    HINTERNET parent = nullptr;
    DWORD size = sizeof(parent);
    EXPECT_TRUE(WinHttpQueryOption(m_request, WINHTTP_OPTION_PARENT_HANDLE, &parent, &size));
    EXPECT_EQ(HINTERNET{m_connection}, parent);
    EXPECT_TRUE(WinHttpQueryOption(m_connection, WINHTTP_OPTION_PARENT_HANDLE, &parent, &size));
    EXPECT_EQ(HINTERNET{m_session}, parent);
    EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_TYPE, Get(m_session, WINHTTP_OPTION_PARENT_HANDLE, value));
}

TEST_F(OptionsPosixTest, NumbersAreKeptAndInherited) {
    for (const DWORD option :
         {WINHTTP_OPTION_RESOLVE_TIMEOUT, WINHTTP_OPTION_CONNECT_TIMEOUT, WINHTTP_OPTION_SEND_TIMEOUT,
          WINHTTP_OPTION_RECEIVE_TIMEOUT, WINHTTP_OPTION_MAX_HTTP_AUTOMATIC_REDIRECTS,
          WINHTTP_OPTION_MAX_RESPONSE_HEADER_SIZE, WINHTTP_OPTION_REDIRECT_POLICY}) {
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

TEST_F(OptionsPosixTest, Defaults) {
    DWORD value = 99;
    EXPECT_EQ(ERROR_SUCCESS, Get(m_request, WINHTTP_OPTION_REDIRECT_POLICY, value));
    EXPECT_EQ(WINHTTP_OPTION_REDIRECT_POLICY_DISALLOW_HTTPS_TO_HTTP, value);
    EXPECT_EQ(ERROR_SUCCESS, Get(m_request, WINHTTP_OPTION_MAX_HTTP_AUTOMATIC_REDIRECTS, value));
    EXPECT_EQ(10u, value);
    EXPECT_EQ(ERROR_SUCCESS, Get(m_request, WINHTTP_OPTION_MAX_RESPONSE_HEADER_SIZE, value));
    EXPECT_EQ(65536u, value);
    EXPECT_EQ(ERROR_SUCCESS, Get(m_request, WINHTTP_OPTION_AUTOLOGON_POLICY, value));
    EXPECT_EQ(WINHTTP_AUTOLOGON_SECURITY_LEVEL_MEDIUM, value);
}

TEST_F(OptionsPosixTest, ValuesAndSizesAreChecked) {
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Set(m_request, WINHTTP_OPTION_REDIRECT_POLICY, 3));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Set(m_request, WINHTTP_OPTION_AUTOLOGON_POLICY, 3));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Set(m_request, WINHTTP_OPTION_DISABLE_FEATURE, 0x10));
    WORD narrow = 1;
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              Code(WinHttpSetOption(m_request, WINHTTP_OPTION_SEND_TIMEOUT, &narrow, sizeof(narrow))));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpSetOption(m_request, WINHTTP_OPTION_SEND_TIMEOUT, nullptr, 4)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              Code(WinHttpQueryOption(m_request, WINHTTP_OPTION_SEND_TIMEOUT, &narrow, nullptr)));
    DWORD size = sizeof(narrow);
    EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER,
              Code(WinHttpQueryOption(m_request, WINHTTP_OPTION_SEND_TIMEOUT, &narrow, &size)));
    EXPECT_EQ(4u, size);
}

TEST_F(OptionsPosixTest, TextsAreQueriedInTwoSteps) {
    DWORD size = 0;
    EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER, Code(WinHttpQueryOption(m_request, WINHTTP_OPTION_URL, nullptr, &size)));
    EXPECT_EQ((WideText(QM_W("http://host:8080/x?y")).size() + 1) * 2, size);
    WideText url(size / 2, QM_W('x'));
    EXPECT_TRUE(WinHttpQueryOption(m_request, WINHTTP_OPTION_URL, url.data(), &size));
    EXPECT_EQ(QM_W("http://host:8080/x?y"), WideText(url.c_str()));
    EXPECT_EQ(40u, size);
}

TEST_F(OptionsPosixTest, UserAgentCanBeSetOnTheSession) {
    WideChar agent[] = QM_W("Agent/2.0");
    EXPECT_TRUE(WinHttpSetOption(m_session, WINHTTP_OPTION_USER_AGENT, agent, 9));
    WideChar text[20];
    DWORD size = sizeof(text);
    EXPECT_TRUE(WinHttpQueryOption(m_session, WINHTTP_OPTION_USER_AGENT, text, &size));
    EXPECT_EQ(QM_W("Agent/2.0"), WideText(text));
    EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_TYPE,
              Code(WinHttpSetOption(m_request, WINHTTP_OPTION_USER_AGENT, agent, 9)));
}

TEST_F(OptionsPosixTest, CredentialsForPassportAndReservedArgumentsAreRefused) {
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              Code(WinHttpSetCredentials(m_request, WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_PASSPORT, QM_W("u"),
                                         QM_W("p"), nullptr)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              Code(WinHttpSetCredentials(m_request, WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_BASIC, QM_W("u"),
                                         QM_W("p"), &m_session)));
}

}  // namespace
}  // namespace quillmark::test
