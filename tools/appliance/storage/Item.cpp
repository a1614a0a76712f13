#include "storage/Item.h"

#include <nlohmann/json.hpp>

#include "http/Errors.h"

namespace appliance {

ItemPath ParentOf(const ItemPath& path) {
    if (path.empty()) {
        throw ApiError(ErrorId::Refused, "The root folder cannot be changed");
    }
    return ItemPath(path.begin(), path.end() - 1);
}

std::string PathText(const ItemPath& path) {
    std::string text;
    for (const std::string& name : path) {
        text += '/' + name;
    }
    return text.empty() ? "/" : text;
}

namespace {

nlohmann::json DocumentAt(const Item& item, const std::string& pathText) {
    const char* permissions = item.readOnly ? "READONLY" : "WRITE";
    return {{"name", item.name},
            {"orca_path", pathText},
            {"directory", item.directory},
            {"revision", item.RevisionText()},
            {"creation_time", FormatTicks(item.creationTime)},
            {"modification_time", FormatTicks(item.modificationTime)},
            {"size", item.size},
            {"attributes", item.attributes},
            {"permissions", permissions},
            {"folder_permissions", permissions}};
}

}  // namespace

nlohmann::json ItemDocument(const Item& item, const ItemPath& path) {
    return DocumentAt(item, PathText(path));
}

nlohmann::json ListingDocument(const Item& folder, const ItemPath& path, const std::vector<Item>& children) {
    nlohmann::json document = ItemDocument(folder, path);
    const std::string prefix = path.empty() ? "/" : PathText(path) + '/';
    nlohmann::json contents = nlohmann::json::array();
    for (const Item& child : children) {
        contents.push_back(DocumentAt(child, prefix + child.name));
    }
    document["contents"] = std::move(contents);
    return document;
}

}  // namespace appliance
