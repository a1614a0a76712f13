#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class RenamePath : public ClientTest {
protected:
    void SetUp() override { Discover(); }
    StatusPair Run(const WideString& source, const WideString& target, DWORD overwrite = 0) {
        return client->RenamePath(source, target, overwrite, attributes, nullptr);
    }
    [[nodiscard]] Lines Fields() const { return CallsOf("AppendFormData"); }

    std::shared_ptr<IServerAttributes> attributes;
};

TEST_F(RenamePath, WithinItsFolderIsAnUpdate) {
    factory->Reply(200, R"({"name":"b.txt","revision":"r2"})");
    EXPECT_EQ(Run(QM_W("/docs/a.txt"), QM_W("/docs/b.txt"), 1), (StatusPair{0, 0}));
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/folders/docs/a.txt\", \"POST\", c3, null, 0x00000000, false)",
                     "AppendFormData(r3, path=b.txt&)", "AppendFormData(r3, operation=update)", "GetResponse(r3)",
                     "GetHTTPStatus(r3)"}));
    ASSERT_NE(attributes, nullptr);
    EXPECT_EQ(attributes->GetRevision(), "r2");
}

TEST_F(RenamePath, LogsItsSteps) {
    EXPECT_EQ(Run(QM_W("/docs/a b"), QM_W("/docs/b"), 1), (StatusPair{0, 0}));
    for (const char* text : {"Rename request for path: /docs/a b to path: /docs/b. Over write Target = [true]",
                             "Request Path: /qm/folders/docs/a%20b", "Using UPDATE operation",
                             "Successfully renamed path: /docs/a b to path: /docs/b"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::RenamePath", text)) << text;
    }
    EXPECT_EQ(Run(QM_W("/docs/a"), QM_W("/other/a"), 2), (StatusPair{0, 0}));
    for (const char* text :
         {"Rename request for path: /docs/a to path: /other/a. Over write Target = [false]", "Using MOVE operation"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::RenamePath", text)) << text;
    }
}

TEST_F(RenamePath, ToAnotherFolderIsAMove) {
    EXPECT_EQ(Run(QM_W("/docs/a.txt"), QM_W("/other/a.txt"), 1), (StatusPair{0, 0}));
    EXPECT_EQ(Fields(), (Lines{"(r3, path=/other/a.txt&)", "(r3, overwrite=true&)", "(r3, operation=move)"}));
}

TEST_F(RenamePath, OnlyTheFlag1Overwrites) {
    for (const DWORD flag : {0u, 2u, 0xFFFFFFFFu}) {
        factory->ClearCalls();
        EXPECT_EQ(Run(QM_W("/docs/a.txt"), QM_W("/other/a.txt"), flag), (StatusPair{0, 0}));
        EXPECT_THAT(factory->Calls()[5], ::testing::EndsWith(", overwrite=false&)")) << flag;
    }
}

TEST_F(RenamePath, FoldersThatDifferByCaseAreTheSame) {
    EXPECT_EQ(Run(QM_W("/docs/a.txt"), QM_W("/Docs/b.txt")), (StatusPair{0, 0}));
    EXPECT_EQ(Run(QM_W("/B\u00FCro/a"), QM_W("/B\u00DCRO/b")), (StatusPair{0, 0}));
    EXPECT_EQ(Fields(),
              (Lines{"(r3, path=b.txt&)", "(r3, operation=update)", "(r4, path=b&)", "(r4, operation=update)"}));
}

TEST_F(RenamePath, PathsAreSplitAtABackslashBeforeASlash) {
    EXPECT_EQ(Run(QM_W("/docs\\a/x"), QM_W("/docs\\b/y")), (StatusPair{0, 0}));
    EXPECT_EQ(Fields(), (Lines{"(r3, path=b/y&)", "(r3, operation=update)"}));
}

TEST_F(RenamePath, PathsWithoutASeparatorAreInTheSameFolder) {
    EXPECT_EQ(Run(QM_W("a"), QM_W("b")), (StatusPair{0, 0}));
    EXPECT_EQ(Run(QM_W("a"), QM_W("/b")), (StatusPair{0, 0}));
    EXPECT_EQ(Fields(), (Lines{"(r3, path=b&)", "(r3, operation=update)", "(r4, path=b&)", "(r4, operation=update)"}));
}

TEST_F(RenamePath, AReplyThatIsNotOneItemIs13) {
    for (const char* reply : {"no JSON", "[]", "[{},{}]"}) {
        factory->Reply(200, reply);
        EXPECT_EQ(Run(QM_W("/a"), QM_W("/b")), (StatusPair{13, 0})) << reply;
    }
    EXPECT_EQ(log.Count(Warning, "Failed to extract attributes from response"), 3u);
    EXPECT_EQ(attributes, nullptr);
    EXPECT_FALSE(log.Mentions("Successfully renamed"));
}

TEST_F(RenamePath, AFailureIsThePairAsItIs) {
    factory->Reply(409, R"({"errorId":"17","severity":"2"})");
    EXPECT_EQ(Run(QM_W("/a"), QM_W("/b")), (StatusPair{20017, 2}));
    factory->Fail("Request::Initialise", 12005);
    EXPECT_EQ(Run(QM_W("/a"), QM_W("/b")), (StatusPair{12005, 0}));
}

TEST_F(RenamePath, AFieldThatCannotBeAddedIsItsCode) {
    for (int field = 1; field <= 3; ++field) {
        factory->Fail("AppendFormData", 12150, field);
        EXPECT_EQ(Run(QM_W("/a"), QM_W("/x/b")), (StatusPair{12150, 0}));
    }
    for (int field = 1; field <= 2; ++field) {
        factory->Fail("AppendFormData", 12150, field);
        EXPECT_EQ(Run(QM_W("/a"), QM_W("/b")), (StatusPair{12150, 0}));
    }
    EXPECT_EQ(factory->Count("GetResponse"), 0u);
}

TEST_F(RenamePath, APathThatHasNoUtf8Is1113WithoutARequest) {
    const WideChar lone[] = {QM_W('/'), 0xDCFF, 0};
    EXPECT_EQ(Run(lone, QM_W("/b")), (StatusPair{1113, 0}));
    EXPECT_EQ(Run(QM_W("/a"), lone), (StatusPair{1113, 0}));
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(RenamePath, CanBeCancelled) {
    Event cancel;
    EXPECT_EQ(client->RenamePath(QM_W("/a"), QM_W("/b"), 0, attributes, cancel.Handle()), (StatusPair{0, 0}));
    EXPECT_TRUE(log.Has(Information, Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()))));
}

}  // namespace
}  // namespace quillmark::test
