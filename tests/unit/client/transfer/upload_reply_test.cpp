#include "client/transfer/UploadReply.h"

#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class UploadReply : public ClientTest {
protected:
    const Logger logger{"CNativeHttp::Upload", LogSource::NativeHttp};
    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
};

TEST_F(UploadReply, AStoredItemIsTheRootOfTheReply) {
    EXPECT_EQ(TakeStoredItem(logger, Reply(R"({"revision":"r2"})"), *attributes), 0u);
    EXPECT_EQ(attributes->GetRevision(), "r2");
}

TEST_F(UploadReply, AReplyWithoutOneItemStoresNothing) {
    attributes->SetRevision("kept");
    EXPECT_EQ(TakeStoredItem(logger, Reply("[]"), *attributes), 13u);
    EXPECT_EQ(attributes->GetRevision(), "kept");
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::Upload", "Failed to extract attributes from response"));
}

TEST_F(UploadReply, AStoredRevisionIsInTheLog) {
    EXPECT_EQ(TakeStoredRevision(logger, Reply(R"({"revision":"r2"})"), *attributes), 0u);
    EXPECT_EQ(attributes->GetRevision(), "r2");
    EXPECT_TRUE(
        log.Has(Information, "NativeHttp", "CNativeHttp::Upload", "Extracted attributes from upload reply, Rev: r2"));
    EXPECT_EQ(TakeStoredRevision(logger, Reply("[{},{}]"), *attributes), 13u);
    EXPECT_EQ(attributes->GetRevision(), "r2");
    EXPECT_TRUE(log.Has(Error, "Failed to extract attributes from response"));
}

TEST_F(UploadReply, ARefusedItemIsAMemberOfTheReply) {
    EXPECT_TRUE(TakeRefusedItem(logger, Reply(R"({"document_info":{"revision":"r9"}})"), *attributes));
    EXPECT_EQ(attributes->GetRevision(), "r9");
    EXPECT_FALSE(TakeRefusedItem(logger, Reply(R"({"revision":"r10"})"), *attributes));
    EXPECT_EQ(attributes->GetRevision(), "r9");
}

TEST_F(UploadReply, AnUnreadableRefusedItemIsOnlyLogged) {
    EXPECT_FALSE(TakeRefusedItem(logger, Reply(R"({"document_info":{"directory":"true"}})"), *attributes));
    ASSERT_EQ(log.Texts(Error).size(), 1u);
    EXPECT_THAT(log.Texts(Error)[0], ::testing::StartsWith("JSON library has thrown a runtime_error exception ("));
}

}  // namespace
}  // namespace quillmark::test
