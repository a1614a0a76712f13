#include "model/UploadMetadata.h"

#include <gtest/gtest.h>

#include <string>

#include "fakes/RecordingEventing.h"
#include "unit/model/Reply.h"

namespace quillmark {
namespace {

using fakes::RecordedLog;

struct Metadata {
    bool read = false;
    std::int64_t offset = -7;
    bool locked = false;
};

Metadata Read(std::string_view text, bool locked = false) {
    Metadata metadata{false, -7, locked};
    metadata.read = GetMetaDataFromResponse(ReplyOf(text), metadata.offset, metadata.locked);
    return metadata;
}

TEST(UploadMetadata, IsReadFromTexts) {
    const RecordedLog log;
    const Metadata metadata = Read(R"({"bytes_received":"1048576","is_locked":"true"})");
    EXPECT_TRUE(metadata.read);
    EXPECT_EQ(metadata.offset, 1048576);
    EXPECT_TRUE(metadata.locked);
    EXPECT_TRUE(log.Has(101, "NativeHttp", "CNativeHttp::GetMetaDataFromResponse", "Got offset 1048576"));
    EXPECT_TRUE(log.Has(101, "NativeHttp", "CNativeHttp::GetMetaDataFromResponse", "Got locked 1"));
}

TEST(UploadMetadata, OffsetsBeyond32BitsAreRead) {
    EXPECT_EQ(Read(R"({"bytes_received":"4294967297"})").offset, 4294967297);
    EXPECT_EQ(Read(R"({"bytes_received":"9223372036854775807"})").offset, 9223372036854775807);
}

TEST(UploadMetadata, ANumberOrNothingIsNoOffset) {
    for (const char* text : {R"({"bytes_received":1048576})", R"({"bytes_received":null})", "{}",
                             R"({"bytes_received":true})", R"({"bytes_received":["5"]})"}) {
        const Metadata metadata = Read(text);
        EXPECT_FALSE(metadata.read) << text;
        EXPECT_EQ(metadata.offset, -7) << text;
    }
}

TEST(UploadMetadata, ATextThatIsNoNumberReadsAsTheNumberItBeginsWith) {
    EXPECT_EQ(Read(R"({"bytes_received":"12 bytes"})").offset, 12);
    EXPECT_EQ(Read(R"({"bytes_received":"many"})").offset, 0);
    EXPECT_TRUE(Read(R"({"bytes_received":""})").read);
}

TEST(UploadMetadata, ANumberBeyond64BitsIsNoOffset) {
    const RecordedLog log;
    const Metadata metadata = Read(R"({"bytes_received":"99999999999999999999","is_locked":"true"})");
    EXPECT_FALSE(metadata.read);
    EXPECT_EQ(metadata.offset, -7);
    EXPECT_TRUE(metadata.locked);
    EXPECT_TRUE(log.Has(103, "NativeHttp", "CNativeHttp::GetMetaDataFromResponse",
                        "Failed to get offset, errno was " + std::to_string(ERANGE)));
}

TEST(UploadMetadata, LockedIsTheTextTrueToTheLetter) {
    for (const char* text : {R"({"is_locked":"True"})", R"({"is_locked":"TRUE"})", R"({"is_locked":"true "})",
                             R"({"is_locked":"false"})", R"({"is_locked":""})"}) {
        const RecordedLog log;
        EXPECT_FALSE(Read(text, true).locked) << text;
        EXPECT_TRUE(log.Has(101, "Got locked 0")) << text;
    }
}

TEST(UploadMetadata, LockedOfAnotherTypeIsLeftAsItWas) {
    for (const char* text : {R"({"is_locked":true})", R"({"is_locked":1})", "{}"}) {
        const RecordedLog log;
        EXPECT_FALSE(Read(text, false).locked) << text;
        EXPECT_TRUE(Read(text, true).locked) << text;
        EXPECT_FALSE(log.Mentions("Got locked")) << text;
    }
}

TEST(UploadMetadata, TheLockDoesNotChangeTheResult) {
    EXPECT_TRUE(Read(R"({"bytes_received":"5","is_locked":7})").read);
    EXPECT_FALSE(Read(R"({"is_locked":"true"})").read);
}

TEST(UploadMetadata, AReplyThatIsNoJsonIsLogged) {
    const RecordedLog log;
    EXPECT_FALSE(Read("<html>").read);
    ASSERT_EQ(log.Texts(103).size(), 1u);
    EXPECT_EQ(log.Texts(103)[0].find("Failed to parse JSON from server, parser error = ["), 0u);
}

}  // namespace
}  // namespace quillmark
