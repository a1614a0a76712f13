// The Windows registry functions on POSIX: same names, arguments and results, on .reg text files.
//
// Where it is kept. Registry files are what the registry editor exports and imports: "Windows Registry Editor Version
// 5.00" in UTF-16LE with a byte-order mark or in UTF-8, or "REGEDIT4" (here UTF-8).
//   HKEY_LOCAL_MACHINE, HKEY_CLASSES_ROOT, HKEY_USERS   /etc/quillmark/*.reg
//   HKEY_CURRENT_USER                                  $XDG_CONFIG_HOME/quillmark/*.reg (~/.config/quillmark/*.reg)
//   all of them, when QUILLMARK_REGISTRY names a folder  the *.reg files of that folder, and nothing else
// Each folder speaks for its roots only: keys of another root in its files are skipped, so no user's file can set a
// machine policy. HKEY_CLASSES_ROOT is HKEY_LOCAL_MACHINE\Software\Classes. Files are read in the order of their names
// and later ones win; last of all comes "quillmark.reg", the one file that these functions write. It holds what differs
// from the others, deletions ("name"=- and [-key]) included.
//
// What a file means. Every line that can be read counts, every other is skipped. Files over 16 MiB or without
// permission to read, and keys past the 262,144th of a folder, are skipped as well. A key may be 512 levels deep, a key
// name 255 and a value name 16,383 characters long, a value 1 MiB. Names differ by more than case only (simple case
// mapping of Unicode).
//
// When it is read. Every call looks whether the folder's list of files, or the size, inode or time of one of them, has
// changed, and then reads them again; there is nothing to restart or to notify. QUILLMARK_REGISTRY and the other
// variables are looked at whenever a predefined key is used; a key that is open stays with the folder it came from.
// While the process is short of descriptors or memory, what was read last counts.
//
// Writing. A change is in the file, and synced, when the call returns: a temporary file replaces "quillmark.reg"
// in one step, and a lock file keeps two processes from losing each other's changes. The folder is made when it is
// missing. No space: ERROR_DISK_FULL; no permission: ERROR_ACCESS_DENIED, already when a key is opened for
// writing. A "quillmark.reg" that cannot be read is never replaced: the change fails with the reason (over 16 MiB:
// ERROR_FILE_TOO_LARGE; too many descriptors: ERROR_TOO_MANY_OPEN_FILES).
//
// All functions return their code (ERROR_SUCCESS or a Windows error code) and leave the last error alone. They may be
// called from any thread.
//   ERROR_INVALID_HANDLE     not a key, or closed
//   ERROR_KEY_DELETED        the key of this handle is no longer there
//   ERROR_ACCESS_DENIED      the handle was not opened for that
//   ERROR_FILE_NOT_FOUND     no such key or value
//   ERROR_INVALID_PARAMETER  a reserved argument that is not 0, a missing pointer, a name that is too long or (when it
//                            is made) holds a control character
//   ERROR_BAD_PATHNAME       a sub-key that begins with a backslash
//
//   HKEY key = nullptr;
//   if (RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\Example", 0, KEY_QUERY_VALUE, &key) == LSTATUS{0}) {
//       DWORD number = 0, size = sizeof(number), type = 0;
//       LSTATUS result = RegQueryValueExW(key, u"Limit", nullptr, &type, reinterpret_cast<LPBYTE>(&number), &size);
//       RegCloseKey(key);
//   }
#pragma once

#include "quillmark/platform/Types.h"

struct HKEY__;
using HKEY = HKEY__*;
using PHKEY = HKEY*;
using REGSAM = DWORD;

namespace quillmark::platform {
inline HKEY PredefinedKey(DWORD number) {
    return reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<LONG>(number)));
}
}  // namespace quillmark::platform

// The predefined keys: always open, with all rights, and closing them does nothing. Macros, as on Windows: objects
// would have to be initialised at run time in every source file.
#define HKEY_CLASSES_ROOT (quillmark::platform::PredefinedKey(0x80000000u))
#define HKEY_CURRENT_USER (quillmark::platform::PredefinedKey(0x80000001u))
#define HKEY_LOCAL_MACHINE (quillmark::platform::PredefinedKey(0x80000002u))
#define HKEY_USERS (quillmark::platform::PredefinedKey(0x80000003u))

// Rights, beside the GENERIC_ ones.
inline constexpr REGSAM MAXIMUM_ALLOWED = 0x02000000u;
inline constexpr REGSAM KEY_QUERY_VALUE = 0x0001u;
inline constexpr REGSAM KEY_SET_VALUE = 0x0002u;
inline constexpr REGSAM KEY_CREATE_SUB_KEY = 0x0004u;
inline constexpr REGSAM KEY_ENUMERATE_SUB_KEYS = 0x0008u;
inline constexpr REGSAM KEY_NOTIFY = 0x0010u;
inline constexpr REGSAM KEY_CREATE_LINK = 0x0020u;
inline constexpr REGSAM KEY_WOW64_64KEY = 0x0100u;  // accepted; there is one view
inline constexpr REGSAM KEY_WOW64_32KEY = 0x0200u;  // accepted; there is one view
inline constexpr REGSAM KEY_READ = 0x20019u;
inline constexpr REGSAM KEY_EXECUTE = 0x20019u;
inline constexpr REGSAM KEY_WRITE = 0x20006u;
inline constexpr REGSAM KEY_ALL_ACCESS = 0xF003Fu;

// Kinds of values.
inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_DWORD_LITTLE_ENDIAN = 4;
inline constexpr DWORD REG_DWORD_BIG_ENDIAN = 5;
inline constexpr DWORD REG_LINK = 6;
inline constexpr DWORD REG_MULTI_SZ = 7;
inline constexpr DWORD REG_QWORD = 11;

