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
