// An open registry key behind a handle, and what the functions need of it.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "handles/HandleTable.h"
#include "quillmark/platform/Registry.h"
#include "registry/KeyTree.h"
#include "registry/KeyWatches.h"
#include "registry/RegStore.h"

namespace quillmark::platform {

// The key that a handle means: a predefined one, or one that was opened.
struct KeyReference {
    std::shared_ptr<RegStore> store;
    KeyPath path;
    REGSAM rights = 0;
    std::uint64_t deletions = 0;
    bool predefined = false;
};

class KeyObject final : public HandleObject {
public:
    explicit KeyObject(KeyReference reference) : m_reference(std::move(reference)) {}

    [[nodiscard]] bool ClosesWithCloseHandle() const override { return false; }
    void OnClose() override { m_watches.End(); }

    [[nodiscard]] const KeyReference& Reference() const { return m_reference; }
    [[nodiscard]] KeyWatches& Watches() { return m_watches; }

private:
    const KeyReference m_reference;
    KeyWatches m_watches;
};

// A key's contents as of now. The node belongs to the snapshot.
struct KeyView {
    std::shared_ptr<const RegSnapshot> snapshot;
    const KeyNode* node = nullptr;
};

// ERROR_INVALID_HANDLE when the handle is no key.
[[nodiscard]] DWORD ReferTo(HKEY key, KeyReference& reference);

// ERROR_KEY_DELETED when the key is no longer there.
[[nodiscard]] DWORD ViewOf(const KeyReference& reference, KeyView& view);

// Both for a handle that must have been opened with this right; ERROR_ACCESS_DENIED otherwise.
[[nodiscard]] DWORD ViewOf(HKEY key, REGSAM right, KeyReference& reference, KeyView& view);

// The path of a sub-key (null and empty: the key itself). ERROR_BAD_PATHNAME, ERROR_INVALID_PARAMETER.
[[nodiscard]] DWORD SubKeyPath(const KeyReference& reference, LPCWSTR subKey, KeyPath& path);

// Whether a name can stand in a .reg file's line.
[[nodiscard]] bool HasControlCharacters(std::u16string_view name);

// Copies a name for the enumerating functions: *length is the buffer's size and becomes the name's length.
// ERROR_MORE_DATA when it does not fit.
[[nodiscard]] DWORD GiveName(const std::u16string& name, LPWSTR buffer, LPDWORD length);

}  // namespace quillmark::platform
