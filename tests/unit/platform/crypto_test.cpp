#include <gtest/gtest.h>

#include <mutex>
#include <numeric>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/Wine.h"
#include "unit/platform/WideText.h"

namespace {

using quillmark::test::OrUnderWine;

constexpr DWORD OneLine = CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF;

// The bytes 0, 1, 2, ...
std::vector<BYTE> Bytes(std::size_t count) {
    std::vector<BYTE> bytes(count);
    std::iota(bytes.begin(), bytes.end(), BYTE{0});
    return bytes;
}

const WideText First48 = QM_W("AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4v");

WideText Base64(const std::vector<BYTE>& bytes, DWORD flags) {
    DWORD size = 0;
    EXPECT_TRUE(CryptBinaryToStringW(bytes.data(), static_cast<DWORD>(bytes.size()), flags, nullptr, &size));
    WideText text(size, QM_W('#'));
    const DWORD queried = size;
    EXPECT_TRUE(CryptBinaryToStringW(bytes.data(), static_cast<DWORD>(bytes.size()), flags, text.data(), &size));
    EXPECT_EQ(size, queried - 1);
    return text.c_str();
}

TEST(CryptoBase64Test, PadsToFourCharacters) {
    EXPECT_EQ(Base64({'M'}, OneLine), QM_W("TQ=="));
    EXPECT_EQ(Base64({'M', 'a'}, OneLine), QM_W("TWE="));
    EXPECT_EQ(Base64({'M', 'a', 'n'}, OneLine), QM_W("TWFu"));
    EXPECT_EQ(Base64({0xFB, 0xFF, 0xBF}, OneLine), QM_W("+/+/"));
}

TEST(CryptoBase64Test, EndsEachLineOf64CharactersWithALineBreak) {
    EXPECT_EQ(Base64(Bytes(3), CRYPT_STRING_BASE64), QM_W("AAEC\r\n"));
    EXPECT_EQ(Base64(Bytes(48), CRYPT_STRING_BASE64), First48 + QM_W("\r\n"));
    // Wine breaks no line before a group that is padded.
    EXPECT_THAT(Base64(Bytes(49), CRYPT_STRING_BASE64),
                OrUnderWine(First48 + QM_W("\r\nMA==\r\n"), First48 + QM_W("MA==\r\n")));
    EXPECT_THAT(Base64(Bytes(49), CRYPT_STRING_BASE64 | CRYPT_STRING_NOCR),
                OrUnderWine(First48 + QM_W("\nMA==\n"), First48 + QM_W("MA==\n")));
    EXPECT_EQ(Base64(Bytes(51), CRYPT_STRING_BASE64), First48 + QM_W("\r\nMDEy\r\n"));
    EXPECT_EQ(Base64(Bytes(49), OneLine), First48 + QM_W("MA=="));
}

TEST(CryptoBase64Test, ASmallBufferIsMoreDataAndTellsTheSizeNeeded) {
    const std::vector<BYTE> bytes = Bytes(3);
    WCHAR text[8];
    DWORD size = 6;
    SetLastError(0);
    EXPECT_FALSE(CryptBinaryToStringW(bytes.data(), 3, CRYPT_STRING_BASE64, text, &size));
    EXPECT_EQ(GetLastError(), 234u);
    EXPECT_EQ(size, 7u);
    EXPECT_TRUE(CryptBinaryToStringW(bytes.data(), 3, CRYPT_STRING_BASE64, text, &size));
    EXPECT_EQ(size, 6u);
    EXPECT_EQ(WideText(text), QM_W("AAEC\r\n"));
}

TEST(CryptoBase64Test, RefusesBadArguments) {
    const BYTE byte = 1;
    DWORD size = 0;
    const auto error = [&](const BYTE* bytes, DWORD flags, DWORD* count) {
        SetLastError(0);
        EXPECT_FALSE(CryptBinaryToStringW(bytes, 1, flags, nullptr, count));
        return GetLastError();
    };
    EXPECT_EQ(error(nullptr, CRYPT_STRING_BASE64, &size), 87u);
    EXPECT_EQ(error(&byte, CRYPT_STRING_BASE64, nullptr), 87u);
    EXPECT_EQ(error(&byte, 0x12345, &size), 87u);
}

constexpr GUID SampleGuid = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};
const WCHAR* const SampleText = QM_W("{0F8FAD5B-D9CB-469F-A165-70867728950E}");

