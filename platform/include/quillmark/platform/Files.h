// The Windows file functions on POSIX: same names, arguments, results and GetLastError codes.
//
// Use it through FileSystemInterface in the library, directly in the host programs. It is not for overlapped I/O, for
// security descriptors or for device names: what POSIX has no counterpart for fails with a documented code.
//
//   HANDLE file = CreateFileW(u"notes.txt", GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
//                             FILE_ATTRIBUTE_NORMAL, nullptr);
//   if (file == INVALID_HANDLE_VALUE) return GetLastError();
//   DWORD got = 0;
//   BOOL read = ReadFile(file, buffer, sizeof(buffer), &got, nullptr);   // TRUE and 0 bytes: the end of the file
//   CloseHandle(file);
//
// Paths. UTF-16 on this side, the bytes of the file system on the other, UTF-8 between them. A byte that is no part of
// valid UTF-8 appears as U+DC80 to U+DCFF (0xDC00 plus the byte), and such a unit becomes that byte again, so every
// name can be reached. Any other lone surrogate names nothing: ERROR_INVALID_NAME. The separator is '/' alone; a
// backslash is a legal character of a name here and is taken as one. Names are as case-sensitive as the file system;
// only a wildcard of FindFirstFileW ignores case. There is no limit of MAX_PATH other than where a structure or a
// documented buffer has that size; the file system's own limits give ERROR_FILENAME_EXCED_RANGE. A null or empty path
// gives ERROR_PATH_NOT_FOUND. Symbolic links are followed, except where an entry itself is removed or moved.
//
// Errors. Functions that fail set the calling thread's last error; those that succeed leave it alone unless stated.
// The file is missing: ERROR_FILE_NOT_FOUND; a folder on the way to it is missing or is no folder:
// ERROR_PATH_NOT_FOUND; no permission, a folder where a file is due, or a read-only file that is to be written:
// ERROR_ACCESS_DENIED; read-only volume: ERROR_WRITE_PROTECT; no space or quota: ERROR_DISK_FULL; past the file
// system's largest size: ERROR_FILE_TOO_LARGE; too many descriptors: ERROR_TOO_MANY_OPEN_FILES; circular links:
// ERROR_CANT_RESOLVE_FILENAME; a handle that names no open file: ERROR_INVALID_HANDLE; a null buffer that bytes are due
// in: ERROR_NOACCESS, one that they are due from: ERROR_INVALID_USER_BUFFER; damaged medium: ERROR_IO_DEVICE. POSIX
// signals that come with some errors (SIGXFSZ, SIGPIPE) keep the process's disposition.
//
// Attributes. FILE_ATTRIBUTE_DIRECTORY; FILE_ATTRIBUTE_READONLY for a file (never a folder) whose owner may not write
// it; FILE_ATTRIBUTE_REPARSE_POINT in search results for a symbolic link; FILE_ATTRIBUTE_NORMAL when none applies. Dot
// files are not hidden, and no other attribute is kept. Times: creation is the birth time of the file where the file
// system records it, else its status change; FILETIME in 100 ns since 1601, UTC.
//
// Sharing. FILE_SHARE_* are honoured among the handles of this process, per file (device and inode), and against the
// functions of this header that delete, replace or copy: ERROR_SHARING_VIOLATION. Other processes are not held
// back and do not hold us back: POSIX has no mandatory locks.
//
// Threads. All functions may be called from any thread. A handle may be shared: each ReadFile and WriteFile is one step
// with regard to the handle's position. Closing a handle that another thread uses lets that call finish on the open
// file; a call that waits on a pipe or terminal ends with ERROR_OPERATION_ABORTED.
#pragma once

#include <string>
#include <string_view>

#include "quillmark/platform/Types.h"

