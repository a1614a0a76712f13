#include "ErrorText.h"

#include <gtest/gtest.h>

#include <tuple>

#include "ErrorTable.h"

namespace quillmark::cli {
namespace {

TEST(ErrorTextTest, HasReasonNumberNameAndNextStep) {
    EXPECT_EQ(
        ErrorText(21030),
        "another user or device has locked the item (21030) [SERVER_ERROR_LOCKED]. Wait until the lock is given up "
        "or ends; 'quillmark lock-state' shows it.");
    EXPECT_EQ(ErrorText(20006),
              "the session has ended (20006) [SERVER_ERROR_SESSION_TOKEN]. Log in again with 'quillmark login'.");
    EXPECT_EQ(ErrorText(2), "the local file does not exist (2) [ERROR_FILE_NOT_FOUND]. Check the path.");
    EXPECT_EQ(ErrorText(1223), "cancelled (1223) [ERROR_CANCELLED]");
}

TEST(ErrorTextTest, HasNumberAndNextStepForWhatItDoesNotKnow) {
    EXPECT_EQ(ErrorText(21999), "the server refused with its error 1999 (21999). Tell the server's administrator.");
    EXPECT_EQ(ErrorText(20600), "the server refused with its error 600 (20600). Tell the server's administrator.");
    EXPECT_EQ(ErrorText(20418), "the server refused with HTTP status 418 (20418). Tell the server's administrator.");
    EXPECT_EQ(ErrorText(20302),
              "the server did not answer the request, but with HTTP status 302 (20302). Check the address; 'quillmark "
              "doctor' looks closer.");
    EXPECT_EQ(ErrorText(4711), "the system reports an error (4711). Write a log with --log FILE and report it.");
    EXPECT_EQ(ErrorText(27776), "the system reports an error (27776). Write a log with --log FILE and report it.");
}

// Every code of the library's own, of WinHTTP and of docs/protocol.md, with its name and exit code.
using Row = std::tuple<DWORD, const char*, int>;
const Row Library[] = {{5, "ERROR_ACCESS_DENIED", 8},
                       {6, "ERROR_INVALID_HANDLE", 1},
                       {8, "ERROR_NOT_ENOUGH_MEMORY", 8},
                       {13, "ERROR_INVALID_DATA", 9},
                       {87, "ERROR_INVALID_PARAMETER", 2},
                       {122, "ERROR_INSUFFICIENT_BUFFER", 9},
                       {1223, "ERROR_CANCELLED", 7},
                       {1237, "ERROR_RETRY", 4},
                       {1341, "ERROR_SERVER_DISABLED", 2},
                       {1359, "ERROR_INTERNAL_ERROR", 1},
                       {19006, "ERROR_INCOMPATIBLE_SERVER", 9},
                       {19016, "ERROR_DOWNLOAD_UNDERFLOW", 3}};
const Row Transport[] = {{12001, "ERROR_WINHTTP_OUT_OF_HANDLES", 1},
                         {12002, "ERROR_WINHTTP_TIMEOUT", 3},
                         {12004, "ERROR_WINHTTP_INTERNAL_ERROR", 9},
                         {12005, "ERROR_WINHTTP_INVALID_URL", 2},
                         {12006, "ERROR_WINHTTP_UNRECOGNIZED_SCHEME", 2},
                         {12007, "ERROR_WINHTTP_NAME_NOT_RESOLVED", 3},
                         {12009, "ERROR_WINHTTP_INVALID_OPTION", 1},
                         {12011, "ERROR_WINHTTP_OPTION_NOT_SETTABLE", 1},
                         {12012, "ERROR_WINHTTP_SHUTDOWN", 1},
                         {12015, "ERROR_WINHTTP_LOGIN_FAILURE", 4},
                         {12017, "ERROR_WINHTTP_OPERATION_CANCELLED", 7},
                         {12018, "ERROR_WINHTTP_INCORRECT_HANDLE_TYPE", 1},
                         {12019, "ERROR_WINHTTP_INCORRECT_HANDLE_STATE", 1},
                         {12029, "ERROR_WINHTTP_CANNOT_CONNECT", 3},
                         {12030, "ERROR_WINHTTP_CONNECTION_ERROR", 3},
                         {12032, "ERROR_WINHTTP_RESEND_REQUEST", 4},
                         {12037, "ERROR_WINHTTP_SECURE_CERT_DATE_INVALID", 3},
                         {12038, "ERROR_WINHTTP_SECURE_CERT_CN_INVALID", 3},
                         {12044, "ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED", 4},
                         {12045, "ERROR_WINHTTP_SECURE_INVALID_CA", 3},
                         {12057, "ERROR_WINHTTP_SECURE_CERT_REV_FAILED", 3},
                         {12100, "ERROR_WINHTTP_CANNOT_CALL_BEFORE_OPEN", 1},
                         {12101, "ERROR_WINHTTP_CANNOT_CALL_BEFORE_SEND", 1},
                         {12102, "ERROR_WINHTTP_CANNOT_CALL_AFTER_SEND", 1},
                         {12103, "ERROR_WINHTTP_CANNOT_CALL_AFTER_OPEN", 1},
                         {12150, "ERROR_WINHTTP_HEADER_NOT_FOUND", 9},
                         {12152, "ERROR_WINHTTP_INVALID_SERVER_RESPONSE", 9},
                         {12153, "ERROR_WINHTTP_INVALID_HEADER", 9},
                         {12154, "ERROR_WINHTTP_INVALID_QUERY_REQUEST", 1},
                         {12155, "ERROR_WINHTTP_HEADER_ALREADY_EXISTS", 1},
                         {12156, "ERROR_WINHTTP_REDIRECT_FAILED", 9},
                         {12157, "ERROR_WINHTTP_SECURE_CHANNEL_ERROR", 3},
                         {12166, "ERROR_WINHTTP_BAD_AUTO_PROXY_SCRIPT", 3},
                         {12167, "ERROR_WINHTTP_UNABLE_TO_DOWNLOAD_SCRIPT", 3},
                         {12169, "ERROR_WINHTTP_SECURE_INVALID_CERT", 3},
                         {12170, "ERROR_WINHTTP_SECURE_CERT_REVOKED", 3},
                         {12172, "ERROR_WINHTTP_NOT_INITIALIZED", 1},
                         {12175, "ERROR_WINHTTP_SECURE_FAILURE", 3},
                         {12176, "ERROR_WINHTTP_UNHANDLED_SCRIPT_TYPE", 3},
                         {12177, "ERROR_WINHTTP_SCRIPT_EXECUTION_ERROR", 3},
                         {12178, "ERROR_WINHTTP_AUTO_PROXY_SERVICE_ERROR", 3},
                         {12179, "ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE", 3},
                         {12180, "ERROR_WINHTTP_AUTODETECTION_FAILED", 3},
                         {12181, "ERROR_WINHTTP_HEADER_COUNT_EXCEEDED", 9},
                         {12182, "ERROR_WINHTTP_HEADER_SIZE_OVERFLOW", 9},
                         {12183, "ERROR_WINHTTP_CHUNKED_ENCODING_HEADER_SIZE_OVERFLOW", 9},
                         {12184, "ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW", 9},
                         {12185, "ERROR_WINHTTP_CLIENT_CERT_NO_PRIVATE_KEY", 4},
                         {12186, "ERROR_WINHTTP_CLIENT_CERT_NO_ACCESS_PRIVATE_KEY", 4},
                         {12187, "ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED_PROXY", 4},
                         {12188, "ERROR_WINHTTP_SECURE_FAILURE_PROXY", 3},
                         {12190, "ERROR_WINHTTP_HTTP_PROTOCOL_MISMATCH", 9},
                         {12191, "ERROR_WINHTTP_GLOBAL_CALLBACK_FAILED", 1},
                         {12192, "ERROR_WINHTTP_FEATURE_DISABLED", 1}};
const Row Server[] = {{20006, "SERVER_ERROR_SESSION_TOKEN", 4},
                      {20400, "HTTP_STATUS_BAD_REQUEST", 1},
                      {20401, "HTTP_STATUS_DENIED", 4},
                      {20403, "HTTP_STATUS_FORBIDDEN", 4},
                      {20404, "HTTP_STATUS_NOT_FOUND", 5},
                      {20405, "HTTP_STATUS_BAD_METHOD", 9},
                      {20407, "HTTP_STATUS_PROXY_AUTH_REQ", 4},
                      {20408, "HTTP_STATUS_REQUEST_TIMEOUT", 3},
                      {20409, "HTTP_STATUS_CONFLICT", 6},
                      {20413, "HTTP_STATUS_REQUEST_TOO_LARGE", 2},
                      {20423, "HTTP_STATUS_LOCKED", 6},
                      {20429, "HTTP_STATUS_TOO_MANY_REQUESTS", 3},
                      {20500, "HTTP_STATUS_SERVER_ERROR", 1},
                      {20502, "HTTP_STATUS_BAD_GATEWAY", 3},
                      {20503, "HTTP_STATUS_SERVICE_UNAVAIL", 3},
                      {20504, "HTTP_STATUS_GATEWAY_TIMEOUT", 3},
                      {20507, "HTTP_STATUS_INSUFFICIENT_STORAGE", 6},
                      {21001, "SERVER_ERROR_BAD_REQUEST", 2},
                      {21002, "SERVER_ERROR_NOT_FOUND", 5},
                      {21003, "SERVER_ERROR_EXISTS", 6},
                      {21004, "SERVER_ERROR_WRONG_KIND", 6},
                      {21005, "SERVER_ERROR_READ_ONLY", 4},
                      {21010, "SERVER_ERROR_WRONG_PASSWORD", 4},
                      {21011, "SERVER_ERROR_DEVICE_REFUSED", 4},
                      {21012, "SERVER_ERROR_NO_IDENTITY", 4},
                      {21013, "SERVER_ERROR_DEVICE_EXISTS", 6},
                      {21020, "SERVER_ERROR_LENGTH_MISMATCH", 8},
                      {21021, "SERVER_ERROR_TOO_LARGE", 2},
                      {21022, "SERVER_ERROR_LENGTH_REQUIRED", 9},
                      {21023, "SERVER_ERROR_HEAD_TOO_LONG", 2},
                      {21024, "SERVER_ERROR_WRONG_BODY", 9},
                      {21030, "SERVER_ERROR_LOCKED", 6},
                      {21031, "SERVER_ERROR_STORAGE_UNREACHABLE", 3},
                      {21040, "SERVER_ERROR_NO_ENDPOINT", 9},
                      {21041, "SERVER_ERROR_NO_METHOD", 9},
                      {21077, "SERVER_ERROR_REVISION_MISMATCH", 6},
                      {21202, "SERVER_ERROR_CHUNK_OUT_OF_STEP", 6},
                      {21203, "SERVER_ERROR_JOB_NOT_READY", 6},
                      {21500, "SERVER_ERROR_FAILED", 1},
                      {21507, "SERVER_ERROR_NO_ROOM", 6}};

template <std::size_t Count>
void ExpectRows(const Row (&rows)[Count]) {
    for (const auto& [error, name, exit] : rows) {
        EXPECT_EQ(ErrorName(error), name);
        EXPECT_EQ(static_cast<int>(ExitCodeFor(error, false)), exit) << error;
        EXPECT_EQ(ErrorReason(error).find("reports an error"), std::string::npos) << error;
        EXPECT_EQ(ErrorReason(error).find("refused with its error"), std::string::npos) << error;
    }
}

TEST(ErrorTextTest, KnowsEveryCodeOfTheLibrary) {
    ExpectRows(Library);
}

TEST(ErrorTextTest, KnowsEveryCodeOfTheTransport) {
    ExpectRows(Transport);
}

TEST(ErrorTextTest, KnowsEveryNumberOfTheProtocol) {
    ExpectRows(Server);
}

TEST(ErrorTextTest, SaysWhatToDoAboutEveryFailure) {
    for (const KnownError& known : KnownErrors()) {
        EXPECT_EQ(NextStep(known.error).empty(), known.exit == ExitCode::Cancelled) << known.error;
    }
}

TEST(ErrorTextTest, WritesReasonsAsPartsAndNextStepsAsSentences) {
    for (const KnownError& known : KnownErrors()) {
        const std::string reason = known.reason;
        const std::string step = known.nextStep;
        EXPECT_NE(reason.back(), '.') << known.error;
        EXPECT_FALSE(reason.front() >= 'A' && reason.front() <= 'Z') << known.error;
        EXPECT_TRUE(step.empty() || step.back() == '.') << known.error;
    }
}

TEST(ErrorTextTest, ACancelledOperationEndsAsCancelledWhateverItsCode) {
    EXPECT_EQ(ExitCodeFor(12030, true), ExitCode::Cancelled);
    EXPECT_EQ(ExitCodeFor(6, true), ExitCode::Cancelled);
    EXPECT_EQ(ExitCodeFor(0, true), ExitCode::Success);
}

TEST(ErrorTextTest, GivesLocalFailuresTheirExitCode) {
    for (const DWORD error :
         {2u, 3u, 5u, 23u, 32u, 53u, 80u, 112u, 123u, 206u, 303u, 1006u, 1113u, 1295u, 1392u, 1921u}) {
        EXPECT_EQ(ExitCodeFor(error, false), ExitCode::LocalFile) << error;
    }
    EXPECT_EQ(ExitCodeFor(145, false), ExitCode::Conflict);
    EXPECT_EQ(ExitCodeFor(267, false), ExitCode::Conflict);
    EXPECT_EQ(ExitCodeFor(4711, false), ExitCode::SomeFailed);
}

}  // namespace
}  // namespace quillmark::cli
