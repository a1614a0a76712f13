#include <cstdlib>

#include "unit/winhttp/TempFolder.h"
#include "unit/winhttp/TrustedRoot.h"

namespace quillmark::test {

struct TrustedRoot::Place {
    TempFolder folder;
};

TrustedRoot::TrustedRoot(const std::string& pem) : m_place(std::make_unique<Place>()) {
    setenv("SSL_CERT_FILE", m_place->folder.Write("root.pem", pem).c_str(), 1);
}

TrustedRoot::~TrustedRoot() {
    unsetenv("SSL_CERT_FILE");
}

}  // namespace quillmark::test
