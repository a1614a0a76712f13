#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class GetPathListing : public ClientTest {
protected:
    void SetUp() override { Discover(); }
    StatusPair Run(const WideString& path = QM_W("/Shared")) {
        return client->GetPathListing(path, children, self, cancelEvent);
    }
    void ExpectUntouched() const {
        EXPECT_TRUE(children.empty());
        EXPECT_EQ(self, nullptr);
    }

    ItemList children;
    std::shared_ptr<IServerAttributes> self;
    HANDLE cancelEvent = nullptr;
};

TEST_F(GetPathListing, HandsOutChildrenInOrderAndTheFolder) {
    factory->Reply(200, R"({"name":"Shared","revision":"r0","directory":true,
                            "contents":[{"name":"b","revision":"r1"},{"name":"a","revision":"r2"}]})");
    EXPECT_EQ(Run(QM_W("/Sha red")), (StatusPair{0, 0}));
    ASSERT_EQ(children.size(), 2u);
    EXPECT_EQ(children.front()->GetName(), QM_W("b"));
    EXPECT_EQ(children.back()->GetRevision(), "r2");
    ASSERT_NE(self, nullptr);
    EXPECT_EQ(self->GetName(), QM_W("Shared"));
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/folders/Sha%20red?type=all\", \"GET\", c3, null, 0x00000000, "
                     "false)",
                     "GetResponse(r3)", "GetHTTPStatus(r3)"}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::GetPathListing",
                        "Request for path listing of folder: /Sha red"));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::GetPathListing",
                        "Received directory contents for path: /Sha red"));
}

TEST_F(GetPathListing, ReplacesWhatTheListHeld) {
    children.push_back(MakeAttributes());
    factory->Reply(200, R"({"name":"Shared","contents":[{"name":"b"}]})");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_EQ(children.size(), 1u);
}

TEST_F(GetPathListing, AFolderWithoutContentsHasNoChildren) {
    factory->Reply(200, R"({"name":"Shared"})");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_TRUE(children.empty());
    EXPECT_NE(self, nullptr);
}

TEST_F(GetPathListing, AnEmptyPathIs87WithoutARequest) {
    EXPECT_EQ(Run(QM_W("")), (StatusPair{87, 0}));
    EXPECT_TRUE(log.Has(Warning, "NativeHttp", "CNativeHttp::GetPathListing", "Empty server path!"));
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(GetPathListing, BeforeDiscoveryIs87WithoutARequest) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    factory->ClearCalls();
    EXPECT_EQ(Run(), (StatusPair{87, 0}));
    EXPECT_TRUE(
        log.Has(Warning, "NativeHttp", "CNativeHttp::GetPathListing", "Called before initialized with server info!"));
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(GetPathListing, APathThatHasNoUtf8Is1113WithoutARequest) {
    const WideChar lone[] = {QM_W('/'), 0xDCFF, 0};
    EXPECT_EQ(Run(lone), (StatusPair{1113, 0}));
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(GetPathListing, ASetCancelEventIs1223WithoutSending) {
    Event cancel;
    cancel.Set();
    cancelEvent = cancel.Handle();
    EXPECT_EQ(Run(), (StatusPair{1223, 0}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::GetPathListing", "Listing canceled"));
    EXPECT_EQ(factory->Count("GetResponse"), 0u);
}

TEST_F(GetPathListing, AFailureIsThePairAsItIs) {
    factory->Reply(404, R"({"errorId":"17","severity":"2"})");
    EXPECT_EQ(Run(), (StatusPair{20017, 2}));
    factory->Fail("CreateConnection", 8);
    EXPECT_EQ(Run(), (StatusPair{6, 0}));
    factory->Reply(200);
    EXPECT_EQ(Run(), (StatusPair{13, 0}));
    ExpectUntouched();
}

TEST_F(GetPathListing, AReplyThatIsNotOneFolderIs13) {
    for (const char* reply : {"no JSON", "[]", "[{},{}]", R"({"creation_time":"never","contents":[{}]})"}) {
        factory->Reply(200, reply);
        EXPECT_EQ(Run(), (StatusPair{13, 0})) << reply;
    }
    EXPECT_EQ(log.Count(Warning, "Failed to extract attributes from reply buffer"), 4u);
    ExpectUntouched();
}

TEST_F(GetPathListing, AHostileReplyEndsInACode) {
    factory->Reply(200, std::string(100000, '['));
    EXPECT_EQ(Run(), (StatusPair{13, 0}));
    factory->Reply(200, R"({"directory":"true"})");
    EXPECT_EQ(Run(), (StatusPair{13, 0}));
    factory->Reply(200, R"({"contents":7})");
    EXPECT_EQ(Run(), (StatusPair{13, 0}));
    ExpectUntouched();
}

}  // namespace
}  // namespace quillmark::test
