// Answers that are not what was asked for, although they look like successes: from a gateway in between, or from a
// server that does not tell all it has. Nothing of them passes for contents, and nothing is deleted because of them.
#include <sys/stat.h>

#include "integration/cli/TransferTreeTest.h"

namespace quillmark::testing {
namespace {

class WrongReplyTest : public TransferTreeTest {
protected:
    static constexpr const char* Page = "<html>Please accept the terms of use</html>";

    // The next requests of this kind are answered so, one after another. The first may be let through: a request for
    // contents follows one for the record, to the same address.
    void Answer(const std::string& method, const std::string& path, const std::string& body, int letThrough = 0,
                int count = 1) {
        if (letThrough != 0) {
            Server().AddFaults({{"method", method},
                                {"path", "/api/1.7/folders" + path},
                                {"kind", "delay"},
                                {"ms", 1},
                                {"count", letThrough}});
        }
        Server().AddFaults({{"method", method},
                            {"path", "/api/1.7/folders" + path},
                            {"kind", "reply"},
                            {"status", 200},
                            {"body", body},
                            {"content_type", "text/html"},
                            {"count", count}});
    }
    std::string PutNoise(const std::string& server, std::size_t size) {
        const std::string content = Noise(size);
        EXPECT_EQ(0, Quillmark({"put", "-q", Write("noise", content), server}).exitCode);
        return content;
    }
    // What a listing says of a folder; contents: its items.
    static std::string Listing(const std::string& name, const std::string& contents) {
        return R"({"name":")" + name + R"(","directory":true,"revision":"7",)" +
               R"("creation_time":"2026-01-02T03:04:05.678Z","modification_time":"2026-01-02T03:04:05.678Z",)" +
               R"("attributes":16,"permissions":"WRITE","folder_permissions":"WRITE")" +
               (contents.empty() ? "" : R"(,"contents":)" + contents) + "}";
    }
};

TEST_F(WrongReplyTest, APageInPlaceOfALargeFileIsNotKeptAsItsBeginning) {
    const std::string content = PutNoise("/f", 5'000'000);
    Answer("GET", "/f", Page, 1);
    const ProcessResult refused = Quillmark({"get", "/f", Local("back")});
    EXPECT_EQ(3, refused.exitCode);
    EXPECT_EQ(std::string::npos, refused.errors.find("are kept")) << refused.errors;
    EXPECT_EQ(0, Quillmark({"get", "-q", "/f", Local("back")}).exitCode);
    EXPECT_TRUE(Read(Local("back")) == content);
}

TEST_F(WrongReplyTest, APageInTheMiddleOfALargeFileLeavesWhatHasCome) {
    const std::string content = PutNoise("/f", 5'000'000);
    Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/f"}, {"kind", "delay"}, {"ms", 1}});
    Server().AddFaults(
        {{"method", "GET"}, {"path", "/api/1.7/folders/f"}, {"kind", "end"}, {"at", "in-body"}, {"after", 3'000'000}});
    Answer("GET", "/f", Page);
    const ProcessResult result = Quillmark({"get", "--retries", "3", "-q", "/f", Local("back")});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_TRUE(Read(Local("back")) == content);
    EXPECT_EQ(0u, Server().UnusedFaults());
}

TEST_F(WrongReplyTest, APageInPlaceOfARangeLeavesTheFileAsItWas) {
    PutNoise("/f", 20'000);
    const std::string before = Read(Write("copy", std::string(20'000, 'o')));
    for (const char* range : {"0-10000", "5000-9000"}) {
        Answer("GET", "/f", Page, 1);
        const ProcessResult result = Quillmark({"get", "--range", range, "/f", Local("copy")});
        EXPECT_EQ(3, result.exitCode) << result.errors;
        EXPECT_TRUE(Read(Local("copy")) == before) << range;
    }
    EXPECT_EQ((Arguments{"copy", "home", "noise"}), NamesIn(Local(".")));
}

TEST_F(WrongReplyTest, ARefusedRangeMakesNoFile) {
    PutNoise("/f", 20'000);
    Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/f"}, {"kind", "delay"}, {"ms", 1}});
    Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/f"}, {"kind", "reply"}, {"status", 403}});
    EXPECT_EQ(4, Quillmark({"get", "--range", "100-200", "/f", Local("copy")}).exitCode);
    EXPECT_FALSE(std::filesystem::exists(Local("copy")));
}

TEST_F(WrongReplyTest, APageInPlaceOfContentsIsNotPrinted) {
    PutNoise("/f", 20'000);
    Answer("GET", "/f", Page, 1);
    const ProcessResult result = Quillmark({"cat", "/f"});
    EXPECT_EQ(3, result.exitCode) << result.errors;
    EXPECT_EQ("", result.output);
}

TEST_F(WrongReplyTest, AnUploadThatSomebodyElseAnsweredIsNoSuccess) {
    const std::string file = Write("file", "content");
    for (const char* reply : {"{}", R"({"name":"f","directory":false,"size":3,"revision":"99"})"}) {
        Answer("POST", "/f", reply);
        const ProcessResult result = Quillmark({"put", file, "/f"});
        EXPECT_EQ(5, result.exitCode) << result.errors;  // the server has no such item
    }
    EXPECT_EQ("", OutputOf({"ls", "/"}));
}

TEST_F(WrongReplyTest, AnEmptyFileThatSomebodyElseAnsweredIsNoSuccess) {
    Answer("POST", "/f", "{}");
    EXPECT_EQ(5, Quillmark({"put", Write("file", ""), "/f"}).exitCode);
    Answer("POST", "/f", R"({"size":0})");
    EXPECT_EQ(5, Quillmark({"put", Local("file"), "/f"}).exitCode);
}

TEST_F(WrongReplyTest, AResumableUploadThatSomebodyElseAnsweredIsNoSuccessAndGoesOn) {
    const std::string content = Noise(200'000);
    const Arguments put = {"put", "--resumable", "--chunk", "64K", Write("file", content), "/f"};
    const std::string chunk = "/api/1.7/resume/upload/f";
    Server().AddFaults({{"method", "POST"}, {"path", chunk}, {"kind", "delay"}, {"ms", 1}, {"count", 3}});
    Server().AddFaults({{"method", "POST"}, {"path", chunk}, {"kind", "reply"}, {"status", 200}, {"body", "{}"}});
    const ProcessResult refused = Quillmark(put);
    EXPECT_EQ(5, refused.exitCode) << refused.errors;
    EXPECT_EQ("", OutputOf({"ls", "/"}));
    EXPECT_NE("", OutputOf({"uploads"}));
    const ProcessResult again = Quillmark(put);
    EXPECT_EQ(0, again.exitCode) << again.errors;
    EXPECT_TRUE(ContentOf("/f") == content);
    EXPECT_EQ("", OutputOf({"uploads"}));
}

TEST_F(WrongReplyTest, AnUploadThatIsThereAlthoughItsRecordIsNotIsASuccess) {
    const std::string file = Write("file", "content");
    ASSERT_EQ(0, Quillmark({"put", "-q", file, "/f"}).exitCode);
    Answer("POST", "/f", "{}");
    const ProcessResult result = Quillmark({"put", file, "/f"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ("content", ContentOf("/f"));
}

TEST_F(WrongReplyTest, AListingWithoutContentsDeletesNothingHere) {
    WriteTree();
    ASSERT_EQ(0, Quillmark({"put", "-q", Local("tree"), "/tree"}).exitCode);
    const auto before = TreeAt(Local("tree"));
    for (const std::string contents :
         {"", "null", R"([{"name":"one","directory":false,"creation_time":"xxxx"}])", R"(["x"])"}) {
        Answer("GET", "/tree", Listing("tree", contents), 1);  // the record of the source comes first
        const ProcessResult result = Quillmark({"sync", "--down", "--delete", Local("tree"), "/tree"});
        EXPECT_EQ(1, result.exitCode) << contents << result.errors;
        EXPECT_EQ(before, TreeAt(Local("tree"))) << contents;
        EXPECT_NE(std::string::npos, result.errors.find("failed: " + Local("tree/one") +
                                                        ": not deleted: the server has it, although its listing did "
                                                        "not tell\n        Repeat the command.\n"))
            << result.errors;
    }
}

TEST_F(WrongReplyTest, AListingWithoutANameDeletesNothingThere) {
    ASSERT_EQ(0, Quillmark({"mkdir", "/kept"}).exitCode);
    ASSERT_EQ(0, Quillmark({"put", "-q", Write("file", "content"), "/kept/f"}).exitCode);
    std::filesystem::create_directory(Local("empty"));
    for (const std::string name : {"", "..", "a/b"}) {
        Answer("GET", "/kept",
               Listing("kept", R"([{"directory":false,"name":")" + name + R"(","revision":"","size":6}])"), 1);
        const ProcessResult result = Quillmark({"sync", "--delete", Local("empty"), "/kept"});
        EXPECT_EQ(1, result.exitCode) << result.output << result.errors;
        EXPECT_EQ("content", ContentOf("/kept/f"));
    }
}

}  // namespace
}  // namespace quillmark::testing
