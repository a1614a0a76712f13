// Each function of a seam calls the platform function of its name with its arguments and returns its result. This
// program has recorders in the place of the platform's functions.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "quillmark/Services.h"

namespace quillmark {
namespace {

// The last call that a recorder has had, and what it returned.
struct PlatformCall {
    std::string function;
    std::vector<std::uint64_t> arguments;
    std::uint64_t result = 0;
};
PlatformCall lastCall;

template <typename T>
std::uint64_t NumberOf(T value) {
    if constexpr (std::is_same_v<T, LARGE_INTEGER>) {
        return static_cast<std::uint64_t>(value.QuadPart);
    } else if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<std::uintptr_t>(value);
    } else {
        return static_cast<std::uint64_t>(value);
    }
}

template <typename T>
T ValueOf(std::uint64_t number) {
    if constexpr (std::is_same_v<T, LARGE_INTEGER>) {
        LARGE_INTEGER value;
        value.QuadPart = static_cast<LONGLONG>(number);
        return value;
    } else if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<T>(number);
    } else {
        return static_cast<T>(number);
    }
}

template <typename Result, typename... Arguments>
Result Record(const char* function, Arguments... arguments) {
    lastCall = {function, {NumberOf(arguments)...}, lastCall.result + 1};
    return ValueOf<Result>(lastCall.result);
}

template <typename Seam, typename Result, typename... Arguments, std::size_t... Index>
void ExpectForwards(const char* function, Result (Seam::*member)(Arguments...), std::index_sequence<Index...>) {
    Seam seam;
    // Numbers that tell the arguments apart: 101, 102, ...
    const Result result = (seam.*member)(ValueOf<Arguments>(101 + Index)...);
    EXPECT_EQ(lastCall.function, function);
    EXPECT_EQ(lastCall.arguments, (std::vector<std::uint64_t>{(101 + Index)...})) << function;
    EXPECT_EQ(NumberOf(result), lastCall.result) << function;
}

template <typename Seam, typename Result, typename... Arguments>
void ExpectForwards(const char* function, Result (Seam::*member)(Arguments...)) {
    ExpectForwards(function, member, std::index_sequence_for<Arguments...>());
}

}  // namespace
}  // namespace quillmark

BOOL WINAPI WinHttpAddRequestHeaders(HINTERNET request, LPCWSTR headers, DWORD lengthInCharacters, DWORD modifiers) {
    return quillmark::Record<BOOL>("WinHttpAddRequestHeaders", request, headers, lengthInCharacters, modifiers);
}

BOOL WINAPI WinHttpSendRequest(HINTERNET request, LPCWSTR headers, DWORD lengthInCharacters, LPVOID optional,
                               DWORD optionalLength, DWORD totalLength, DWORD_PTR context) {
    return quillmark::Record<BOOL>("WinHttpSendRequest", request, headers, lengthInCharacters, optional, optionalLength,
                                   totalLength, context);
}

BOOL WINAPI WinHttpReadData(HINTERNET request, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead) {
    return quillmark::Record<BOOL>("WinHttpReadData", request, buffer, bytesToRead, bytesRead);
}

BOOL WINAPI WinHttpQueryDataAvailable(HINTERNET request, LPDWORD bytesAvailable) {
    return quillmark::Record<BOOL>("WinHttpQueryDataAvailable", request, bytesAvailable);
}

BOOL WINAPI WinHttpQueryHeaders(HINTERNET request, DWORD infoLevel, LPCWSTR name, LPVOID buffer, LPDWORD bufferLength,
                                LPDWORD index) {
    return quillmark::Record<BOOL>("WinHttpQueryHeaders", request, infoLevel, name, buffer, bufferLength, index);
}

BOOL WINAPI WinHttpReceiveResponse(HINTERNET request, LPVOID reserved) {
    return quillmark::Record<BOOL>("WinHttpReceiveResponse", request, reserved);
}

BOOL WINAPI WinHttpWriteData(HINTERNET request, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten) {
    return quillmark::Record<BOOL>("WinHttpWriteData", request, buffer, bytesToWrite, bytesWritten);
}

BOOL WINAPI WinHttpSetCredentials(HINTERNET request, DWORD targets, DWORD scheme, LPCWSTR userName, LPCWSTR password,
                                  LPVOID authParams) {
    return quillmark::Record<BOOL>("WinHttpSetCredentials", request, targets, scheme, userName, password, authParams);
}

