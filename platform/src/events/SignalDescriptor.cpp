#include "events/SignalDescriptor.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace quillmark::platform {

SignalDescriptor::SignalDescriptor() : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

SignalDescriptor::~SignalDescriptor() {
    if (IsOpen()) {
        close(m_descriptor);
    }
}

void SignalDescriptor::Raise() {
    // The counter is only ever 0 or 1, so neither call can fail for want of room or of a value.
    if (!m_raised) {
        m_raised = eventfd_write(m_descriptor, 1) == 0;
    }
}

void SignalDescriptor::Lower() {
    eventfd_t count = 0;
    if (m_raised) {
        m_raised = eventfd_read(m_descriptor, &count) != 0;
    }
}

}  // namespace quillmark::platform