// Access rights.
inline constexpr DWORD GENERIC_READ = 0x80000000u;
inline constexpr DWORD GENERIC_WRITE = 0x40000000u;
inline constexpr DWORD GENERIC_EXECUTE = 0x20000000u;
inline constexpr DWORD GENERIC_ALL = 0x10000000u;
inline constexpr DWORD DELETE = 0x00010000u;
inline constexpr DWORD READ_CONTROL = 0x00020000u;
inline constexpr DWORD SYNCHRONIZE = 0x00100000u;
inline constexpr DWORD FILE_READ_DATA = 0x0001u;
inline constexpr DWORD FILE_WRITE_DATA = 0x0002u;
inline constexpr DWORD FILE_APPEND_DATA = 0x0004u;
inline constexpr DWORD FILE_EXECUTE = 0x0020u;
inline constexpr DWORD FILE_READ_ATTRIBUTES = 0x0080u;
inline constexpr DWORD FILE_WRITE_ATTRIBUTES = 0x0100u;

inline constexpr DWORD FILE_SHARE_READ = 0x1u;
inline constexpr DWORD FILE_SHARE_WRITE = 0x2u;
inline constexpr DWORD FILE_SHARE_DELETE = 0x4u;

inline constexpr DWORD CREATE_NEW = 1;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD OPEN_ALWAYS = 4;
inline constexpr DWORD TRUNCATE_EXISTING = 5;

inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x00000001u;
inline constexpr DWORD FILE_ATTRIBUTE_HIDDEN = 0x00000002u;
inline constexpr DWORD FILE_ATTRIBUTE_SYSTEM = 0x00000004u;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x00000010u;
inline constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 0x00000020u;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x00000080u;
inline constexpr DWORD FILE_ATTRIBUTE_TEMPORARY = 0x00000100u;
inline constexpr DWORD FILE_ATTRIBUTE_REPARSE_POINT = 0x00000400u;
inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFFu;

inline constexpr DWORD FILE_FLAG_WRITE_THROUGH = 0x80000000u;
inline constexpr DWORD FILE_FLAG_OVERLAPPED = 0x40000000u;
inline constexpr DWORD FILE_FLAG_NO_BUFFERING = 0x20000000u;
inline constexpr DWORD FILE_FLAG_RANDOM_ACCESS = 0x10000000u;
inline constexpr DWORD FILE_FLAG_SEQUENTIAL_SCAN = 0x08000000u;
inline constexpr DWORD FILE_FLAG_DELETE_ON_CLOSE = 0x04000000u;
inline constexpr DWORD FILE_FLAG_BACKUP_SEMANTICS = 0x02000000u;
inline constexpr DWORD FILE_FLAG_OPEN_REPARSE_POINT = 0x00200000u;

inline constexpr DWORD IO_REPARSE_TAG_SYMLINK = 0xA000000Cu;

inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD FILE_CURRENT = 1;
inline constexpr DWORD FILE_END = 2;

inline constexpr DWORD INVALID_FILE_SIZE = 0xFFFFFFFFu;
inline constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFFu;

inline constexpr DWORD MOVEFILE_REPLACE_EXISTING = 0x1u;
inline constexpr DWORD MOVEFILE_COPY_ALLOWED = 0x2u;
inline constexpr DWORD MOVEFILE_DELAY_UNTIL_REBOOT = 0x4u;
inline constexpr DWORD MOVEFILE_WRITE_THROUGH = 0x8u;

inline constexpr int CSIDL_PERSONAL = 0x0005;
inline constexpr int CSIDL_APPDATA = 0x001A;
inline constexpr int CSIDL_LOCAL_APPDATA = 0x001C;
inline constexpr int CSIDL_PROFILE = 0x0028;
inline constexpr int CSIDL_FLAG_DONT_VERIFY = 0x4000;
inline constexpr int CSIDL_FLAG_CREATE = 0x8000;
inline constexpr DWORD SHGFP_TYPE_CURRENT = 0;
inline constexpr DWORD SHGFP_TYPE_DEFAULT = 1;

