// Resumable uploads, library against server: chunks in and out of step, answers that are lost, other paths, large
// files.
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

constexpr GUID UploadId = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};
constexpr const char* Endpoint = "/api/1.7/resume/upload";

class ResumableTest : public ClientTest {
protected:
    void SetUp() override { StartAndLogin(); }

    void Prepare(std::size_t size) {
        m_content = Pattern(size);
        m_local = WriteFileAt(LocalPath("source"), m_content);
        m_attributes = UploadAttributes(static_cast<std::int64_t>(size));
    }
    // Sends the chunk at an offset, which the library may correct.
    DWORD Send(const std::string& path, std::int64_t& offset, std::int64_t length) {
        const bool first = offset == 0;
        return Client()->ResumableUpload(m_local, WidenUtf8(path), m_attributes, UploadId, offset, length, first,
                                         nullptr, nullptr, 0);
    }
    DWORD SendAt(const std::string& path, std::int64_t offset, std::int64_t length) {
        return Send(path, offset, length);
    }
    // How many bytes the server says that it has; below zero the code with which it does not say.
    std::int64_t Received(const std::string& path) {
        std::int64_t offset = 0;
        bool locked = true;
        const DWORD error = Client()->GetResumableUploadMetadata(WidenUtf8(path), UploadId, offset, locked, nullptr);
        EXPECT_TRUE(error != 0 || !locked);
        return error == 0 ? offset : -static_cast<std::int64_t>(error);
    }
    DWORD Complete(const std::string& path, const std::string& newPath, const Attributes& attributes) {
        return Client()->CompleteUpload(WidenUtf8(path), WidenUtf8(newPath), UploadId, attributes, nullptr);
    }
    // Loses the answer to the last chunk.
    void LoseTheLastAnswer(const std::string& path) {
        Prepare(300'000);
        ASSERT_EQ(0u, SendAt(path, 0, 200'000));
        Server().AddFaults({{"method", "POST"}, {"path", Endpoint + path}, {"kind", "end"}, {"at", "after-work"}});
        ASSERT_EQ(12030u, SendAt(path, 200'000, 200'000));
        ASSERT_EQ(0u, Server().UnusedFaults());
        ASSERT_EQ(300'000, Received(path));
    }

    std::string m_content;
    WideString m_local;
    Attributes m_attributes;
};

TEST_F(ResumableTest, ChunksBecomeAnItemWithTheLastOne) {
    Prepare(700'000);
    EXPECT_EQ(0u, SendAt("/item", 0, 300'000));
    EXPECT_EQ(300'000, Received("/item"));
    EXPECT_EQ(21002u, Look("/item"));
    EXPECT_EQ(0u, SendAt("/item", 300'000, 300'000));
    EXPECT_EQ("", m_attributes->GetRevision());
    EXPECT_EQ(0u, SendAt("/item", 600'000, 300'000));
    EXPECT_EQ("item", NarrowUtf8(m_attributes->GetName()));
    EXPECT_EQ(700'000, m_attributes->GetSize());
    EXPECT_NE("", m_attributes->GetRevision());
    EXPECT_TRUE(ContentOf("/item") == m_content);
}

TEST_F(ResumableTest, EmptyFileIsStoredByAChunkOfNothing) {
    Prepare(0);
    EXPECT_EQ(0u, SendAt("/item", 0, 1000));
    EXPECT_EQ("", ContentOf("/item"));
}

TEST_F(ResumableTest, ChunkOutOfStepIsRefusedAndTheOffsetCorrected) {
    Prepare(700'000);
    ASSERT_EQ(0u, SendAt("/item", 0, 300'000));
    for (const std::int64_t wrong : {0, 200'000, 400'000, 700'000}) {
        std::int64_t offset = wrong;
        EXPECT_EQ(21202u, Send("/item", offset, 100'000)) << wrong;
        EXPECT_EQ(300'000, offset) << wrong;
        EXPECT_EQ(300'000, Received("/item")) << wrong;
    }
    EXPECT_EQ(0u, SendAt("/item", 300'000, 400'000));
    EXPECT_TRUE(ContentOf("/item") == m_content);
}

TEST_F(ResumableTest, LostLastAnswerComesAgainToACompletionWithoutAnotherByte) {
    LoseTheLastAnswer("/item");
    Attributes stored;
    ASSERT_EQ(0u, Look("/item", &stored));
    Server().ResetStatistics();
    const Attributes attributes = MakeAttributes();
    EXPECT_EQ(0u, Complete("/item", "/item", attributes));
    EXPECT_EQ(stored->GetRevision(), attributes->GetRevision());
    EXPECT_EQ(1u, Server().RequestCount("POST", std::string(Endpoint) + "/item"));
    EXPECT_LT(Server().Statistics().at("received").get<std::uint64_t>(), 2000u);
    EXPECT_TRUE(ContentOf("/item") == m_content);
}

TEST_F(ResumableTest, LostLastAnswerComesAgainToAChunkOfNothing) {
    LoseTheLastAnswer("/item");
    Attributes stored;
    ASSERT_EQ(0u, Look("/item", &stored));
    Server().ResetStatistics();
    EXPECT_EQ(0u, SendAt("/item", 300'000, 0));
    EXPECT_EQ(stored->GetRevision(), m_attributes->GetRevision());
    EXPECT_LT(Server().Statistics().at("received").get<std::uint64_t>(), 2000u);
    EXPECT_TRUE(ContentOf("/item") == m_content);
}

TEST_F(ResumableTest, ChangeMeanwhileIsReportedAndTheBytesGoUnderAnotherName) {
    ASSERT_EQ(0u, Upload("/item", "one"));
    Prepare(300'000);
    Attributes before;
    ASSERT_EQ(0u, Look("/item", &before));
    m_attributes->SetRevision(before->GetRevision());
    ASSERT_EQ(0u, SendAt("/item", 0, 200'000));
    ASSERT_EQ(0u, Upload("/item", "another"));
    EXPECT_EQ(21077u, SendAt("/item", 200'000, 200'000));
    EXPECT_EQ(7, m_attributes->GetSize());
    EXPECT_EQ(300'000, Received("/item"));
    const std::string newPath = "/\xD0\xB8\xD0\xBC\xD1\x8F (\xE6\x96\x87) 100%+\xF0\x9F\x93\x84";
    const Attributes attributes = MakeAttributes();
    ASSERT_EQ(0u, Complete("/item", newPath, attributes));
    EXPECT_EQ(newPath.substr(1), NarrowUtf8(attributes->GetName()));
    EXPECT_TRUE(ContentOf(newPath) == m_content);
    EXPECT_EQ("another", ContentOf("/item"));
}

TEST_F(ResumableTest, CancelledUploadIsGone) {
    Prepare(300'000);
    ASSERT_EQ(0u, SendAt("/item", 0, 200'000));
    EXPECT_EQ(0u, Client()->CancelUpload(QM_W("/item"), UploadId, nullptr));
    EXPECT_EQ(-21002, Received("/item"));
    EXPECT_EQ(21002u, Client()->CancelUpload(QM_W("/item"), UploadId, nullptr));
    EXPECT_EQ(21002u, SendAt("/item", 200'000, 100'000));
    EXPECT_EQ(0u, SendAt("/item", 0, 300'000));
    EXPECT_TRUE(ContentOf("/item") == m_content);
}

TEST_F(ResumableTest, ChunksLeaveTheConnectionOpenForTheNextOnes) {
    Prepare(1'000'000);
    for (std::int64_t offset = 0; offset < 1'000'000; offset += 100'000) {
        ASSERT_EQ(0u, SendAt("/item", offset, 100'000));
    }
    EXPECT_EQ(1u, Server().ConnectionCount());
}

class LargeResumableTest : public ResumableTest {};

TEST_F(LargeResumableTest, ChunkBehindFourGibibytesLandsWhereItBelongs) {
    constexpr std::int64_t far = 0x1'0000'0003;
    constexpr std::int64_t size = far + 100'000;
    if (std::filesystem::space(std::filesystem::temp_directory_path()).available < 5'000'000'000) {
        GTEST_SKIP() << "needs 5000000000 bytes in the folder for temporary files";
    }
    Prepare(100'000);
    const std::string sparse = LocalPath("sparse");
    const int file = ::open(sparse.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(100'000, ::pwrite(file, m_content.data(), m_content.size(), far));
    ::close(file);
    m_local = WidenUtf8(sparse);
    m_attributes = UploadAttributes(size);
    ASSERT_EQ(0u, SendAt("/item", 0, far));
    EXPECT_EQ(far, Received("/item"));
    std::int64_t offset = 3;
    EXPECT_EQ(21202u, Send("/item", offset, 100'000));
    EXPECT_EQ(far, offset);
    ASSERT_EQ(0u, SendAt("/item", far, 100'000));
    EXPECT_EQ(size, m_attributes->GetSize());
    const std::string back = LocalPath("back");
    static_cast<void>(WriteFileAt(back, ""));
    ASSERT_EQ(0u, Client()->DownloadData(QM_W("/item"), WidenUtf8(back), nullptr, MakeAttributes(),
                                         static_cast<std::uint64_t>(far) - 2, size, nullptr, nullptr, 0));
    std::string tail(100'002, 'x');
    const int result = ::open(back.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(100'002, ::pread(result, tail.data(), tail.size(), far - 2));
    ::close(result);
    EXPECT_TRUE(tail == std::string(2, '\0') + m_content);
}

}  // namespace
}  // namespace quillmark::testing
