#include "registry/KeyObject.h"

#include <algorithm>
#include <string_view>

#include "quillmark/platform/Errors.h"

namespace quillmark::platform {
namespace {

KeyPath PredefinedPath(HKEY key) {
    if (key == HKEY_CURRENT_USER) {
        return {u"HKEY_CURRENT_USER"};
    }
    if (key == HKEY_LOCAL_MACHINE) {
        return {u"HKEY_LOCAL_MACHINE"};
    }
    if (key == HKEY_USERS) {
        return {u"HKEY_USERS"};
    }
    if (key == HKEY_CLASSES_ROOT) {
        return {u"HKEY_LOCAL_MACHINE", u"Software", u"Classes"};
    }
    return {};
}

}  // namespace

DWORD ReferTo(HKEY key, KeyReference& reference) {
    if (KeyPath path = PredefinedPath(key); !path.empty()) {
        reference = {RegStore::ForRoot(path.front()), std::move(path), KEY_ALL_ACCESS, 0, true};
        return ERROR_SUCCESS;
    }
    const auto object = FindHandle<KeyObject>(key);
    if (object == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    reference = object->Reference();
    return ERROR_SUCCESS;
}

DWORD ViewOf(const KeyReference& reference, KeyView& view) {
    // A predefined key is there even when no file speaks of it.
    static const KeyNode empty;
    view.snapshot = reference.store->Current();
    view.node = view.snapshot->contents.Find(reference.path);
    if (reference.predefined) {
        view.node = view.node == nullptr ? &empty : view.node;
        return ERROR_SUCCESS;
    }
    const bool gone = view.node == nullptr || reference.store->DeletedSince(reference.path, reference.deletions);
    return gone ? ERROR_KEY_DELETED : ERROR_SUCCESS;
}

DWORD ViewOf(HKEY key, REGSAM right, KeyReference& reference, KeyView& view) {
    if (const DWORD code = ReferTo(key, reference); code != ERROR_SUCCESS) {
        return code;
    }
    return (reference.rights & right) == 0 ? ERROR_ACCESS_DENIED : ViewOf(reference, view);
}

DWORD SubKeyPath(const KeyReference& reference, LPCWSTR subKey, KeyPath& path) {
    path = reference.path;
    std::u16string_view rest(subKey == nullptr ? u"" : subKey);
    if (rest.starts_with(u'\\')) {
        return ERROR_BAD_PATHNAME;
    }
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(u'\\'), rest.size());
        if (end > LongestKeyName || path.size() >= DeepestKey) {
            return ERROR_INVALID_PARAMETER;
        }
        if (end > 0) {
            path.emplace_back(rest.substr(0, end));
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return ERROR_SUCCESS;
}

bool HasControlCharacters(std::u16string_view name) {
    return std::any_of(name.begin(), name.end(), [](char16_t unit) { return unit < 0x20; });
}

DWORD GiveName(const std::u16string& name, LPWSTR buffer, LPDWORD length) {
    if (*length <= name.size()) {
        return ERROR_MORE_DATA;
    }
    std::copy_n(name.c_str(), name.size() + 1, buffer);
    *length = static_cast<DWORD>(name.size());
    return ERROR_SUCCESS;
}

}  // namespace quillmark::platform
