#include "model/AsyncDeltaJobs.h"

#include <algorithm>
#include <array>
#include <map>
#include <string_view>
#include <utility>

#include "common/GuidText.h"
#include "model/JsonReader.h"

namespace quillmark {
namespace {

constexpr DWORD UnknownState = 0;
constexpr std::array<std::pair<std::string_view, DWORD>, 4> States{
    {{"PENDING_COMMIT", 1}, {"IN_PROGRESS", 2}, {"FAILED", 3}, {"GUID_NOT_FOUND", 4}}};

DWORD StateOf(const Json::Value& job) {
    if (!job.isObject() || !job["status"].isString()) {
        return UnknownState;
    }
    const std::string word = job["status"].asString();
    const auto* const found =
        std::find_if(States.begin(), States.end(), [&word](const auto& state) { return state.first == word; });
    return found != States.end() ? found->second : UnknownState;
}

// The members of the reply that are named by an identifier, by the form in which this client writes it.
std::map<WideString, const Json::Value*> JobsByIdentifier(const Json::Value& root) {
    std::map<WideString, const Json::Value*> jobs;
    for (const std::string& name : root.getMemberNames()) {
        GUID id = {};
        if (ParseGuid(WidenUtf8(name), id)) {
            jobs.emplace(GuidText(id), &root[name]);
        }
    }
    return jobs;
}

}  // namespace

DWORD ParseAsyncGuidsFromResponse(const ResponseBuffer& reply, AsyncDeltaJobList& jobs) {
    constexpr Logger log("CNativeHttp::ParseAsyncGuidsFromResponse", LogSource::NativeHttp);
    Json::Value root;
    if (!ParseJSONFromServer(reply, JSONComments::Skip, log, root)) {
        return ERROR_INVALID_DATA;
    }
    const auto known = JobsByIdentifier(root);
    for (AsyncDeltaJob& job : jobs) {
        if (const auto found = known.find(GuidText(job.id)); found != known.end()) {
            job.state = StateOf(*found->second);
        }
    }
    return ERROR_SUCCESS;
}

}  // namespace quillmark
