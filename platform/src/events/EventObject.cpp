#include "events/EventObject.h"

namespace quillmark::platform {

EventObject::EventObject(bool manualReset, bool signalled) : m_manualReset(manualReset), m_signalled(signalled) {
    if (m_signalled && m_descriptor.IsOpen()) {
        m_descriptor.Raise();
    }
}

void EventObject::Set() {
    const std::lock_guard guard(SignalLock());
    m_signalled = true;
    m_descriptor.Raise();
}

void EventObject::Reset() {
    const std::lock_guard guard(SignalLock());
    ClearSignal();
}

void EventObject::OnClose() {
    // Wakes the waits, so that each can see whether there is anything left to wait for.
    const std::lock_guard guard(SignalLock());
    m_closed = true;
    m_descriptor.Raise();
}

void EventObject::Take() {
    if (!m_manualReset) {
        ClearSignal();
    }
}

void EventObject::ClearSignal() {
    m_signalled = false;
    if (!m_closed) {
        m_descriptor.Lower();
    }
}

}  // namespace quillmark::platform
