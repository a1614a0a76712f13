#include "dns/Message.h"

#include <gtest/gtest.h>

#include "unit/platform/internal/FakeNameServer.h"

namespace {

using namespace quillmark::platform;
using quillmark::test::Bytes;
using quillmark::test::Reply;
using std::string_literals::operator""s;

// "name, A, IN, 300 s, 4 bytes: 192.0.2.7"; the name points to the question's.
const std::string AddressRecord = "\xC0\x0C\x00\x01\x00\x01\x00\x00\x01\x2C\x00\x04\xC0\x00\x02\x07"s;
// "name, CNAME, IN, 60 s, 7 bytes: real.<name of the question>".
const std::string Alias = "\xC0\x0C\x00\x05\x00\x01\x00\x00\x00\x3C\x00\x07\x04real\xC0\x0C"s;

Bytes BytesOf(const Question& question) {
    return {question.Bytes().begin(), question.Bytes().end()};
}

TEST(DnsMessageTest, AsksForTheNameWithRecursion) {
    const Question question("files.example", DNS_TYPE_A, 0xABCD);
    const std::string expected =
        "\xAB\xCD\x01\x00\x00\x01\x00\x00\x00\x00\x00\x00"
        "\x05"
        "files"
        "\x07"
        "example\x00\x00\x01\x00\x01"s;
    EXPECT_EQ(BytesOf(question), Bytes(expected.begin(), expected.end()));
}

TEST(DnsMessageTest, ReadsAddressesAndAliases) {
    const Question question("files.example", DNS_TYPE_A, 1);
    const Bytes reply = Reply(BytesOf(question), 0x8180, 2, Alias + AddressRecord);
    ASSERT_TRUE(question.IsAnsweredBy(reply));
    const Answer answer = question.Parse(reply);
    EXPECT_EQ(answer.status, 0);
    ASSERT_EQ(answer.records.size(), 2u);
    EXPECT_EQ(answer.records[0].type, 5);
    EXPECT_EQ(answer.records[0].data, "real.files.example");
    EXPECT_EQ(answer.records[0].ttl, 60u);
    EXPECT_EQ(answer.records[1].name, "files.example");
    EXPECT_EQ(answer.records[1].type, 1);
    EXPECT_EQ(answer.records[1].ttl, 300u);
    EXPECT_EQ(answer.records[1].data, "\xC0\x00\x02\x07"s);
}

TEST(DnsMessageTest, NamesTheServersResultCodes) {
    const Question question("files.example", DNS_TYPE_A, 1);
    const auto status = [&](std::uint16_t flags) {
        return question.Parse(Reply(BytesOf(question), flags, 0, "")).status;
    };
    EXPECT_EQ(status(0x8180), 9501);
    EXPECT_EQ(status(0x8181), 9001);
    EXPECT_EQ(status(0x8182), 9002);
    EXPECT_EQ(status(0x8183), 9003);
    EXPECT_EQ(status(0x8184), 9004);
    EXPECT_EQ(status(0x8185), 9005);
}

TEST(DnsMessageTest, AnAliasWithoutAnAddressIsNoRecord) {
    const Question question("files.example", DNS_TYPE_A, 1);
    EXPECT_EQ(question.Parse(Reply(BytesOf(question), 0x8180, 1, Alias)).status, 9501);
}

TEST(DnsMessageTest, IsAnsweredOnlyByAReplyToTheSameQuestion) {
    const Question question("files.example", DNS_TYPE_A, 0x0102);
    const Bytes right = Reply(BytesOf(question), 0x8180, 1, AddressRecord);
    EXPECT_TRUE(question.IsAnsweredBy(right));
    Bytes otherCase = right;
    otherCase[13] = 'F';
    EXPECT_TRUE(question.IsAnsweredBy(otherCase));
    // The id, the bit that makes it a reply, the count of questions, the name, the type, the class.
    for (const std::size_t place : {0u, 1u, 2u, 5u, 13u, 28u, 30u}) {
        Bytes wrong = right;
        wrong[place] ^= 0x81;
        EXPECT_FALSE(question.IsAnsweredBy(wrong)) << place;
    }
    for (std::size_t size = 0; size < BytesOf(question).size(); ++size) {
        EXPECT_FALSE(question.IsAnsweredBy(std::span(right).first(size))) << size;
    }
}

TEST(DnsMessageTest, AddressesOfAnotherLengthMakeTheReplyUnreadable) {
    const Question question("files.example", DNS_TYPE_A, 1);
    const std::string shortAddress = "\xC0\x0C\x00\x01\x00\x01\x00\x00\x01\x2C\x00\x03\xC0\x00\x02"s;
    EXPECT_EQ(question.Parse(Reply(BytesOf(question), 0x8180, 1, shortAddress)).status, 9502);
}

TEST(DnsMessageTest, APointerThatRunsInACircleMakesTheReplyUnreadable) {
    const Question question("a.b", DNS_TYPE_A, 1);
    // The header and the question take 21 bytes (0x15): the name of the record points to itself.
    const std::string circle = "\xC0\x15\x00\x01\x00\x01\x00\x00\x01\x2C\x00\x04\xC0\x00\x02\x07"s;
    EXPECT_EQ(question.Parse(Reply(BytesOf(question), 0x8180, 1, circle)).status, 9502);
}

// Every cut of a good reply and every byte of it changed: it is read, refused, or no reply to the question at all.
TEST(DnsMessageTest, NoDamagedReplyIsReadPastItsEnd) {
    const Question question("files.example", DNS_TYPE_A, 1);
    const Bytes good = Reply(BytesOf(question), 0x8180, 2, Alias + AddressRecord);
    const auto read = [&](const Bytes& message) {
        if (question.IsAnsweredBy(message)) {
            const DNS_STATUS status = question.Parse(message).status;
            EXPECT_TRUE(status == 0 || (status >= 9001 && status <= 9015) || status == 9501 || status == 9502)
                << status;
        }
    };
    for (std::size_t size = BytesOf(question).size(); size < good.size(); ++size) {
        const Bytes cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
        ASSERT_TRUE(question.IsAnsweredBy(cut));
        EXPECT_EQ(question.Parse(cut).status, 9502) << size;
    }
    for (std::size_t place = 0; place < good.size(); ++place) {
        for (unsigned value = 0; value < 256; ++value) {
            Bytes damaged = good;
            damaged[place] = static_cast<std::uint8_t>(value);
            read(damaged);
        }
    }
}

TEST(DnsMessageTest, ChecksNames) {
    EXPECT_EQ(CheckName("a"), 0);
    EXPECT_EQ(CheckName(std::string(63, 'a') + ".b"), 0);
    EXPECT_EQ(CheckName(std::string(64, 'a') + ".b"), 123);
    EXPECT_EQ(CheckName("\xC3\xA4.example"), 0);
    EXPECT_EQ(CheckName(""), 123);
    EXPECT_EQ(CheckName("a..b"), 123);
    EXPECT_EQ(CheckName("a."), 123);
    EXPECT_EQ(CheckName("a\x7F"), 9560);
}

}  // namespace
