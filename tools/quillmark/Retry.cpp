#include "Retry.h"

#include <algorithm>
#include <cstdio>

#include "ErrorText.h"

namespace quillmark::cli {
namespace {

constexpr DWORD ServerUnauthorized = SERVER_ERROR_BASE + 401;
constexpr DWORD ServerTimeout = SERVER_ERROR_BASE + 408;
constexpr DWORD ServerTooManyRequests = SERVER_ERROR_BASE + 429;
constexpr DWORD ServerFailed = SERVER_ERROR_BASE + 500;
constexpr DWORD ServerBadGateway = SERVER_ERROR_BASE + 502;
constexpr DWORD ServerUnavailable = SERVER_ERROR_BASE + 503;
constexpr DWORD ServerGatewayTimeout = SERVER_ERROR_BASE + 504;

}  // namespace

Remedy RemedyFor(DWORD error) {
    switch (error) {
        case ERROR_RETRY:
        case SERVER_ERROR_CHUNK_OUT_OF_STEP:
            return Remedy::AtOnce;
        case ERROR_WINHTTP_TIMEOUT:
        case ERROR_WINHTTP_CANNOT_CONNECT:  // a server that restarts refuses connections for a while
        case ERROR_WINHTTP_CONNECTION_ERROR:
        case ERROR_WINHTTP_INVALID_SERVER_RESPONSE:  // also a connection that was lost within the head of the reply
        case ERROR_DOWNLOAD_UNDERFLOW:
        case ServerTimeout:
        case ServerTooManyRequests:
        case ServerFailed:
        case ServerBadGateway:
        case ServerUnavailable:
        case ServerGatewayTimeout:
            return Remedy::AfterPause;
        case SERVER_ERROR_SESSION_TOKEN:
        case ServerUnauthorized:
            return Remedy::AfterLogin;
        default:
            return Remedy::None;
    }
}

bool IsAnswerLost(DWORD error) {
    switch (error) {
        case ERROR_INVALID_DATA:  // it came, and cannot be read
        case ERROR_WINHTTP_TIMEOUT:
        case ERROR_WINHTTP_CONNECTION_ERROR:
        case ERROR_WINHTTP_INVALID_SERVER_RESPONSE:
        case ERROR_DOWNLOAD_UNDERFLOW:
        case ServerFailed:  // nobody knows how far it had got
        case ServerBadGateway:
        case ServerGatewayTimeout:
            return true;
        default:
            return false;
    }
}

std::string RepetitionText(DWORD error, int attempt, int most, std::chrono::milliseconds pause) {
    std::string when = "at once";
    if (pause.count() > 0) {
        char seconds[32] = {};
        std::snprintf(seconds, sizeof seconds, "in %.1f s", static_cast<double>(pause.count()) / 1000);
        when = seconds;
    } else if (RemedyFor(error) == Remedy::AfterLogin) {
        when = "with a new login";
    }
    return ErrorReason(error) + "; trying again " + when + " (" + std::to_string(attempt) + " of " +
           std::to_string(most) + ")";
}

RetryBudget::RetryBudget(int retries, std::uint32_t seed) : m_retries(std::max(retries, 0)), m_random(seed) {}

std::optional<std::chrono::milliseconds> RetryBudget::Next(Remedy remedy) {
    if (remedy == Remedy::None || m_attempt >= m_retries) {
        return std::nullopt;
    }
    ++m_attempt;
    if (remedy != Remedy::AfterPause) {
        return std::chrono::milliseconds(0);
    }
    constexpr int MostDoublings = 16;  // far beyond the longest pause
    const int doublings = std::min(m_attempt - 1, MostDoublings);
    const auto whole = std::min(FirstPause * (1 << doublings), LongestPause);
    return std::chrono::milliseconds(
        std::uniform_int_distribution<std::chrono::milliseconds::rep>(whole.count() / 2, whole.count())(m_random));
}

void RetryBudget::Progressed() {
    m_attempt = 0;
}

}  // namespace quillmark::cli
