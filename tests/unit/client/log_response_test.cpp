// How replies appear in the log.
#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class LogResponse : public ClientTest {
protected:
    // What one reply gives; the client's trigger thread may be writing its own records meanwhile.
    [[nodiscard]] Lines LinesOf(const std::string& body) {
        const ResponseBuffer reply = Reply(body);
        log.Clear();
        client->LogResponse(reply);
        Lines lines;
        for (const fakes::LogRecord& record : log.Records()) {
            if (record.function == "CNativeHttp::LogResponse" && record.descriptor.id == Information) {
                lines.push_back(record.text);
            }
        }
        return lines;
    }
};

TEST_F(LogResponse, ShowsJsonIndentedLineByLine) {
    EXPECT_EQ(LinesOf(R"({"name":"a","list":[1,2]})"), (Lines{"HTTP Response (25 bytes):", "{", "\t\"list\" : ", "\t[",
                                                              "\t\t1,", "\t\t2", "\t],", "\t\"name\" : \"a\"", "}"}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::LogResponse", "HTTP Response (25 bytes):"));
}

TEST_F(LogResponse, ShowsLettersBeyondAscii) {
    EXPECT_THAT(LinesOf("[\"B\xC3\xBCro \xF0\x9F\x98\x80\"]"),
                ::testing::Contains("\t\"B\xC3\xBCro \xF0\x9F\x98\x80\""));
}

TEST_F(LogResponse, DumpsWhatIsNoJson) {
    EXPECT_EQ(LinesOf("0123456789abcdef\x01"
                      "A~\x7F\xFF"),
              (Lines{"HTTP Response (21 bytes), not JSON",
                     "0x0000: 30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66 0123456789abcdef",
                     "0x0010: 01 41 7e 7f ff                                  .A~.."}));
}

TEST_F(LogResponse, DumpsAnEmptyBodyAsNothing) {
    EXPECT_EQ(LinesOf(""), (Lines{"HTTP Response (0 bytes), not JSON"}));
}

TEST_F(LogResponse, Dumps512BytesOf600) {
    const Lines lines = LinesOf(std::string(600, 'x'));
    ASSERT_EQ(lines.size(), 33u);
    EXPECT_EQ(lines[0], "HTTP Response (600 bytes), not JSON");
    EXPECT_EQ(lines[32], "0x01f0: 78 78 78 78 78 78 78 78 78 78 78 78 78 78 78 78 xxxxxxxxxxxxxxxx");
}

TEST_F(LogResponse, Dumps32FullLinesOf512Bytes) {
    EXPECT_EQ(LinesOf(std::string(512, 'x')).size(), 33u);
    EXPECT_EQ(LinesOf(std::string(511, 'x')).back(),
              "0x01f0: 78 78 78 78 78 78 78 78 78 78 78 78 78 78 78    xxxxxxxxxxxxxxx");
}

TEST_F(LogResponse, WritesNothingWhenInformationIsNotWanted) {
    log.SetHighestLevel(3);
    EXPECT_EQ(LinesOf("{}"), Lines{});
}

TEST_F(LogResponse, LogsAnExceptionOfTheJsonLibraryAndGoesOn) {
    static_cast<void>(LinesOf(std::string(100000, '[')));
    const Lines errors = log.Texts(Error);
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_THAT(errors[0], ::testing::StartsWith("JSON library has thrown a runtime_error exception ("));
    EXPECT_FALSE(log.Has(Critical, "[EXCEPTION EXIT]"));
}

}  // namespace
}  // namespace quillmark::test
