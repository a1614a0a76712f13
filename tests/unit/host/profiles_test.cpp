#include "account/Profiles.h"

#include <gtest/gtest.h>

namespace quillmark::cli {
namespace {

TEST(ProfileNameTest, TakesLettersDigitsHyphensAndUnderscores) {
    for (const std::string name : {"work", "Work-2", "a_b", "9", "default", "x-"}) {
        EXPECT_TRUE(IsProfileName(name)) << name;
    }
    EXPECT_TRUE(IsProfileName(std::string(64, 'a')));
}

TEST(ProfileNameTest, RefusesWhatWouldBeAnotherFile) {
    for (const std::string name : {"", ".", "..", "../x", "a/b", "a\\b", "a.new", "uploads", "UPLOADS", "-x", "a b",
                                   "a:b", "na\xC3\xAFve", "a\nb"}) {
        EXPECT_FALSE(IsProfileName(name)) << name;
    }
    EXPECT_FALSE(IsProfileName(std::string(65, 'a')));
    EXPECT_FALSE(IsProfileName(std::string("a\0b", 3)));
}

}  // namespace
}  // namespace quillmark::cli
