// The attribute records of the items in a parsed reply. For this folder and its tests only.
//
// An item is an object:
//
//   {"revision": "17", "name": "report.txt", "directory": false, "size": 1024, "attributes": 32,
//    "creation_time": "2016-02-29T23:59:59.123Z", "modification_time": "2016-02-29T23:59:59.123Z",
//    "permissions": "WRITE", "folder_permissions": "WRITE"}
//
// with "orca_path", the full path on the server, as the source of the name when "name" is empty or missing.
#pragma once

#include <json/value.h>

#include <cstdint>

#include "quillmark/Attributes.h"

namespace quillmark {

// Appends the items of an array (null is an empty one) and returns how many. An exception of the JSON library or
// std::bad_alloc is logged and ends the array: the items before it stay, the one it struck and those behind it are
// lost.
std::uint32_t ProcessJSONArray(const Json::Value& array, ItemList& items, bool topLevel);

// topLevel: appends the items under "contents" or, when there is no such member, under "document_info", and returns how
// many. Otherwise appends the dictionary itself as an item and returns 1, or 0 when a time of it cannot be read.
// Lets exceptions of the JSON library out.
std::uint32_t ProcessJSONDictionary(const Json::Value& dictionary, ItemList& items, bool topLevel);

}  // namespace quillmark
