#include "ErrorTable.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace quillmark::cli {
namespace {

using enum ExitCode;

constexpr const char* Report = "Write a log with --log FILE and report it.";
constexpr const char* LookAtFile = "Check the file's name and its rights.";
constexpr const char* FreeSpace = "Make room on the disk and repeat the command.";
constexpr const char* LogIn = "Log in again with 'quillmark login'.";
constexpr const char* AskOwner = "Ask the server's administrator for the right to do this.";
constexpr const char* CheckNetwork = "Check the network and repeat the command; 'quillmark doctor' looks closer.";
constexpr const char* CheckAddress = "Check the address and the port; 'quillmark doctor' looks closer.";
constexpr const char* CheckServer = "Check the address; 'quillmark doctor' looks closer.";
constexpr const char* CheckProxy = "Check the system's proxy settings.";
constexpr const char* TryLater = "Wait a while and repeat the command.";
constexpr const char* TellAdministrator = "Tell the server's administrator.";
constexpr const char* LookAtItem = "Look with 'quillmark ls' at what is there.";
constexpr const char* LookAtRevision = "Look at the item's revision with 'quillmark stat' and decide again.";
constexpr const char* WaitForLock = "Wait until the lock is given up or ends; 'quillmark lock-state' shows it.";

// Windows' own codes: from the library, or about local files.
constexpr KnownError SystemErrors[] = {
    {1, "ERROR_INVALID_FUNCTION", LocalFile, "the file's system cannot do this"},
    {2, "ERROR_FILE_NOT_FOUND", LocalFile, "the local file does not exist"},
    {3, "ERROR_PATH_NOT_FOUND", LocalFile, "the local folder does not exist"},
    {4, "ERROR_TOO_MANY_OPEN_FILES", LocalFile, "too many files are open", "Use fewer --jobs."},
    {5, "ERROR_ACCESS_DENIED", LocalFile, "access to the local file is denied", LookAtFile},
    {6, "ERROR_INVALID_HANDLE", SomeFailed, "the operation was broken off"},
    {8, "ERROR_NOT_ENOUGH_MEMORY", LocalFile, "memory is short", "Close other programs, or use fewer --jobs."},
    {13, "ERROR_INVALID_DATA", InvalidReply, "the server's reply is missing or unreadable", TellAdministrator},
    {14, "ERROR_OUTOFMEMORY", LocalFile, "memory is short", "Close other programs, or use fewer --jobs."},
    {17, "ERROR_NOT_SAME_DEVICE", LocalFile, "the two local files lie on different disks"},
    {19, "ERROR_WRITE_PROTECT", LocalFile, "the local disk cannot be written to"},
    {21, "ERROR_NOT_READY", LocalFile, "the local disk is not ready"},
    {25, "ERROR_SEEK", LocalFile, "the local file has no such place"},
    {29, "ERROR_WRITE_FAULT", LocalFile, "the local file cannot be written", LookAtFile},
    {30, "ERROR_READ_FAULT", LocalFile, "the local file cannot be read", LookAtFile},
    {31, "ERROR_GEN_FAILURE", LocalFile, "a device does not work"},
    {32, "ERROR_SHARING_VIOLATION", LocalFile, "another program uses the local file",
     "Close that program and repeat the command."},
    {33, "ERROR_LOCK_VIOLATION", LocalFile, "another program has locked a part of the local file",
     "Close that program and repeat the command."},
    {38, "ERROR_HANDLE_EOF", LocalFile, "the local file ended too early"},
    {39, "ERROR_HANDLE_DISK_FULL", LocalFile, "the local disk is full", FreeSpace},
    {50, "ERROR_NOT_SUPPORTED", LocalFile, "it cannot be sent"},
    {80, "ERROR_FILE_EXISTS", LocalFile, "the local file exists already"},
    {82, "ERROR_CANNOT_MAKE", LocalFile, "the local file cannot be made", LookAtFile},
    {87, "ERROR_INVALID_PARAMETER", Usage, "the server or this library does not accept the arguments"},
    {109, "ERROR_BROKEN_PIPE", LocalFile, "the other end of a pipe is closed"},
    {110, "ERROR_OPEN_FAILED", LocalFile, "the local file cannot be opened", LookAtFile},
    {112, "ERROR_DISK_FULL", LocalFile, "the local disk is full", FreeSpace},
    {120, "ERROR_CALL_NOT_IMPLEMENTED", Usage, "this build does not offer the operation"},
    {122, "ERROR_INSUFFICIENT_BUFFER", InvalidReply, "the server's reply is larger than it may be", TellAdministrator},
    {123, "ERROR_INVALID_NAME", LocalFile, "the name cannot be used on this system"},
    {145, "ERROR_DIR_NOT_EMPTY", Conflict, "it is a folder; -r deletes it with all that it holds"},
    {161, "ERROR_BAD_PATHNAME", LocalFile, "the local path is none"},
    {170, "ERROR_BUSY", LocalFile, "the local file is in use", "Close the program that uses it."},
    {183, "ERROR_ALREADY_EXISTS", LocalFile, "the local file exists already"},
    {206, "ERROR_FILENAME_EXCED_RANGE", LocalFile, "the local name is too long"},
    {223, "ERROR_FILE_TOO_LARGE", LocalFile, "the local file is too large"},
    {267, "ERROR_DIRECTORY", Conflict, "a file stands where a folder is meant", LookAtItem},
    {995, "ERROR_OPERATION_ABORTED", SomeFailed, "the operation was broken off"},
    {1006, "ERROR_FILE_INVALID", LocalFile, "the local file keeps changing while it is sent",
     "Send it when nobody writes to it."},
    {1113, "ERROR_NO_UNICODE_TRANSLATION", LocalFile, "the name is not valid text and cannot be sent to a server",
     "Rename the file."},
    {1117, "ERROR_IO_DEVICE", LocalFile, "the local disk reports an error", "Check the disk."},
    {1223, "ERROR_CANCELLED", Cancelled, "cancelled"},
    {1237, "ERROR_RETRY", NotLoggedIn, "the login was renewed meanwhile", "Repeat the command."},
    {1341, "ERROR_SERVER_DISABLED", Usage, "the server takes no statistics"},
    {1359, "ERROR_INTERNAL_ERROR", SomeFailed, "the library has failed", Report},
    {1450, "ERROR_NO_SYSTEM_RESOURCES", LocalFile, "the system is short of resources", "Use fewer --jobs."},
    {1460, "ERROR_TIMEOUT", CannotConnect, "the operation took too long", CheckNetwork},
    {1921, "ERROR_CANT_RESOLVE_FILENAME", LocalFile, "the local name is a link that leads nowhere"},
};

// WinHTTP's codes, and the library's own between them.
constexpr KnownError TransportErrors[] = {
    {12001, "ERROR_WINHTTP_OUT_OF_HANDLES", SomeFailed, "there are too many requests at a time", "Use fewer --jobs."},
    {12002, "ERROR_WINHTTP_TIMEOUT", CannotConnect, "the server did not answer in time", CheckNetwork},
    {12004, "ERROR_WINHTTP_INTERNAL_ERROR", InvalidReply, "this does not look like a server of this product",
     CheckServer},
    {12005, "ERROR_WINHTTP_INVALID_URL", Usage, "the server's address is none",
     "An address looks like https://files.example.com:8443."},
    {12006, "ERROR_WINHTTP_UNRECOGNIZED_SCHEME", Usage, "the server's address begins with neither http:// nor https://",
     "An address looks like https://files.example.com:8443."},
    {12007, "ERROR_WINHTTP_NAME_NOT_RESOLVED", CannotConnect, "the server's name cannot be found",
     "Check the spelling of the address, the network and its name server."},
    {12009, "ERROR_WINHTTP_INVALID_OPTION", SomeFailed, "the system's HTTP service does not know a setting", Report},
    {12011, "ERROR_WINHTTP_OPTION_NOT_SETTABLE", SomeFailed, "the system's HTTP service refuses a setting", Report},
    {12012, "ERROR_WINHTTP_SHUTDOWN", SomeFailed, "the system's HTTP service is being shut down",
     "Repeat the command when the system is up again."},
    {12015, "ERROR_WINHTTP_LOGIN_FAILURE", NotLoggedIn, "the server or the proxy refuses the user's credentials",
     "Check who is logged on to this computer, or its ticket."},
    {12017, "ERROR_WINHTTP_OPERATION_CANCELLED", Cancelled, "cancelled"},
    {12018, "ERROR_WINHTTP_INCORRECT_HANDLE_TYPE", SomeFailed, "the library misused the system's HTTP service", Report},
    {12019, "ERROR_WINHTTP_INCORRECT_HANDLE_STATE", SomeFailed, "the library misused the system's HTTP service",
     Report},
    {12029, "ERROR_WINHTTP_CANNOT_CONNECT", CannotConnect, "nothing answers at this address and port", CheckAddress},
    {12030, "ERROR_WINHTTP_CONNECTION_ERROR", CannotConnect, "the connection was lost", CheckNetwork},
    {12032, "ERROR_WINHTTP_RESEND_REQUEST", NotLoggedIn, "the server asked for credentials in the middle of an upload",
     "Run 'quillmark ls' and then repeat the command."},
    {12037, "ERROR_WINHTTP_SECURE_CERT_DATE_INVALID", CannotConnect,
     "the server's certificate has expired or is not valid yet", "Check this computer's clock, then the certificate."},
    {12038, "ERROR_WINHTTP_SECURE_CERT_CN_INVALID", CannotConnect, "the server's certificate is for another name",
     "Use the server's name as its certificate has it."},
    {12044, "ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED", NotLoggedIn, "the server asks for a certificate of the client",
     TellAdministrator},
    {12045, "ERROR_WINHTTP_SECURE_INVALID_CA", CannotConnect,
     "the authority of the server's certificate is not trusted", "Name the authority with --ca FILE."},
    {12057, "ERROR_WINHTTP_SECURE_CERT_REV_FAILED", CannotConnect,
     "it cannot be found out whether the server's certificate was revoked", CheckNetwork},
    {12100, "ERROR_WINHTTP_CANNOT_CALL_BEFORE_OPEN", SomeFailed, "the library misused the system's HTTP service",
     Report},
    {12101, "ERROR_WINHTTP_CANNOT_CALL_BEFORE_SEND", SomeFailed, "the library misused the system's HTTP service",
     Report},
    {12102, "ERROR_WINHTTP_CANNOT_CALL_AFTER_SEND", SomeFailed, "the library misused the system's HTTP service",
     Report},
    {12103, "ERROR_WINHTTP_CANNOT_CALL_AFTER_OPEN", SomeFailed, "the library misused the system's HTTP service",
     Report},
    {12150, "ERROR_WINHTTP_HEADER_NOT_FOUND", InvalidReply, "the reply lacks a header that it must have",
     TellAdministrator},
    {12152, "ERROR_WINHTTP_INVALID_SERVER_RESPONSE", InvalidReply, "the reply is not what the protocol asks for",
     CheckServer},
    {12153, "ERROR_WINHTTP_INVALID_HEADER", InvalidReply, "a header of the reply cannot be read", TellAdministrator},
    {12154, "ERROR_WINHTTP_INVALID_QUERY_REQUEST", SomeFailed, "the library misused the system's HTTP service", Report},
    {12155, "ERROR_WINHTTP_HEADER_ALREADY_EXISTS", SomeFailed, "the library misused the system's HTTP service", Report},
    {12156, "ERROR_WINHTTP_REDIRECT_FAILED", InvalidReply,
     "the server sends the client to other addresses and never ends", CheckServer},
    {12157, "ERROR_WINHTTP_SECURE_CHANNEL_ERROR", CannotConnect, "no secure connection can be set up",
     "Check that the server speaks TLS 1.2 or newer on this port."},
    {12166, "ERROR_WINHTTP_BAD_AUTO_PROXY_SCRIPT", CannotConnect, "the script that chooses the proxy is broken",
     CheckProxy},
    {12167, "ERROR_WINHTTP_UNABLE_TO_DOWNLOAD_SCRIPT", CannotConnect,
     "the script that chooses the proxy cannot be fetched", CheckProxy},
    {12169, "ERROR_WINHTTP_SECURE_INVALID_CERT", CannotConnect, "the server's certificate is not valid",
     TellAdministrator},
    {12170, "ERROR_WINHTTP_SECURE_CERT_REVOKED", CannotConnect, "the server's certificate has been revoked",
     TellAdministrator},
    {12175, "ERROR_WINHTTP_SECURE_FAILURE", CannotConnect, "the server's certificate is not trusted",
     "Name its authority with --ca FILE; 'quillmark doctor' looks closer."},
    {12176, "ERROR_WINHTTP_UNHANDLED_SCRIPT_TYPE", CannotConnect,
     "the script that chooses the proxy is of no known kind", CheckProxy},
    {12177, "ERROR_WINHTTP_SCRIPT_EXECUTION_ERROR", CannotConnect, "the script that chooses the proxy has failed",
     CheckProxy},
    {12178, "ERROR_WINHTTP_AUTO_PROXY_SERVICE_ERROR", CannotConnect, "the system cannot find out which proxy to use",
     CheckProxy},
    {12179, "ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE", CannotConnect, "the server's certificate is not one for servers",
     TellAdministrator},
    {12180, "ERROR_WINHTTP_AUTODETECTION_FAILED", CannotConnect, "the system cannot find out which proxy to use",
     CheckProxy},
    {12181, "ERROR_WINHTTP_HEADER_COUNT_EXCEEDED", InvalidReply, "the reply has too many headers", TellAdministrator},
    {12182, "ERROR_WINHTTP_HEADER_SIZE_OVERFLOW", InvalidReply, "the reply's head is too long", TellAdministrator},
    {12183, "ERROR_WINHTTP_CHUNKED_ENCODING_HEADER_SIZE_OVERFLOW", InvalidReply, "a chunk of the reply is not framed",
     TellAdministrator},
    {12184, "ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW", InvalidReply, "the reply is longer than it may be",
     TellAdministrator},
    {12185, "ERROR_WINHTTP_CLIENT_CERT_NO_PRIVATE_KEY", NotLoggedIn, "the client's certificate has no private key",
     "Install the certificate with its key."},
    {12186, "ERROR_WINHTTP_CLIENT_CERT_NO_ACCESS_PRIVATE_KEY", NotLoggedIn,
     "the key of the client's certificate cannot be used", "Install the certificate with its key."},
    {12187, "ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED_PROXY", NotLoggedIn,
     "the proxy asks for a certificate of the client", CheckProxy},
    {12188, "ERROR_WINHTTP_SECURE_FAILURE_PROXY", CannotConnect, "the proxy's certificate is not trusted", CheckProxy},
    {12190, "ERROR_WINHTTP_HTTP_PROTOCOL_MISMATCH", InvalidReply, "the server speaks another version of HTTP",
     TellAdministrator},
    {12191, "ERROR_WINHTTP_GLOBAL_CALLBACK_FAILED", SomeFailed, "the library misused the system's HTTP service",
     Report},
    {12192, "ERROR_WINHTTP_FEATURE_DISABLED", SomeFailed, "the system's HTTP service does not offer this", Report},
    {19006, "ERROR_INCOMPATIBLE_SERVER", InvalidReply, "the server offers no API that this client speaks", CheckServer},
    {19016, "ERROR_DOWNLOAD_UNDERFLOW", CannotConnect, "the download ended before it was complete", CheckNetwork},
};

// What a server reports: 20000 plus an HTTP status, or plus the number that its reply gives.
constexpr KnownError ServerErrors[] = {
    {20006, "SERVER_ERROR_SESSION_TOKEN", NotLoggedIn, "the session has ended", LogIn},
    {20400, "HTTP_STATUS_BAD_REQUEST", SomeFailed, "the server does not understand the request", CheckServer},
    {20401, "HTTP_STATUS_DENIED", NotLoggedIn, "the server refuses the user name, password or session", LogIn},
    {20402, "HTTP_STATUS_PAYMENT_REQ", NotLoggedIn, "the server wants to be paid first", AskOwner},
    {20403, "HTTP_STATUS_FORBIDDEN", NotLoggedIn, "the server does not permit this", AskOwner},
    {20404, "HTTP_STATUS_NOT_FOUND", NotFound, "the server has no such item", LookAtItem},
    {20405, "HTTP_STATUS_BAD_METHOD", InvalidReply, "the server does not offer this", CheckServer},
    {20407, "HTTP_STATUS_PROXY_AUTH_REQ", NotLoggedIn, "the proxy asks for a login", CheckProxy},
    {20408, "HTTP_STATUS_REQUEST_TIMEOUT", CannotConnect, "the request took the server too long", CheckNetwork},
    {20409, "HTTP_STATUS_CONFLICT", Conflict, "the item exists already, was changed meanwhile or is in the way",
     LookAtItem},
    {20410, "HTTP_STATUS_GONE", NotFound, "the server does not have the item any more", LookAtItem},
    {20411, "HTTP_STATUS_LENGTH_REQUIRED", InvalidReply, "the server wants to be told the request's length",
     CheckProxy},
    {20412, "HTTP_STATUS_PRECOND_FAILED", Conflict, "the item is not as it was expected to be", LookAtRevision},
    {20413, "HTTP_STATUS_REQUEST_TOO_LARGE", Usage, "the server takes no requests of this size", TellAdministrator},
    {20414, "HTTP_STATUS_URI_TOO_LONG", Usage, "the path is too long for the server", "Use shorter names."},
    {20415, "HTTP_STATUS_UNSUPPORTED_MEDIA", InvalidReply, "the server does not expect this kind of request",
     CheckServer},
    {20416, "HTTP_STATUS_RANGE_NOT_SATISFIABLE", Usage, "the item has no such bytes",
     "Look at its size with 'quillmark stat'."},
    {20423, "HTTP_STATUS_LOCKED", Conflict, "another user or device has locked the item", WaitForLock},
    {20429, "HTTP_STATUS_TOO_MANY_REQUESTS", CannotConnect, "the server gets too many requests",
     "Wait a while, or use fewer --jobs."},
    {20431, "HTTP_STATUS_HEADER_FIELDS_TOO_LARGE", Usage, "the request's head is too long for the server",
     "Use shorter names."},
    {20500, "HTTP_STATUS_SERVER_ERROR", SomeFailed, "the server has failed", TellAdministrator},
    {20501, "HTTP_STATUS_NOT_SUPPORTED", InvalidReply, "the server does not offer this", CheckServer},
    {20502, "HTTP_STATUS_BAD_GATEWAY", CannotConnect, "the server behind the gateway does not answer properly",
     TryLater},
    {20503, "HTTP_STATUS_SERVICE_UNAVAIL", CannotConnect, "the server, or the storage behind it, is not available",
     TryLater},
    {20504, "HTTP_STATUS_GATEWAY_TIMEOUT", CannotConnect, "the server behind the gateway did not answer in time",
     TryLater},
    {20507, "HTTP_STATUS_INSUFFICIENT_STORAGE", Conflict, "the server has no room left",
     "Delete what is not needed there."},
    {21001, "SERVER_ERROR_BAD_REQUEST", InvalidReply, "the server does not understand the request",
     "Check the names; if they are in order, write a log with --log FILE and report it."},
    {21002, "SERVER_ERROR_NOT_FOUND", NotFound, "the server has no such item", LookAtItem},
    {21003, "SERVER_ERROR_EXISTS", Conflict, "the item exists already", "Use another name, or remove what is there."},
    {21004, "SERVER_ERROR_WRONG_KIND", Conflict, "a file stands where a folder is meant, or a folder where a file is",
     LookAtItem},
    {21005, "SERVER_ERROR_READ_ONLY", NotLoggedIn, "the server does not permit this",
     "Look at the folder's permissions and abilities with 'quillmark folders'."},
    {21010, "SERVER_ERROR_WRONG_PASSWORD", NotLoggedIn, "the user name or the password is wrong",
     "Check both, and the keyboard's layout."},
    {21011, "SERVER_ERROR_DEVICE_REFUSED", NotLoggedIn, "the server does not accept this device",
     "Give its token with --device-token, or register it with 'quillmark register'."},
    {21012, "SERVER_ERROR_NO_IDENTITY", NotLoggedIn, "the server does not know who you are",
     "Get a Kerberos ticket, or log in with a password."},
    {21013, "SERVER_ERROR_DEVICE_EXISTS", Conflict, "the device is registered already"},
    {21020, "SERVER_ERROR_LENGTH_MISMATCH", LocalFile,
     "what was sent does not have the size that was announced; nothing was stored",
     "Send the file again when nobody writes to it."},
    {21021, "SERVER_ERROR_TOO_LARGE", Usage, "it is larger than the server or the mapped folder takes",
     "'quillmark folders' shows the largest file of each folder."},
    {21022, "SERVER_ERROR_LENGTH_REQUIRED", InvalidReply, "the server wants to be told the request's length",
     CheckProxy},
    {21023, "SERVER_ERROR_HEAD_TOO_LONG", Usage, "the request's head is too long for the server", "Use shorter names."},
    {21024, "SERVER_ERROR_WRONG_BODY", InvalidReply, "the server does not expect this kind of request", CheckServer},
    {21030, "SERVER_ERROR_LOCKED", Conflict, "another user or device has locked the item", WaitForLock},
    {21031, "SERVER_ERROR_STORAGE_UNREACHABLE", CannotConnect, "the storage behind the folder is not reachable",
     TryLater},
    {21040, "SERVER_ERROR_NO_ENDPOINT", InvalidReply, "the server does not offer this", CheckServer},
    {21041, "SERVER_ERROR_NO_METHOD", InvalidReply, "the server does not offer this", CheckServer},
    {21077, "SERVER_ERROR_REVISION_MISMATCH", Conflict, "the item was changed on the server meanwhile", LookAtRevision},
    {21202, "SERVER_ERROR_CHUNK_OUT_OF_STEP", Conflict,
     "the upload is out of step with what the server has; is another program sending it?",
     "Stop the other program and repeat the command: it goes on where the upload stands."},
    {21203, "SERVER_ERROR_JOB_NOT_READY", Conflict, "the job is not ready yet",
     "Ask for it with 'quillmark delta-jobs state' until it is."},
    {21500, "SERVER_ERROR_FAILED", SomeFailed, "the server has failed", TellAdministrator},
    {21507, "SERVER_ERROR_NO_ROOM", Conflict, "the server has no room left", "Delete what is not needed there."},
};

constexpr auto All = [] {
    std::array<KnownError, std::size(SystemErrors) + std::size(TransportErrors) + std::size(ServerErrors)> all{};
    auto end = std::copy(std::begin(SystemErrors), std::end(SystemErrors), all.begin());
    end = std::copy(std::begin(TransportErrors), std::end(TransportErrors), end);
    std::copy(std::begin(ServerErrors), std::end(ServerErrors), end);
    return all;
}();

static_assert(std::is_sorted(All.begin(), All.end(),
                             [](const KnownError& left, const KnownError& right) { return left.error < right.error; }));

}  // namespace

std::span<const KnownError> KnownErrors() {
    return All;
}

}  // namespace quillmark::cli
