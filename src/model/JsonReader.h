// Parsing a reply into the JSON library's values. For this folder only.
//
// The parser is strict as far as the library's strict mode goes: text after the root, keys given twice, leading zeros,
// a sign without digits and comments in some places pass; a lone surrogate, a byte-order mark and a number beyond the
// range of double do not. What it accepts is accepted.
#pragma once

#include <json/value.h>

#include <exception>
#include <string>

#include "common/Log.h"
#include "quillmark/ResponseBuffer.h"
#include "quillmark/WideString.h"

namespace quillmark {

// Whether comments are to be kept with the values; strict replies have none, so nothing depends on it today.
enum class JSONComments : bool { Skip, Collect };

// False when the reply is no JSON; errors then holds the parser's messages. Lets exceptions of the JSON library out.
[[nodiscard]] bool ParseJSON(const ResponseBuffer& reply, JSONComments comments, Json::Value& root,
                             std::string& errors);

// The same, with the messages logged as an error.
[[nodiscard]] bool ParseJSONFromServer(const ResponseBuffer& reply, JSONComments comments, const Logger& log,
                                       Json::Value& root);

// The text of a member: a string, or what the library makes a string of (a number, a boolean). Empty when the member is
// missing, an array or an object, and when the value is no object in the first place.
[[nodiscard]] WideString MemberText(const Json::Value& value, const char* key);

// The log lines for the two kinds of exception that readers of replies expect.
void LogJSONException(const Logger& log, const Json::Exception& exception) noexcept;
void LogJSONException(const Logger& log, const std::bad_alloc& exception) noexcept;

}  // namespace quillmark
