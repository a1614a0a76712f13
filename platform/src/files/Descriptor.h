// An owned file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace quillmark::platform {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : m_number(number) {}
    Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_number, other.m_number);
        return *this;
    }
    ~Descriptor() {
        if (IsOpen()) {
            ::close(m_number);
        }
    }

    [[nodiscard]] bool IsOpen() const { return m_number >= 0; }
    [[nodiscard]] int Get() const { return m_number; }

    // Closes now; false, with errno set, when the file system reports a failure of earlier writes only here.
    [[nodiscard]] bool Close() { return ::close(std::exchange(m_number, -1)) == 0; }

private:
    int m_number = -1;
};

}  // namespace quillmark::platform
