#include "ProcessResources.h"

#include <tlhelp32.h>

namespace quillmark::test {

ProcessResources HeldResources() {
    ProcessResources held;
    ::GetProcessHandleCount(::GetCurrentProcess(), &held.handles);
    held.graphics = ::GetGuiResources(::GetCurrentProcess(), GR_GDIOBJECTS);
    held.windows = ::GetGuiResources(::GetCurrentProcess(), GR_USEROBJECTS);
    const HANDLE threads = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL more = ::Thread32First(threads, &entry); more != FALSE; more = ::Thread32Next(threads, &entry)) {
        held.threads += entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1 : 0;
    }
    ::CloseHandle(threads);
    return held;
}

}  // namespace quillmark::test
