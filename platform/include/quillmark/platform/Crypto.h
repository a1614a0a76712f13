// Base64 text and GUIDs.
//
// Every function here may be called from any thread; none blocks.
#pragma once

#include "quillmark/platform/Types.h"

inline constexpr DWORD CRYPT_STRING_BASE64 = 0x00000001;
inline constexpr DWORD CRYPT_STRING_NOCRLF = 0x40000000u;
inline constexpr DWORD CRYPT_STRING_NOCR = 0x80000000u;

// Bytes to Base64 text: lines of 64 characters, each of them, the last one too, ended by CR LF; by LF alone with
// CRYPT_STRING_NOCR; without any line break with CRYPT_STRING_NOCRLF.
// With a null pszString *pcchString receives the size needed, terminator included. Otherwise it holds the buffer's
// size and receives the length of the text, terminator not included.
// FALSE with ERROR_MORE_DATA when the buffer is too small (*pcchString is then the size needed), and with
// ERROR_INVALID_PARAMETER for null bytes or a null count, for a format other than CRYPT_STRING_BASE64 (the others are
// not available on this system), for both line-break flags at once, and for a text of 2^32 characters or more.
QUILLMARK_PLATFORM_API BOOL WINAPI CryptBinaryToStringW(const BYTE* pbBinary, DWORD cbBinary, DWORD dwFlags,
                                                        LPWSTR pszString, DWORD* pcchString);

// A new random GUID (version 4). S_OK; E_INVALIDARG for null; E_FAIL when the system has no randomness to give.
QUILLMARK_PLATFORM_API HRESULT WINAPI CoCreateGuid(GUID* pguid);

// Writes "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" with upper-case digits and a terminator. Returns 39, or 0 when
// cchMax is less or the buffer null.
QUILLMARK_PLATFORM_API int WINAPI StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax);

// The text form, braces included, back to a GUID; digits of either case. A null text gives the GUID of zeros. S_OK;
// E_INVALIDARG for a null result. For a text in another form CO_E_CLASSSTRING (a class; names of classes are unknown
// here, as in an empty registry) and E_INVALIDARG (an interface); the result is then the GUID of zeros.
QUILLMARK_PLATFORM_API HRESULT WINAPI CLSIDFromString(LPCWSTR lpsz, CLSID* pclsid);
QUILLMARK_PLATFORM_API HRESULT WINAPI IIDFromString(LPCWSTR lpsz, IID* lpiid);
