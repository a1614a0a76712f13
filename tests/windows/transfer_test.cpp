// Files through the DLL and Windows' own HTTP client: over HTTP and HTTPS, one after the other on kept connections.
#include <gtest/gtest.h>

#include <algorithm>

#include "BareWinHttp.h"
#include "LoadedLibrary.h"
#include "TrustedAuthority.h"
#include "support/Wine.h"

namespace quillmark::test {
namespace {

TEST(TransferTest, FilesOfEverySizeComeBackAsTheyWere) {
    const Host host;
    ASSERT_EQ(host.Login(), 0u);
    for (const std::size_t size : {0u, 1u, 16383u, 16384u, 16385u, 1'000'000u, 20'000'000u}) {
        const std::string content = Pattern(size);
        ASSERT_EQ(host.Upload(QM_W("/file"), content), 0u) << size;
        EXPECT_TRUE(host.ContentOf(QM_W("/file")) == content) << size;
    }
}

// The announced length of an upload is two or three bytes more than its body, and this system's HTTP client never sends
// them: the server has to tell where the next request begins.
TEST(TransferTest, UploadsInARowAreNotMisframed) {
    const Host host;
    ASSERT_EQ(host.Login(), 0u);
    for (int number = 0; number < 10; ++number) {
        const WideString path = WidenUtf8("/file " + std::to_string(number));
        ASSERT_EQ(host.Upload(path, "content " + std::to_string(number)), 0u) << number;
    }
    for (int number = 0; number < 10; ++number) {
        const WideString path = WidenUtf8("/file " + std::to_string(number));
        EXPECT_EQ(host.ContentOf(path), "content " + std::to_string(number));
    }
}

TEST(TransferTest, NamesInAnyScriptComeBackAsTheyWere) {
    const Host host;
    ASSERT_EQ(host.Login(), 0u);
    const WideString names[] = {L"/\x00E4\x00F6\x00FC \x00DF", L"/\x65E5\x672C\x8A9E", L"/\x0440\x0443\x0441",
                                L"/a+b %20 & c#d;e=f?", L"/\xD83D\xDE00"};
    for (const WideString& name : names) {
        EXPECT_EQ(host.Upload(name, "content"), 0u) << NarrowUtf8(name);
    }
    ItemList children;
    auto self = MakeAttributes();
    ASSERT_EQ(host->GetPathListing(QM_W("/"), children, self, nullptr).error, 0u);
    for (const WideString& name : names) {
        const bool listed = std::any_of(children.begin(), children.end(),
                                        [&name](const auto& item) { return item->GetName() == name.Substring(1); });
        EXPECT_TRUE(listed) << NarrowUtf8(name);
        EXPECT_EQ(host.ContentOf(name), "content") << NarrowUtf8(name);
    }
}

TEST(TransferTest, HttpsServesAServerWhoseAuthorityIsInTheStoreOfRoots) {
    const TrustedAuthority trusted;
    const Host host(HttpsUrl());
    ASSERT_EQ(host.Login(), 0u);
    const std::string content = Pattern(1'000'000);
    ASSERT_EQ(host.Upload(QM_W("/file"), content), 0u);
    EXPECT_TRUE(host.ContentOf(QM_W("/file")) == content);
}

TEST(TransferTest, HttpsRefusesAServerWhoseAuthorityIsNotTrusted) {
    const Host host(HttpsUrl());
    // Wine says that no secure channel came about.
    EXPECT_THAT(host.Login(), OrUnderWine<DWORD>(12175, 12157));
    EXPECT_EQ(Ask(HttpUrl(), L"GET", L"/control/statistics").find("/login"), std::string::npos);
}

TEST(TransferTest, AWrongPasswordIsRefused) {
    const Host host;
    EXPECT_EQ(host.Login("wrong"), 21010u);
}

}  // namespace
}  // namespace quillmark::test
