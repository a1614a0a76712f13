// The certificate authorities that servers are verified against.
//
// Added up: the system's bundle and folder, the file in SSL_CERT_FILE, the folders in SSL_CERT_DIR (separated by ":"),
// the user's own $XDG_CONFIG_HOME/quillmark/roots/*.pem (~/.config without the variable), and what the program added
// with AddTrustedRoots. A file that cannot be read adds nothing. Read once, when the first secure connection asks; the
// store is then shared by all connections and threads.
#pragma once

#include <memory>
#include <mutex>

struct ssl_ctx_st;
struct x509_store_st;

namespace quillmark::platform::winhttp {

class TrustedRoots {
public:
    // Makes the connection that is set up with this context trust these roots and no others. False without memory.
    [[nodiscard]] bool Install(ssl_ctx_st* context);

private:
    struct StoreDeleter {
        void operator()(x509_store_st* store) const;
    };
    using Store = std::unique_ptr<x509_store_st, StoreDeleter>;

    static Store Load();

    std::once_flag m_loaded;
    Store m_store;
};

}  // namespace quillmark::platform::winhttp
