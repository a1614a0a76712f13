#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class CreateFolder : public ClientTest {
protected:
    void SetUp() override { Discover(); }
    StatusPair Run(const WideString& path) { return client->CreateFolder(path, attributes, nullptr); }

    std::shared_ptr<IServerAttributes> attributes;
};

TEST_F(CreateFolder, PostsTheNameToTheParent) {
    factory->Reply(200, R"({"name":"new","directory":true,"revision":"r1"})");
    EXPECT_EQ(Run(QM_W("/a/b/new")), (StatusPair{0, 0}));
    ASSERT_NE(attributes, nullptr);
    EXPECT_EQ(attributes->GetRevision(), "r1");
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/folders/a/b\", \"POST\", c3, null, 0x00000000, false)",
                     "AppendFormData(r3, name=new&)", "AppendFormData(r3, operation=create)", "GetResponse(r3)",
                     "GetHTTPStatus(r3)"}));
    for (const char* text : {"Create request for folder: /a/b/new", "Created folder: /a/b/new",
                             "Extracted created folder attributes from reply"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::CreateFolder", text)) << text;
    }
}

TEST_F(CreateFolder, AFolderOfTheRootIsPostedToFolders) {
    EXPECT_EQ(Run(QM_W("/new")), (StatusPair{0, 0}));
    EXPECT_EQ(factory->Calls()[3], "Request::Initialise(r3, \"/qm/folders\", \"POST\", c3, null, 0x00000000, false)");
}

TEST_F(CreateFolder, APathWithoutSlashIsBothParentAndName) {
    EXPECT_EQ(Run(QM_W("new")), (StatusPair{0, 0}));
    EXPECT_EQ(factory->Calls()[3],
              "Request::Initialise(r3, \"/qm/foldersnew\", \"POST\", c3, null, 0x00000000, false)");
    EXPECT_EQ(factory->Calls()[4], "AppendFormData(r3, name=new&)");
}

TEST_F(CreateFolder, APathThatHasNoUtf8Is1113WithoutARequest) {
    const WideChar parent[] = {QM_W('/'), 0xDCFF, QM_W('/'), QM_W('n'), 0};
    const WideChar leaf[] = {QM_W('/'), QM_W('p'), QM_W('/'), 0xDCFF, 0};
    EXPECT_EQ(Run(parent), (StatusPair{1113, 0}));
    EXPECT_EQ(Run(leaf), (StatusPair{1113, 0}));
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(CreateFolder, AReplyThatIsNotOneItemIs13) {
    for (const char* reply : {"no JSON", "[]", "[{},{}]"}) {
        factory->Reply(200, reply);
        EXPECT_EQ(Run(QM_W("/new")), (StatusPair{13, 0})) << reply;
    }
    EXPECT_EQ(log.Count(Warning, "Failed to extract attributes from response."), 3u);
    EXPECT_EQ(log.Count(Information, "Created folder: /new"), 3u);
    EXPECT_EQ(attributes, nullptr);
}

TEST_F(CreateFolder, AFailureIsThePairAsItIs) {
    factory->Reply(409, R"({"errorId":"17","severity":"2"})");
    EXPECT_EQ(Run(QM_W("/new")), (StatusPair{20017, 2}));
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(Run(QM_W("/new")), (StatusPair{12005, 0}));
    EXPECT_FALSE(log.Mentions("Created folder"));
}

TEST_F(CreateFolder, AFieldThatCannotBeAddedIsItsCode) {
    for (int field = 1; field <= 2; ++field) {
        factory->Fail("AppendFormData", 12150, field);
        EXPECT_EQ(Run(QM_W("/new")), (StatusPair{12150, 0}));
    }
    EXPECT_EQ(factory->Count("GetResponse"), 0u);
}

TEST_F(CreateFolder, CanBeCancelled) {
    Event cancel;
    EXPECT_EQ(client->CreateFolder(QM_W("/a"), attributes, cancel.Handle()), (StatusPair{0, 0}));
    EXPECT_TRUE(log.Has(Information, Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()))));
}

}  // namespace
}  // namespace quillmark::test
