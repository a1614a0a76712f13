#include "events/SignalDescriptor.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace quillmark::platform {

SignalDescriptor::SignalDescriptor() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

SignalDescriptor::~SignalDescriptor() {
    if (IsOpen()) {
        close(descriptor_);
    }
}

void SignalDescriptor::Raise() {
    // The counter is only ever 0 or 1, so neither call can fail for want of room or of a value.
    if (!raised_) {
        raised_ = eventfd_write(descriptor_, 1) == 0;
    }
}

void SignalDescriptor::Lower() {
    eventfd_t count = 0;
    if (raised_) {
        raised_ = eventfd_read(descriptor_, &count) != 0;
    }
}

}  // namespace quillmark::platform
