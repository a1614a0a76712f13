// Each function of a seam calls the platform function of its name with its arguments and returns its result. This
// program has recorders in the place of the platform's functions. They record while a seam is called: on Windows the
// C++ runtime and GoogleTest, which are linked in, come to them as well and are to have the real ones.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "quillmark/Services.h"
#include "support/Wrap.h"

namespace quillmark {
namespace {

// The last call that a recorder has had, and what it returned.
struct PlatformCall {
    std::string function;
    std::vector<std::uint64_t> arguments;
    std::uint64_t result = 0;
};
PlatformCall lastCall;
bool recording = false;

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
    recording = true;
    const Result result = (seam.*member)(ValueOf<Arguments>(101 + Index)...);
    recording = false;
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

#define RECORDED(result, name, parameters, ...)                                     \
    QUILLMARK_WRAP(result, name, parameters) {                                      \
        return quillmark::recording ? quillmark::Record<result>(#name, __VA_ARGS__) \
                                    : QUILLMARK_REAL(name)(__VA_ARGS__);            \
    }

RECORDED(BOOL, WinHttpAddRequestHeaders,
         (HINTERNET request, LPCWSTR headers, DWORD lengthInCharacters, DWORD modifiers), request, headers,
         lengthInCharacters, modifiers)
RECORDED(BOOL, WinHttpSendRequest,
         (HINTERNET request, LPCWSTR headers, DWORD lengthInCharacters, LPVOID optional, DWORD optionalLength,
          DWORD totalLength, DWORD_PTR context),
         request, headers, lengthInCharacters, optional, optionalLength, totalLength, context)
RECORDED(BOOL, WinHttpReadData, (HINTERNET request, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead), request,
         buffer, bytesToRead, bytesRead)
RECORDED(BOOL, WinHttpQueryDataAvailable, (HINTERNET request, LPDWORD bytesAvailable), request, bytesAvailable)
RECORDED(BOOL, WinHttpQueryHeaders,
         (HINTERNET request, DWORD infoLevel, LPCWSTR name, LPVOID buffer, LPDWORD bufferLength, LPDWORD index),
         request, infoLevel, name, buffer, bufferLength, index)
RECORDED(BOOL, WinHttpReceiveResponse, (HINTERNET request, LPVOID reserved), request, reserved)
RECORDED(BOOL, WinHttpWriteData, (HINTERNET request, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten), request,
         buffer, bytesToWrite, bytesWritten)
RECORDED(BOOL, WinHttpSetCredentials,
         (HINTERNET request, DWORD targets, DWORD scheme, LPCWSTR userName, LPCWSTR password, LPVOID authParams),
         request, targets, scheme, userName, password, authParams)
RECORDED(BOOL, WinHttpSetTimeouts, (HINTERNET handle, int resolve, int connect, int send, int receive), handle, resolve,
         connect, send, receive)
RECORDED(HINTERNET, WinHttpOpen,
         (LPCWSTR userAgent, DWORD accessType, LPCWSTR proxyName, LPCWSTR proxyBypass, DWORD flags), userAgent,
         accessType, proxyName, proxyBypass, flags)
RECORDED(HINTERNET, WinHttpConnect, (HINTERNET session, LPCWSTR serverName, INTERNET_PORT port, DWORD reserved),
         session, serverName, port, reserved)
RECORDED(HINTERNET, WinHttpOpenRequest,
         (HINTERNET connection, LPCWSTR verb, LPCWSTR objectName, LPCWSTR version, LPCWSTR referrer,
          LPCWSTR* acceptTypes, DWORD flags),
         connection, verb, objectName, version, referrer, acceptTypes, flags)
RECORDED(BOOL, WinHttpCloseHandle, (HINTERNET handle), handle)
RECORDED(BOOL, WinHttpQueryOption, (HINTERNET handle, DWORD option, LPVOID buffer, LPDWORD bufferLength), handle,
         option, buffer, bufferLength)
RECORDED(BOOL, WinHttpSetOption, (HINTERNET handle, DWORD option, LPVOID buffer, DWORD bufferLength), handle, option,
         buffer, bufferLength)
RECORDED(DWORD, GetFileSize, (HANDLE hFile, LPDWORD lpFileSizeHigh), hFile, lpFileSizeHigh)
RECORDED(HANDLE, CreateFileW,
         (LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode, LPSECURITY_ATTRIBUTES lpSecurityAttributes,
          DWORD dwCreationDisposition, DWORD dwFlagsAndAttributes, HANDLE hTemplateFile),
         lpFileName, dwDesiredAccess, dwShareMode, lpSecurityAttributes, dwCreationDisposition, dwFlagsAndAttributes,
         hTemplateFile)
RECORDED(BOOL, ReadFile,
         (HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead, LPDWORD lpNumberOfBytesRead,
          LPOVERLAPPED lpOverlapped),
         hFile, lpBuffer, nNumberOfBytesToRead, lpNumberOfBytesRead, lpOverlapped)
RECORDED(BOOL, SetFilePointerEx,
         (HANDLE hFile, LARGE_INTEGER liDistanceToMove, PLARGE_INTEGER lpNewFilePointer, DWORD dwMoveMethod), hFile,
         liDistanceToMove, lpNewFilePointer, dwMoveMethod)
RECORDED(BOOL, WriteFile,
         (HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite, LPDWORD lpNumberOfBytesWritten,
          LPOVERLAPPED lpOverlapped),
         hFile, lpBuffer, nNumberOfBytesToWrite, lpNumberOfBytesWritten, lpOverlapped)
RECORDED(DWORD, SetFilePointer, (HANDLE hFile, LONG lDistanceToMove, PLONG lpDistanceToMoveHigh, DWORD dwMoveMethod),
         hFile, lDistanceToMove, lpDistanceToMoveHigh, dwMoveMethod)
RECORDED(BOOL, DeleteFileW, (LPCWSTR lpFileName), lpFileName)
RECORDED(BOOL, CopyFileW, (LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, BOOL bFailIfExists), lpExistingFileName,
         lpNewFileName, bFailIfExists)
RECORDED(BOOL, MoveFileW, (LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName), lpExistingFileName, lpNewFileName)
RECORDED(BOOL, GetFileTime,
         (HANDLE hFile, LPFILETIME lpCreationTime, LPFILETIME lpLastAccessTime, LPFILETIME lpLastWriteTime), hFile,
         lpCreationTime, lpLastAccessTime, lpLastWriteTime)
RECORDED(HANDLE, FindFirstFileW, (LPCWSTR lpFileName, LPWIN32_FIND_DATAW lpFindFileData), lpFileName, lpFindFileData)
RECORDED(BOOL, FindNextFileW, (HANDLE hFindFile, LPWIN32_FIND_DATAW lpFindFileData), hFindFile, lpFindFileData)
RECORDED(BOOL, FindClose, (HANDLE hFindFile), hFindFile)
RECORDED(DWORD, GetCurrentDirectoryW, (DWORD nBufferLength, LPWSTR lpBuffer), nBufferLength, lpBuffer)
RECORDED(BOOL, CreateDirectoryW, (LPCWSTR lpPathName, LPSECURITY_ATTRIBUTES lpSecurityAttributes), lpPathName,
         lpSecurityAttributes)
RECORDED(BOOL, RemoveDirectoryW, (LPCWSTR lpPathName), lpPathName)
RECORDED(DWORD, GetTempPathW, (DWORD nBufferLength, LPWSTR lpBuffer), nBufferLength, lpBuffer)
RECORDED(UINT, GetTempFileNameW, (LPCWSTR lpPathName, LPCWSTR lpPrefixString, UINT uUnique, LPWSTR lpTempFileName),
         lpPathName, lpPrefixString, uUnique, lpTempFileName)
RECORDED(DWORD, GetFileAttributesW, (LPCWSTR lpFileName), lpFileName)
RECORDED(BOOL, GetFileAttributesExW,
         (LPCWSTR lpFileName, GET_FILEEX_INFO_LEVELS fInfoLevelId, LPVOID lpFileInformation), lpFileName, fInfoLevelId,
         lpFileInformation)
RECORDED(BOOL, GetFileSizeEx, (HANDLE hFile, PLARGE_INTEGER lpFileSize), hFile, lpFileSize)
RECORDED(DWORD, QueryDosDeviceW, (LPCWSTR lpDeviceName, LPWSTR lpTargetPath, DWORD ucchMax), lpDeviceName, lpTargetPath,
         ucchMax)
RECORDED(HRESULT, SHGetFolderPathW, (HWND hwnd, int csidl, HANDLE hToken, DWORD dwFlags, LPWSTR pszPath), hwnd, csidl,
         hToken, dwFlags, pszPath)
RECORDED(BOOL, SetFileAttributesW, (LPCWSTR lpFileName, DWORD dwFileAttributes), lpFileName, dwFileAttributes)
RECORDED(DWORD, SetSecurityInfo,
         (HANDLE handle, SE_OBJECT_TYPE objectType, SECURITY_INFORMATION securityInfo, PSID psidOwner, PSID psidGroup,
          PACL pDacl, PACL pSacl),
         handle, objectType, securityInfo, psidOwner, psidGroup, pDacl, pSacl)
RECORDED(BOOL, CloseHandle, (HANDLE hObject), hObject)
RECORDED(LSTATUS, RegEnumValueW,
         (HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName, LPDWORD lpReserved, LPDWORD lpType,
          LPBYTE lpData, LPDWORD lpcbData),
         hKey, dwIndex, lpValueName, lpcchValueName, lpReserved, lpType, lpData, lpcbData)
RECORDED(LSTATUS, RegSetValueExW,
         (HKEY hKey, LPCWSTR lpValueName, DWORD Reserved, DWORD dwType, const BYTE* lpData, DWORD cbData), hKey,
         lpValueName, Reserved, dwType, lpData, cbData)
RECORDED(LSTATUS, RegQueryValueExW,
         (HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData), hKey,
         lpValueName, lpReserved, lpType, lpData, lpcbData)
RECORDED(LSTATUS, RegDeleteValueW, (HKEY hKey, LPCWSTR lpValueName), hKey, lpValueName)
RECORDED(LSTATUS, RegEnumKeyExW,
         (HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved, LPWSTR lpClass,
          LPDWORD lpcchClass, PFILETIME lpftLastWriteTime),
         hKey, dwIndex, lpName, lpcchName, lpReserved, lpClass, lpcchClass, lpftLastWriteTime)
RECORDED(LSTATUS, RegOpenKeyExW, (HKEY hKey, LPCWSTR lpSubKey, DWORD ulOptions, REGSAM samDesired, PHKEY phkResult),
         hKey, lpSubKey, ulOptions, samDesired, phkResult)
RECORDED(LSTATUS, RegCreateKeyExW,
         (HKEY hKey, LPCWSTR lpSubKey, DWORD Reserved, LPWSTR lpClass, DWORD dwOptions, REGSAM samDesired,
          const LPSECURITY_ATTRIBUTES lpSecurityAttributes, PHKEY phkResult, LPDWORD lpdwDisposition),
         hKey, lpSubKey, Reserved, lpClass, dwOptions, samDesired, lpSecurityAttributes, phkResult, lpdwDisposition)
RECORDED(LSTATUS, RegDeleteKeyExW, (HKEY hKey, LPCWSTR lpSubKey, REGSAM samDesired, DWORD Reserved), hKey, lpSubKey,
         samDesired, Reserved)
RECORDED(LSTATUS, RegCloseKey, (HKEY hKey), hKey)
RECORDED(LSTATUS, RegNotifyChangeKeyValue,
         (HKEY hKey, BOOL bWatchSubtree, DWORD dwNotifyFilter, HANDLE hEvent, BOOL fAsynchronous), hKey, bWatchSubtree,
         dwNotifyFilter, hEvent, fAsynchronous)

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
