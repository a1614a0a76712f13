// The reference server's authority among those that the user trusts.
#pragma once

#include "quillmark/Platform.h"

namespace quillmark::test {

// Puts the server's authority into the user's store of trusted roots for as long as it lives. One at a time on the
// machine: every test's server has an authority of its own by the same name.
class TrustedAuthority {
public:
    TrustedAuthority();
    ~TrustedAuthority();
    TrustedAuthority(const TrustedAuthority&) = delete;
    TrustedAuthority& operator=(const TrustedAuthority&) = delete;

private:
    void RemoveOthers(const CERT_CONTEXT& authority) const;

    HANDLE m_turn = nullptr;
    HCERTSTORE m_store = nullptr;
    PCCERT_CONTEXT m_certificate = nullptr;
};

}  // namespace quillmark::test
