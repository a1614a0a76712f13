#include "common/GuidText.h"

#include <gtest/gtest.h>

namespace quillmark {
namespace {

constexpr GUID Sample = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};

TEST(GuidText, IsUpperCaseWithoutBraces) {
    EXPECT_EQ(GuidText(Sample), QM_W("0F8FAD5B-D9CB-469F-A165-70867728950E"));
    EXPECT_EQ(GuidText(GUID{}), QM_W("00000000-0000-0000-0000-000000000000"));
}

TEST(GuidText, IsReadInAnyCaseWithOrWithoutBraces) {
    for (const WideChar* text :
         {QM_W("0F8FAD5B-D9CB-469F-A165-70867728950E"), QM_W("{0F8FAD5B-D9CB-469F-A165-70867728950E}"),
          QM_W("0f8fad5b-d9cb-469f-a165-70867728950e"), QM_W("{0f8fad5b-D9CB-469f-a165-70867728950E}")}) {
        GUID guid = {};
        EXPECT_TRUE(ParseGuid(text, guid)) << NarrowUtf8(text);
        EXPECT_EQ(guid, Sample) << NarrowUtf8(text);
    }
}

TEST(GuidText, OtherTextsAreNoneAndLeaveTheResult) {
    for (const WideChar* text :
         {QM_W(""), QM_W("{}"), QM_W("{"), QM_W("0F8FAD5B-D9CB-469F-A165-70867728950"),
          QM_W("0F8FAD5B-D9CB-469F-A165-70867728950EE"), QM_W("{0F8FAD5B-D9CB-469F-A165-70867728950E"),
          QM_W("0F8FAD5B-D9CB-469F-A165-70867728950E}"), QM_W("{{0F8FAD5B-D9CB-469F-A165-70867728950E}}"),
          QM_W("0F8FAD5BD9CB-469F-A165-708677289-50E0"), QM_W("GF8FAD5B-D9CB-469F-A165-70867728950E")}) {
        GUID guid = Sample;
        EXPECT_FALSE(ParseGuid(text, guid)) << NarrowUtf8(text);
        EXPECT_EQ(guid, Sample);
    }
}

}  // namespace
}  // namespace quillmark
