// A handle of each kind, and numbers that they are asked for and given.
#pragma once

#include <gtest/gtest.h>

#include "unit/winhttp/HttpCalls.h"

namespace quillmark::test {

class OptionsTest : public testing::Test {
protected:
    DWORD Get(HINTERNET handle, DWORD option, DWORD& value) {
        DWORD size = sizeof(value);
        return Code(WinHttpQueryOption(handle, option, &value, &size));
    }
    DWORD Set(HINTERNET handle, DWORD option, DWORD value) {
        return Code(WinHttpSetOption(handle, option, &value, sizeof(value)));
    }

    ScopedHandle m_session = OpenSession();
    ScopedHandle m_connection{WinHttpConnect(m_session, QM_W("host"), 8080, 0)};
    ScopedHandle m_request{WinHttpOpenRequest(m_connection, QM_W("GET"), QM_W("/x?y"), nullptr, nullptr, nullptr, 0)};
};

}  // namespace quillmark::test