BOOL WINAPI WinHttpSetTimeouts(HINTERNET handle, int resolve, int connect, int send, int receive) {
    return quillmark::Record<BOOL>("WinHttpSetTimeouts", handle, resolve, connect, send, receive);
}

HINTERNET WINAPI WinHttpOpen(LPCWSTR userAgent, DWORD accessType, LPCWSTR proxyName, LPCWSTR proxyBypass, DWORD flags) {
    return quillmark::Record<HINTERNET>("WinHttpOpen", userAgent, accessType, proxyName, proxyBypass, flags);
}

HINTERNET WINAPI WinHttpConnect(HINTERNET session, LPCWSTR serverName, INTERNET_PORT port, DWORD reserved) {
    return quillmark::Record<HINTERNET>("WinHttpConnect", session, serverName, port, reserved);
}

HINTERNET WINAPI WinHttpOpenRequest(HINTERNET connection, LPCWSTR verb, LPCWSTR objectName, LPCWSTR version,
                                    LPCWSTR referrer, LPCWSTR* acceptTypes, DWORD flags) {
    return quillmark::Record<HINTERNET>("WinHttpOpenRequest", connection, verb, objectName, version, referrer,
                                        acceptTypes, flags);
}

BOOL WINAPI WinHttpCloseHandle(HINTERNET handle) {
    return quillmark::Record<BOOL>("WinHttpCloseHandle", handle);
}

BOOL WINAPI WinHttpQueryOption(HINTERNET handle, DWORD option, LPVOID buffer, LPDWORD bufferLength) {
    return quillmark::Record<BOOL>("WinHttpQueryOption", handle, option, buffer, bufferLength);
}

BOOL WINAPI WinHttpSetOption(HINTERNET handle, DWORD option, LPVOID buffer, DWORD bufferLength) {
    return quillmark::Record<BOOL>("WinHttpSetOption", handle, option, buffer, bufferLength);
}

DWORD WINAPI GetFileSize(HANDLE hFile, LPDWORD lpFileSizeHigh) {
    return quillmark::Record<DWORD>("GetFileSize", hFile, lpFileSizeHigh);
}

HANDLE WINAPI CreateFileW(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                          LPSECURITY_ATTRIBUTES lpSecurityAttributes, DWORD dwCreationDisposition,
                          DWORD dwFlagsAndAttributes, HANDLE hTemplateFile) {
    return quillmark::Record<HANDLE>("CreateFileW", lpFileName, dwDesiredAccess, dwShareMode, lpSecurityAttributes,
                                     dwCreationDisposition, dwFlagsAndAttributes, hTemplateFile);
}

BOOL WINAPI ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead, LPDWORD lpNumberOfBytesRead,
                     LPOVERLAPPED lpOverlapped) {
    return quillmark::Record<BOOL>("ReadFile", hFile, lpBuffer, nNumberOfBytesToRead, lpNumberOfBytesRead,
                                   lpOverlapped);
}

BOOL WINAPI SetFilePointerEx(HANDLE hFile, LARGE_INTEGER liDistanceToMove, PLARGE_INTEGER lpNewFilePointer,
                             DWORD dwMoveMethod) {
    return quillmark::Record<BOOL>("SetFilePointerEx", hFile, liDistanceToMove, lpNewFilePointer, dwMoveMethod);
}

BOOL WINAPI WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite, LPDWORD lpNumberOfBytesWritten,
                      LPOVERLAPPED lpOverlapped) {
    return quillmark::Record<BOOL>("WriteFile", hFile, lpBuffer, nNumberOfBytesToWrite, lpNumberOfBytesWritten,
                                   lpOverlapped);
}

DWORD WINAPI SetFilePointer(HANDLE hFile, LONG lDistanceToMove, PLONG lpDistanceToMoveHigh, DWORD dwMoveMethod) {
    return quillmark::Record<DWORD>("SetFilePointer", hFile, lDistanceToMove, lpDistanceToMoveHigh, dwMoveMethod);
}

BOOL WINAPI DeleteFileW(LPCWSTR lpFileName) {
    return quillmark::Record<BOOL>("DeleteFileW", lpFileName);
}

