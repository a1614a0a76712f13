// The seams: every call of the library to WinHTTP, to the file system and to the registry goes through a virtual
// function of one of these three classes, and the collection that holds them.
//
// Each function forwards its arguments unchanged to the platform function of the same name and returns that function's
// result unchanged; GetLastError afterwards is that function's too. Nothing is logged, repeated or translated. A host
// (or a test) that wants another implementation derives from a seam, overrides what it needs, and passes a collection
// to Init. A replacement honours the platform function's contract, last-error value included.
//
// The functions hold no state and are called from any thread, several at once. A seam may be replaced while calls are
// in flight: a running call keeps the old seam alive, the next call uses the new one.
//
// The order of the virtual functions is part of the calling interface.
#pragma once

#include <memory>

#include "quillmark/Platform.h"

namespace quillmark {

// WinHTTP. No destructor slot: the seam is deleted through the shared pointer that made it.
class WinHttpInterface {
public:
    virtual BOOL WinHttpAddRequestHeaders(HINTERNET request, LPCWSTR headers, DWORD length, DWORD modifiers);
    virtual BOOL WinHttpSendRequest(HINTERNET request, LPCWSTR headers, DWORD headersLength, LPVOID optional,
                                    DWORD optionalLength, DWORD totalLength, DWORD_PTR context);
    virtual BOOL WinHttpReadData(HINTERNET request, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead);
    virtual BOOL WinHttpQueryDataAvailable(HINTERNET request, LPDWORD bytesAvailable);
    virtual BOOL WinHttpQueryHeaders(HINTERNET request, DWORD infoLevel, LPCWSTR name, LPVOID buffer,
                                     LPDWORD bufferLength, LPDWORD index);
    virtual BOOL WinHttpReceiveResponse(HINTERNET request, LPVOID reserved);
    virtual BOOL WinHttpWriteData(HINTERNET request, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten);
    virtual BOOL WinHttpSetCredentials(HINTERNET request, DWORD targets, DWORD scheme, LPCWSTR user, LPCWSTR password,
                                       LPVOID parameters);
    virtual BOOL WinHttpSetTimeouts(HINTERNET handle, int resolve, int connect, int send, int receive);
    virtual HINTERNET WinHttpOpen(LPCWSTR agent, DWORD accessType, LPCWSTR proxy, LPCWSTR proxyBypass, DWORD flags);
    virtual HINTERNET WinHttpConnect(HINTERNET session, LPCWSTR server, WORD port, DWORD reserved);
    virtual HINTERNET WinHttpOpenRequest(HINTERNET connection, LPCWSTR verb, LPCWSTR objectName, LPCWSTR version,
                                         LPCWSTR referrer, LPCWSTR* acceptTypes, DWORD flags);
    virtual BOOL WinHttpCloseHandle(HINTERNET handle);
    virtual BOOL WinHttpQueryOption(HINTERNET handle, DWORD option, LPVOID buffer, LPDWORD bufferLength);
    virtual BOOL WinHttpSetOption(HINTERNET handle, DWORD option, LPVOID buffer, DWORD bufferLength);
};

// Files.
class FileSystemInterface {
public:
    virtual ~FileSystemInterface();

    virtual DWORD GetFileSize(HANDLE file, LPDWORD sizeHigh);
    virtual HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES security,
                               DWORD disposition, DWORD flagsAndAttributes, HANDLE templateFile);
    virtual BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead, LPOVERLAPPED overlapped);
    virtual BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER newPosition, DWORD method);
    virtual BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten,
                           LPOVERLAPPED overlapped);
    virtual DWORD SetFilePointer(HANDLE file, LONG distance, PLONG distanceHigh, DWORD method);
    virtual BOOL DeleteFileW(LPCWSTR path);
    virtual BOOL CopyFileW(LPCWSTR from, LPCWSTR to, BOOL failIfExists);
    virtual BOOL MoveFileW(LPCWSTR from, LPCWSTR to);
    virtual BOOL GetFileTime(HANDLE file, LPFILETIME creation, LPFILETIME lastAccess, LPFILETIME lastWrite);
    virtual HANDLE FindFirstFileW(LPCWSTR pattern, LPWIN32_FIND_DATAW data);
    virtual BOOL FindNextFileW(HANDLE search, LPWIN32_FIND_DATAW data);
    virtual BOOL FindClose(HANDLE search);
    virtual DWORD GetCurrentDirectoryW(DWORD length, LPWSTR buffer);
    virtual BOOL CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES security);
    virtual BOOL RemoveDirectoryW(LPCWSTR path);
    virtual DWORD GetTempPathW(DWORD length, LPWSTR buffer);
    virtual UINT GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT unique, LPWSTR name);
    virtual DWORD GetFileAttributesW(LPCWSTR path);
    virtual BOOL GetFileAttributesExW(LPCWSTR path, GET_FILEEX_INFO_LEVELS level, LPVOID information);
    virtual BOOL GetFileSizeEx(HANDLE file, PLARGE_INTEGER size);
    virtual DWORD QueryDosDeviceW(LPCWSTR device, LPWSTR target, DWORD length);
    virtual HRESULT SHGetFolderPathW(HWND window, int folder, HANDLE token, DWORD flags, LPWSTR path);
    virtual BOOL SetFileAttributesW(LPCWSTR path, DWORD attributes);
    virtual DWORD SetSecurityInfo(HANDLE object, SE_OBJECT_TYPE type, SECURITY_INFORMATION information, PSID owner,
                                  PSID group, PACL discretionary, PACL system);
    virtual BOOL CloseHandle(HANDLE handle);
};

// The registry.
class RegistryInterface {
public:
    virtual ~RegistryInterface();

    virtual LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameLength, LPDWORD reserved,
                                  LPDWORD type, LPBYTE data, LPDWORD dataSize);
    virtual LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                                   DWORD dataSize);
    virtual LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                     LPDWORD dataSize);
    virtual LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name);
    virtual LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameLength, LPDWORD reserved,
                                  LPWSTR keyClass, LPDWORD classLength, PFILETIME lastWrite);
    virtual LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, HKEY* result);
    virtual LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR keyClass, DWORD options,
                                    REGSAM access, const LPSECURITY_ATTRIBUTES security, HKEY* result,
                                    LPDWORD disposition);
    virtual LSTATUS RegDeleteKeyExW(HKEY key, LPCWSTR subKey, REGSAM access, DWORD reserved);
    virtual LSTATUS RegCloseKey(HKEY key);
    virtual LSTATUS RegNotifyChangeKeyValue(HKEY key, BOOL subtree, DWORD filter, HANDLE event, BOOL asynchronous);
};

namespace Services {

// What a host hands to Init. A member that is empty is filled with the plain seam at its first use; a member that the
// host installed is kept.
struct ServicesCollection {
    std::shared_ptr<FileSystemInterface> fileSystem;
    std::shared_ptr<RegistryInterface> registry;
    std::shared_ptr<WinHttpInterface> winHttp;
};

}  // namespace Services
}  // namespace quillmark
