#include "fakes/CallRecorder.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "quillmark/WideString.h"

namespace quillmark::fakes {

void CallRecorder::Fail(const std::string& function, DWORD error, int nth) {
    const std::scoped_lock guard(m_lock);
    m_failures[function].push_back({nth, error});
}

void CallRecorder::FailCall(int nth, DWORD error) {
    Fail("", error, nth);
}

void CallRecorder::OnCall(std::function<void(const std::string& call)> hook) {
    const std::scoped_lock guard(m_lock);
    m_hook = hook ? std::make_shared<std::function<void(const std::string&)>>(std::move(hook)) : nullptr;
}

std::vector<std::string> CallRecorder::Calls() const {
    const std::scoped_lock guard(m_lock);
    return m_calls;
}

std::size_t CallRecorder::Count(std::string_view function) const {
    const std::scoped_lock guard(m_lock);
    return static_cast<std::size_t>(std::ranges::count_if(m_calls, [function](const std::string& call) {
        return call.size() > function.size() && call.starts_with(function) && call[function.size()] == '(';
    }));
}

void CallRecorder::ClearCalls() {
    const std::scoped_lock guard(m_lock);
    m_calls.clear();
}

bool CallRecorder::Enter(const std::string& function, const std::string& arguments) {
    const std::string call = function + "(" + arguments + ")";
    std::shared_ptr<std::function<void(const std::string&)>> hook;
    DWORD error = 0;
    {
        const std::scoped_lock guard(m_lock);
        m_calls.push_back(call);
        hook = m_hook;
        error = std::max(TakeFailure(function), TakeFailure(""));
    }
    if (hook != nullptr) {
        (*hook)(call);
    }
    if (error != 0) {
        ::SetLastError(error);
    }
    return error == 0;
}

DWORD CallRecorder::TakeFailure(const std::string& function) {
    DWORD error = 0;
    const auto found = m_failures.find(function);
    if (found == m_failures.end()) {
        return error;
    }
    std::erase_if(found->second, [&error](Failure& failure) {
        const bool due = --failure.countdown == 0;
        error = due ? failure.error : error;
        return due;
    });
    return error;
}

std::string CallRecorder::Quoted(LPCWSTR text) {
    return text == nullptr ? "null" : "\"" + NarrowUtf8(text) + "\"";
}

std::string CallRecorder::Hex(DWORD flags) {
    char text[16] = {};
    std::snprintf(text, sizeof(text), "0x%08x", static_cast<unsigned>(flags));
    return text;
}

}  // namespace quillmark::fakes
