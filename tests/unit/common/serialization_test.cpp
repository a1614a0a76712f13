#include "common/Serialization.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "fakes/RecordingEventing.h"
#include "support/Wrap.h"

namespace {

// Which call of the encoder fails from now on; 0 for none.
int failingCall = 0;

}  // namespace

QUILLMARK_WRAP(BOOL, CryptBinaryToStringW, (const BYTE* bytes, DWORD count, DWORD flags, LPWSTR text, DWORD* length)) {
    if (failingCall != 0 && --failingCall == 0) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
    }
    return QUILLMARK_REAL(CryptBinaryToStringW)(bytes, count, flags, text, length);
}

namespace quillmark {
namespace {

using fakes::RecordedLog;

std::string MessageOf(const void* data, std::size_t size) {
    try {
        static_cast<void>(Serialization::Base64(data, size));
    } catch (const std::runtime_error& exception) {
        return exception.what();
    }
    return "nothing thrown";
}

TEST(Base64, EncodesWithPadding) {
    EXPECT_EQ(Serialization::Base64("f", 1), QM_W("Zg=="));
    EXPECT_EQ(Serialization::Base64("fo", 2), QM_W("Zm8="));
    EXPECT_EQ(Serialization::Base64("foo", 3), QM_W("Zm9v"));
    EXPECT_EQ(Serialization::Base64("\xFB\xFF", 2), QM_W("+/8="));
    EXPECT_EQ(Serialization::Base64("\0\0\0", 3), QM_W("AAAA"));
}

TEST(Base64, IsOneLine) {
    const std::string bytes(200, 'a');
    const WideString text = Serialization::Base64(bytes.data(), bytes.size());
    EXPECT_EQ(text.size(), 268u);
    EXPECT_EQ(text.Find(QM_W('\r')), WideString::npos);
    EXPECT_EQ(text.Find(QM_W('\n')), WideString::npos);
    EXPECT_EQ(text.Substring(0, 8), QM_W("YWFhYWFh"));
    EXPECT_EQ(text.Substring(264), QM_W("YWE="));
}

TEST(Base64, RefusesNothing) {
    EXPECT_EQ(MessageOf(nullptr, 3), "Serialization::Base64(),ln=20 : Invalid parameter");
    EXPECT_EQ(MessageOf("", 0), "Serialization::Base64(),ln=25 : Invalid parameter");
    EXPECT_EQ(MessageOf("", 0x100000000u), "Serialization::Base64(),ln=25 : Invalid parameter");
}

TEST(Base64, AFailingPlatformIsAnException) {
    failingCall = 1;
    EXPECT_EQ(MessageOf("f", 1), "Serialization::Base64(),ln=31 : Error running CryptBinaryToStringW()");
    failingCall = 2;
    EXPECT_EQ(MessageOf("f", 1), "Serialization::Base64(),ln=38 : Error running CryptBinaryToStringW(), error=8");
}

TEST(UTF16ToBase64, WrapsTheCodeUnits) {
    EXPECT_EQ(Serialization::UTF16ToBase64(QM_W("A")), QM_W("base64~~(QQA=)~~base64"));
    EXPECT_EQ(Serialization::UTF16ToBase64(QM_W("\u20AC")), QM_W("base64~~(rCA=)~~base64"));
    EXPECT_EQ(Serialization::UTF16ToBase64(QM_W("\U00010400")), QM_W("base64~~(AdgA3A==)~~base64"));
}

TEST(UTF16ToBase64, IsOneLineOfAnyLength) {
    const WideString text = Serialization::UTF16ToBase64(std::basic_string<WideChar>(100, QM_W('x')));
    EXPECT_EQ(text.size(), 9u + 268u + 9u);
    EXPECT_EQ(text.Find(QM_W('\r')), WideString::npos);
    EXPECT_EQ(text.Find(QM_W('\n')), WideString::npos);
}

TEST(UTF16ToBase64, AnEmptyTextIsLoggedAndHasNoEncoding) {
    const RecordedLog log;
    EXPECT_EQ(Serialization::UTF16ToBase64(QM_W("")), QM_W(""));
    EXPECT_EQ(log.Records().size(), 1u);
    EXPECT_TRUE(log.Has(103, "Serialization", "Serialization::UTF16ToBase64",
                        "Failed to encode [], cause = Serialization::Base64(),ln=25 : Invalid parameter"));
}

TEST(UTF16ToBase64, AFailingPlatformIsLogged) {
    const RecordedLog log;
    failingCall = 1;
    EXPECT_EQ(Serialization::UTF16ToBase64(QM_W("A")), QM_W(""));
    EXPECT_TRUE(log.Has(103, "Serialization", "Serialization::UTF16ToBase64",
                        "Failed to encode [A], cause = Serialization::Base64(),ln=31 : Error running "
                        "CryptBinaryToStringW()"));
}

}  // namespace
}  // namespace quillmark
