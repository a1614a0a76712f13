#include "storage/FileDescriptor.h"

#include <unistd.h>

#include <utility>

namespace appliance {

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
}

FileDescriptor::~FileDescriptor() {
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
    }
}

}  // namespace appliance
