#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class DeletePath : public ClientTest {
protected:
    void SetUp() override {
        Discover();
        attributes->SetRevision("17");
        factory->Reply(200);
    }
    StatusPair Run(const WideString& path = QM_W("/a/b.txt")) { return client->DeletePath(path, attributes, nullptr); }

    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
};

TEST_F(DeletePath, NamesTheRevisionThatTheCallerKnows) {
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_EQ(
        factory->Calls(),
        (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
               "Request::Initialise(r3, \"/qm/folders/a/b.txt?revision=17\", \"DELETE\", c3, null, 0x00000000, false)",
               "GetResponse(r3)", "GetHTTPStatus(r3)"}));
}

TEST_F(DeletePath, LogsItsSteps) {
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    for (const char* text : {"Request to delete server path: /a/b.txt", "Successfully deleted server path: /a/b.txt"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::DeletePath", text)) << text;
    }
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::AddRevision", "Revision: 17"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::DeletePath", "Exited [status=0]"));
}

TEST_F(DeletePath, WithoutARevisionItSendsNoQuery) {
    attributes->SetRevision("");
    EXPECT_EQ(Run(QM_W("/a b/\u00E9")), (StatusPair{0, 0}));
    EXPECT_EQ(factory->Calls()[3],
              "Request::Initialise(r3, \"/qm/folders/a%20b/%C3%A9\", \"DELETE\", c3, null, 0x00000000, false)");
    attributes = nullptr;
    EXPECT_EQ(Run(QM_W("/c")), (StatusPair{0, 0}));
    EXPECT_EQ(factory->Calls()[9],
              "Request::Initialise(r4, \"/qm/folders/c\", \"DELETE\", c4, null, 0x00000000, false)");
}

TEST_F(DeletePath, AFailureIsThePairAsItIs) {
    factory->DropReplies();
    factory->Reply(409, R"({"errorId":"1077","severity":"2"})");
    EXPECT_EQ(Run(), (StatusPair{21077, 2}));
    factory->Reply(404);
    EXPECT_EQ(Run(), (StatusPair{20404, 0}));
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(Run(), (StatusPair{12005, 0}));
    EXPECT_FALSE(log.Mentions("Successfully deleted"));
}

TEST_F(DeletePath, APathThatHasNoUtf8Is1113WithoutARequest) {
    const WideChar lone[] = {QM_W('/'), 0xDCFF, 0};
    EXPECT_EQ(Run(lone), (StatusPair{1113, 0}));
    EXPECT_EQ(factory->Calls(), Lines{});
}

// The event is bound to the request, but not looked at before it is sent.
TEST_F(DeletePath, ASetCancelEventDoesNotKeepTheRequestBack) {
    Event cancel;
    cancel.Set();
    EXPECT_EQ(client->DeletePath(QM_W("/a"), attributes, cancel.Handle()), (StatusPair{0, 0}));
    EXPECT_EQ(factory->Count("GetResponse"), 1u);
    EXPECT_TRUE(log.Has(Information, Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()))));
}

}  // namespace
}  // namespace quillmark::test
