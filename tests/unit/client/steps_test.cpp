#include "client/Steps.h"

#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

TEST(Steps, ANullEventIsNeverSet) {
    EXPECT_FALSE(IsSet(nullptr));
}

TEST(Steps, AnEventIsSetOnceItWasSet) {
    Event event;
    EXPECT_FALSE(IsSet(event.Handle()));
    event.Set();
    EXPECT_TRUE(IsSet(event.Handle()));
    EXPECT_TRUE(IsSet(event.Handle()));
}

TEST(Steps, EncodePathEncodesAllButTheSlashesOnce) {
    std::string encoded;
    EXPECT_EQ(EncodePath(QM_W("/a b/100%+~\u00E9"), encoded), 0u);
    EXPECT_EQ(encoded, "/a%20b/100%25%2B~%C3%A9");
    EXPECT_EQ(EncodePath(QM_W(""), encoded), 0u);
    EXPECT_EQ(encoded, "");
}

TEST(Steps, EncodePathRefusesAPathThatHasNoUtf8) {
    const WideChar lone[] = {QM_W('/'), 0xDC80, 0};
    std::string encoded;
    EXPECT_EQ(EncodePath(lone, encoded), 1113u);
}

TEST(Steps, ParentAndLeafMeetAtTheLastSlash) {
    EXPECT_EQ(ParentPath(QM_W("/a/b/new")), QM_W("/a/b"));
    EXPECT_EQ(LeafName(QM_W("/a/b/new")), QM_W("new"));
    EXPECT_EQ(ParentPath(QM_W("/new")), QM_W(""));
    EXPECT_EQ(LeafName(QM_W("/new")), QM_W("new"));
    EXPECT_EQ(LeafName(QM_W("/a/")), QM_W(""));
}

TEST(Steps, APathWithoutSlashIsItsOwnParentAndLeaf) {
    EXPECT_EQ(ParentPath(QM_W("new")), QM_W("new"));
    EXPECT_EQ(LeafName(QM_W("new")), QM_W("new"));
}

TEST(Steps, APathIsSplitAtItsLastBackslashOrElseAtItsLastSlash) {
    EXPECT_EQ(SplitPath(QM_W("/docs/a.txt")).parent, QM_W("/docs"));
    EXPECT_EQ(SplitPath(QM_W("/docs/a.txt")).name, QM_W("a.txt"));
    EXPECT_EQ(SplitPath(QM_W("a\\b/c")).parent, QM_W("a"));
    EXPECT_EQ(SplitPath(QM_W("a\\b/c")).name, QM_W("b/c"));
    EXPECT_EQ(SplitPath(QM_W("/a")).parent, QM_W(""));
    EXPECT_EQ(SplitPath(QM_W("/a")).name, QM_W("a"));
}

TEST(Steps, APathWithoutASeparatorHasAnEmptyParent) {
    EXPECT_EQ(SplitPath(QM_W("a.txt")).parent, QM_W(""));
    EXPECT_EQ(SplitPath(QM_W("a.txt")).name, QM_W("a.txt"));
}

TEST(Steps, TheFirstParameterOfAQueryHasAQuestionMark) {
    std::string query;
    AddParameter(query, "revision", "");
    EXPECT_EQ(query, "?revision=");
    AddParameter(query, "jobId", "7");
    AddParameter(query, "jobId", "8");
    EXPECT_EQ(query, "?revision=&jobId=7&jobId=8");
}

TEST(Steps, AFailureIsLoggedAndHandedOn) {
    const fakes::RecordedLog log;
    const Logger logger("CNativeHttp::Some", LogSource::NativeHttp);
    EXPECT_EQ(LogFailure(logger, "Step failed, error code: %u", 0), 0u);
    EXPECT_TRUE(log.Records().empty());
    EXPECT_EQ(LogFailure(logger, "Step failed, error code: %u", 12030), 12030u);
    EXPECT_TRUE(log.Has(103, "NativeHttp", "CNativeHttp::Some", "Step failed, error code: 12030"));
}

class OneItem : public ClientTest {};

TEST_F(OneItem, IsTheRootOfAReply) {
    const auto item = ExtractOneItem(Reply(R"({"revision":"r1"})"), ItemPlace::Root);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->GetRevision(), "r1");
}

TEST_F(OneItem, IsTheOnlyElementOfAList) {
    EXPECT_NE(ExtractOneItem(Reply(R"([{"revision":"r1"}])"), ItemPlace::Root), nullptr);
}

TEST_F(OneItem, IsNotOneOfTwo) {
    EXPECT_EQ(ExtractOneItem(Reply(R"([{},{}])"), ItemPlace::Root), nullptr);
}

TEST_F(OneItem, IsNotInAnEmptyListNorInARefusedReply) {
    EXPECT_EQ(ExtractOneItem(Reply("[]"), ItemPlace::Root), nullptr);
    EXPECT_EQ(ExtractOneItem(Reply("no"), ItemPlace::Root), nullptr);
    EXPECT_EQ(ExtractOneItem(ResponseBuffer(), ItemPlace::Root), nullptr);
}

TEST_F(OneItem, IsAMemberOfAnErrorReply) {
    const auto item =
        ExtractOneItem(Reply(R"({"errorId":"1077","document_info":{"revision":"r2"}})"), ItemPlace::ErrorReply);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->GetRevision(), "r2");
}

TEST_F(OneItem, IsNotInAnErrorReplyWithoutTheMember) {
    EXPECT_EQ(ExtractOneItem(Reply(R"({"errorId":"1077"})"), ItemPlace::ErrorReply), nullptr);
}

TEST_F(OneItem, WithAnUnreadableTimeIsNone) {
    EXPECT_EQ(ExtractOneItem(Reply(R"({"creation_time":"yesterday"})"), ItemPlace::Root), nullptr);
}

}  // namespace
}  // namespace quillmark::test
