#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class GetPathAttributes : public ClientTest {
protected:
    void SetUp() override { Discover(); }
    StatusPair Run(const WideString& path = QM_W("/a/b.txt")) {
        return client->GetPathAttributes(path, attributes, nullptr);
    }

    std::shared_ptr<IServerAttributes> attributes;
};

TEST_F(GetPathAttributes, HandsOutTheItem) {
    factory->Reply(200, R"({"name":"b.txt","revision":"r1","size":5})");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    ASSERT_NE(attributes, nullptr);
    EXPECT_EQ(attributes->GetName(), QM_W("b.txt"));
    EXPECT_EQ(attributes->GetSize(), 5);
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/folders/a/b.txt\", \"GET\", c3, null, 0x00000000, false)",
                     "GetResponse(r3)", "GetHTTPStatus(r3)"}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::GetPathAttributes",
                        "Path attributes request for path: /a/b.txt"));
    EXPECT_TRUE(
        log.Has(Information, "NativeHttp", "CNativeHttp::GetPathAttributes", "Extracted attributes from reply buffer"));
}

TEST_F(GetPathAttributes, CarriesTheTokenInThePathOnAServerOfApi10) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    Discover("1.0");
    client->SetSessionToken(QM_W("t0ken"));
    factory->ClearCalls();
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_EQ(factory->Calls()[3],
              "Request::Initialise(r5, \"/api/t0ken/folders/a/b.txt\", \"GET\", c5, null, 0x00000000, false)");
}

TEST_F(GetPathAttributes, AReplyThatIsNotOneItemIs13) {
    for (const char* reply : {"no JSON", "[]", R"([{"name":"a"},{"name":"b"}])", R"({"modification_time":"x"})"}) {
        factory->Reply(200, reply);
        EXPECT_EQ(Run(), (StatusPair{13, 0})) << reply;
    }
    EXPECT_EQ(log.Count(Warning, "Failed to extract attributes from reply buffer"), 4u);
    EXPECT_EQ(attributes, nullptr);
}

TEST_F(GetPathAttributes, AFailureIsThePairAsItIs) {
    factory->Reply(404, R"({"errorId":"17","severity":"2"})");
    EXPECT_EQ(Run(), (StatusPair{20017, 2}));
    factory->Fail("Request::Initialise", 12001);
    EXPECT_EQ(Run(), (StatusPair{12001, 0}));
    factory->Reply(404);
    EXPECT_EQ(Run(), (StatusPair{13, 0}));
    EXPECT_EQ(attributes, nullptr);
}

TEST_F(GetPathAttributes, APathThatHasNoUtf8Is1113WithoutARequest) {
    const WideChar lone[] = {QM_W('/'), 0xDCFF, 0};
    EXPECT_EQ(Run(lone), (StatusPair{1113, 0}));
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(GetPathAttributes, CanBeCancelled) {
    Event cancel;
    EXPECT_EQ(client->GetPathAttributes(QM_W("/a"), attributes, cancel.Handle()), (StatusPair{0, 0}));
    EXPECT_TRUE(log.Has(Information, Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()))));
}

}  // namespace
}  // namespace quillmark::test
