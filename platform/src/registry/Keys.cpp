// Opening, making, deleting and listing keys.
#include <iterator>
#include <memory>
#include <utility>

#include "files/Outcome.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"
#include "quillmark/platform/Registry.h"
#include "registry/KeyObject.h"

namespace quillmark::platform {
namespace {

constexpr REGSAM WritingRights = KEY_SET_VALUE | KEY_CREATE_SUB_KEY | DELETE;
constexpr REGSAM Wow64Rights = KEY_WOW64_32KEY | KEY_WOW64_64KEY;

// Resolves the generic rights. ERROR_ACCESS_DENIED when writing was asked for where this process may not write.
DWORD ResolveRights(const RegStore& store, REGSAM& rights) {
    rights |= (rights & GENERIC_READ) != 0 ? KEY_READ : 0;
    rights |= (rights & GENERIC_EXECUTE) != 0 ? KEY_EXECUTE : 0;
    rights |= (rights & GENERIC_WRITE) != 0 ? KEY_WRITE : 0;
    rights |= (rights & GENERIC_ALL) != 0 ? KEY_ALL_ACCESS : 0;
    if ((rights & WritingRights) != 0 && !store.IsWritable()) {
        return ERROR_ACCESS_DENIED;
    }
    if ((rights & MAXIMUM_ALLOWED) != 0) {
        rights |= store.IsWritable() ? KEY_ALL_ACCESS : KEY_READ;
    }
    return ERROR_SUCCESS;
}

DWORD OpenReference(KeyReference reference, REGSAM rights, HKEY& result) {
    if (const DWORD code = ResolveRights(*reference.store, rights); code != ERROR_SUCCESS) {
        return code;
    }
    reference.rights = rights;
    reference.deletions = reference.store->Deletions();
    result = static_cast<HKEY>(InsertHandle(std::make_shared<KeyObject>(std::move(reference))));
    return result == nullptr ? ERROR_NOT_ENOUGH_MEMORY : ERROR_SUCCESS;
}

bool IsKeyItself(LPCWSTR subKey) {
    return subKey == nullptr || *subKey == u'\0';
}

DWORD Open(HKEY key, LPCWSTR subKey, REGSAM rights, HKEY& result) {
    KeyReference reference;
    if (const DWORD code = ReferTo(key, reference); code != ERROR_SUCCESS) {
        return code;
    }
    if (reference.predefined && IsKeyItself(subKey)) {
        result = key;
        return ERROR_SUCCESS;
    }
    KeyView view;
    if (const DWORD code = ViewOf(reference, view); code != ERROR_SUCCESS) {
        return code;
    }
    KeyReference target{reference.store, {}, 0, 0, false};
    if (const DWORD code = SubKeyPath(reference, subKey, target.path); code != ERROR_SUCCESS) {
        return code;
    }
    if (view.snapshot->contents.Find(target.path) == nullptr) {
        return ERROR_FILE_NOT_FOUND;
    }
    return OpenReference(std::move(target), rights, result);
}

DWORD Make(const KeyReference& target, DWORD& disposition) {
    for (const std::u16string& name : target.path) {
        if (HasControlCharacters(name)) {
            return ERROR_INVALID_PARAMETER;
        }
    }
    return target.store->Change([&](const RegSnapshot& now, KeyTree& changes) -> DWORD {
        // Another process may have made it since it was looked for.
        disposition = now.contents.Find(target.path) == nullptr ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
        return changes.Create(target.path) == nullptr ? ERROR_NO_SYSTEM_RESOURCES : ERROR_SUCCESS;
    });
}

DWORD Create(HKEY key, LPCWSTR subKey, REGSAM rights, HKEY& result, DWORD& disposition) {
    disposition = REG_OPENED_EXISTING_KEY;
    const DWORD opened = Open(key, subKey, rights, result);
    if (opened != ERROR_FILE_NOT_FOUND) {
        return opened;
    }
    KeyReference reference;
    if (const DWORD code = ReferTo(key, reference); code != ERROR_SUCCESS) {
        return code;
    }
    KeyReference target{reference.store, {}, 0, 0, false};
    if (const DWORD code = SubKeyPath(reference, subKey, target.path); code != ERROR_SUCCESS) {
        return code;
    }
    if (const DWORD code = Make(target, disposition); code != ERROR_SUCCESS) {
        return code;
    }
    return OpenReference(std::move(target), rights, result);
}

DWORD Delete(HKEY key, LPCWSTR subKey) {
    KeyReference reference;
    KeyView view;
    if (const DWORD code = ReferTo(key, reference); code != ERROR_SUCCESS) {
        return code;
    }
    if (const DWORD code = ViewOf(reference, view); code != ERROR_SUCCESS) {
        return code;
    }
    KeyPath path;
    if (const DWORD code = SubKeyPath(reference, subKey, path); code != ERROR_SUCCESS) {
        return code;
    }
    if (path.size() == 1) {
        return ERROR_ACCESS_DENIED;
    }
    const DWORD code = reference.store->Change([&path](const RegSnapshot& now, KeyTree& changes) -> DWORD {
        const KeyNode* node = now.contents.Find(path);
        if (node == nullptr) {
            return ERROR_FILE_NOT_FOUND;
        }
        if (!node->children.empty()) {
            return ERROR_ACCESS_DENIED;
        }
        // Where only our own file knows the key, there is nothing to remember.
        if (now.others.Find(path) == nullptr) {
            changes.Forget(path);
        } else {
            changes.Delete(path);
        }
        return ERROR_SUCCESS;
    });
    if (code == ERROR_SUCCESS) {
        reference.store->RecordDeletion(path);
    }
    return code;
}

DWORD Enumerate(HKEY key, DWORD index, LPWSTR name, LPDWORD length, PFILETIME written) {
    KeyReference reference;
    KeyView view;
    if (const DWORD code = ViewOf(key, KEY_ENUMERATE_SUB_KEYS, reference, view); code != ERROR_SUCCESS) {
        return code;
    }
    if (index >= view.node->children.size()) {
        return ERROR_NO_MORE_ITEMS;
    }
    const auto child = std::next(view.node->children.begin(), static_cast<std::ptrdiff_t>(index));
    if (written != nullptr) {
        *written = view.snapshot->newest;
    }
    return GiveName(child->second->name, name, length);
}

LSTATUS Status(DWORD code) {
    return static_cast<LSTATUS>(code);
}

}  // namespace
}  // namespace quillmark::platform

