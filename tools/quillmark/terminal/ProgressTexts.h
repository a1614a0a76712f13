// The pieces of a progress line: amounts, durations, and a gauge with its bar.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace quillmark::cli {

// "999 B", "1.2 KiB", "12.3 MiB", "123 GiB": at most eight columns.
[[nodiscard]] std::string AmountText(std::uint64_t bytes);

// "0:12", "59:59", "1:02:03", then "10 h" up to "99 h", then "5 d": at most seven columns. "-:--" when it is not known
// or beyond all reason.
[[nodiscard]] std::string DurationText(std::optional<double> seconds);

// "trying again in 3 s (2 of 5)"; once the pause is over "trying again (2 of 5)".
[[nodiscard]] std::string AttemptText(int attempt, int most, std::chrono::milliseconds pause);
// The same where there is little room: "again in 3 s (2/5)".
[[nodiscard]] std::string BriefAttemptText(int attempt, int most, std::chrono::milliseconds pause);

// How far something has come.
struct Gauge {
    std::uint64_t position = 0;
    std::optional<std::uint64_t> size;  // nothing: unknown
    bool bytes = true;                  // and not a count of something else
    std::optional<double> rate;         // per second
};

// The parts of a line of so many columns. A part of no columns is left out.
struct LineLayout {
    explicit LineLayout(std::size_t usable);

    std::size_t name = 0;
    std::size_t bar = 0;
    bool percent = false;
    bool rate = false;
    bool time = false;
};

// A whole line: the name, which fills its part already, and the gauge.
[[nodiscard]] std::string GaugeLine(const LineLayout& layout, const std::string& name, const Gauge& gauge);

}  // namespace quillmark::cli
