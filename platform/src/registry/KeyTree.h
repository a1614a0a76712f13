// Registry keys and values in memory: what one or several .reg files amount to.
//
// A tree is one of two things. The contents tree holds what is there. A changes tree holds what is to be done to a
// contents tree, deletions included; it is what the file of our own changes says.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "quillmark/platform/Types.h"

namespace quillmark::platform {

// The names from the root ("HKEY_LOCAL_MACHINE") down. Never empty.
using KeyPath = std::vector<std::u16string>;

inline constexpr std::size_t LongestKeyName = 255;
inline constexpr std::size_t LongestValueName = 16383;
inline constexpr std::size_t DeepestKey = 512;
inline constexpr std::size_t LargestValue = 1024UL * 1024;

struct RegistryValue {
    std::u16string name;
    DWORD type = 0;
    std::vector<BYTE> data;
    bool deleted = false;  // in a changes tree: the value is to go

    friend bool operator==(const RegistryValue&, const RegistryValue&) = default;
};

// Children and values are found by their folded names and keep the spelling with which they were made.
struct KeyNode {
    std::u16string name;
    bool exists = false;  // false in a changes tree for what lies on the way only, or is to go
    bool clears = false;  // in a changes tree: what is there goes first
    std::map<std::u16string, RegistryValue> values;
    std::map<std::u16string, std::unique_ptr<KeyNode>> children;

    [[nodiscard]] const KeyNode* Child(std::u16string_view childName) const;
    [[nodiscard]] const RegistryValue* Value(std::u16string_view valueName) const;
};

class KeyTree {
public:
    enum class Kind { Contents, Changes };

    explicit KeyTree(Kind kind) : m_kind(kind) {}
    KeyTree(const KeyTree& other);
    KeyTree& operator=(const KeyTree&) = delete;

    [[nodiscard]] const KeyNode& Top() const { return m_top; }

    // Null when there is no such key.
    [[nodiscard]] const KeyNode* Find(const KeyPath& path) const;

    // Makes the key and those above it unless they exist. Null when the tree is full or the path too deep.
    KeyNode* Create(const KeyPath& path);

    // Takes the key and all below it out; a changes tree remembers to take it out of the contents.
    void Delete(const KeyPath& path);

    // Forgets all that a changes tree says of a key.
    void Forget(const KeyPath& path);

    void Set(KeyNode& key, RegistryValue value) const;
    void DeleteValue(KeyNode& key, std::u16string_view name) const;
    static void ForgetValue(KeyNode& key, std::u16string_view name);

    // Does to this contents tree what the changes say.
    void Apply(const KeyTree& changes);

private:
    [[nodiscard]] KeyNode* ChildOf(KeyNode& parent, std::u16string_view name);
    void ApplyTo(KeyNode& target, const KeyNode& changes);

    const Kind m_kind;
    KeyNode m_top;
    std::size_t m_count = 0;
};

// What a notification is about: whether sub-keys came or went (names), values did or changed (values), in the key alone
// or in all below it too. A key that came or went itself always counts.
struct ChangeFilter {
    bool names = false;
    bool values = false;
    bool subtree = false;
};
[[nodiscard]] bool Differ(const KeyNode* before, const KeyNode* after, const ChangeFilter& filter);

}  // namespace quillmark::platform
