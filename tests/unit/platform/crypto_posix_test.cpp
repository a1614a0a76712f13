// What this system's encoder and GUIDs do where Windows leaves it open.
#include <gtest/gtest.h>

#include "unit/platform/WideText.h"

namespace {

TEST(CryptoPosixTest, RefusesATextThatWouldNotFitIntoTheCount) {
    const BYTE byte = 1;
    DWORD size = 0;
    // Only the size is asked for, so the bytes that are not there are not read.
    SetLastError(0);
    EXPECT_FALSE(CryptBinaryToStringW(&byte, 0xFFFFFFFF, CRYPT_STRING_BASE64, nullptr, &size));
    EXPECT_EQ(GetLastError(), 87u);
    EXPECT_TRUE(CryptBinaryToStringW(&byte, 0x80000000, CRYPT_STRING_BASE64, nullptr, &size));
    EXPECT_EQ(size, 2952790019u);
}

TEST(CryptoPosixTest, ATextThatIsNoGuidGivesZeros) {
    const GUID sample = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};
    for (const WCHAR* text : {QM_W(""), QM_W("{0F8FAD5B-D9CB-469F-A165-70867728950E"), QM_W("Some.Class"),
                              QM_W("{0G8FAD5B-D9CB-469F-A165-70867728950E}")}) {
        CLSID guid = sample;
        EXPECT_EQ(CLSIDFromString(text, &guid), static_cast<HRESULT>(0x800401F3));
        EXPECT_TRUE(guid == GUID{});
        guid = sample;
        EXPECT_EQ(IIDFromString(text, &guid), static_cast<HRESULT>(0x80070057));
        EXPECT_TRUE(guid == GUID{});
    }
}

}  // namespace