// The offset of a positioned read or write; hEvent and the internal members are not used.
struct OVERLAPPED {
    ULONG_PTR Internal;
    ULONG_PTR InternalHigh;
    DWORD Offset;
    DWORD OffsetHigh;
    HANDLE hEvent;
};
using LPOVERLAPPED = OVERLAPPED*;

struct WIN32_FIND_DATAW {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;  // IO_REPARSE_TAG_SYMLINK for a symbolic link
    DWORD dwReserved1;
    WCHAR cFileName[MAX_PATH];
    WCHAR cAlternateFileName[14];  // always empty: there are no short names
};
using LPWIN32_FIND_DATAW = WIN32_FIND_DATAW*;

struct WIN32_FILE_ATTRIBUTE_DATA {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
};

enum GET_FILEEX_INFO_LEVELS { GetFileExInfoStandard, GetFileExMaxInfoLevel };

enum SE_OBJECT_TYPE { SE_UNKNOWN_OBJECT_TYPE = 0, SE_FILE_OBJECT, SE_SERVICE, SE_PRINTER, SE_REGISTRY_KEY };
using SECURITY_INFORMATION = DWORD;
inline constexpr SECURITY_INFORMATION OWNER_SECURITY_INFORMATION = 0x1u;
inline constexpr SECURITY_INFORMATION GROUP_SECURITY_INFORMATION = 0x2u;
inline constexpr SECURITY_INFORMATION DACL_SECURITY_INFORMATION = 0x4u;
inline constexpr SECURITY_INFORMATION SACL_SECURITY_INFORMATION = 0x8u;
using PSID = void*;
struct ACL;
using PACL = ACL*;

// --- Opening, reading, writing ---------------------------------------------------------------------------------------

// Opens or creates a file; INVALID_HANDLE_VALUE on failure. The handle is closed with CloseHandle.
//
// CREATE_NEW over anything that exists: ERROR_FILE_EXISTS. CREATE_ALWAYS and OPEN_ALWAYS succeed over an existing file
// and then set ERROR_ALREADY_EXISTS, else 0. TRUNCATE_EXISTING needs GENERIC_WRITE (ERROR_INVALID_PARAMETER). Nothing
// is cut off before sharing and the read-only attribute have been checked. FILE_APPEND_DATA without FILE_WRITE_DATA
// writes at the end wherever the position is. A folder opens with FILE_FLAG_BACKUP_SEMANTICS and OPEN_EXISTING or
// OPEN_ALWAYS only, for its times and FlushFileBuffers; else ERROR_ACCESS_DENIED.
//
// A new file gets the mode 0666 (0444 with FILE_ATTRIBUTE_READONLY; this handle can write all the same) less the
// umask; the other attributes mean nothing. FILE_FLAG_WRITE_THROUGH, _SEQUENTIAL_SCAN, _RANDOM_ACCESS and
// _DELETE_ON_CLOSE are honoured, _NO_BUFFERING is ignored; FILE_FLAG_OVERLAPPED, FILE_FLAG_OPEN_REPARSE_POINT and a
// template file give ERROR_NOT_SUPPORTED. Security attributes are ignored: no handle is inherited. Opening a pipe
// never waits for its other end: reading does, and opening for writing alone what nobody reads gives ERROR_NOT_READY.
QUILLMARK_PLATFORM_API HANDLE WINAPI CreateFileW(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                                                 LPSECURITY_ATTRIBUTES lpSecurityAttributes,
                                                 DWORD dwCreationDisposition, DWORD dwFlagsAndAttributes,
                                                 HANDLE hTemplateFile);

// Reads from the position and moves it. Fewer bytes than asked for only at the end of the file; there TRUE and 0. With
// an OVERLAPPED the read is from its offset (the handle's position follows it), and at the end fails with
// ERROR_HANDLE_EOF. A handle without read access: ERROR_ACCESS_DENIED; a folder: ERROR_INVALID_FUNCTION. From a pipe or
// terminal it returns what there is, and waits when there is nothing. Without an OVERLAPPED lpNumberOfBytesRead is
// required (ERROR_INVALID_PARAMETER).
QUILLMARK_PLATFORM_API BOOL WINAPI ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead,
                                            LPDWORD lpNumberOfBytesRead, LPOVERLAPPED lpOverlapped);

