// A certificate that requests of this process trust, in sessions opened while it lives.
#pragma once

#include <memory>
#include <string>

namespace quillmark::test {

class TrustedRoot {
public:
    explicit TrustedRoot(const std::string& pem);
    ~TrustedRoot();
    TrustedRoot(const TrustedRoot&) = delete;
    TrustedRoot& operator=(const TrustedRoot&) = delete;

private:
    struct Place;

    std::unique_ptr<Place> m_place;
};

}  // namespace quillmark::test
