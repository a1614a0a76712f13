#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class SetPathAttributes : public ClientTest {
protected:
    void SetUp() override {
        Discover();
        attributes->SetCreationTime(CAttributeTime::Parse("2015-03-01T10:20:30.123Z"));
        attributes->SetLastWriteTime(CAttributeTime::Parse("2016-02-29T23:59:59.999Z"));
        attributes->SetFileAttributes(0x21);
    }
    StatusPair Run(const WideString& path = QM_W("/a/b c.txt")) {
        return client->SetPathAttributes(path, attributes, nullptr);
    }

    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
};

TEST_F(SetPathAttributes, SendsTheFormAndHandsBackTheItem) {
    factory->Reply(200, R"({"name":"b c.txt","revision":"r2"})");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_EQ(attributes->GetRevision(), "r2");
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/folders/a/b%20c.txt\", \"POST\", c3, null, 0x00000000, false)",
                     "AppendFormData(r3, name=b c.txt&)", "AppendFormData(r3, operation=update&)",
                     "AppendFormData(r3, creation_time=2015-03-01T10:20:30.123Z&)",
                     "AppendFormData(r3, modification_time=2016-02-29T23:59:59.999Z&)",
                     "AppendFormData(r3, attributes=33)", "GetResponse(r3)", "GetHTTPStatus(r3)"}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::SetPathAttributes",
                        "Request to set attributes for path: /a/b c.txt"));
}

TEST_F(SetPathAttributes, SendsTheWholePathAsTheNameWhenItHasNoSlash) {
    EXPECT_EQ(Run(QM_W("b")), (StatusPair{0, 0}));
    EXPECT_THAT(factory->Calls(), ::testing::Contains("AppendFormData(r3, name=b&)"));
}

TEST_F(SetPathAttributes, WithoutARecordIs87WithoutARequest) {
    attributes = nullptr;
    EXPECT_EQ(Run(), (StatusPair{87, 0}));
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(SetPathAttributes, APathThatHasNoUtf8Is1113WithoutARequest) {
    const WideChar lone[] = {QM_W('/'), 0xDCFF, 0};
    EXPECT_EQ(Run(lone), (StatusPair{1113, 0}));
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(SetPathAttributes, AReplyThatIsNotOneItemIs13AndLeavesTheRecord) {
    const auto before = attributes;
    for (const char* reply : {"no JSON", "[]", "[{},{}]"}) {
        factory->Reply(200, reply);
        EXPECT_EQ(Run(), (StatusPair{13, 0})) << reply;
    }
    EXPECT_EQ(log.Count(Warning, "Failed to extract attributes from reply buffer"), 3u);
    EXPECT_EQ(attributes, before);
}

TEST_F(SetPathAttributes, AFailureIsThePairAsItIs) {
    factory->Reply(403, R"({"errorId":"17","severity":"2"})");
    EXPECT_EQ(Run(), (StatusPair{20017, 2}));
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(Run(), (StatusPair{12005, 0}));
}

TEST_F(SetPathAttributes, AFieldThatCannotBeAddedIsItsCode) {
    for (int field = 1; field <= 5; ++field) {
        factory->ClearCalls();
        factory->Fail("AppendFormData", 12150, field);
        EXPECT_EQ(Run(), (StatusPair{12150, 0}));
        EXPECT_EQ(factory->Count("AppendFormData"), static_cast<std::size_t>(field));
        EXPECT_EQ(factory->Count("GetResponse"), 0u);
    }
}

TEST_F(SetPathAttributes, CanBeCancelled) {
    Event cancel;
    EXPECT_EQ(client->SetPathAttributes(QM_W("/a"), attributes, cancel.Handle()), (StatusPair{0, 0}));
    EXPECT_TRUE(log.Has(Information, Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()))));
}

}  // namespace
}  // namespace quillmark::test