// Writes all bytes at the position (or at the OVERLAPPED's offset) and moves it. When it fails on the way,
// lpNumberOfBytesWritten and the position count what did get written.
QUILLMARK_PLATFORM_API BOOL WINAPI WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite,
                                             LPDWORD lpNumberOfBytesWritten, LPOVERLAPPED lpOverlapped);

// Moves the position; past the end is allowed, before the start is ERROR_NEGATIVE_SEEK and leaves it where it was. What
// cannot seek (pipe, terminal, folder): ERROR_INVALID_FUNCTION.
QUILLMARK_PLATFORM_API BOOL WINAPI SetFilePointerEx(HANDLE hFile, LARGE_INTEGER liDistanceToMove,
                                                    PLARGE_INTEGER lpNewFilePointer, DWORD dwMoveMethod);

// The same with the distance in two halves (the high one may be null: 32 bits, signed). Returns the low half of the new
// position; when that is INVALID_SET_FILE_POINTER, the last error tells: NO_ERROR for success. Without the
// high half a new position of 4 GiB or more is ERROR_INVALID_PARAMETER and nothing moves.
QUILLMARK_PLATFORM_API DWORD WINAPI SetFilePointer(HANDLE hFile, LONG lDistanceToMove, PLONG lpDistanceToMoveHigh,
                                                   DWORD dwMoveMethod);

// Cuts or extends (with zeros) the file to the position. Needs write access.
QUILLMARK_PLATFORM_API BOOL WINAPI SetEndOfFile(HANDLE hFile);

// Returns when data and metadata are on the medium. Needs write access.
QUILLMARK_PLATFORM_API BOOL WINAPI FlushFileBuffers(HANDLE hFile);

// The size in bytes: the low half as result, the high half through lpFileSizeHigh (may be null). INVALID_FILE_SIZE is
// a size when the last error is NO_ERROR. Pipes and terminals have none: ERROR_INVALID_FUNCTION.
QUILLMARK_PLATFORM_API DWORD WINAPI GetFileSize(HANDLE hFile, LPDWORD lpFileSizeHigh);
QUILLMARK_PLATFORM_API BOOL WINAPI GetFileSizeEx(HANDLE hFile, PLARGE_INTEGER lpFileSize);

// Any of the three pointers may be null.
QUILLMARK_PLATFORM_API BOOL WINAPI GetFileTime(HANDLE hFile, LPFILETIME lpCreationTime, LPFILETIME lpLastAccessTime,
                                               LPFILETIME lpLastWriteTime);

// A null pointer, a time of 0 and a time of all ones leave that time alone; a negative one is ERROR_INVALID_PARAMETER.
// The creation time cannot be set on POSIX and is ignored. Needs FILE_WRITE_ATTRIBUTES (part of GENERIC_WRITE).
QUILLMARK_PLATFORM_API BOOL WINAPI SetFileTime(HANDLE hFile, const FILETIME* lpCreationTime,
                                               const FILETIME* lpLastAccessTime, const FILETIME* lpLastWriteTime);

// --- Whole files
// ------------------------------------------------------------------------------------------------------

// Removes a file or a symbolic link. A folder or a read-only file: ERROR_ACCESS_DENIED.
QUILLMARK_PLATFORM_API BOOL WINAPI DeleteFileW(LPCWSTR lpFileName);

// Copies contents, permissions (less the umask) and the last write time of a regular file. An existing target: with
// bFailIfExists ERROR_FILE_EXISTS, read-only ERROR_ACCESS_DENIED, the source itself ERROR_SHARING_VIOLATION, else
// overwritten. When it fails on the way, the target is removed.
QUILLMARK_PLATFORM_API BOOL WINAPI CopyFileW(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, BOOL bFailIfExists);

