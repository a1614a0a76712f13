#include "DeltaWorker.h"
#include "Pch.h"
#include "Statistics.h"
#include "faults/Faults.h"
#include "handlers/Handlers.h"
#include "http/Errors.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

constexpr std::size_t LargestRules = 200UL * 1024;

asio::awaitable<nlohmann::json> ReadRules(const Request& request, RequestBody& body) {
    const std::uint64_t length = request.contentLength.value_or(0);
    if (length > LargestRules) {
        throw ApiError(ErrorId::BodyTooLarge, "These are too many rules at once");
    }
    while (body.Window().size() < length) {
        co_await body.More();
    }
    auto rules = nlohmann::json::parse(body.Window(), nullptr, false);
    body.Consume(static_cast<std::size_t>(length));
    if (rules.is_discarded()) {
        throw ApiError(ErrorId::Malformed, "The rules are not JSON");
    }
    co_return rules;
}

asio::awaitable<Reply> AnswerFaults(Services& services, const Request& request, RequestBody& body) {
    if (request.method == "GET") {
        co_return JsonReply(services.faults.Report());
    }
    if (request.method == "DELETE") {
        services.faults.Clear();
        co_return JsonReply({{"cleared", true}});
    }
    if (request.method != "POST") {
        throw ApiError(ErrorId::MethodUnknown, "This endpoint has no such method");
    }
    const nlohmann::json rules = co_await ReadRules(request, body);
    co_return JsonReply({{"added", services.faults.Add(rules)}});
}

// Holds the delta jobs, lets them go, or tells how many stand still.
asio::awaitable<Reply> AnswerDeltaJobs(Services& services, const Request& request, RequestBody& body) {
    if (request.method == "GET") {
        co_return JsonReply({{"held", services.deltaWorker.Held()}});
    }
    if (request.method == "DELETE") {
        services.deltaWorker.Hold(std::nullopt);
        co_return JsonReply({{"cleared", true}});
    }
    if (request.method != "POST") {
        throw ApiError(ErrorId::MethodUnknown, "This endpoint has no such method");
    }
    const Fields fields = co_await body.ReadForm();
    const std::string* text = FindField(fields, "after");
    const auto after = text == nullptr ? std::nullopt : ParseNumber(*text);
    if (!after) {
        throw ApiError(ErrorId::Malformed, "The form does not say after how many bytes");
    }
    services.deltaWorker.Hold(*after);
    co_return JsonReply({{"after", *after}});
}

Reply AnswerStatistics(Services& services, const Request& request) {
    if (request.method == "GET") {
        return JsonReply(services.statistics.Report());
    }
    if (request.method == "DELETE") {
        services.statistics.Reset();
        return JsonReply({{"cleared", true}});
    }
    throw ApiError(ErrorId::MethodUnknown, "This endpoint has no such method");
}

}  // namespace

asio::awaitable<Reply> AnswerControl(Services& services, const Request& request, RequestBody& body,
                                     std::string_view resource) {
    if (resource == "/statistics") {
        co_return AnswerStatistics(services, request);
    }
    if (resource == "/faults" && services.options.faults) {
        Reply reply = co_await AnswerFaults(services, request, body);
        co_return reply;
    }
    if (resource == "/delta-jobs") {
        Reply reply = co_await AnswerDeltaJobs(services, request, body);
        co_return reply;
    }
    if (resource == "/wipe") {
        Reply reply = co_await OrderWipe(services, request, body);
        co_return reply;
    }
    if (resource == "/audit") {
        co_return ReportAudit(services, request);
    }
    throw ApiError(ErrorId::EndpointUnknown, "There is no such endpoint");
}

}  // namespace appliance
