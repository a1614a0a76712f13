#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class GenerateLink : public ClientTest {
protected:
    void SetUp() override {
        Discover();
        share->name = QM_W("Plans");
        share->message = QM_W("Have a look");
    }
    StatusPair Run() { return client->GenerateLink(share, nullptr); }

    std::shared_ptr<ShareRequest> share = std::make_shared<ShareRequest>();
};

TEST_F(GenerateLink, PostsTheFormInItsOrder) {
    share->paths = {QM_W("b"), QM_W("a")};
    share->targets = {QM_W("eve@example.com"), QM_W("bob@example.com")};
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/share\", \"POST\", c3, null, 0x00000000, false)",
                     "AppendFormData(r3, path=a&)", "AppendFormData(r3, path=b&)",
                     "AppendFormData(r3, target=bob@example.com&)", "AppendFormData(r3, target=eve@example.com&)",
                     "AppendFormData(r3, name=Plans&)", "AppendFormData(r3, message=Have a look&)",
                     "AppendFormData(r3, type=USER)", "GetResponse(r3)", "GetHTTPStatus(r3)"}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::GenerateLink", "Request Path: /qm/share"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::GenerateLink", "Exited [status=0]"));
}

TEST_F(GenerateLink, EmptySetsStillPostTheRest) {
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_EQ(CallsOf("AppendFormData"), (Lines{"(r3, name=Plans&)", "(r3, message=Have a look&)", "(r3, type=USER)"}));
}

TEST_F(GenerateLink, SetsAreSentByCodeUnit) {
    share->paths = {QM_W("/\u00E9"), QM_W("/a"), QM_W("/Z"), QM_W("/a/b")};
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_THAT(CallsOf("AppendFormData"), ::testing::Contains("(r3, path=/Z&)"));
    EXPECT_EQ(CallsOf("AppendFormData")[0], "(r3, path=/Z&)");
    EXPECT_EQ(CallsOf("AppendFormData")[1], "(r3, path=/a&)");
    EXPECT_EQ(CallsOf("AppendFormData")[2], "(r3, path=/a/b&)");
    EXPECT_EQ(CallsOf("AppendFormData")[3], "(r3, path=/\xC3\xA9&)");
}

TEST_F(GenerateLink, APathBeyondAsciiIsLoggedInBase64) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    Discover("1.0");
    client->SetSessionToken(QM_W("\u00E9"));
    log.Clear();
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    // "/api/\u00E9/share"
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::GenerateLink",
                        "Request Path: base64~~(LwBhAHAAaQAvAOkALwBzAGgAYQByAGUA)~~base64"));
}

TEST_F(GenerateLink, TheReplyIsNotReadButMustBeThere) {
    factory->Reply(200, "<html>");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    factory->Reply(200);
    EXPECT_EQ(Run(), (StatusPair{13, 0}));
}

TEST_F(GenerateLink, AFailureIsThePairAsItIs) {
    factory->Reply(403, R"({"errorId":"17","severity":"2"})");
    EXPECT_EQ(Run(), (StatusPair{20017, 2}));
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(Run(), (StatusPair{12005, 0}));
}

TEST_F(GenerateLink, AFieldThatCannotBeAddedIsItsCode) {
    share->paths = {QM_W("/a")};
    share->targets = {QM_W("bob")};
    for (int field = 1; field <= 5; ++field) {
        factory->Fail("AppendFormData", 12150, field);
        EXPECT_EQ(Run(), (StatusPair{12150, 0}));
    }
    EXPECT_EQ(factory->Count("GetResponse"), 0u);
}

TEST_F(GenerateLink, WithoutARequestIs87) {
    share = nullptr;
    EXPECT_EQ(Run(), (StatusPair{87, 0}));
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(GenerateLink, APathThatHasNoUtf8Is1113WithoutARequest) {
    const WideChar lone[] = {QM_W('/'), 0xDCFF, 0};
    share->paths = {QM_W("/a"), lone};
    EXPECT_EQ(Run(), (StatusPair{1113, 0}));
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(GenerateLink, CanBeCancelledAndLeavesTheTimeouts) {
    Event cancel;
    EXPECT_EQ(client->GenerateLink(share, cancel.Handle()), (StatusPair{0, 0}));
    EXPECT_TRUE(log.Has(Information, Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()))));
    EXPECT_EQ(factory->Count("SetTimeouts"), 0u);
}

}  // namespace
}  // namespace quillmark::test