// Renames a file or folder; an existing target is ERROR_ALREADY_EXISTS. A regular file also moves to another file
// system (copied beside the target, synced, renamed, source removed); a folder does not: ERROR_ACCESS_DENIED, links and
// special files: ERROR_NOT_SAME_DEVICE. A folder into itself: ERROR_SHARING_VIOLATION.
QUILLMARK_PLATFORM_API BOOL WINAPI MoveFileW(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName);

// The same with flags. MOVEFILE_REPLACE_EXISTING replaces a file atomically; a folder, a read-only file or one open
// without FILE_SHARE_DELETE as target is ERROR_ACCESS_DENIED. Without MOVEFILE_COPY_ALLOWED another file system is
// ERROR_NOT_SAME_DEVICE. MOVEFILE_WRITE_THROUGH returns when the rename is on the medium.
// MOVEFILE_DELAY_UNTIL_REBOOT: ERROR_NOT_SUPPORTED.
QUILLMARK_PLATFORM_API BOOL WINAPI MoveFileExW(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, DWORD dwFlags);

// INVALID_FILE_ATTRIBUTES on failure.
QUILLMARK_PLATFORM_API DWORD WINAPI GetFileAttributesW(LPCWSTR lpFileName);

// Attributes, times and size. A level other than GetFileExInfoStandard: ERROR_INVALID_PARAMETER.
QUILLMARK_PLATFORM_API BOOL WINAPI GetFileAttributesExW(LPCWSTR lpFileName, GET_FILEEX_INFO_LEVELS fInfoLevelId,
                                                        LPVOID lpFileInformation);

// FILE_ATTRIBUTE_READONLY takes every write permission from a file, its absence gives the owner's back; folders are
// left alone, since a folder without write permission would refuse new entries, which the attribute does not mean. The
// other attributes are accepted and not kept.
QUILLMARK_PLATFORM_API BOOL WINAPI SetFileAttributesW(LPCWSTR lpFileName, DWORD dwFileAttributes);

// --- Folders
// ----------------------------------------------------------------------------------------------------------

// Starts a search and gives its first entry; INVALID_HANDLE_VALUE on failure. The last component is a pattern when it
// holds * (any text) or ? (one character, or none at the end of a name), matched without regard to case over all
// entries, "." and ".." included, in the file system's order; "*.*" is all entries. Without wildcards it is one entry,
// looked up as the file system does. Entries are read as the search goes on, never all at once.
//
// Nothing matches, or the pattern ends in a separator: ERROR_FILE_NOT_FOUND; the folder is missing:
// ERROR_PATH_NOT_FOUND. A symbolic link shows its target's data, or its own when it leads nowhere, with
// FILE_ATTRIBUTE_REPARSE_POINT added. A name longer than cFileName holds ends this call with
// ERROR_FILENAME_EXCED_RANGE; the search goes on with the next call.
QUILLMARK_PLATFORM_API HANDLE WINAPI FindFirstFileW(LPCWSTR lpFileName, LPWIN32_FIND_DATAW lpFindFileData);

// The next entry; ERROR_NO_MORE_FILES after the last one.
QUILLMARK_PLATFORM_API BOOL WINAPI FindNextFileW(HANDLE hFindFile, LPWIN32_FIND_DATAW lpFindFileData);
QUILLMARK_PLATFORM_API BOOL WINAPI FindClose(HANDLE hFindFile);

// Anything of that name exists: ERROR_ALREADY_EXISTS; the folder above is missing: ERROR_PATH_NOT_FOUND.
QUILLMARK_PLATFORM_API BOOL WINAPI CreateDirectoryW(LPCWSTR lpPathName, LPSECURITY_ATTRIBUTES lpSecurityAttributes);

