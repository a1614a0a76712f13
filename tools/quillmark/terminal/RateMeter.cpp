#include "RateMeter.h"

namespace quillmark::cli {
namespace {

// Bytes that come closer together share a sample, so that their number stays small.
constexpr std::chrono::milliseconds SampleLength{100};

}  // namespace

void RateMeter::Moved(std::uint64_t bytes, TimePoint now) {
    m_total += bytes;
    const bool shared = m_samples.size() > 1 && now - m_samples[m_samples.size() - 2].time < SampleLength;
    if (shared) {
        m_samples.back() = {now, m_total};
    } else {
        m_samples.push_back({now, m_total});
    }
    while (m_samples.size() > 1 && m_samples[1].time <= now - Window) {
        m_samples.pop_front();
    }
}

std::uint64_t RateMeter::TotalAt(TimePoint time) const {
    std::uint64_t total = 0;
    for (const Sample& sample : m_samples) {
        if (sample.time > time) {
            break;
        }
        total = sample.total;
    }
    return total;
}

std::optional<double> RateMeter::Rate(TimePoint now) const {
    const TimePoint from = now - m_start > Window ? now - Window : m_start;
    if (now - from < Shortest) {
        return std::nullopt;
    }
    // What moved at the very start counts as moved after it.
    const std::uint64_t before = from == m_start ? 0 : TotalAt(from);
    return static_cast<double>(m_total - before) / std::chrono::duration<double>(now - from).count();
}

}  // namespace quillmark::cli
