#include "winhttp/TrustedRoots.h"

#include <curl/curl.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "winhttp/AddedRoots.h"
#include "winhttp/CurlHandles.h"

namespace quillmark::platform::winhttp {

namespace {

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : value;
}

void AddFile(X509_STORE* store, const std::string& path) {
    if (!path.empty()) {
        X509_STORE_load_file(store, path.c_str());
    }
}

// Folders of certificates that are named by their hashes, looked up when a chain needs them.
void AddFolders(X509_STORE* store, std::string_view paths) {
    while (!paths.empty()) {
        const std::size_t colon = std::min(paths.find(':'), paths.size());
        if (colon != 0) {
            X509_STORE_load_path(store, std::string(paths.substr(0, colon)).c_str());
        }
        paths.remove_prefix(std::min(colon + 1, paths.size()));
    }
}

// Where this system keeps its bundle is what libcurl was built with.
void AddSystemRoots(X509_STORE* store) {
    const EasyHandle easy(curl_easy_init());
    if (easy == nullptr) {
        return;
    }
    const char* file = nullptr;
    const char* folder = nullptr;
    curl_easy_getinfo(easy.get(), CURLINFO_CAINFO, &file);
    curl_easy_getinfo(easy.get(), CURLINFO_CAPATH, &folder);
    AddFile(store, file == nullptr ? "" : file);
    AddFolders(store, folder == nullptr ? "" : folder);
}

void AddUserRoots(X509_STORE* store) {
    std::filesystem::path folder = Environment("XDG_CONFIG_HOME");
    if (folder.empty()) {
        const std::string home = Environment("HOME");
        if (home.empty()) {
            return;
        }
        folder = std::filesystem::path(home) / ".config";
    }
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder / "quillmark" / "roots", error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == ".pem") {
            AddFile(store, entry->path().string());
        }
    }
}

}  // namespace

void TrustedRoots::StoreDeleter::operator()(x509_store_st* store) const {
    X509_STORE_free(store);
}

TrustedRoots::Store TrustedRoots::Load() {
    Store store(X509_STORE_new());
    if (store == nullptr) {
        return store;
    }
    AddSystemRoots(store.get());
    AddFile(store.get(), Environment("SSL_CERT_FILE"));
    AddFolders(store.get(), Environment("SSL_CERT_DIR"));
    AddUserRoots(store.get());
    AddProgramRoots(store.get());
    // A root may be an intermediate certificate, and a chain stops at the first one that is trusted.
    X509_STORE_set_flags(store.get(), X509_V_FLAG_TRUSTED_FIRST | X509_V_FLAG_PARTIAL_CHAIN);
    ERR_clear_error();
    return store;
}

bool TrustedRoots::Install(ssl_ctx_st* context) {
    std::call_once(m_loaded, [this] { m_store = Load(); });
    if (m_store == nullptr) {
        return false;
    }
    SSL_CTX_set1_cert_store(context, m_store.get());
    return true;
}

}  // namespace quillmark::platform::winhttp
