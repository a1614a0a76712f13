#include "winhttp/TransferOptions.h"

#include <climits>
#include <new>

#include "winhttp/Text.h"
#include "winhttp/UploadBody.h"

namespace quillmark::platform::winhttp {

namespace {

// Large enough that a download costs few system calls, small enough to stay in the processor's cache on the way to the
// caller.
constexpr long ReceiveBuffer = 256L * 1024;

void AppendLine(List& list, const std::string& line) {
    curl_slist* longer = curl_slist_append(list.get(), line.c_str());
    if (longer == nullptr) {
        throw std::bad_alloc();
    }
    static_cast<void>(list.release());
    list.reset(longer);
}

// The request's own headers, and after them what keeps libcurl from adding some of its own ("Name:" takes one out).
List HeaderList(const TransferPlan& plan) {
    List list;
    for (const HeaderField& field : plan.headers.Fields()) {
        // The length is libcurl's to write; the cookies share their line with those of the session.
        if (!EqualsIgnoringCase(field.name, "Content-Length") && !EqualsIgnoringCase(field.name, "Cookie")) {
            AppendLine(list, field.value.empty() ? field.name + ";" : field.name + ": " + field.value);
        }
    }
    const bool keepAlive = (plan.disabledFeatures & WINHTTP_DISABLE_KEEP_ALIVE) == 0;
    if (plan.headers.Find("Connection") == nullptr) {
        AppendLine(list, keepAlive ? "Connection: Keep-Alive" : "Connection: close");
    }
    for (const char* name : {"Accept", "Content-Type", "Expect", "Proxy-Connection"}) {
        if (plan.headers.Find(name) == nullptr) {
            AppendLine(list, std::string(name) + ":");
        }
    }
    return list;
}

void ApplyVerb(CURL* easy, const TransferPlan& plan) {
    if (plan.verb == "HEAD" && plan.bodyLength == 0) {
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    } else if (plan.verb != "GET" || plan.bodyLength != 0) {
        // An upload of 0 bytes writes "Content-Length: 0", as servers expect of verbs that usually have a body.
        curl_easy_setopt(easy, CURLOPT_UPLOAD, 1L);
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, plan.verb.c_str());
        curl_easy_setopt(easy, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(plan.bodyLength));
        curl_easy_setopt(easy, CURLOPT_UPLOAD_BUFFERSIZE, static_cast<long>(UploadBody::Gather));
    }
    // Without this every early error would cost the connection; the transfer decides itself when to stop.
    curl_easy_setopt(easy, CURLOPT_KEEP_SENDING_ON_ERROR, 1L);
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION,
                     static_cast<long>(plan.http10 ? CURL_HTTP_VERSION_1_0 : CURL_HTTP_VERSION_1_1));
}

unsigned long AuthBit(DWORD scheme) {
    switch (scheme) {
        case WINHTTP_AUTH_SCHEME_BASIC:
            return CURLAUTH_BASIC;
        case WINHTTP_AUTH_SCHEME_NTLM:
            return CURLAUTH_NTLM;
        case WINHTTP_AUTH_SCHEME_DIGEST:
            return CURLAUTH_DIGEST;
        default:
            return CURLAUTH_NEGOTIATE;
    }
}

void ApplyCredentials(CURL* easy, const TransferPlan& plan) {
    // Empty names make libcurl take the logged-on user's ticket.
    if (plan.server.scheme != 0) {
        curl_easy_setopt(easy, CURLOPT_HTTPAUTH, AuthBit(plan.server.scheme));
        curl_easy_setopt(easy, CURLOPT_USERNAME, plan.server.userName.c_str());
        curl_easy_setopt(easy, CURLOPT_PASSWORD, plan.server.password.c_str());
    }
    if (plan.proxy.scheme != 0) {
        curl_easy_setopt(easy, CURLOPT_PROXYAUTH, AuthBit(plan.proxy.scheme));
        curl_easy_setopt(easy, CURLOPT_PROXYUSERNAME, plan.proxy.userName.c_str());
        curl_easy_setopt(easy, CURLOPT_PROXYPASSWORD, plan.proxy.password.c_str());
    }
}

void ApplyProxy(CURL* easy, const ProxyChoice& proxy) {
    if (proxy.accessType == WINHTTP_ACCESS_TYPE_NO_PROXY) {
        curl_easy_setopt(easy, CURLOPT_PROXY, "");
    } else if (proxy.accessType == WINHTTP_ACCESS_TYPE_NAMED_PROXY) {
        curl_easy_setopt(easy, CURLOPT_PROXY, proxy.name.c_str());
        curl_easy_setopt(easy, CURLOPT_NOPROXY, proxy.bypass.c_str());
    }
    // A tunnel's own reply is no reply to the request.
    curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
}

CURLcode InstallRoots(CURL* /*easy*/, void* context, void* roots) {
    return static_cast<TrustedRoots*>(roots)->Install(static_cast<ssl_ctx_st*>(context)) ? CURLE_OK
                                                                                         : CURLE_OUT_OF_MEMORY;
}

void ApplyTrust(CURL* easy, TrustedRoots& roots) {
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
    curl_easy_setopt(easy, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    // The roots are read once per session and installed as they are, instead of being parsed for every connection.
    curl_easy_setopt(easy, CURLOPT_CAINFO, nullptr);
    curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
    curl_easy_setopt(easy, CURLOPT_SSL_CTX_FUNCTION, &InstallRoots);
    curl_easy_setopt(easy, CURLOPT_SSL_CTX_DATA, &roots);
}

void ApplySession(CURL* easy, const TransferPlan& plan, Session& session) {
    curl_easy_setopt(easy, CURLOPT_SHARE, session.Share().Get());
    // An empty name switches the shared cookies on, none takes them from this handle.
    const bool cookies = (plan.disabledFeatures & WINHTTP_DISABLE_COOKIES) == 0;
    curl_easy_setopt(easy, CURLOPT_COOKIEFILE, cookies ? "" : nullptr);
    if (const HeaderField* cookie = plan.headers.Find("Cookie")) {
        curl_easy_setopt(easy, CURLOPT_COOKIE, cookie->value.c_str());
    }
    if ((plan.disabledFeatures & WINHTTP_DISABLE_KEEP_ALIVE) != 0) {
        curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L);
    }
}

}  // namespace

List ApplyPlan(CURL* easy, const TransferPlan& plan, Session& session) {
    // The reset alone would forget the list that this option makes, without freeing it.
    curl_easy_setopt(easy, CURLOPT_COOKIEFILE, nullptr);
    curl_easy_reset(easy);
    curl_easy_setopt(easy, CURLOPT_URL, plan.target.Url().c_str());
    curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_TCP_NODELAY, 1L);
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, ReceiveBuffer);
    // Time is kept by the transfer. 0 would mean libcurl's own 300 s here.
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(INT_MAX));
    // A look-up that is given up is left to end on its own thread instead of being waited for.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
    ApplyVerb(easy, plan);
    ApplyCredentials(easy, plan);
    ApplyProxy(easy, session.Proxy());
    ApplyTrust(easy, session.Roots());
    ApplySession(easy, plan, session);
    List headers = HeaderList(plan);
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers.get());
    return headers;
}

}  // namespace quillmark::platform::winhttp
