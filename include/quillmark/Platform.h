// The one header that knows which system it is on: the Windows types and functions, from Windows itself or from the
// platform layer, and the wide character of every interface.
//
// Everything else includes this header and is the same text on both systems.
#pragma once

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
// clang-format off: windows.h comes before the headers that need its types.
#include <aclapi.h>
#include <objbase.h>
#include <shlobj.h>
#include <urlmon.h>
#include <wincrypt.h>
#include <windns.h>
#include <windows.h>
#include <winhttp.h>
#include <winsock2.h>
// clang-format on

// Members of ours carry these names; the functions are called by their wide names.
#undef GetFileAttributes
#undef SetFileAttributes

namespace quillmark {
using WideChar = wchar_t;
}
// A literal of wide characters: QM_W("folders").
#define QM_W(text) L##text
#else
#include "quillmark/platform/Com.h"
#include "quillmark/platform/Crypto.h"
#include "quillmark/platform/Dns.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Events.h"
#include "quillmark/platform/Files.h"
#include "quillmark/platform/Handles.h"
#include "quillmark/platform/Memory.h"
#include "quillmark/platform/Registry.h"
#include "quillmark/platform/Text.h"
#include "quillmark/platform/Time.h"
#include "quillmark/platform/Types.h"
#include "quillmark/platform/WinHttp.h"

namespace quillmark {
using WideChar = char16_t;
}
// A literal of wide characters: QM_W("folders").
#define QM_W(text) u##text
#endif
