// The one table of all handles, which Windows does not have.
#include <gtest/gtest.h>

#include "handles/HandleTable.h"
#include "unit/winhttp/HttpCalls.h"

namespace quillmark::test {
namespace {

TEST(HandlesPosixTest, AllHandlesGoWithTheirClosing) {
    const std::size_t before = platform::OpenHandleCount();
    {
        const ScopedHandle session = OpenSession();
        const ScopedHandle request = OpenRequest(session, 80, "GET", "/");
        EXPECT_EQ(before + 2, platform::OpenHandleCount());
    }
    EXPECT_EQ(before, platform::OpenHandleCount());
}

// On Windows the numbers of both kinds may be the same.
TEST(HandlesPosixTest, CloseHandleClosesNoneOfThem) {
    const HINTERNET session = WinHttpOpen(nullptr, WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, nullptr, 0);
    const HINTERNET connection = WinHttpConnect(session, QM_W("127.0.0.1"), 80, 0);
    const HINTERNET request = WinHttpOpenRequest(connection, nullptr, nullptr, nullptr, nullptr, nullptr, 0);
    for (const HINTERNET handle : {request, connection, session}) {
        EXPECT_EQ(ERROR_INVALID_HANDLE, Code(CloseHandle(handle)));
        // Nothing has closed it yet.
        EXPECT_TRUE(WinHttpCloseHandle(handle));
    }
}

}  // namespace
}  // namespace quillmark::test
