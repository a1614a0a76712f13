#include "quillmark/Eventing.h"

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <new>
#include <utility>

#include "LogFile.h"
#include "LogTable.h"
#include "Record.h"
#include "common/Format.h"

namespace Eventing {
namespace {

// Never destroyed: threads may log while the process ends. It needs no memory of the heap, so that asking whether a
// record is wanted cannot fail.
LogTable& Table() noexcept {
    alignas(LogTable) static std::byte storage[sizeof(LogTable)];
    static LogTable& table = *new (storage) LogTable;
    return table;
}

// Puts the thread's last-error values back as they were.
class ErrorKeeper {
public:
    ErrorKeeper() noexcept : m_errno(errno), m_lastError(::GetLastError()) {}
    ~ErrorKeeper() {
        ::SetLastError(m_lastError);
        errno = m_errno;
    }
    ErrorKeeper(const ErrorKeeper&) = delete;
    ErrorKeeper& operator=(const ErrorKeeper&) = delete;

private:
    int m_errno;
    DWORD m_lastError;
};

void WriteRecord(std::uint64_t context, const EventDescriptor& descriptor, const RecordPlace& place,
                 std::string_view text) {
    SYSTEMTIME now;
    ::GetSystemTime(&now);
    Table().Write(context, RenderRecord(now, descriptor, place, text));
}

std::uint64_t Fail(DWORD error) noexcept {
    ::SetLastError(error);
    return 0;
}

}  // namespace

int IsEnabled(std::uint64_t context, const EventDescriptor* descriptor) {
    return descriptor != nullptr && Table().Wants(context, descriptor->level) ? 1 : 0;
}

void WriteMessage(std::uint64_t context, const EventDescriptor* descriptor, const char* source, std::uint32_t line,
                  const char* function, const char* format, ...) {
    if (format == nullptr || IsEnabled(context, descriptor) == 0) {
        return;
    }
    const ErrorKeeper keeper;
    std::va_list arguments;
    va_start(arguments, format);
    try {
        WriteRecord(context, *descriptor, {source, line, function}, quillmark::FormatVarargs(format, arguments));
    } catch (...) {
        // Out of memory: the record is lost, the caller goes on.
    }
    va_end(arguments);
}

void WriteScope(std::uint64_t context, const EventDescriptor* descriptor, const char* source, std::uint32_t line,
                const char* function) {
    if (IsEnabled(context, descriptor) == 0) {
        return;
    }
    const ErrorKeeper keeper;
    try {
        WriteRecord(context, *descriptor, {source, line, function}, {});
    } catch (...) {
        // Out of memory: the record is lost, the caller goes on.
    }
}

std::uint64_t OpenLog(const char* path, int level) {
    if (path == nullptr || level < 1 || level > 4) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const DWORD before = ::GetLastError();
    try {
        LogFile file;
        if (const DWORD error = file.Open(path); error != ERROR_SUCCESS) {
            return Fail(error);
        }
        const std::uint64_t context = Table().Add(std::move(file), level);
        if (context == 0) {
            return Fail(ERROR_NO_SYSTEM_RESOURCES);
        }
        ::SetLastError(before);
        return context;
    } catch (...) {
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    }
}

void CloseLog(std::uint64_t context) {
    const ErrorKeeper keeper;
    Table().Remove(context);
}

}  // namespace Eventing
