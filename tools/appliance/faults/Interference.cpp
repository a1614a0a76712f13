#include "faults/Interference.h"

#include <algorithm>
#include <utility>

namespace appliance {

bool Interference::IsActive() const {
    return m_stop || m_step != NoStep;
}

std::size_t Interference::Allowance(std::size_t wanted) const {
    const std::size_t allowed = std::min(wanted, m_step);
    return m_stop ? static_cast<std::size_t>(std::min<std::uint64_t>(allowed, m_stop->after)) : allowed;
}

void Interference::Moved(std::size_t count) {
    if (m_stop) {
        m_stop->after -= std::min<std::uint64_t>(count, m_stop->after);
    }
}

std::optional<StopPoint> Interference::TakeReachedStop() {
    if (!m_stop || m_stop->after > 0) {
        return std::nullopt;
    }
    return std::exchange(m_stop, std::nullopt);
}

}  // namespace appliance
