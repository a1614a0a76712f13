#include "transport/ScrubPasswords.h"

#include <regex>

#include "TransportTest.h"
#include "common/WellFormed.h"

namespace quillmark {
namespace {

class ScrubPasswordsTest : public TransportTest {
protected:
    static std::string Scrub(const std::string& body) { return ScrubPasswords(body.data(), body.size()); }
};

TEST_F(ScrubPasswordsTest, MasksUpToTheNextAmpersand) {
    EXPECT_EQ(Scrub("username=bob&password=secret&remember=1"), "username=bob&password=XXXXX&remember=1");
}

TEST_F(ScrubPasswordsTest, MasksUpToTheEndWithTheSpacesOfTheKey) {
    EXPECT_EQ(Scrub("password =a b"), "password=XXXXX");
    EXPECT_EQ(Scrub("x=1&password \t\r\n\v\f=a"), "x=1&password=XXXXX");
}

TEST_F(ScrubPasswordsTest, IsCaseSensitive) {
    EXPECT_EQ(Scrub("Password=abc"), "Password=abc");
    EXPECT_EQ(Scrub("PASSWORD=abc"), "PASSWORD=abc");
}

TEST_F(ScrubPasswordsTest, MasksEveryMatch) {
    EXPECT_EQ(Scrub("password=a&password=b&c=password=d"), "password=XXXXX&password=XXXXX&c=password=XXXXX");
}

TEST_F(ScrubPasswordsTest, AKeyThatEndsInPasswordKeepsItsPrefix) {
    EXPECT_EQ(Scrub("new_password=a&b=1"), "new_password=XXXXX&b=1");
}

TEST_F(ScrubPasswordsTest, AKeyWithoutAValueOrAnEqualsSignIsNoMatch) {
    EXPECT_EQ(Scrub("password"), "password");
    EXPECT_EQ(Scrub("password "), "password ");
    EXPECT_EQ(Scrub("passwords=1&password&x=1"), "passwords=1&password&x=1");
    EXPECT_EQ(Scrub("passwor=1"), "passwor=1");
}

TEST_F(ScrubPasswordsTest, AnEmptyValueIsMaskedToo) {
    EXPECT_EQ(Scrub("password=&a=1"), "password=XXXXX&a=1");
    EXPECT_EQ(Scrub("password="), "password=XXXXX");
}

TEST_F(ScrubPasswordsTest, AValueReachesOverLineBreaksAndZeros) {
    EXPECT_EQ(Scrub("password=a\nb\r\nc&d=1"), "password=XXXXX&d=1");
    EXPECT_EQ(Scrub(std::string("password=a\0b&c=1", 16)), "password=XXXXX&c=1");
    EXPECT_EQ(Scrub("password=a\nb"), "password=XXXXX");
}

TEST_F(ScrubPasswordsTest, AKeyRightBehindAKeyIsFound) {
    EXPECT_EQ(Scrub("passwordpassword=a"), "passwordpassword=XXXXX");
}

TEST_F(ScrubPasswordsTest, AnEmptyBodyIsEmpty) {
    EXPECT_EQ(Scrub(""), "");
}

TEST_F(ScrubPasswordsTest, LongValuesAndLongWhiteSpaceTakeNoStack) {
    const std::size_t length = 10 * 1024 * 1024;
    EXPECT_EQ(Scrub("password=" + std::string(length, 'x') + "&a=1"), "password=XXXXX&a=1");
    EXPECT_EQ(Scrub("password" + std::string(length, ' ') + "=x&a=1"), "password=XXXXX&a=1");
    const std::string plain(length, 'y');
    EXPECT_EQ(Scrub(plain), plain);
}

TEST_F(ScrubPasswordsTest, AnErrorOfTheExpressionIsLoggedAndHidesTheText) {
    const std::string masked = ScrubPasswordsWith("a=1&password=secret", [](std::string_view) -> std::size_t {
        throw std::regex_error(std::regex_constants::error_stack);
    });
    EXPECT_EQ(masked, "");
    const std::string reason = std::regex_error(std::regex_constants::error_stack).what();
    EXPECT_TRUE(LoggedError("ScrubPasswords", "Error while performing regex replacement: " + reason));
    EXPECT_FALSE(log.Mentions("secret"));
}

TEST_F(ScrubPasswordsTest, TheMatcherIsAskedAtTheKeyOnly) {
    Texts asked;
    static_cast<void>(ScrubPasswordsWith("a=1&password=2&xpassword", [&](std::string_view text) {
        asked.emplace_back(text);
        return std::size_t{9};
    }));
    EXPECT_EQ(asked, (Texts{"password=2&xpassword", "password"}));
}

TEST(WellFormedTest, SurrogatesMustComeInPairs) {
    const WideChar lead = 0xD83D;
    const WideChar trail = 0xDE00;
    const auto text = [](std::initializer_list<WideChar> units) { return std::basic_string<WideChar>(units); };
    EXPECT_TRUE(IsWellFormed(QM_W("")));
    EXPECT_TRUE(IsWellFormed(QM_W("a\uD7FF\uE000\uFFFF")));
    EXPECT_TRUE(IsWellFormed(text({lead, trail, lead, trail})));
    EXPECT_FALSE(IsWellFormed(text({lead})));
    EXPECT_FALSE(IsWellFormed(text({trail})));
    EXPECT_FALSE(IsWellFormed(text({trail, lead})));
    EXPECT_FALSE(IsWellFormed(text({lead, lead, trail})));
    EXPECT_FALSE(IsWellFormed(text({lead, QM_W('a')})));
    EXPECT_FALSE(IsWellFormed(text({QM_W('a'), 0xDC80, QM_W('b')})));
}

}  // namespace
}  // namespace quillmark
