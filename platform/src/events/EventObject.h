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
    [[nodiscard]] bool IsValid() const { return descriptor_.IsOpen(); }

    // Both take SignalLock() themselves.
    void Set();
    void Reset();

    void OnClose() override;
    [[nodiscard]] int PollDescriptor() const override { return descriptor_.Get(); }
    [[nodiscard]] bool IsSignalled() const override { return signalled_; }
    void Take() override;
    [[nodiscard]] bool CanBeSignalled() const override { return signalled_ || !closed_; }

private:
    // The descriptor is raised while signalled_ or closed_.
    void ClearSignal();

    const bool manualReset_;
    bool signalled_;
    bool closed_ = false;
    SignalDescriptor descriptor_;
};

}  // namespace quillmark::platform
