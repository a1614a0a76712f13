#include "Listing.h"

#include <utility>

#include "Output.h"
#include "Paths.h"

namespace quillmark::cli {
namespace {

// A reply that tells of no item, such as an error document that came with a success, is no empty folder.
DWORD Fetch(Calls& calls, const WideString& path, Listing& listing) {
    return calls.Run([&]() -> DWORD {
        listing.children.clear();
        const StatusPair status = calls.Api().GetPathListing(path, listing.children, listing.self, calls.CancelEvent());
        const bool nothing =
            status.error == ERROR_SUCCESS && !IsFolder(*listing.self) && listing.self->GetName().empty();
        return nothing ? DWORD{ERROR_INVALID_DATA} : status.error;
    });
}

std::string CannotList(const WideString& path) {
    return "cannot list " + Printable(path);
}

// Whether the server has said no to this one folder, while others may be listed all the same.
bool IsOfThisFolder(DWORD error) {
    constexpr DWORD Unauthorized = SERVER_ERROR_BASE + 401;
    return error >= SERVER_ERROR_BASE && error != Unauthorized && error != SERVER_ERROR_SESSION_TOKEN;
}

}  // namespace

void Listing::SortByName() {
    children.sort([](const auto& left, const auto& right) { return left->GetName() < right->GetName(); });
}

Listing List(Calls& calls, const WideString& path) {
    Listing listing;
    Require(Fetch(calls, path, listing), CannotList(path));
    return listing;
}

bool ListOnTheWay(Calls& calls, const WideString& path, Listing& listing) {
    const DWORD error = Fetch(calls, path, listing);
    if (calls.Interrupted() || (error != ERROR_SUCCESS && !IsOfThisFolder(error))) {
        throw Failure(CannotList(path), error);
    }
    if (error != ERROR_SUCCESS) {
        PrintError("quillmark: " + CannotList(path) + ": " + ErrorText(error));
    }
    return error == ERROR_SUCCESS;
}

Walk::Walk(Calls& calls, int deepest, Visit visit, Left left)
    : m_calls(calls), m_deepest(deepest), m_visit(std::move(visit)), m_left(std::move(left)) {}

void Walk::Below(const WideString& folder, Listing listing) {
    Descend(folder, std::move(listing), 1);
}

void Walk::Descend(const WideString& folder, Listing listing, int depth) {
    listing.SortByName();
    while (depth <= m_deepest && !listing.children.empty()) {
        const std::shared_ptr<IServerAttributes> child = std::move(listing.children.front());
        listing.children.pop_front();
        const WideString path = JoinPath(folder, child->GetName());
        m_visit({path, *child, depth, listing.children.empty()});
        if (IsFolder(*child) && depth < m_deepest) {
            Listing below;
            if (ListOnTheWay(m_calls, path, below)) {
                Descend(path, std::move(below), depth + 1);
            } else {
                m_result = ExitCode::SomeFailed;
            }
        }
    }
    if (m_left) {
        m_left(folder, depth - 1);
    }
}

}  // namespace quillmark::cli
