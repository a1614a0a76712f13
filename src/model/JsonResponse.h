// What operations read from a server's reply, without knowing JSON: single values by key, and the attribute records of
// the items that a reply describes. The JSON library stays behind these functions.
//
// A reply is read as strict JSON (no comments, the root an object or an array). Missing fields and fields of another
// type are logged and defaulted wherever an item can do without them. None of the functions sends anything or keeps
// anything: they may be called from any thread, each call with its own buffers and lists. A null buffer is a reply that
// does not parse.
//
// For the exceptions that come out of here see JsonExceptions.h.
#pragma once

#include <cstdint>
#include <string>

#include "quillmark/Attributes.h"
#include "quillmark/ResponseBuffer.h"

namespace quillmark {

// The root's member of that name. True only when it exists and is a string; text is left as it was otherwise. A reply
// that cannot be read is logged and gives false.
[[nodiscard]] bool GetJSONStringFromResponse(const ResponseBuffer& reply, const char* key, std::string& text);

// The same for a boolean, which may also be given as the string "true" or "false" (in lower case). value is left as it
// was when the result is false.
[[nodiscard]] bool GetJSONBoolFromResponse(const ResponseBuffer& reply, const char* key, bool& value);

// Appends the items that the reply describes to the list, in the reply's order. topLevel: the items are those of a
// folder ("contents") or those that the reply is about ("document_info"); otherwise the root itself is the item, or the
// list of items. count: how many were appended; an item with an unreadable time is left out. 13 when the reply is no
// JSON. Lets exceptions of the JSON library out, for example when the reply is nested without bounds.
[[nodiscard]] DWORD GetAttributesFromResponse(const ResponseBuffer& reply, ItemList& items, bool topLevel,
                                              std::uint32_t& count);

// A folder and what is in it: the top-level items go to children, the root's own record to self; count is the sum.
[[nodiscard]] DWORD GetAttributesFromResponse(const ResponseBuffer& reply, ItemList& children, ItemList& self,
                                              std::uint32_t& count);

// Writes the reply as indented JSON, UTF-8 with line feeds, for the log. False when it is no JSON. Lets exceptions of
// the JSON library out.
[[nodiscard]] bool RenderJSONResponse(const ResponseBuffer& reply, std::string& text);

}  // namespace quillmark