BOOL WINAPI CopyFileW(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, BOOL bFailIfExists) {
    return quillmark::Record<BOOL>("CopyFileW", lpExistingFileName, lpNewFileName, bFailIfExists);
}

BOOL WINAPI MoveFileW(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName) {
    return quillmark::Record<BOOL>("MoveFileW", lpExistingFileName, lpNewFileName);
}

BOOL WINAPI GetFileTime(HANDLE hFile, LPFILETIME lpCreationTime, LPFILETIME lpLastAccessTime,
                        LPFILETIME lpLastWriteTime) {
    return quillmark::Record<BOOL>("GetFileTime", hFile, lpCreationTime, lpLastAccessTime, lpLastWriteTime);
}

HANDLE WINAPI FindFirstFileW(LPCWSTR lpFileName, LPWIN32_FIND_DATAW lpFindFileData) {
    return quillmark::Record<HANDLE>("FindFirstFileW", lpFileName, lpFindFileData);
}

BOOL WINAPI FindNextFileW(HANDLE hFindFile, LPWIN32_FIND_DATAW lpFindFileData) {
    return quillmark::Record<BOOL>("FindNextFileW", hFindFile, lpFindFileData);
}

BOOL WINAPI FindClose(HANDLE hFindFile) {
    return quillmark::Record<BOOL>("FindClose", hFindFile);
}

DWORD WINAPI GetCurrentDirectoryW(DWORD nBufferLength, LPWSTR lpBuffer) {
    return quillmark::Record<DWORD>("GetCurrentDirectoryW", nBufferLength, lpBuffer);
}

BOOL WINAPI CreateDirectoryW(LPCWSTR lpPathName, LPSECURITY_ATTRIBUTES lpSecurityAttributes) {
    return quillmark::Record<BOOL>("CreateDirectoryW", lpPathName, lpSecurityAttributes);
}

BOOL WINAPI RemoveDirectoryW(LPCWSTR lpPathName) {
    return quillmark::Record<BOOL>("RemoveDirectoryW", lpPathName);
}

DWORD WINAPI GetTempPathW(DWORD nBufferLength, LPWSTR lpBuffer) {
    return quillmark::Record<DWORD>("GetTempPathW", nBufferLength, lpBuffer);
}

UINT WINAPI GetTempFileNameW(LPCWSTR lpPathName, LPCWSTR lpPrefixString, UINT uUnique, LPWSTR lpTempFileName) {
    return quillmark::Record<UINT>("GetTempFileNameW", lpPathName, lpPrefixString, uUnique, lpTempFileName);
}

DWORD WINAPI GetFileAttributesW(LPCWSTR lpFileName) {
    return quillmark::Record<DWORD>("GetFileAttributesW", lpFileName);
}

BOOL WINAPI GetFileAttributesExW(LPCWSTR lpFileName, GET_FILEEX_INFO_LEVELS fInfoLevelId, LPVOID lpFileInformation) {
    return quillmark::Record<BOOL>("GetFileAttributesExW", lpFileName, fInfoLevelId, lpFileInformation);
}

BOOL WINAPI GetFileSizeEx(HANDLE hFile, PLARGE_INTEGER lpFileSize) {
    return quillmark::Record<BOOL>("GetFileSizeEx", hFile, lpFileSize);
}

DWORD WINAPI QueryDosDeviceW(LPCWSTR lpDeviceName, LPWSTR lpTargetPath, DWORD ucchMax) {
    return quillmark::Record<DWORD>("QueryDosDeviceW", lpDeviceName, lpTargetPath, ucchMax);
}

HRESULT WINAPI SHGetFolderPathW(HWND hwnd, int csidl, HANDLE hToken, DWORD dwFlags, LPWSTR pszPath) {
    return quillmark::Record<HRESULT>("SHGetFolderPathW", hwnd, csidl, hToken, dwFlags, pszPath);
}

BOOL WINAPI SetFileAttributesW(LPCWSTR lpFileName, DWORD dwFileAttributes) {
    return quillmark::Record<BOOL>("SetFileAttributesW", lpFileName, dwFileAttributes);
}

DWORD WINAPI SetSecurityInfo(HANDLE handle, SE_OBJECT_TYPE objectType, SECURITY_INFORMATION securityInfo,
                             PSID psidOwner, PSID psidGroup, PACL pDacl, PACL pSacl) {
    return quillmark::Record<DWORD>("SetSecurityInfo", handle, objectType, securityInfo, psidOwner, psidGroup, pDacl,
                                    pSacl);
}

