// Renames an item where it is, or moves it: which of the two depends on whether its folder stays the same.
#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "common/CaseFold.h"
#include "common/WellFormed.h"

namespace quillmark {
namespace {

// Within the folder there is nothing to say of overwriting, whatever the caller's flag.
DWORD AppendUpdateForm(IWinHttpRequest& request, const WideString& newName) {
    const DWORD error = request.AppendFormData("path", newName, false);
    return error == ERROR_SUCCESS ? request.AppendFormData("operation", QM_W("update"), true) : error;
}

DWORD AppendMoveForm(IWinHttpRequest& request, const WideString& target, bool overwrite) {
    DWORD error = request.AppendFormData("path", target, false);
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("overwrite", overwrite ? QM_W("true") : QM_W("false"), false);
    }
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("operation", QM_W("move"), true);
    }
    return error;
}

DWORD AppendRenameForm(const Logger& log, IWinHttpRequest& request, const WideString& source, const WideString& target,
                       bool overwrite) {
    const SplitPath from(source);
    const SplitPath to(target);
    if (EqualsIgnoreCase(from.parent, to.parent)) {
        log.Information("Using UPDATE operation");
        return AppendUpdateForm(request, to.name);
    }
    log.Information("Using MOVE operation");
    return AppendMoveForm(request, target, overwrite);
}

}  // namespace

StatusPair CNativeHttp::RenamePath(const WideString& source, const WideString& target, DWORD overwrite,
                                   Attributes& attributes, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::RenamePath", [&](const Logger& log) -> StatusPair {
        const bool mayOverwrite = overwrite == 1;  // this value only
        log.Information("Rename request for path: %S to path: %S. Over write Target = [%s]", source, target,
                        mayOverwrite ? "true" : "false");
        // The target goes out in the form, where it could not be told from another path either.
        if (!IsWellFormed(target)) {
            return {ERROR_NO_UNICODE_TRANSLATION, 0};
        }
        const Session session = GetSession();
        std::string path;
        if (const DWORD error = EncodePath(source, path); error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const WideString url = FormatWide(QM_W("%s/folders%S"), GetApiPath(session), path);
        log.Information("Request Path: %S", url);
        Connection connection;
        Request request;
        if (const DWORD error = CreateRequest(session, url, QM_W("POST"), request, connection, {});
            error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        if (const DWORD error = AppendRenameForm(log, *request, source, target, mayOverwrite); error != ERROR_SUCCESS) {
            return {error, 0};
        }
        ResponseBuffer reply;
        const StatusPair status = GetResponse(*request, reply, true);
        if (status.error != ERROR_SUCCESS) {
            return status;
        }

        const Attributes item = ExtractOneItem(reply, ItemPlace::Root);
        if (item == nullptr) {
            log.Warning("Failed to extract attributes from response");
            return {ERROR_INVALID_DATA, 0};
        }
        attributes = item;
        log.Information("Successfully renamed path: %S to path: %S", source, target);
        return status;
    });
}

}  // namespace quillmark
