#include "transport/Multipart.h"

#include <cstdio>
#include <cstdlib>

#include "TransportTest.h"
#include "transport/ScrubPasswords.h"

namespace quillmark {
namespace {

class MultipartTest : public TransportTest {};

HRESULT WINAPI FailingCreate(GUID*) {
    return E_FAIL;
}

HRESULT WINAPI FixedCreate(GUID* guid) {
    *guid = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};
    return S_OK;
}

int WINAPI FailingPrint(REFGUID, LPOLESTR, int) {
    return 0;
}

TEST_F(MultipartTest, TheBoundaryHasAGuidInBraces) {
    EXPECT_EQ(Multipart::MakeBoundary({FixedCreate, &::StringFromGUID2}),
              "QM_MARK--{0F8FAD5B-D9CB-469F-A165-70867728950E}--QM_MARK");
}

TEST_F(MultipartTest, EachGuidMakesAnotherBoundary) {
    EXPECT_NE(Multipart::MakeBoundary(), Multipart::MakeBoundary());
}

TEST_F(MultipartTest, AFailedGuidLeavesItsTextEmpty) {
    EXPECT_EQ(Multipart::MakeBoundary({FailingCreate, &::StringFromGUID2}), "QM_MARK----QM_MARK");
    EXPECT_EQ(log.Texts(103), Texts{"Failed to generate GUID."});
}

TEST_F(MultipartTest, AGuidThatCannotBePrintedLeavesItsTextEmpty) {
    EXPECT_EQ(Multipart::MakeBoundary({FixedCreate, FailingPrint}), "QM_MARK----QM_MARK");
    EXPECT_EQ(log.Texts(103), Texts{"StringFromGUID2 failed"});
}

TEST_F(MultipartTest, TheProcessKeepsItsBoundary) {
    const std::string first = Multipart::Boundary();
    EXPECT_EQ(Multipart::Boundary(), first);
    EXPECT_EQ(NarrowUtf8(Multipart::WideBoundary()), first);
    EXPECT_EQ(first.size(), 56u);
}

TEST_F(MultipartTest, AFieldIsTheseBytes) {
    EXPECT_EQ(Multipart::FormField("size", "12"), "--" + Multipart::Boundary() +
                                                      "\r\n"
                                                      "Content-Disposition: form-data; name=\"size\"\r\n"
                                                      "\r\n"
                                                      "12\r\n");
}

TEST_F(MultipartTest, AFieldMayHoldAnyBytes) {
    const std::string value("a\0\r\n\xFF", 5);
    EXPECT_TRUE(Multipart::FormField("x", value).ends_with("\r\n\r\n" + value + "\r\n"));
}

TEST_F(MultipartTest, AFileNameIsFormEncoded) {
    std::string line;
    EXPECT_EQ(Multipart::FileDisposition("file", QM_W("/a \"b\"~"), line), 0u);
    EXPECT_EQ(line, "Content-Disposition: form-data; name=\"file\"; filename=\"%2Fa+%22b%22%7E\"\r\n");
}

TEST_F(MultipartTest, AFileNameBeyondTheBasicPlaneIsEncoded) {
    std::string line;
    EXPECT_EQ(Multipart::FileDisposition("file", QM_W("\U0001F600"), line), 0u);
    EXPECT_EQ(line, "Content-Disposition: form-data; name=\"file\"; filename=\"%F0%9F%98%80\"\r\n");
}

TEST_F(MultipartTest, AFileNameWithALoneSurrogateIsRefused) {
    std::string line;
    const WideChar lead[] = {0xD800, QM_W('a'), 0};
    const WideChar trail[] = {0xDC80, 0};
    EXPECT_EQ(Multipart::FileDisposition("file", lead, line), 1113u);
    EXPECT_EQ(Multipart::FileDisposition("file", trail, line), 1113u);
}

// A thread of the host may still send while the process ends, when the static objects of the library are gone.
TEST(TransportAtExitDeathTest, KeepsWhatTheProcessMakesOnce) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    static char boundary[57] = {};
    // Static objects that are made from here on go before the handler runs.
    const auto useAll = [] {
        const std::string body = "password=a";
        const bool kept = Multipart::Boundary() == boundary && NarrowUtf8(Multipart::WideBoundary()) == boundary &&
                          ScrubPasswords(body.data(), body.size()) == "password=XXXXX";
        std::fputs(kept ? "kept" : "lost", stderr);
    };
    EXPECT_EXIT(
        {
            std::atexit(useAll);
            static_cast<void>(Multipart::WideBoundary());
            static_cast<void>(ScrubPasswords("password=a", 10));
            Multipart::Boundary().copy(boundary, 56);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "kept");
}

}  // namespace
}  // namespace quillmark
