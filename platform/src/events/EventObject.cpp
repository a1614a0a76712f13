#include "events/EventObject.h"

namespace quillmark::platform {

EventObject::EventObject(bool manualReset, bool signalled) : manualReset_(manualReset), signalled_(signalled) {
    if (signalled_ && descriptor_.IsOpen()) {
        descriptor_.Raise();
    }
}

void EventObject::Set() {
    const std::lock_guard guard(SignalLock());
    signalled_ = true;
    descriptor_.Raise();
}

void EventObject::Reset() {
    const std::lock_guard guard(SignalLock());
    ClearSignal();
}

void EventObject::OnClose() {
    // Wakes the waits, so that each can see whether there is anything left to wait for.
    const std::lock_guard guard(SignalLock());
    closed_ = true;
    descriptor_.Raise();
}

void EventObject::Take() {
    if (!manualReset_) {
        ClearSignal();
    }
}

void EventObject::ClearSignal() {
    signalled_ = false;
    if (!closed_) {
        descriptor_.Lower();
    }
}

}  // namespace quillmark::platform
