#include "ErrorText.h"

#include <algorithm>
#include <iterator>

namespace quillmark::cli {
namespace {

struct KnownError {
    DWORD error;
    ExitCode exit;
    const char* text;
};

constexpr DWORD ServerUnauthorized = SERVER_ERROR_BASE + 401;
constexpr DWORD ServerForbidden = SERVER_ERROR_BASE + 403;
constexpr DWORD ServerNotFound = SERVER_ERROR_BASE + 404;
constexpr DWORD ServerConflict = SERVER_ERROR_BASE + 409;
constexpr DWORD ServerLocked = SERVER_ERROR_BASE + 423;
constexpr DWORD ServerUnavailable = SERVER_ERROR_BASE + 503;

// Sorted by error. The server's own numbers are those of docs/protocol.md.
constexpr KnownError KnownErrors[] = {
    {ERROR_FILE_NOT_FOUND, ExitCode::LocalFile, "the local file does not exist"},
    {ERROR_PATH_NOT_FOUND, ExitCode::LocalFile, "the local folder does not exist"},
    {ERROR_ACCESS_DENIED, ExitCode::LocalFile, "access to the local file is denied"},
    {ERROR_NOT_ENOUGH_MEMORY, ExitCode::LocalFile, "memory is short"},
    {ERROR_INVALID_DATA, ExitCode::InvalidReply, "the server's reply is missing or unreadable"},
    {ERROR_WRITE_PROTECT, ExitCode::LocalFile, "the local disk cannot be written to"},
    {ERROR_WRITE_FAULT, ExitCode::LocalFile, "the local file cannot be written"},
    {ERROR_SHARING_VIOLATION, ExitCode::LocalFile, "another program uses the local file"},
    {ERROR_NOT_SUPPORTED, ExitCode::LocalFile, "it cannot be sent"},
    {ERROR_FILE_EXISTS, ExitCode::LocalFile, "the local file exists already"},
    {ERROR_INVALID_PARAMETER, ExitCode::Usage, "the server or this library does not accept the arguments"},
    {ERROR_DISK_FULL, ExitCode::LocalFile, "the local disk is full"},
    {ERROR_CALL_NOT_IMPLEMENTED, ExitCode::Usage, "this build does not offer the operation"},
    {ERROR_INVALID_NAME, ExitCode::LocalFile, "the name cannot be used on this system"},
    {ERROR_DIR_NOT_EMPTY, ExitCode::Conflict, "it is a folder; -r deletes it with all that it holds"},
    {ERROR_ALREADY_EXISTS, ExitCode::LocalFile, "the local file exists already"},
    {ERROR_FILENAME_EXCED_RANGE, ExitCode::LocalFile, "the local name is too long"},
    {ERROR_FILE_TOO_LARGE, ExitCode::LocalFile, "the local file is too large"},
    {ERROR_DIRECTORY, ExitCode::Conflict, "a file stands where a folder is meant"},
    {ERROR_FILE_INVALID, ExitCode::LocalFile, "the local file keeps changing while it is sent"},
    {ERROR_NO_UNICODE_TRANSLATION, ExitCode::LocalFile, "the name is not valid text and cannot be sent to a server"},
    {ERROR_IO_DEVICE, ExitCode::LocalFile, "the local disk reports an error"},
    {ERROR_CANCELLED, ExitCode::Cancelled, "cancelled"},
    {ERROR_RETRY, ExitCode::NotLoggedIn, "the login was renewed meanwhile; repeat the command"},
    {ERROR_SERVER_DISABLED, ExitCode::Usage, "the server takes no statistics"},
    {ERROR_CANT_RESOLVE_FILENAME, ExitCode::LocalFile, "the local name is a link that leads nowhere"},
    {ERROR_WINHTTP_TIMEOUT, ExitCode::CannotConnect, "the server did not answer in time"},
    {ERROR_BAD_SERVER_REPLY, ExitCode::InvalidReply, "this does not look like a server of this product"},
    {ERROR_WINHTTP_NAME_NOT_RESOLVED, ExitCode::CannotConnect, "the server's name cannot be found"},
    {ERROR_WINHTTP_OPERATION_CANCELLED, ExitCode::Cancelled, "cancelled"},
    {ERROR_WINHTTP_CANNOT_CONNECT, ExitCode::CannotConnect, "nothing answers at this address and port"},
    {ERROR_WINHTTP_CONNECTION_ERROR, ExitCode::CannotConnect, "the connection was lost"},
    {ERROR_WINHTTP_INVALID_SERVER_RESPONSE, ExitCode::InvalidReply, "the reply is not what the protocol asks for"},
    {ERROR_WINHTTP_SECURE_FAILURE, ExitCode::CannotConnect,
     "the server's certificate is not trusted; name its authority with --ca FILE"},
    {ERROR_INCOMPATIBLE_SERVER, ExitCode::InvalidReply, "the server offers no API that this client speaks"},
    {ERROR_DOWNLOAD_UNDERFLOW, ExitCode::CannotConnect, "the download ended before it was complete"},
    {SERVER_ERROR_SESSION_TOKEN, ExitCode::NotLoggedIn, "the session has ended; log in again with 'quillmark login'"},
    {ServerUnauthorized, ExitCode::NotLoggedIn, "the server refuses the user name, password or session"},
    {ServerForbidden, ExitCode::NotLoggedIn, "the server does not permit this"},
    {ServerNotFound, ExitCode::NotFound, "the server has no such item"},
    {ServerConflict, ExitCode::Conflict, "the item exists already, was changed meanwhile or is in the way"},
    {ServerLocked, ExitCode::Conflict, "another user or device has locked the item"},
    {ServerUnavailable, ExitCode::CannotConnect, "the server, or the storage behind it, is not available"},
    {SERVER_ERROR_BASE + 1001, ExitCode::InvalidReply, "the server does not understand the request"},
    {SERVER_ERROR_BASE + 1002, ExitCode::NotFound, "the server has no such item"},
    {SERVER_ERROR_BASE + 1003, ExitCode::Conflict, "the item exists already"},
    {SERVER_ERROR_BASE + 1004, ExitCode::Conflict,
     "a file stands where a folder is meant, or a folder where a file is"},
    {SERVER_ERROR_BASE + 1005, ExitCode::NotLoggedIn, "the server does not permit this"},
    {SERVER_ERROR_BASE + 1010, ExitCode::NotLoggedIn, "the user name or the password is wrong"},
    {SERVER_ERROR_BASE + 1011, ExitCode::NotLoggedIn, "the server does not accept this device"},
    {SERVER_ERROR_BASE + 1012, ExitCode::NotLoggedIn, "the server does not know who you are"},
    {SERVER_ERROR_BASE + 1020, ExitCode::LocalFile,
     "what was sent does not have the size that was announced; nothing was stored"},
    {SERVER_ERROR_BASE + 1030, ExitCode::Conflict, "another user or device has locked the item"},
    {SERVER_ERROR_BASE + 1031, ExitCode::CannotConnect, "the storage behind the folder is not reachable"},
    {SERVER_ERROR_BASE + 1040, ExitCode::InvalidReply, "the server does not offer this"},
    {SERVER_ERROR_BASE + 1041, ExitCode::InvalidReply, "the server does not offer this"},
    {SERVER_ERROR_REVISION_MISMATCH, ExitCode::Conflict, "the item was changed on the server meanwhile"},
    {SERVER_ERROR_CHUNK_OUT_OF_STEP, ExitCode::Conflict,
     "the upload is out of step with what the server has; is another program sending it?"},
    {SERVER_ERROR_BASE + 1203, ExitCode::Conflict, "the job is not ready yet"},
    {SERVER_ERROR_BASE + 1507, ExitCode::Conflict, "the server has no room left"},
};

static_assert(std::is_sorted(std::begin(KnownErrors), std::end(KnownErrors),
                             [](const KnownError& left, const KnownError& right) { return left.error < right.error; }));

const KnownError* FindKnown(DWORD error) {
    const auto* found = std::lower_bound(std::begin(KnownErrors), std::end(KnownErrors), error,
                                         [](const KnownError& known, DWORD wanted) { return known.error < wanted; });
    return found != std::end(KnownErrors) && found->error == error ? found : nullptr;
}

std::string GeneralText(DWORD error) {
    if (error >= SERVER_ERROR_BASE && error < SERVER_ERROR_BASE + 7776) {
        return "the server refused with its error " + std::to_string(error - SERVER_ERROR_BASE);
    }
    return "the system reports an error";
}

}  // namespace

std::string ErrorText(DWORD error) {
    const KnownError* known = FindKnown(error);
    return (known != nullptr ? std::string(known->text) : GeneralText(error)) + " (" + std::to_string(error) + ")";
}

ExitCode ExitCodeFor(DWORD error, bool cancelled) {
    if (error == ERROR_SUCCESS) {
        return ExitCode::Success;
    }
    if (cancelled) {
        return ExitCode::Cancelled;
    }
    const KnownError* known = FindKnown(error);
    return known != nullptr ? known->exit : ExitCode::SomeFailed;
}

}  // namespace quillmark::cli
