#include "registry/KeyTree.h"

#include <algorithm>
#include <utility>

#include "files/CaseFold.h"

namespace quillmark::platform {
namespace {

constexpr std::size_t MostKeys = 262'144;

std::unique_ptr<KeyNode> CopyOf(const KeyNode& node) {
    auto copy = std::make_unique<KeyNode>();
    copy->name = node.name;
    copy->exists = node.exists;
    copy->clears = node.clears;
    copy->values = node.values;
    for (const auto& [folded, child] : node.children) {
        copy->children.emplace(folded, CopyOf(*child));
    }
    return copy;
}

std::size_t CountBelow(const KeyNode& node) {
    std::size_t count = node.children.size();
    for (const auto& [folded, child] : node.children) {
        count += CountBelow(*child);
    }
    return count;
}

}  // namespace

const KeyNode* KeyNode::Child(std::u16string_view childName) const {
    const auto child = children.find(FoldCase(childName));
    return child == children.end() ? nullptr : child->second.get();
}

const RegistryValue* KeyNode::Value(std::u16string_view valueName) const {
    const auto value = values.find(FoldCase(valueName));
    return value == values.end() ? nullptr : &value->second;
}

KeyTree::KeyTree(const KeyTree& other) : m_kind(other.m_kind), m_count(other.m_count) {
    m_top = std::move(*CopyOf(other.m_top));
}

const KeyNode* KeyTree::Find(const KeyPath& path) const {
    const KeyNode* node = &m_top;
    for (const std::u16string& name : path) {
        node = node->Child(name);
        if (node == nullptr) {
            return nullptr;
        }
    }
    return node;
}

KeyNode* KeyTree::ChildOf(KeyNode& parent, std::u16string_view name) {
    std::u16string folded = FoldCase(name);
    if (const auto present = parent.children.find(folded); present != parent.children.end()) {
        return present->second.get();
    }
    if (m_count >= MostKeys) {
        return nullptr;
    }
    auto child = std::make_unique<KeyNode>();
    child->name = name;
    ++m_count;
    return parent.children.emplace(std::move(folded), std::move(child)).first->second.get();
}

KeyNode* KeyTree::Create(const KeyPath& path) {
    if (path.size() > DeepestKey) {
        return nullptr;
    }
    KeyNode* node = &m_top;
    for (const std::u16string& name : path) {
        node = ChildOf(*node, name);
        if (node == nullptr) {
            return nullptr;
        }
        node->exists = true;
    }
    return node;
}

void KeyTree::Delete(const KeyPath& path) {
    Forget(path);
    if (m_kind == Kind::Contents || path.size() > DeepestKey) {
        return;
    }
    KeyNode* node = &m_top;
    for (const std::u16string& name : path) {
        node = ChildOf(*node, name);
        if (node == nullptr) {
            return;
        }
    }
    node->clears = true;
}

void KeyTree::Forget(const KeyPath& path) {
    KeyNode* parent = &m_top;
    for (std::size_t level = 0; level + 1 < path.size(); ++level) {
        const auto child = parent->children.find(FoldCase(path[level]));
        if (child == parent->children.end()) {
            return;
        }
        parent = child->second.get();
    }
    const auto node = parent->children.find(FoldCase(path.back()));
    if (node != parent->children.end()) {
        m_count -= 1 + CountBelow(*node->second);
        parent->children.erase(node);
    }
}

void KeyTree::Set(KeyNode& key, RegistryValue value) const {
    std::u16string folded = FoldCase(value.name);
    const auto present = key.values.find(folded);
    if (present == key.values.end()) {
        key.values.emplace(std::move(folded), std::move(value));
        return;
    }
    value.name = present->second.name;
    present->second = std::move(value);
}

void KeyTree::ForgetValue(KeyNode& key, std::u16string_view name) {
    key.values.erase(FoldCase(name));
}

void KeyTree::DeleteValue(KeyNode& key, std::u16string_view name) const {
    if (m_kind == Kind::Contents) {
        ForgetValue(key, name);
    } else {
        Set(key, {std::u16string(name), 0, {}, true});
    }
}

void KeyTree::Apply(const KeyTree& changes) {
    ApplyTo(m_top, changes.m_top);
}

void KeyTree::ApplyTo(KeyNode& target, const KeyNode& changes) {
    for (const auto& [folded, value] : changes.values) {
        if (value.deleted) {
            target.values.erase(folded);
        } else {
            Set(target, value);
        }
    }
    for (const auto& [folded, change] : changes.children) {
        if (const auto present = target.children.find(folded); change->clears && present != target.children.end()) {
            m_count -= 1 + CountBelow(*present->second);
            target.children.erase(present);
        }
        const auto present = target.children.find(folded);
        KeyNode* child = present == target.children.end() ? nullptr : present->second.get();
        if (child == nullptr && change->exists) {
            child = ChildOf(target, change->name);
        }
        if (child != nullptr) {
            child->exists = true;
            ApplyTo(*child, *change);
        }
    }
}

bool Differ(const KeyNode* before, const KeyNode* after, const ChangeFilter& filter) {
    if (before == nullptr || after == nullptr) {
        return before != after;
    }
    if (filter.values && before->values != after->values) {
        return true;
    }
    const auto sameName = [](const auto& one, const auto& other) { return one.first == other.first; };
    if (filter.names && !std::equal(before->children.begin(), before->children.end(), after->children.begin(),
                                    after->children.end(), sameName)) {
        return true;
    }
    return filter.subtree && std::any_of(before->children.begin(), before->children.end(), [&](const auto& child) {
               const auto match = after->children.find(child.first);
               return match != after->children.end() && Differ(child.second.get(), match->second.get(), filter);
           });
}

}  // namespace quillmark::platform
