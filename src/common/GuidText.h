// The text form of identifiers in URLs, queries and replies: a GUID in the registry's form without its braces, in upper
// case, "0F8FAD5B-D9CB-469F-A165-70867728950E". Read back with or without braces, in any case.
#pragma once

#include "quillmark/WideString.h"

namespace quillmark {

[[nodiscard]] WideString GuidText(const GUID& guid);

// False when the text is no GUID; guid is then as it was.
[[nodiscard]] bool ParseGuid(const WideString& text, GUID& guid);

}  // namespace quillmark