inline constexpr DWORD REG_OPTION_NON_VOLATILE = 0x0u;
inline constexpr DWORD REG_OPTION_VOLATILE = 0x1u;
inline constexpr DWORD REG_OPTION_BACKUP_RESTORE = 0x4u;
inline constexpr DWORD REG_OPTION_OPEN_LINK = 0x8u;
inline constexpr DWORD REG_CREATED_NEW_KEY = 1;
inline constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

inline constexpr DWORD REG_NOTIFY_CHANGE_NAME = 0x1u;
inline constexpr DWORD REG_NOTIFY_CHANGE_ATTRIBUTES = 0x2u;  // accepted; keys have none
inline constexpr DWORD REG_NOTIFY_CHANGE_LAST_SET = 0x4u;
inline constexpr DWORD REG_NOTIFY_CHANGE_SECURITY = 0x8u;  // accepted; keys have none
inline constexpr DWORD REG_NOTIFY_THREAD_AGNOSTIC = 0x10000000u;

// Opens a key that exists. A null or empty sub-key opens the key itself again; for a predefined key that is the same
// handle. A backslash at the end of the path is ignored. The rights of hKey do not matter. Writing rights in a folder
// that this process may not write: ERROR_ACCESS_DENIED (MAXIMUM_ALLOWED gives what there is). On failure *phkResult
// is null.
QUILLMARK_PLATFORM_API LSTATUS WINAPI RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD ulOptions, REGSAM samDesired,
                                                    PHKEY phkResult);

// Opens a key, and makes it and the keys above it when missing; *lpdwDisposition (may be null) tells which. Classes and
// security attributes are not kept. Volatile keys: ERROR_NOT_SUPPORTED.
QUILLMARK_PLATFORM_API LSTATUS WINAPI RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD Reserved, LPWSTR lpClass,
                                                      DWORD dwOptions, REGSAM samDesired,
                                                      const LPSECURITY_ATTRIBUTES lpSecurityAttributes, PHKEY phkResult,
                                                      LPDWORD lpdwDisposition);

// Deletes a key and its values; one with sub-keys, or a predefined one, is ERROR_ACCESS_DENIED. Handles to it stay
// open and answer ERROR_KEY_DELETED, also when a key of that name is made anew.
QUILLMARK_PLATFORM_API LSTATUS WINAPI RegDeleteKeyExW(HKEY hKey, LPCWSTR lpSubKey, REGSAM samDesired, DWORD Reserved);

// Closing ends the notifications that wait on this handle.
QUILLMARK_PLATFORM_API LSTATUS WINAPI RegCloseKey(HKEY hKey);

// Sub-key number dwIndex, in the order of the names; ERROR_NO_MORE_ITEMS past the last one. *lpcchName is the buffer's
// size with, on return the length without, the terminating null; ERROR_MORE_DATA when it is too small. The class is
// always empty; the time is that of the folder's newest file. Needs KEY_ENUMERATE_SUB_KEYS.
QUILLMARK_PLATFORM_API LSTATUS WINAPI RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName,
                                                    LPDWORD lpReserved, LPWSTR lpClass, LPDWORD lpcchClass,
                                                    PFILETIME lpftLastWriteTime);

// Value number dwIndex likewise, the default value (empty name) among them; the data as RegQueryValueExW does. Needs
// KEY_QUERY_VALUE.
QUILLMARK_PLATFORM_API LSTATUS WINAPI RegEnumValueW(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName,
                                                    LPDWORD lpcchValueName, LPDWORD lpReserved, LPDWORD lpType,
                                                    LPBYTE lpData, LPDWORD lpcbData);

// A value's kind and data, byte for byte as stored; a null or empty name is the default value. Without a buffer
// the size alone, and success; with one that is too small ERROR_MORE_DATA and the size needed, the buffer untouched.
// lpcbData is required with a buffer (ERROR_INVALID_PARAMETER). Needs KEY_QUERY_VALUE.
QUILLMARK_PLATFORM_API LSTATUS WINAPI RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved,
                                                       LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData);

// Makes or replaces a value. Texts are stored as given: the caller counts the terminating null. More than 1 MiB:
// ERROR_NO_SYSTEM_RESOURCES. Needs KEY_SET_VALUE.
QUILLMARK_PLATFORM_API LSTATUS WINAPI RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD Reserved, DWORD dwType,
                                                     const BYTE* lpData, DWORD cbData);

// Needs KEY_SET_VALUE.
QUILLMARK_PLATFORM_API LSTATUS WINAPI RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName);

// Tells of the next change below the key (of its own names and values, or with bWatchSubtree of all keys below it too),
// whoever makes it, by these functions or in the files: REG_NOTIFY_CHANGE_NAME sub-keys made and deleted,
// REG_NOTIFY_CHANGE_LAST_SET values made, changed and deleted. The deletion of the key itself counts for either. A
// filter of 0 or with an unknown bit is ERROR_INVALID_PARAMETER.
//
// fAsynchronous FALSE: returns after the change; hEvent is not used. ERROR_NOTIFY_CLEANUP when another thread closes
// the key meanwhile. fAsynchronous TRUE: resets the event, returns at once and sets the event once, at the change or
// when the key is closed. Call again for the next change: what changed since the last notification of the
// same handle was given is not lost. Needs KEY_NOTIFY.
//
// Cost: a watch on the folder and, for the asynchronous form, a thread, both until the change or the closing. None
// to be had: ERROR_NO_SYSTEM_RESOURCES. Files in the folder that are links are watched as links.
QUILLMARK_PLATFORM_API LSTATUS WINAPI RegNotifyChangeKeyValue(HKEY hKey, BOOL bWatchSubtree, DWORD dwNotifyFilter,
                                                              HANDLE hEvent, BOOL fAsynchronous);
