#include "model/Endpoints.h"

#include <utility>

#include "common/Log.h"
#include "model/JsonReader.h"

namespace quillmark {
namespace {

// {"1.3": {"path": "/api/1.3", "tos": 7}, ...}; null is an empty list.
EndpointMap ReadEndpoints(const Json::Value& versions) {
    EndpointMap endpoints;
    for (const std::string& key : versions.getMemberNames()) {
        const Json::Value& entry = versions[key];
        Endpoint endpoint{WidenUtf8(entry["path"].asString()), entry["tos"].asInt()};
        // Without a path there is nothing to address: such an entry offers nothing.
        if (!endpoint.path.empty()) {
            endpoints.insert_or_assign(WidenUtf8(key), std::move(endpoint));
        }
    }
    return endpoints;
}

}  // namespace

bool GetEndpointsFromResponse(const ResponseBuffer& reply, EndpointMap& sync, EndpointMap& logging) {
    return LogScope::Run("CNativeHttp::GetEndpointsFromResponse", LogSource::NativeHttp, [&](const Logger& log) {
        try {
            Json::Value root;
            if (!ParseJSONFromServer(reply, JSONComments::Skip, log, root)) {
                return false;
            }
            const Json::Value& lists = std::as_const(root)["qm"];
            sync = ReadEndpoints(lists["sync"]);
            logging = ReadEndpoints(lists["audit"]);
            return true;
        } catch (const Json::Exception& exception) {
            LogJSONException(log, exception);
            return false;
        }
    });
}

}  // namespace quillmark
