// One file or folder of a user's tree, and its form in replies.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "storage/Ticks.h"

namespace appliance {

using ItemPath = std::vector<std::string>;

constexpr std::uint32_t ReadOnlyAttribute = 0x01;
constexpr std::uint32_t DirectoryAttribute = 0x10;
constexpr std::uint32_t NormalAttribute = 0x80;

struct Item {
    std::int64_t id = 0;
    std::string name;
    bool directory = false;
    std::uint64_t revision = 0;
    Ticks creationTime = 0;
    Ticks modificationTime = 0;
    std::uint32_t attributes = 0;
    std::uint64_t size = 0;
    std::string content;    // name of the content file; empty for folders
    bool readOnly = false;  // in a mapped folder that must not be changed

    [[nodiscard]] std::string RevisionText() const { return std::to_string(revision); }
};

// What a client asks to set; what is empty stays, or takes its default in a new item.
struct ItemValues {
    std::optional<std::string> name;
    std::optional<Ticks> creationTime;
    std::optional<Ticks> modificationTime;
    std::optional<std::uint32_t> attributes;
};

// The folder that the path's item is in. Throws Refused for the root, which is in none and stays as it is.
ItemPath ParentOf(const ItemPath& path);

// "/a/b"; the root is "/".
std::string PathText(const ItemPath& path);

// The item as clients read it; `path` is where it stands, its own name last.
nlohmann::json ItemDocument(const Item& item, const ItemPath& path);

// The folder with "contents": its items, in the order given.
nlohmann::json ListingDocument(const Item& folder, const ItemPath& path, const std::vector<Item>& children);

}  // namespace appliance
