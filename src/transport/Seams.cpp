// The plain seams: each function is the platform function of the same name.
#include "quillmark/Services.h"

namespace quillmark {

BOOL WinHttpInterface::WinHttpAddRequestHeaders(HINTERNET request, LPCWSTR headers, DWORD length, DWORD modifiers) {
    return ::WinHttpAddRequestHeaders(request, headers, length, modifiers);
}

BOOL WinHttpInterface::WinHttpSendRequest(HINTERNET request, LPCWSTR headers, DWORD headersLength, LPVOID optional,
                                          DWORD optionalLength, DWORD totalLength, DWORD_PTR context) {
    return ::WinHttpSendRequest(request, headers, headersLength, optional, optionalLength, totalLength, context);
}

BOOL WinHttpInterface::WinHttpReadData(HINTERNET request, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead) {
    return ::WinHttpReadData(request, buffer, bytesToRead, bytesRead);
}

BOOL WinHttpInterface::WinHttpQueryDataAvailable(HINTERNET request, LPDWORD bytesAvailable) {
    return ::WinHttpQueryDataAvailable(request, bytesAvailable);
}

BOOL WinHttpInterface::WinHttpQueryHeaders(HINTERNET request, DWORD infoLevel, LPCWSTR name, LPVOID buffer,
                                           LPDWORD bufferLength, LPDWORD index) {
    return ::WinHttpQueryHeaders(request, infoLevel, name, buffer, bufferLength, index);
}

BOOL WinHttpInterface::WinHttpReceiveResponse(HINTERNET request, LPVOID reserved) {
    return ::WinHttpReceiveResponse(request, reserved);
}

BOOL WinHttpInterface::WinHttpWriteData(HINTERNET request, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten) {
    return ::WinHttpWriteData(request, buffer, bytesToWrite, bytesWritten);
}

BOOL WinHttpInterface::WinHttpSetCredentials(HINTERNET request, DWORD targets, DWORD scheme, LPCWSTR user,
                                             LPCWSTR password, LPVOID parameters) {
    return ::WinHttpSetCredentials(request, targets, scheme, user, password, parameters);
}

BOOL WinHttpInterface::WinHttpSetTimeouts(HINTERNET handle, int resolve, int connect, int send, int receive) {
    return ::WinHttpSetTimeouts(handle, resolve, connect, send, receive);
}

HINTERNET WinHttpInterface::WinHttpOpen(LPCWSTR agent, DWORD accessType, LPCWSTR proxy, LPCWSTR proxyBypass,
                                        DWORD flags) {
    return ::WinHttpOpen(agent, accessType, proxy, proxyBypass, flags);
}

HINTERNET WinHttpInterface::WinHttpConnect(HINTERNET session, LPCWSTR server, WORD port, DWORD reserved) {
    return ::WinHttpConnect(session, server, port, reserved);
}

HINTERNET WinHttpInterface::WinHttpOpenRequest(HINTERNET connection, LPCWSTR verb, LPCWSTR objectName, LPCWSTR version,
                                               LPCWSTR referrer, LPCWSTR* acceptTypes, DWORD flags) {
    return ::WinHttpOpenRequest(connection, verb, objectName, version, referrer, acceptTypes, flags);
}

BOOL WinHttpInterface::WinHttpCloseHandle(HINTERNET handle) {
    return ::WinHttpCloseHandle(handle);
}

BOOL WinHttpInterface::WinHttpQueryOption(HINTERNET handle, DWORD option, LPVOID buffer, LPDWORD bufferLength) {
    return ::WinHttpQueryOption(handle, option, buffer, bufferLength);
}

BOOL WinHttpInterface::WinHttpSetOption(HINTERNET handle, DWORD option, LPVOID buffer, DWORD bufferLength) {
    return ::WinHttpSetOption(handle, option, buffer, bufferLength);
}

FileSystemInterface::~FileSystemInterface() = default;

DWORD FileSystemInterface::GetFileSize(HANDLE file, LPDWORD sizeHigh) {
    return ::GetFileSize(file, sizeHigh);
}

HANDLE FileSystemInterface::CreateFileW(LPCWSTR path, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES security,
                                        DWORD disposition, DWORD flagsAndAttributes, HANDLE templateFile) {
    return ::CreateFileW(path, access, shareMode, security, disposition, flagsAndAttributes, templateFile);
}

BOOL FileSystemInterface::ReadFile(HANDLE file, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead,
                                   LPOVERLAPPED overlapped) {
    return ::ReadFile(file, buffer, bytesToRead, bytesRead, overlapped);
}

BOOL FileSystemInterface::SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER newPosition,
                                           DWORD method) {
    return ::SetFilePointerEx(file, distance, newPosition, method);
}

BOOL FileSystemInterface::WriteFile(HANDLE file, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten,
                                    LPOVERLAPPED overlapped) {
    return ::WriteFile(file, buffer, bytesToWrite, bytesWritten, overlapped);
}

DWORD FileSystemInterface::SetFilePointer(HANDLE file, LONG distance, PLONG distanceHigh, DWORD method) {
    return ::SetFilePointer(file, distance, distanceHigh, method);
}

BOOL FileSystemInterface::DeleteFileW(LPCWSTR path) {
    return ::DeleteFileW(path);
}

