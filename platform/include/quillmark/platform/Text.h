// Conversion between UTF-16 and UTF-8.
//
// The code pages are CP_UTF8 and CP_ACP, which is UTF-8 on this system. These are conversions of texts: what is
// malformed becomes U+FFFD or an error. File names, in which malformed bytes must survive, go another way (Files.h).
//
// Every function here may be called from any thread; none blocks.
#pragma once

#include "quillmark/platform/Types.h"

inline constexpr UINT CP_ACP = 0;
inline constexpr UINT CP_UTF8 = 65001;

inline constexpr DWORD MB_ERR_INVALID_CHARS = 0x00000008;
inline constexpr DWORD WC_ERR_INVALID_CHARS = 0x00000080;

// UTF-8 to UTF-16. cbMultiByte counts bytes; negative means that the text ends at its null, which is then converted
// and counted too. cchWideChar 0 asks for the size only. Returns the code units written or needed, or 0:
// - ERROR_INVALID_PARAMETER: another code page, no source, a source of 0 bytes, a negative size of the buffer, no
//   buffer for a size that is not 0, source and buffer the same, a result of 2^31 units or more;
// - ERROR_INVALID_FLAGS: flags other than MB_ERR_INVALID_CHARS;
// - ERROR_INSUFFICIENT_BUFFER: the result does not fit; what the buffer then holds is not specified;
// - ERROR_NO_UNICODE_TRANSLATION: malformed input, with MB_ERR_INVALID_CHARS.
// Without MB_ERR_INVALID_CHARS each maximal part of an ill-formed sequence becomes one U+FFFD.
QUILLMARK_PLATFORM_API int WINAPI MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCSTR lpMultiByteStr,
                                                      int cbMultiByte, LPWSTR lpWideCharStr, int cchWideChar);

// UTF-16 to UTF-8, the same rules with WC_ERR_INVALID_CHARS as the flag. A surrogate without its partner becomes
// U+FFFD (EF BF BD). lpDefaultChar and lpUsedDefaultChar must be null (ERROR_INVALID_PARAMETER): UTF-8 has every
// character.
QUILLMARK_PLATFORM_API int WINAPI WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWSTR lpWideCharStr,
                                                      int cchWideChar, LPSTR lpMultiByteStr, int cbMultiByte,
                                                      LPCSTR lpDefaultChar, LPBOOL lpUsedDefaultChar);
