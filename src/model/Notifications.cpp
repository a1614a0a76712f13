#include "model/Notifications.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

#include "common/CaseFold.h"
#include "model/JsonReader.h"

namespace quillmark {
namespace {

constexpr Logger ResponseLog("CNativeHttp::GetNotificationsFromResponse", LogSource::NativeHttp);
constexpr Logger DictionaryLog("CNativeHttp::ProcessNotificationJSONDictionary", LogSource::NativeHttp);

constexpr DWORD MoveAction = 3;
constexpr DWORD UpdateAction = 8;
constexpr DWORD ModeAction = 9;

// An action's code is its place here plus one.
constexpr std::array<WideView, 9> Verbs{QM_W("create"), QM_W("upload"), QM_W("move"),   QM_W("copy"), QM_W("rename"),
                                        QM_W("delete"), QM_W("policy"), QM_W("update"), QM_W("mode")};

// 0 for a verb that is none of them.
DWORD CodeOf(const WideString& verb) {
    const auto* const found =
        std::find_if(Verbs.begin(), Verbs.end(), [&verb](WideView known) { return EqualsIgnoreCase(verb, known); });
    return found != Verbs.end() ? static_cast<DWORD>(found - Verbs.begin()) + 1 : 0;
}

void ProcessNotifications(const Json::Value& value, NotificationList& actions);

void ProcessNotificationJSONDictionary(const Json::Value& dictionary, NotificationList& actions) {
    if (dictionary.isMember("contents")) {
        ProcessNotifications(dictionary["contents"], actions);
        return;
    }
    const auto action = std::make_shared<CNotificationAction>();
    const WideString verb = MemberText(dictionary, "a");
    action->type = CodeOf(verb);
    if (action->type == MoveAction || action->type == UpdateAction || action->type == ModeAction) {
        const bool isMode = action->type == ModeAction;
        const Json::Value& pair = dictionary["m"];
        action->value = MemberText(pair, isMode ? "name" : "from");
        action->value2 = MemberText(pair, isMode ? "mode" : "to");
        DictionaryLog.Information("Creating notification action: type: [%S], value: [%S], value2: [%S]", verb,
                                  action->value, action->value2);
    } else {
        action->value = MemberText(dictionary, "m");
        DictionaryLog.Information("Creating notification action: type: [%S], value: [%S]", verb, action->value);
    }
    actions.push_back(action);
    DictionaryLog.Information("There are now %d notification actions", static_cast<std::uint32_t>(actions.size()));
}

// An array of dictionaries, or one; null is an empty array.
void ProcessNotifications(const Json::Value& value, NotificationList& actions) {
    if (!value.isNull() && !value.isArray()) {
        ProcessNotificationJSONDictionary(value, actions);
        return;
    }
    for (const Json::Value& dictionary : value) {
        ProcessNotificationJSONDictionary(dictionary, actions);
    }
}

}  // namespace

DWORD GetNotificationsFromResponse(const ResponseBuffer& reply, NotificationList& actions) {
    try {
        Json::Value root;
        std::string errors;
        if (ParseJSON(reply, JSONComments::Collect, root, errors)) {
            ProcessNotifications(std::as_const(root), actions);
        } else {
            // A warning here, for it is no failure.
            ResponseLog.Warning("Failed to parse JSON from server, parser error = [%s]", errors);
        }
    } catch (const Json::Exception& exception) {
        LogJSONException(ResponseLog, exception);
    } catch (const std::bad_alloc& exception) {
        LogJSONException(ResponseLog, exception);
    }
    ResponseLog.Information("Extracted %d notification actions from reply", static_cast<std::uint32_t>(actions.size()));
    return ERROR_SUCCESS;
}

}  // namespace quillmark
