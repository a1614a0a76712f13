// A name server that never answers: looking up "stalled.test" blocks until the object goes. Other names are looked up
// as usual. One at a time.
#pragma once

namespace quillmark::test {

inline constexpr const char* StalledName = "stalled.test";

class StalledLookup {
public:
    StalledLookup();
    // Lets the look-ups end without a result and waits until they have.
    ~StalledLookup();
    StalledLookup(const StalledLookup&) = delete;
    StalledLookup& operator=(const StalledLookup&) = delete;

    // Returns when a look-up of the name is under way.
    void AwaitBegun() const;
};

}  // namespace quillmark::test
