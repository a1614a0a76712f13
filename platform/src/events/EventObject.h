// The object behind an event's handle.
//
// Parts of the platform layer that signal an event later on, when its handle may be closed already, look the object up
// with FindHandle<EventObject> and keep it.
#pragma once

#include "events/SignalDescriptor.h"
#include "handles/HandleTable.h"

namespace quillmark::platform {

class EventObject final : public WaitableObject {
public:
    EventObject(bool manualReset, bool signalled);

    // False when the process had no descriptor left; the object must then not be used.
    [[nodiscard]] bool IsValid() const { return m_descriptor.IsOpen(); }

    // Both take SignalLock() themselves.
    void Set();
    void Reset();

    void OnClose() override;
    [[nodiscard]] int PollDescriptor() const override { return m_descriptor.Get(); }
    [[nodiscard]] bool IsSignalled() const override { return m_signalled; }
    void Take() override;
    [[nodiscard]] bool CanBeSignalled() const override { return m_signalled || !m_closed; }

private:
    // The descriptor is raised while m_signalled or m_closed.
    void ClearSignal();

    const bool m_manualReset;
    bool m_signalled;
    bool m_closed = false;
    SignalDescriptor m_descriptor;
};

}  // namespace quillmark::platform