using namespace quillmark::platform;

LSTATUS WINAPI RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD ulOptions, REGSAM samDesired, PHKEY phkResult) {
    return Status(CodeOf([&]() -> DWORD {
        if (phkResult == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        HKEY result = nullptr;
        constexpr DWORD known = REG_OPTION_OPEN_LINK | REG_OPTION_BACKUP_RESTORE;
        const DWORD code =
            (ulOptions & ~known) != 0 ? ERROR_INVALID_PARAMETER : Open(hKey, lpSubKey, samDesired, result);
        *phkResult = result;
        return code;
    }));
}

LSTATUS WINAPI RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD Reserved, LPWSTR, DWORD dwOptions, REGSAM samDesired,
                               const LPSECURITY_ATTRIBUTES, PHKEY phkResult, LPDWORD lpdwDisposition) {
    return Status(CodeOf([&]() -> DWORD {
        constexpr DWORD known = REG_OPTION_VOLATILE | REG_OPTION_BACKUP_RESTORE;
        if (phkResult == nullptr || lpSubKey == nullptr || Reserved != 0 || (dwOptions & ~known) != 0) {
            return ERROR_INVALID_PARAMETER;
        }
        *phkResult = nullptr;
        if ((dwOptions & REG_OPTION_VOLATILE) != 0) {
            return ERROR_NOT_SUPPORTED;
        }
        DWORD disposition = 0;
        const DWORD code = Create(hKey, lpSubKey, samDesired, *phkResult, disposition);
        if (code == ERROR_SUCCESS && lpdwDisposition != nullptr) {
            *lpdwDisposition = disposition;
        }
        return code;
    }));
}

LSTATUS WINAPI RegDeleteKeyExW(HKEY hKey, LPCWSTR lpSubKey, REGSAM samDesired, DWORD Reserved) {
    return Status(CodeOf([&]() -> DWORD {
        if (lpSubKey == nullptr || Reserved != 0 || (samDesired & ~Wow64Rights) != 0) {
            return ERROR_INVALID_PARAMETER;
        }
        return Delete(hKey, lpSubKey);
    }));
}

LSTATUS WINAPI RegCloseKey(HKEY hKey) {
    return Status(CodeOf([&]() -> DWORD {
        KeyReference reference;
        if (const DWORD code = ReferTo(hKey, reference); code != ERROR_SUCCESS) {
            return code;
        }
        return reference.predefined || RemoveHandle(hKey) != nullptr ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
    }));
}

LSTATUS WINAPI RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved,
                             LPWSTR lpClass, LPDWORD lpcchClass, PFILETIME lpftLastWriteTime) {
    return Status(CodeOf([&]() -> DWORD {
        if (lpName == nullptr || lpcchName == nullptr || lpReserved != nullptr ||
            (lpClass != nullptr && lpcchClass == nullptr)) {
            return ERROR_INVALID_PARAMETER;
        }
        const DWORD code = Enumerate(hKey, dwIndex, lpName, lpcchName, lpftLastWriteTime);
        if (code == ERROR_SUCCESS && lpcchClass != nullptr) {
            return lpClass == nullptr ? (*lpcchClass = 0, code) : GiveName(std::u16string(), lpClass, lpcchClass);
        }
        return code;
    }));
}