BOOL WINAPI CloseHandle(HANDLE hObject) {
    return quillmark::Record<BOOL>("CloseHandle", hObject);
}

LSTATUS WINAPI RegEnumValueW(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName, LPDWORD lpReserved,
                             LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData) {
    return quillmark::Record<LSTATUS>("RegEnumValueW", hKey, dwIndex, lpValueName, lpcchValueName, lpReserved, lpType,
                                      lpData, lpcbData);
}

LSTATUS WINAPI RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD Reserved, DWORD dwType, const BYTE* lpData,
                              DWORD cbData) {
    return quillmark::Record<LSTATUS>("RegSetValueExW", hKey, lpValueName, Reserved, dwType, lpData, cbData);
}

LSTATUS WINAPI RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData,
                                LPDWORD lpcbData) {
    return quillmark::Record<LSTATUS>("RegQueryValueExW", hKey, lpValueName, lpReserved, lpType, lpData, lpcbData);
}

LSTATUS WINAPI RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName) {
    return quillmark::Record<LSTATUS>("RegDeleteValueW", hKey, lpValueName);
}

LSTATUS WINAPI RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved,
                             LPWSTR lpClass, LPDWORD lpcchClass, PFILETIME lpftLastWriteTime) {
    return quillmark::Record<LSTATUS>("RegEnumKeyExW", hKey, dwIndex, lpName, lpcchName, lpReserved, lpClass,
                                      lpcchClass, lpftLastWriteTime);
}

LSTATUS WINAPI RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD ulOptions, REGSAM samDesired, PHKEY phkResult) {
    return quillmark::Record<LSTATUS>("RegOpenKeyExW", hKey, lpSubKey, ulOptions, samDesired, phkResult);
}

LSTATUS WINAPI RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD Reserved, LPWSTR lpClass, DWORD dwOptions,
                               REGSAM samDesired, const LPSECURITY_ATTRIBUTES lpSecurityAttributes, PHKEY phkResult,
                               LPDWORD lpdwDisposition) {
    return quillmark::Record<LSTATUS>("RegCreateKeyExW", hKey, lpSubKey, Reserved, lpClass, dwOptions, samDesired,
                                      lpSecurityAttributes, phkResult, lpdwDisposition);
}

LSTATUS WINAPI RegDeleteKeyExW(HKEY hKey, LPCWSTR lpSubKey, REGSAM samDesired, DWORD Reserved) {
    return quillmark::Record<LSTATUS>("RegDeleteKeyExW", hKey, lpSubKey, samDesired, Reserved);
}

LSTATUS WINAPI RegCloseKey(HKEY hKey) {
    return quillmark::Record<LSTATUS>("RegCloseKey", hKey);
}

LSTATUS WINAPI RegNotifyChangeKeyValue(HKEY hKey, BOOL bWatchSubtree, DWORD dwNotifyFilter, HANDLE hEvent,
                                       BOOL fAsynchronous) {
    return quillmark::Record<LSTATUS>("RegNotifyChangeKeyValue", hKey, bWatchSubtree, dwNotifyFilter, hEvent,
                                      fAsynchronous);
}

