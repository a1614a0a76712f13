// Items of the server as commands show them: a line for a person, an object for --json.
#pragma once

#include <string>

#include "Json.h"
#include "quillmark/Attributes.h"

namespace quillmark::cli {

// "d  2026-11-20T16:07:00.123Z           4096  name"; human: "4.0K" for the size.
[[nodiscard]] std::string LongLine(const IServerAttributes& item, bool human);

// path, name, kind ("file" or "folder"), size (null for a folder), created, modified, attributes, revision, writable.
[[nodiscard]] JsonObject ItemObject(const WideString& path, const IServerAttributes& item);

// Bytes of a file; 0 for a folder and where the server does not tell.
[[nodiscard]] std::int64_t SizeOf(const IServerAttributes& item);

}  // namespace quillmark::cli