// Not empty: ERROR_DIR_NOT_EMPTY; not a folder (a link to one included): ERROR_DIRECTORY.
QUILLMARK_PLATFORM_API BOOL WINAPI RemoveDirectoryW(LPCWSTR lpPathName);

// The length without the terminating null; when the buffer is too small, the size needed with it; 0 on failure.
QUILLMARK_PLATFORM_API DWORD WINAPI GetCurrentDirectoryW(DWORD nBufferLength, LPWSTR lpBuffer);

// $TMPDIR, or /tmp, with a separator at its end; results as above. Whether it exists is not checked.
QUILLMARK_PLATFORM_API DWORD WINAPI GetTempPathW(DWORD nBufferLength, LPWSTR lpBuffer);

// Makes a name: the folder, up to three characters of the prefix, a number of 16 bits in hexadecimal, ".tmp". With
// uUnique 0 the number is one that is free, and the file is created, empty, for its owner only; otherwise it is uUnique
// and nothing is created or checked. Returns the number, 0 on failure. lpTempFileName has room for MAX_PATH characters:
// a folder of more than MAX_PATH - 14 is ERROR_BUFFER_OVERFLOW. No such folder: ERROR_DIRECTORY.
QUILLMARK_PLATFORM_API UINT WINAPI GetTempFileNameW(LPCWSTR lpPathName, LPCWSTR lpPrefixString, UINT uUnique,
                                                    LPWSTR lpTempFileName);

// A folder of the user's, into a buffer of MAX_PATH characters:
//   CSIDL_PROFILE         $HOME, or the user database's home
//   CSIDL_APPDATA         $XDG_CONFIG_HOME, or .config below the profile
//   CSIDL_LOCAL_APPDATA   $XDG_DATA_HOME, or .local/share below the profile
//   CSIDL_PERSONAL        $XDG_DOCUMENTS_DIR, or Documents below the profile
// A variable that is no absolute path is ignored. S_FALSE and an empty text when the folder does not exist (it is made
// with CSIDL_FLAG_CREATE and not looked for with CSIDL_FLAG_DONT_VERIFY). Any other folder, a token, other flags or
// a null buffer: E_INVALIDARG. The last error is left alone.
QUILLMARK_PLATFORM_API HRESULT WINAPI SHGetFolderPathW(HWND hwnd, int csidl, HANDLE hToken, DWORD dwFlags,
                                                       LPWSTR pszPath);

// --- Without a counterpart on POSIX
// -----------------------------------------------------------------------------------

// No name is a device name here: 0 and ERROR_FILE_NOT_FOUND, as for a name that is not defined
// (ERROR_INSUFFICIENT_BUFFER when there is no buffer).
QUILLMARK_PLATFORM_API DWORD WINAPI QueryDosDeviceW(LPCWSTR lpDeviceName, LPWSTR lpTargetPath, DWORD ucchMax);

// Returns its code: ERROR_NOT_SUPPORTED, as for a volume that keeps no security descriptors; ERROR_INVALID_HANDLE
// when the handle names nothing.
QUILLMARK_PLATFORM_API DWORD WINAPI SetSecurityInfo(HANDLE handle, SE_OBJECT_TYPE objectType,
                                                    SECURITY_INFORMATION securityInfo, PSID psidOwner, PSID psidGroup,
                                                    PACL pDacl, PACL pSacl);

// --- Names --------------------------------------------------------------------------------------------------------

namespace quillmark::platform {

// The UTF-16 form of a file system's name or path, and back, by the rule at the top of this file. For what reaches a
// program as bytes: its arguments, its environment. PathToBytes is false for text that names nothing (a
// surrogate of another kind than U+DC80 to U+DCFF that has no partner, or a null character).
[[nodiscard]] __attribute__((visibility("default"))) std::u16string PathFromBytes(std::string_view bytes);
[[nodiscard]] __attribute__((visibility("default"))) bool PathToBytes(std::u16string_view path, std::string& bytes);

}  // namespace quillmark::platform
