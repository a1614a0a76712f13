#include <utility>

#include "client/NativeHttp.h"
#include "common/EventMultiTrigger.h"

namespace quillmark {

CNativeHttp::RequestHandleTracker::RequestHandleTracker(std::shared_ptr<EventMultiTrigger> trigger, HANDLE cancelEvent,
                                                        const Request& request)
    : m_trigger(std::move(trigger)), m_cancelEvent(cancelEvent) {
    LogScope::Run("CNativeHttp::RequestHandleTracker::RequestHandleTracker", LogSource::NativeHttp, [&](const Logger&) {
        if (m_trigger == nullptr) {
            return;
        }
        // Weak: the trigger's thread may come to run the action after the operation has ended.
        m_registered = m_trigger->AddTrigger(m_cancelEvent, [weak = std::weak_ptr<IWinHttpRequest>(request)] {
            if (const Request running = weak.lock(); running != nullptr) {
                running->Close();
            }
        });
    });
}

CNativeHttp::RequestHandleTracker::~RequestHandleTracker() {
    constexpr const char* Name = "CNativeHttp::RequestHandleTracker::~RequestHandleTracker";
    LogScope::Run(Name, LogSource::NativeHttp, [&](const Logger&) {
        // An entry that was refused is not this object's to take away: the event may stand there for another operation.
        if (m_registered) {
            m_trigger->RemoveTrigger(m_cancelEvent);
        }
    });
}

}  // namespace quillmark
