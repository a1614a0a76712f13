// A descriptor that polls readable while it is raised: what makes an event or the end of a thread visible to poll().
#pragma once

namespace quillmark::platform {

// Not synchronised: the owner calls it with SignalLock() held.
class SignalDescriptor {
public:
    SignalDescriptor();
    ~SignalDescriptor();
    SignalDescriptor(const SignalDescriptor&) = delete;
    SignalDescriptor& operator=(const SignalDescriptor&) = delete;

    // False when the process had no descriptor left; the object is then of no use.
    [[nodiscard]] bool IsOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] int Get() const { return m_descriptor; }

    void Raise();
    void Lower();

private:
    int m_descriptor;
    bool m_raised = false;
};

}  // namespace quillmark::platform
