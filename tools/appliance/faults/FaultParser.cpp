#include <map>
#include <nlohmann/json.hpp>

#include "faults/Fault.h"
#include "http/Errors.h"

namespace appliance {

namespace {

using nlohmann::json;

constexpr std::int64_t LongStall = 600'000;

[[noreturn]] void Refuse(const std::string& message) {
    throw ApiError(ErrorId::Malformed, "fault rule: " + message);
}

std::string TextOf(const json& rule, const char* key, const std::string& otherwise) {
    const auto found = rule.find(key);
    if (found == rule.end()) {
        return otherwise;
    }
    if (!found->is_string()) {
        Refuse(std::string(key) + " is a text");
    }
    return found->get<std::string>();
}

std::int64_t NumberOf(const json& rule, const char* key, std::int64_t otherwise) {
    const auto found = rule.find(key);
    if (found == rule.end()) {
        return otherwise;
    }
    if (!found->is_number_integer()) {
        Refuse(std::string(key) + " is a whole number");
    }
    return found->get<std::int64_t>();
}

std::uint64_t CountOf(const json& rule, const char* key, std::int64_t otherwise) {
    const std::int64_t number = NumberOf(rule, key, otherwise);
    if (number < 0) {
        Refuse(std::string(key) + " is not negative");
    }
    return static_cast<std::uint64_t>(number);
}

bool FlagOf(const json& rule, const char* key) {
    const auto found = rule.find(key);
    if (found != rule.end() && !found->is_boolean()) {
        Refuse(std::string(key) + " is true or false");
    }
    return found != rule.end() && found->get<bool>();
}

template <typename Value>
Value ChoiceOf(const json& rule, const char* key, const std::string& otherwise,
               const std::map<std::string, Value>& choices) {
    const std::string text = TextOf(rule, key, otherwise);
    const auto found = choices.find(text);
    if (found == choices.end()) {
        Refuse("'" + text + "' is no " + key);
    }
    return found->second;
}

void ReadReply(const json& rule, Fault& fault) {
    const auto status = NumberOf(rule, "status", 0);
    if (status < 200 || status > 599) {
        Refuse("status is between 200 and 599");
    }
    fault.reply.status = static_cast<unsigned>(status);
    if (const auto body = rule.find("body"); body != rule.end()) {
        fault.reply.body = body->is_string() ? body->get<std::string>() : JsonText(*body);
    }
    fault.reply.contentType = TextOf(rule, "content_type", fault.reply.contentType);
    if (const auto headers = rule.find("headers"); headers != rule.end()) {
        for (const auto& [name, value] : headers->items()) {
            fault.reply.headers.emplace_back(name, value.is_string() ? value.get<std::string>() : value.dump());
        }
    }
    if (rule.contains("retry_after")) {
        fault.reply.headers.emplace_back("Retry-After", std::to_string(CountOf(rule, "retry_after", 0)));
    }
    fault.early = FlagOf(rule, "early");
}

void ReadErrorDocument(const json& rule, Fault& fault) {
    fault.kind = FaultKind::Reply;
    fault.reply.body = JsonText({{"errorId", std::to_string(CountOf(rule, "error_id", 1500))},
                                 {"severity", std::to_string(CountOf(rule, "severity", 3))}});
}

void ReadDirection(const json& rule, Fault& fault) {
    static const std::map<std::string, FaultPlace> places{{"request", FaultPlace::InRequest},
                                                          {"response", FaultPlace::InHead}};
    fault.place = ChoiceOf(rule, "direction", "response", places);
    fault.after = CountOf(rule, "after", 0);
}

void ReadCut(const json& rule, Fault& fault) {
    static const std::map<std::string, FaultPlace> places{{"before-head", FaultPlace::BeforeHead},
                                                          {"in-request", FaultPlace::InRequest},
                                                          {"in-head", FaultPlace::InHead},
                                                          {"in-body", FaultPlace::InBody},
                                                          {"after-work", FaultPlace::AfterWork}};
    fault.place = ChoiceOf(rule, "at", "before-head", places);
    fault.after = CountOf(rule, "after", 10);
}

void ReadWhen(const json& rule, Fault& fault) {
    static const std::map<std::string, FaultPlace> places{{"before", FaultPlace::BeforeHead},
                                                          {"after", FaultPlace::AfterWork}};
    fault.place = ChoiceOf(rule, "when", "before", places);
    fault.time = std::chrono::milliseconds(CountOf(rule, "ms", 0));
}

void ReadArguments(const json& rule, const std::string& kind, Fault& fault) {
    switch (fault.kind) {
        case FaultKind::Reply:
            if (kind == "held-lock") {
                fault.reply = ErrorReply(ErrorId::ItemLocked, "The item is locked by another user");
            } else if (kind == "error-document") {
                ReadErrorDocument(rule, fault);
            } else {
                ReadReply(rule, fault);
            }
            break;
        case FaultKind::Stall:
            ReadDirection(rule, fault);
            fault.action = StopAction::Stall;
            fault.time = std::chrono::milliseconds(CountOf(rule, "ms", LongStall));
            break;
        case FaultKind::Trickle:
            ReadDirection(rule, fault);
            break;
        case FaultKind::Cut:
            ReadCut(rule, fault);
            fault.action = kind == "reset" ? StopAction::Reset : StopAction::End;
            break;
        case FaultKind::Delay:
        case FaultKind::Restart:
            ReadWhen(rule, fault);
            break;
        case FaultKind::Length:
            fault.by = NumberOf(rule, "by", 0);
            break;
        case FaultKind::Damage:
            fault.offset = CountOf(rule, "offset", 0);
            break;
        case FaultKind::ExpireToken:
        case FaultKind::RotateToken:
        case FaultKind::StaleRevision:
            break;
    }
}

}  // namespace

Fault ParseFault(const json& rule) {
    static const std::map<std::string, FaultKind> kinds{{"reply", FaultKind::Reply},
                                                        {"error-document", FaultKind::Reply},
                                                        {"held-lock", FaultKind::Reply},
                                                        {"delay", FaultKind::Delay},
                                                        {"stall", FaultKind::Stall},
                                                        {"trickle", FaultKind::Trickle},
                                                        {"end", FaultKind::Cut},
                                                        {"reset", FaultKind::Cut},
                                                        {"length", FaultKind::Length},
                                                        {"damage", FaultKind::Damage},
                                                        {"expire-token", FaultKind::ExpireToken},
                                                        {"rotate-token", FaultKind::RotateToken},
                                                        {"stale-revision", FaultKind::StaleRevision},
                                                        {"restart", FaultKind::Restart}};
    static const std::map<std::string, bool> matches{{"exact", false}, {"prefix", true}};
    if (!rule.is_object()) {
        Refuse("each is an object");
    }
    Fault fault;
    fault.method = TextOf(rule, "method", "");
    fault.path = TextOf(rule, "path", "");
    if (fault.method.empty() || fault.path.empty()) {
        Refuse("method and path are needed");
    }
    fault.prefix = ChoiceOf(rule, "match", "exact", matches);
    const std::string kind = TextOf(rule, "kind", "");
    fault.kind = ChoiceOf(rule, "kind", "", kinds);
    ReadArguments(rule, kind, fault);
    return fault;
}

}  // namespace appliance
