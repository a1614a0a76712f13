// What server folders hold: one folder at a time, and a walk through all that is below one.
#pragma once

#include <functional>
#include <limits>

#include "Calls.h"

namespace quillmark::cli {

struct Listing {
    ItemList children;                        // empty for a file
    std::shared_ptr<IServerAttributes> self;  // of the path that was listed

    // The children in the order of their names.
    void SortByName();
};

// Asks for a folder's items; a path that is a file gives its own record. Throws Failure.
[[nodiscard]] Listing List(Calls& calls, const WideString& path);

// The same for a folder met on the way through a tree: one that the server refuses to list is told on standard error,
// and the result is false. Throws Failure when the connection or the login is lost, and when the program is
// interrupted.
[[nodiscard]] bool ListOnTheWay(Calls& calls, const WideString& path, Listing& listing);

// A walk in which each folder's items come in the order of their names, and each folder before what is in it. What was
// visited is forgotten: memory grows with the largest listing and the depth, not with the number of items.
// Folders below the first are asked for with ListOnTheWay.
class Walk {
public:
    static constexpr int WholeDepth = std::numeric_limits<int>::max();

    struct Item {
        const WideString& path;
        const IServerAttributes& attributes;
        int depth;  // 1 in the folder that the walk began with
        bool last;  // of its folder
    };
    using Visit = std::function<void(const Item& item)>;
    // Everything in a folder has been visited.
    using Left = std::function<void(const WideString& folder, int depth)>;

    // deepest: items below this depth are not visited.
    Walk(Calls& calls, int deepest, Visit visit, Left left = {});

    // Visits what is below a folder whose listing was fetched.
    void Below(const WideString& folder, Listing listing);

    // Success, or that some folder was passed over.
    [[nodiscard]] ExitCode Result() const { return m_result; }

private:
    void Descend(const WideString& folder, Listing listing, int depth);

    Calls& m_calls;
    int m_deepest;
    Visit m_visit;
    Left m_left;
    ExitCode m_result = ExitCode::Success;
};

}  // namespace quillmark::cli