namespace quillmark {
namespace {

TEST(WinHttpInterfaceTest, ForwardsEachFunction) {
    ExpectForwards("WinHttpAddRequestHeaders", &WinHttpInterface::WinHttpAddRequestHeaders);
    ExpectForwards("WinHttpSendRequest", &WinHttpInterface::WinHttpSendRequest);
    ExpectForwards("WinHttpReadData", &WinHttpInterface::WinHttpReadData);
    ExpectForwards("WinHttpQueryDataAvailable", &WinHttpInterface::WinHttpQueryDataAvailable);
    ExpectForwards("WinHttpQueryHeaders", &WinHttpInterface::WinHttpQueryHeaders);
    ExpectForwards("WinHttpReceiveResponse", &WinHttpInterface::WinHttpReceiveResponse);
    ExpectForwards("WinHttpWriteData", &WinHttpInterface::WinHttpWriteData);
    ExpectForwards("WinHttpSetCredentials", &WinHttpInterface::WinHttpSetCredentials);
    ExpectForwards("WinHttpSetTimeouts", &WinHttpInterface::WinHttpSetTimeouts);
    ExpectForwards("WinHttpOpen", &WinHttpInterface::WinHttpOpen);
    ExpectForwards("WinHttpConnect", &WinHttpInterface::WinHttpConnect);
    ExpectForwards("WinHttpOpenRequest", &WinHttpInterface::WinHttpOpenRequest);
    ExpectForwards("WinHttpCloseHandle", &WinHttpInterface::WinHttpCloseHandle);
    ExpectForwards("WinHttpQueryOption", &WinHttpInterface::WinHttpQueryOption);
    ExpectForwards("WinHttpSetOption", &WinHttpInterface::WinHttpSetOption);
}

TEST(FileSystemInterfaceTest, ForwardsEachFunction) {
    ExpectForwards("GetFileSize", &FileSystemInterface::GetFileSize);
    ExpectForwards("CreateFileW", &FileSystemInterface::CreateFileW);
    ExpectForwards("ReadFile", &FileSystemInterface::ReadFile);
    ExpectForwards("SetFilePointerEx", &FileSystemInterface::SetFilePointerEx);
    ExpectForwards("WriteFile", &FileSystemInterface::WriteFile);
    ExpectForwards("SetFilePointer", &FileSystemInterface::SetFilePointer);
    ExpectForwards("DeleteFileW", &FileSystemInterface::DeleteFileW);
    ExpectForwards("CopyFileW", &FileSystemInterface::CopyFileW);
    ExpectForwards("MoveFileW", &FileSystemInterface::MoveFileW);
    ExpectForwards("GetFileTime", &FileSystemInterface::GetFileTime);
    ExpectForwards("FindFirstFileW", &FileSystemInterface::FindFirstFileW);
    ExpectForwards("FindNextFileW", &FileSystemInterface::FindNextFileW);
    ExpectForwards("FindClose", &FileSystemInterface::FindClose);
    ExpectForwards("GetCurrentDirectoryW", &FileSystemInterface::GetCurrentDirectoryW);
    ExpectForwards("CreateDirectoryW", &FileSystemInterface::CreateDirectoryW);
    ExpectForwards("RemoveDirectoryW", &FileSystemInterface::RemoveDirectoryW);
    ExpectForwards("GetTempPathW", &FileSystemInterface::GetTempPathW);
    ExpectForwards("GetTempFileNameW", &FileSystemInterface::GetTempFileNameW);
    ExpectForwards("GetFileAttributesW", &FileSystemInterface::GetFileAttributesW);
    ExpectForwards("GetFileAttributesExW", &FileSystemInterface::GetFileAttributesExW);
    ExpectForwards("GetFileSizeEx", &FileSystemInterface::GetFileSizeEx);
    ExpectForwards("QueryDosDeviceW", &FileSystemInterface::QueryDosDeviceW);
    ExpectForwards("SHGetFolderPathW", &FileSystemInterface::SHGetFolderPathW);
    ExpectForwards("SetFileAttributesW", &FileSystemInterface::SetFileAttributesW);
    ExpectForwards("SetSecurityInfo", &FileSystemInterface::SetSecurityInfo);
    ExpectForwards("CloseHandle", &FileSystemInterface::CloseHandle);
}

TEST(RegistryInterfaceTest, ForwardsEachFunction) {
    ExpectForwards("RegEnumValueW", &RegistryInterface::RegEnumValueW);
    ExpectForwards("RegSetValueExW", &RegistryInterface::RegSetValueExW);
    ExpectForwards("RegQueryValueExW", &RegistryInterface::RegQueryValueExW);
    ExpectForwards("RegDeleteValueW", &RegistryInterface::RegDeleteValueW);
    ExpectForwards("RegEnumKeyExW", &RegistryInterface::RegEnumKeyExW);
    ExpectForwards("RegOpenKeyExW", &RegistryInterface::RegOpenKeyExW);
    ExpectForwards("RegCreateKeyExW", &RegistryInterface::RegCreateKeyExW);
    ExpectForwards("RegDeleteKeyExW", &RegistryInterface::RegDeleteKeyExW);
    ExpectForwards("RegCloseKey", &RegistryInterface::RegCloseKey);
    ExpectForwards("RegNotifyChangeKeyValue", &RegistryInterface::RegNotifyChangeKeyValue);
}

}  // namespace
}  // namespace quillmark