BOOL FileSystemInterface::CopyFileW(LPCWSTR from, LPCWSTR to, BOOL failIfExists) {
    return ::CopyFileW(from, to, failIfExists);
}

BOOL FileSystemInterface::MoveFileW(LPCWSTR from, LPCWSTR to) {
    return ::MoveFileW(from, to);
}

BOOL FileSystemInterface::GetFileTime(HANDLE file, LPFILETIME creation, LPFILETIME lastAccess, LPFILETIME lastWrite) {
    return ::GetFileTime(file, creation, lastAccess, lastWrite);
}

HANDLE FileSystemInterface::FindFirstFileW(LPCWSTR pattern, LPWIN32_FIND_DATAW data) {
    return ::FindFirstFileW(pattern, data);
}

BOOL FileSystemInterface::FindNextFileW(HANDLE search, LPWIN32_FIND_DATAW data) {
    return ::FindNextFileW(search, data);
}

BOOL FileSystemInterface::FindClose(HANDLE search) {
    return ::FindClose(search);
}

DWORD FileSystemInterface::GetCurrentDirectoryW(DWORD length, LPWSTR buffer) {
    return ::GetCurrentDirectoryW(length, buffer);
}

BOOL FileSystemInterface::CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES security) {
    return ::CreateDirectoryW(path, security);
}

BOOL FileSystemInterface::RemoveDirectoryW(LPCWSTR path) {
    return ::RemoveDirectoryW(path);
}

DWORD FileSystemInterface::GetTempPathW(DWORD length, LPWSTR buffer) {
    return ::GetTempPathW(length, buffer);
}

UINT FileSystemInterface::GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT unique, LPWSTR name) {
    return ::GetTempFileNameW(folder, prefix, unique, name);
}

DWORD FileSystemInterface::GetFileAttributesW(LPCWSTR path) {
    return ::GetFileAttributesW(path);
}

BOOL FileSystemInterface::GetFileAttributesExW(LPCWSTR path, GET_FILEEX_INFO_LEVELS level, LPVOID information) {
    return ::GetFileAttributesExW(path, level, information);
}

BOOL FileSystemInterface::GetFileSizeEx(HANDLE file, PLARGE_INTEGER size) {
    return ::GetFileSizeEx(file, size);
}

DWORD FileSystemInterface::QueryDosDeviceW(LPCWSTR device, LPWSTR target, DWORD length) {
    return ::QueryDosDeviceW(device, target, length);
}

HRESULT FileSystemInterface::SHGetFolderPathW(HWND window, int folder, HANDLE token, DWORD flags, LPWSTR path) {
    return ::SHGetFolderPathW(window, folder, token, flags, path);
}

BOOL FileSystemInterface::SetFileAttributesW(LPCWSTR path, DWORD attributes) {
    return ::SetFileAttributesW(path, attributes);
}

DWORD FileSystemInterface::SetSecurityInfo(HANDLE object, SE_OBJECT_TYPE type, SECURITY_INFORMATION information,
                                           PSID owner, PSID group, PACL discretionary, PACL system) {
    return ::SetSecurityInfo(object, type, information, owner, group, discretionary, system);
}

BOOL FileSystemInterface::CloseHandle(HANDLE handle) {
    return ::CloseHandle(handle);
}

RegistryInterface::~RegistryInterface() = default;

LSTATUS RegistryInterface::RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameLength, LPDWORD reserved,
                                         LPDWORD type, LPBYTE data, LPDWORD dataSize) {
    return ::RegEnumValueW(key, index, name, nameLength, reserved, type, data, dataSize);
}

LSTATUS RegistryInterface::RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                                          DWORD dataSize) {
    return ::RegSetValueExW(key, name, reserved, type, data, dataSize);
}

LSTATUS RegistryInterface::RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                            LPDWORD dataSize) {
    return ::RegQueryValueExW(key, name, reserved, type, data, dataSize);
}

LSTATUS RegistryInterface::RegDeleteValueW(HKEY key, LPCWSTR name) {
    return ::RegDeleteValueW(key, name);
}

LSTATUS RegistryInterface::RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameLength, LPDWORD reserved,
                                         LPWSTR keyClass, LPDWORD classLength, PFILETIME lastWrite) {
    return ::RegEnumKeyExW(key, index, name, nameLength, reserved, keyClass, classLength, lastWrite);
}

LSTATUS RegistryInterface::RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, HKEY* result) {
    return ::RegOpenKeyExW(key, subKey, options, access, result);
}

LSTATUS RegistryInterface::RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR keyClass, DWORD options,
                                           REGSAM access, const LPSECURITY_ATTRIBUTES security, HKEY* result,
                                           LPDWORD disposition) {
    return ::RegCreateKeyExW(key, subKey, reserved, keyClass, options, access, security, result, disposition);
}

LSTATUS RegistryInterface::RegDeleteKeyExW(HKEY key, LPCWSTR subKey, REGSAM access, DWORD reserved) {
    return ::RegDeleteKeyExW(key, subKey, access, reserved);
}

LSTATUS RegistryInterface::RegCloseKey(HKEY key) {
    return ::RegCloseKey(key);
}

LSTATUS RegistryInterface::RegNotifyChangeKeyValue(HKEY key, BOOL subtree, DWORD filter, HANDLE event,
                                                   BOOL asynchronous) {
    return ::RegNotifyChangeKeyValue(key, subtree, filter, event, asynchronous);
}

}  // namespace quillmark
