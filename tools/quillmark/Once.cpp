#include "Once.h"

#include "Output.h"
#include "Paths.h"

namespace quillmark::cli {
namespace {

constexpr DWORD HttpNotFound = SERVER_ERROR_BASE + 404;
constexpr DWORD ItemUnknown = SERVER_ERROR_BASE + 1002;
constexpr DWORD NameTaken = SERVER_ERROR_BASE + 1003;

using Attributes = std::shared_ptr<IServerAttributes>;

DWORD Look(Calls& calls, const WideString& server, Attributes& item) {
    const DWORD error =
        calls.Run([&] { return calls.Api().GetPathAttributes(server, item, calls.CancelEvent()).error; });
    return error == HttpNotFound ? ItemUnknown : error;
}

// A folder that is there has been made, if not by the attempt whose answer was lost.
std::optional<DWORD> WhetherMade(Calls& calls, const WideString& server) {
    Attributes item;
    const DWORD error = Look(calls, server, item);
    if (error == ItemUnknown || (error == ERROR_SUCCESS && !IsFolder(*item))) {
        return std::nullopt;
    }
    return error;
}

// Moved: the source is gone, and the target is there.
std::optional<DWORD> WhetherMoved(Calls& calls, const WideString& source, const WideString& target) {
    Attributes item;
    const DWORD error = Look(calls, source, item);
    if (error == ERROR_SUCCESS) {
        return std::nullopt;
    }
    return error == ItemUnknown ? Look(calls, target, item) : error;
}

std::optional<DWORD> WhetherDeleted(Calls& calls, const WideString& server) {
    Attributes item;
    const DWORD error = Look(calls, server, item);
    if (error == ERROR_SUCCESS) {
        return std::nullopt;
    }
    return error == ItemUnknown ? ERROR_SUCCESS : error;
}

}  // namespace

DWORD MakeFolder(Calls& calls, const WideString& server) {
    return calls.RunOnce(
        [&] {
            Attributes folder;
            return calls.Api().CreateFolder(server, folder, calls.CancelEvent()).error;
        },
        [&] { return WhetherMade(calls, server); });
}

DWORD MakeFolders(Calls& calls, const WideString& server) {
    Attributes item;
    const DWORD looked = Look(calls, server, item);
    if (looked != ItemUnknown || server == QM_W("/")) {
        return looked == ERROR_SUCCESS && !IsFolder(*item) ? NameTaken : looked;
    }
    if (const DWORD error = MakeFolders(calls, ServerPath(FolderOf(server))); error != ERROR_SUCCESS) {
        return error;
    }
    const DWORD error = MakeFolder(calls, server);
    return error == NameTaken ? MakeFolders(calls, server) : error;  // made by somebody else in between
}

DWORD MoveItem(Calls& calls, const WideString& source, const WideString& target, bool overwrite) {
    return calls.RunOnce(
        [&] {
            Attributes item;
            return calls.Api().RenamePath(source, target, overwrite ? 1 : 0, item, calls.CancelEvent()).error;
        },
        [&] { return WhetherMoved(calls, source, ServerPath(target)); });
}

DWORD DeleteItem(Calls& calls, const WideString& server, const Attributes& expected) {
    return calls.RunOnce([&] { return calls.Api().DeletePath(server, expected, calls.CancelEvent()).error; },
                         [&] { return WhetherDeleted(calls, server); });
}

}  // namespace quillmark::cli