TEST(CryptoGuidTest, CreatesDifferentRandomGuidsOnManyThreads) {
    std::mutex lock;
    std::set<WideText> all;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 250; ++j) {
                GUID guid{};
                WCHAR text[39];
                ASSERT_EQ(CoCreateGuid(&guid), 0);
                ASSERT_EQ(StringFromGUID2(guid, text, 39), 39);
                // Version 4, variant 10xx.
                ASSERT_EQ(text[15], QM_W('4'));
                ASSERT_NE(WideText(QM_W("89AB")).find(text[20]), WideText::npos);
                const std::lock_guard guard(lock);
                all.insert(text);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(all.size(), 2000u);
}

TEST(CryptoGuidTest, CreationRefusesNull) {
    EXPECT_EQ(CoCreateGuid(nullptr), static_cast<HRESULT>(0x80070057));
}

TEST(CryptoGuidTest, PrintsInBracesWithUpperCaseDigits) {
    WCHAR text[40];
    text[39] = QM_W('#');
    EXPECT_EQ(StringFromGUID2(SampleGuid, text, 40), 39);
    EXPECT_EQ(WideText(text), SampleText);
    EXPECT_EQ(text[39], QM_W('#'));
}

TEST(CryptoGuidTest, DoesNotPrintIntoASmallBuffer) {
    WCHAR text[39];
    text[0] = QM_W('#');
    EXPECT_EQ(StringFromGUID2(SampleGuid, text, 38), 0);
    EXPECT_EQ(text[0], QM_W('#'));
    EXPECT_EQ(StringFromGUID2(SampleGuid, text, 39), 39);
}

TEST(CryptoGuidTest, ReadsWhatItPrintsInEitherCase) {
    CLSID guid{};
    EXPECT_EQ(CLSIDFromString(SampleText, &guid), 0);
    EXPECT_TRUE(guid == SampleGuid);
    EXPECT_EQ(IIDFromString(QM_W("{0f8fad5b-d9cb-469f-a165-70867728950e}"), &guid), 0);
    EXPECT_TRUE(guid == SampleGuid);
}

TEST(CryptoGuidTest, ReadsANullTextAsTheGuidOfZeros) {
    CLSID guid = SampleGuid;
    EXPECT_EQ(CLSIDFromString(nullptr, &guid), 0);
    EXPECT_TRUE(guid == GUID{});
}

TEST(CryptoGuidTest, RefusesTextsInAnotherForm) {
    const WideText texts[] = {
        QM_W(""),
        QM_W("0F8FAD5B-D9CB-469F-A165-70867728950E"),
        QM_W("{0F8FAD5B-D9CB-469F-A165-70867728950E"),
        QM_W("{0F8FAD5B-D9CB-469F-A165-70867728950E}}"),
        QM_W("{0F8FAD5BD9CB-469F-A165-70867728950E0-}"),
        QM_W("Some.Class"),
    };
    const auto invalid = static_cast<HRESULT>(0x80070057);
    CLSID guid{};
    for (const WideText& text : texts) {
        EXPECT_EQ(CLSIDFromString(text.c_str(), &guid), static_cast<HRESULT>(0x800401F3));
        EXPECT_EQ(IIDFromString(text.c_str(), &guid), invalid);
    }
    const WCHAR* const noDigit = QM_W("{0G8FAD5B-D9CB-469F-A165-70867728950E}");
    EXPECT_EQ(CLSIDFromString(noDigit, &guid), static_cast<HRESULT>(0x800401F3));
    // Wine has a code of its own for a text of the right length.
    EXPECT_THAT(IIDFromString(noDigit, &guid), OrUnderWine(invalid, static_cast<HRESULT>(0x800401F4)));
    EXPECT_EQ(CLSIDFromString(SampleText, nullptr), invalid);
}

}  // namespace
