#include "model/JsonResponse.h"

#include <json/writer.h>

#include <memory>
#include <new>
#include <sstream>

#include "common/Log.h"
#include "model/JsonItems.h"
#include "model/JsonReader.h"

namespace quillmark {
namespace {

constexpr Logger ValueLog("CNativeHttp::GetJSONValueFromResponse", LogSource::NativeHttp);
constexpr Logger AttributesLog("CNativeHttp::GetAttributesFromResponse", LogSource::NativeHttp);

// The root's member of that name; null when there is none or the reply cannot be read, which is then logged.
Json::Value GetJSONValueFromResponse(const ResponseBuffer& reply, const char* key) {
    try {
        Json::Value root;
        if (ParseJSONFromServer(reply, JSONComments::Collect, ValueLog, root)) {
            return root.get(key, Json::Value());
        }
    } catch (const Json::Exception& exception) {
        LogJSONException(ValueLog, exception);
    } catch (const std::bad_alloc& exception) {
        LogJSONException(ValueLog, exception);
    }
    return {};
}

std::uint32_t ProcessRoot(const Json::Value& root, ItemList& items, bool topLevel) {
    return root.isNull() || root.isArray() ? ProcessJSONArray(root, items, topLevel)
                                           : ProcessJSONDictionary(root, items, topLevel);
}

}  // namespace

bool GetJSONStringFromResponse(const ResponseBuffer& reply, const char* key, std::string& text) {
    constexpr Logger log("CNativeHttp::GetJSONStringFromResponse", LogSource::NativeHttp);
    try {
        const Json::Value value = GetJSONValueFromResponse(reply, key);
        if (value.isString()) {
            text = value.asString();
            return true;
        }
    } catch (const Json::Exception& exception) {
        LogJSONException(log, exception);
    } catch (const std::bad_alloc& exception) {
        LogJSONException(log, exception);
    }
    return false;
}

bool GetJSONBoolFromResponse(const ResponseBuffer& reply, const char* key, bool& value) {
    constexpr Logger log("CNativeHttp::GetJSONBoolFromResponse", LogSource::NativeHttp);
    try {
        const Json::Value member = GetJSONValueFromResponse(reply, key);
        if (member.isBool()) {
            value = member.asBool();
            return true;
        }
        if (member.isString() && (member.asString() == "true" || member.asString() == "false")) {
            value = member.asString() == "true";
            return true;
        }
    } catch (const Json::Exception& exception) {
        LogJSONException(log, exception);
    } catch (const std::bad_alloc& exception) {
        LogJSONException(log, exception);
    }
    return false;
}

DWORD GetAttributesFromResponse(const ResponseBuffer& reply, ItemList& items, bool topLevel, std::uint32_t& count) {
    count = 0;
    Json::Value root;
    if (!ParseJSONFromServer(reply, JSONComments::Skip, AttributesLog, root)) {
        return ERROR_INVALID_DATA;
    }
    count = ProcessRoot(root, items, topLevel);
    return ERROR_SUCCESS;
}

DWORD GetAttributesFromResponse(const ResponseBuffer& reply, ItemList& children, ItemList& self, std::uint32_t& count) {
    count = 0;
    Json::Value root;
    if (!ParseJSONFromServer(reply, JSONComments::Skip, AttributesLog, root)) {
        return ERROR_INVALID_DATA;
    }
    count = ProcessRoot(root, children, true);
    count += ProcessRoot(root, self, false);
    return ERROR_SUCCESS;
}

bool RenderJSONResponse(const ResponseBuffer& reply, std::string& text) {
    Json::Value root;
    std::string errors;
    if (!ParseJSON(reply, JSONComments::Collect, root, errors)) {
        return false;
    }
    Json::StreamWriterBuilder builder;
    builder["emitUTF8"] = true;  // readable in the log, not escaped
    std::ostringstream stream;
    const std::unique_ptr<Json::StreamWriter> writer(builder.newStreamWriter());
    writer->write(root, &stream);
    text = stream.str();
    return true;
}

}  // namespace quillmark
