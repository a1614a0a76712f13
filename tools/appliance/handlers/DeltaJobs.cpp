// Delta jobs: started with a delta, asked about, committed or given up. Below the endpoint stand "folders" and an
// item's path, "status", or a job's identifier.

#include "storage/DeltaJobs.h"

#include <limits>
#include <optional>

#include "DeltaWorker.h"
#include "Pch.h"
#include "handlers/DeltaFile.h"
#include "handlers/Handlers.h"
#include "handlers/ItemForm.h"
#include "http/Errors.h"
#include "http/Guid.h"
#include "storage/Contents.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

constexpr std::string_view StartBranch = "/folders";
constexpr std::string_view StatusBranch = "/status";
constexpr const char* UnknownJob = "GUID_NOT_FOUND";
constexpr std::uint64_t LargestFile = std::numeric_limits<std::int64_t>::max();

// What follows the endpoint, when that is an identifier.
std::string RequireJobId(std::string_view rest) {
    auto id = rest.starts_with('/') ? ParseGuid(PercentDecode(rest.substr(1), false).value_or("")) : std::nullopt;
    if (!id) {
        throw ApiError(ErrorId::EndpointUnknown, "There is no such endpoint");
    }
    return std::move(*id);
}

// Whether an item's path follows; the branch is taken off.
bool TakeStartBranch(std::string_view& rest) {
    if (!rest.starts_with(StartBranch) || (rest.size() > StartBranch.size() && rest[StartBranch.size()] != '/')) {
        return false;
    }
    rest.remove_prefix(StartBranch.size());
    return true;
}

std::uint64_t RequireFittingSize(const Fields& fields) {
    const std::uint64_t size = RequireSize(fields);
    if (size > LargestFile) {
        throw ApiError(ErrorId::Malformed, "No file has this size");
    }
    return size;
}

asio::awaitable<Reply> Start(Services& services, Exchange& exchange, const Actor& actor, const ItemPath& path) {
    NewDeltaJob job;
    job.revision = RevisionOf(RequireQuery(exchange.request));
    std::optional<ContentWriter> delta;
    const FileStart start = [&](const Fields& ahead) {
        job.size = RequireFittingSize(ahead);
        services.deltaJobs.Check(actor, path, job);
        delta.emplace(services.contents.Folder(), services.options.sync);
        return IntoDelta(services, *delta);
    };
    static_cast<void>(co_await ReceiveFileForm(exchange.body, start));
    delta->Finish();
    job.delta = delta->Name();
    job.deltaSize = delta->Size();
    const std::string id = services.deltaJobs.Start(actor, path, job);
    delta->Keep();
    services.deltaWorker.Add(id);
    co_return JsonReply({{"deltaJobId", id}});
}

std::uint64_t RequireExpectedSize(const Fields& fields) {
    const std::string* text = FindField(fields, "expected_size");
    const auto size = text == nullptr ? std::nullopt : ParseNumber(*text);
    if (!size) {
        throw ApiError(ErrorId::Malformed, "The form does not say which size is expected");
    }
    return *size;
}

asio::awaitable<Reply> Commit(Services& services, Exchange& exchange, const Actor& actor, const std::string& id) {
    const Fields fields = co_await exchange.body.ReadForm();
    const JobCommit commit{ReadItemValues(fields), RequireExpectedSize(fields), RevisionOf(fields)};
    const CommittedJob committed = services.deltaJobs.Commit(actor, id, commit);
    co_return JsonReply(ItemDocument(committed.item, committed.path));
}

// The item may have been moved since the job began.
Reply Mismatch(const Services& services, const Item& current) {
    const ItemPath path = services.data.Read([&](Database& database) { return Tree(database).PathOf(current.id); });
    return MismatchReply(ItemDocument(current, path));
}

}  // namespace

asio::awaitable<Reply> PostDeltaJob(Services& services, Exchange& exchange) {
    const Actor actor = RequireActor(services, exchange.request, exchange.target);
    std::string_view rest = exchange.target.itemPath;
    try {
        if (TakeStartBranch(rest)) {
            Reply reply = co_await Start(services, exchange, actor, RequireItemPath(rest));
            co_return reply;
        }
        Reply reply = co_await Commit(services, exchange, actor, RequireJobId(rest));
        co_return reply;
    } catch (const RevisionConflict& conflict) {
        co_return Mismatch(services, conflict.Current());
    }
}

asio::awaitable<Reply> GetDeltaJobs(Services& services, Exchange& exchange) {
    const Actor actor = RequireActor(services, exchange.request, exchange.target);
    if (exchange.target.itemPath != StatusBranch) {
        throw ApiError(ErrorId::EndpointUnknown, "There is no such endpoint");
    }
    auto jobs = nlohmann::ordered_json::object();
    for (const auto& [name, value] : RequireQuery(exchange.request)) {
        if (name != "jobId") {
            continue;
        }
        const auto id = ParseGuid(value);
        if (!id) {
            throw ApiError(ErrorId::Malformed, "A jobId is no identifier");
        }
        const std::string state = services.deltaJobs.StateOf(actor.user, *id);
        jobs[*id] = {{"status", state.empty() ? UnknownJob : state}};
    }
    Reply reply;
    reply.body = jobs.dump();
    co_return reply;
}

asio::awaitable<Reply> DeleteDeltaJob(Services& services, Exchange& exchange) {
    const Actor actor = RequireActor(services, exchange.request, exchange.target);
    const std::string id = RequireJobId(exchange.target.itemPath);
    if (!services.deltaJobs.Cancel(actor.user, id)) {
        throw ApiError(ErrorId::ItemMissing, "There is no such delta job");
    }
    services.deltaWorker.GiveUp(id);
    co_return JsonReply({{"cancelled", true}});
}

}  // namespace appliance
