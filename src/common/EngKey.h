// EngKey: the library's settings, REG_DWORD values of the registry.
//
// A value is looked for under the policy key "Software\Policies\Brevant\Quillmark", which administrators set, of the
// current user and of the machine, then under the settings key "Software\Brevant\Quillmark", in the same order; the
// first value of the right type wins. Trouble with the registry never reaches the caller: it is logged, each kind once
// per call, and the search goes on.
//
// No state; any thread. Values that are meant to be read once per process are cached by their callers.
#pragma once

#include <optional>
#include <vector>

#include "quillmark/Platform.h"
#include "quillmark/WideString.h"

namespace quillmark {

class EngKey {
public:
    // The data of the value, as the registry holds it; nothing when no key has a usable one.
    // user: the name of a key under HKEY_USERS (a security identifier in text form) to be searched in place of the
    // current user; empty for the current user.
    [[nodiscard]] static std::optional<std::vector<BYTE>> GetValueData(const WideString& valueName,
                                                                       const WideString& user = {});
};

// The value as a number; the default when there is none, or when its data is shorter than a DWORD.
[[nodiscard]] DWORD ReadSetting(const WideString& valueName, DWORD defaultValue);

}  // namespace quillmark
