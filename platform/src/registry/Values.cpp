// Reading, writing and listing values.
#include <algorithm>
#include <iterator>
#include <string>

#include "files/Outcome.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Registry.h"
#include "registry/KeyObject.h"

namespace quillmark::platform {
namespace {

std::u16string NameOf(LPCWSTR name) {
    return name == nullptr ? std::u16string() : std::u16string(name);
}

DWORD GiveData(const RegistryValue& value, LPDWORD type, LPBYTE data, LPDWORD size) {
    if (type != nullptr) {
        *type = value.type;
    }
    if (size == nullptr) {
        return ERROR_SUCCESS;
    }
    const DWORD capacity = *size;
    *size = static_cast<DWORD>(value.data.size());
    if (data == nullptr) {
        return ERROR_SUCCESS;
    }
    if (capacity < value.data.size()) {
        return ERROR_MORE_DATA;
    }
    std::copy(value.data.begin(), value.data.end(), data);
    return ERROR_SUCCESS;
}

DWORD Query(HKEY key, LPCWSTR name, LPDWORD type, LPBYTE data, LPDWORD size) {
    KeyReference reference;
    KeyView view;
    if (const DWORD code = ViewOf(key, KEY_QUERY_VALUE, reference, view); code != ERROR_SUCCESS) {
        return code;
    }
    const RegistryValue* value = view.node->Value(NameOf(name));
    return value == nullptr ? ERROR_FILE_NOT_FOUND : GiveData(*value, type, data, size);
}

DWORD Enumerate(HKEY key, DWORD index, LPWSTR name, LPDWORD length, LPDWORD type, LPBYTE data, LPDWORD size) {
    KeyReference reference;
    KeyView view;
    if (const DWORD code = ViewOf(key, KEY_QUERY_VALUE, reference, view); code != ERROR_SUCCESS) {
        return code;
    }
    if (index >= view.node->values.size()) {
        return ERROR_NO_MORE_ITEMS;
    }
    const auto value = std::next(view.node->values.begin(), static_cast<std::ptrdiff_t>(index));
    if (const DWORD code = GiveName(value->second.name, name, length); code != ERROR_SUCCESS) {
        return code;
    }
    return GiveData(value->second, type, data, size);
}

DWORD Set(HKEY key, RegistryValue value) {
    KeyReference reference;
    KeyView view;
    if (const DWORD code = ViewOf(key, KEY_SET_VALUE, reference, view); code != ERROR_SUCCESS) {
        return code;
    }
    return reference.store->Change([&](const RegSnapshot&, KeyTree& changes) -> DWORD {
        KeyNode* node = changes.Create(reference.path);
        if (node == nullptr) {
            return ERROR_NO_SYSTEM_RESOURCES;
        }
        changes.Set(*node, std::move(value));
        return ERROR_SUCCESS;
    });
}

DWORD Remove(HKEY key, LPCWSTR name) {
    KeyReference reference;
    KeyView view;
    if (const DWORD code = ViewOf(key, KEY_SET_VALUE, reference, view); code != ERROR_SUCCESS) {
        return code;
    }
    const std::u16string wanted = NameOf(name);
    return reference.store->Change([&](const RegSnapshot& now, KeyTree& changes) -> DWORD {
        const KeyNode* present = now.contents.Find(reference.path);
        if (present == nullptr || present->Value(wanted) == nullptr) {
            return ERROR_FILE_NOT_FOUND;
        }
        KeyNode* node = changes.Create(reference.path);
        if (node == nullptr) {
            return ERROR_NO_SYSTEM_RESOURCES;
        }
        const KeyNode* elsewhere = now.others.Find(reference.path);
        if (elsewhere != nullptr && elsewhere->Value(wanted) != nullptr) {
            changes.DeleteValue(*node, wanted);
        } else {
            changes.ForgetValue(*node, wanted);
        }
        return ERROR_SUCCESS;
    });
}

LSTATUS Status(DWORD code) {
    return static_cast<LSTATUS>(code);
}

}  // namespace
}  // namespace quillmark::platform

using namespace quillmark::platform;

LSTATUS WINAPI RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData,
                                LPDWORD lpcbData) {
    return Status(CodeOf([&]() -> DWORD {
        if (lpReserved != nullptr || (lpData != nullptr && lpcbData == nullptr)) {
            return ERROR_INVALID_PARAMETER;
        }
        return Query(hKey, lpValueName, lpType, lpData, lpcbData);
    }));
}

LSTATUS WINAPI RegEnumValueW(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName, LPDWORD lpReserved,
                             LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData) {
    return Status(CodeOf([&]() -> DWORD {
        if (lpValueName == nullptr || lpcchValueName == nullptr || lpReserved != nullptr ||
            (lpData != nullptr && lpcbData == nullptr)) {
            return ERROR_INVALID_PARAMETER;
        }
        return Enumerate(hKey, dwIndex, lpValueName, lpcchValueName, lpType, lpData, lpcbData);
    }));
}

LSTATUS WINAPI RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD Reserved, DWORD dwType, const BYTE* lpData,
                              DWORD cbData) {
    return Status(CodeOf([&]() -> DWORD {
        std::u16string name = NameOf(lpValueName);
        if (Reserved != 0 || (lpData == nullptr && cbData != 0) || name.size() > LongestValueName ||
            HasControlCharacters(name)) {
            return ERROR_INVALID_PARAMETER;
        }
        if (cbData > LargestValue) {
            return ERROR_NO_SYSTEM_RESOURCES;
        }
        RegistryValue value{std::move(name), dwType, {}, false};
        if (cbData != 0) {
            value.data.assign(lpData, lpData + cbData);
        }
        return Set(hKey, std::move(value));
    }));
}

LSTATUS WINAPI RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName) {
    return Status(CodeOf([&] { return Remove(hKey, lpValueName); }));
}
