// CallRecorder: the base of the recording seams. It keeps the calls as texts and makes chosen ones fail.
//
//   seam->Fail("WinHttpConnect", 12007);                        // the next call of that function fails so
//   seam->FailCall(3, 12030);                                   // the third call from now, whichever it is
//   seam->OnCall([&](const std::string& call) { ... });         // runs before each call is carried out
//   EXPECT_EQ(seam->Calls(), (std::vector<std::string>{"WinHttpConnect(h1, \"server\", 443, 0)"}));
//
// In the texts numbers are decimal, flags hexadecimal, texts in double quotes, null is null. Any thread may call a
// seam; the hook runs on the calling thread and may call back.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "quillmark/Platform.h"

namespace quillmark::fakes {

class CallRecorder {
public:
    // The nth call of the function from now on fails with the code.
    void Fail(const std::string& function, DWORD error, int nth = 1);
    // The nth call of any function from now on fails with the code.
    void FailCall(int nth, DWORD error);
    // An empty one for none.
    void OnCall(std::function<void(const std::string& call)> hook);

    [[nodiscard]] std::vector<std::string> Calls() const;
    [[nodiscard]] std::size_t Count(std::string_view function) const;
    void ClearCalls();

protected:
    CallRecorder() = default;
    ~CallRecorder() = default;

    // Records the call. False, with the last error set, when it is to fail.
    [[nodiscard]] bool Enter(const std::string& function, const std::string& arguments);

    [[nodiscard]] static std::string Quoted(LPCWSTR text);
    [[nodiscard]] static std::string Hex(DWORD flags);

private:
    struct Failure {
        int countdown;
        DWORD error;
    };

    [[nodiscard]] DWORD TakeFailure(const std::string& function);

    mutable std::mutex m_lock;
    std::vector<std::string> m_calls;
    std::map<std::string, std::vector<Failure>> m_failures;           // by function; "" for any
    std::shared_ptr<std::function<void(const std::string&)>> m_hook;  // shared, so that a replaced one ends its call
};

}  // namespace quillmark::fakes
