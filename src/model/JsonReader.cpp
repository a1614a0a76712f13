#include "model/JsonReader.h"

#include <json/reader.h>

#include <string_view>

namespace quillmark {

bool ParseJSON(const ResponseBuffer& reply, JSONComments comments, Json::Value& root, std::string& errors) {
    const std::string_view text = reply.IsNull() ? std::string_view("") : reply.text();
    Json::Reader reader(Json::Features::strictMode());
    if (reader.parse(text.data(), text.data() + text.size(), root, comments == JSONComments::Collect)) {
        return true;
    }
    errors = reader.getFormattedErrorMessages();
    return false;
}

bool ParseJSONFromServer(const ResponseBuffer& reply, JSONComments comments, const Logger& log, Json::Value& root) {
    std::string errors;
    if (ParseJSON(reply, comments, root, errors)) {
        return true;
    }
    log.Error("Failed to parse JSON from server, parser error = [%s]", errors);
    return false;
}

WideString MemberText(const Json::Value& value, const char* key) {
    if (!value.isObject()) {
        return {};
    }
    const Json::Value& member = value[key];
    return member.isConvertibleTo(Json::stringValue) ? WidenUtf8(member.asString()) : WideString();
}

namespace {

const char* TextOf(const std::exception& exception) noexcept {
    const char* text = exception.what();
    return text != nullptr ? text : "Unknown exception";
}

}  // namespace

// The library's own exceptions do not derive from std::runtime_error, but that is what the log has always called them.
void LogJSONException(const Logger& log, const Json::Exception& exception) noexcept {
    log.Error("JSON library has thrown a runtime_error exception (%s)!", TextOf(exception));
}

void LogJSONException(const Logger& log, const std::bad_alloc& exception) noexcept {
    log.Error("JSON library has thrown a bad_alloc exception (%s)!", TextOf(exception));
}

}  // namespace quillmark
