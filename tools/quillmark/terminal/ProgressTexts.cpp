#include "ProgressTexts.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string_view>

#include "TextWidth.h"

namespace quillmark::cli {
namespace {

constexpr std::size_t Gap = 2;
constexpr std::size_t PercentColumns = 4;
constexpr std::size_t RateColumns = 10;
constexpr std::size_t TimeColumns = 7;

std::string TwoDigits(std::uint64_t number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

double FractionOf(const Gauge& gauge) {
    if (*gauge.size == 0 || gauge.position >= *gauge.size) {
        return 1;
    }
    return static_cast<double>(gauge.position) / static_cast<double>(*gauge.size);
}

// An unknown end leaves room to say how much there was.
std::string BarText(const Gauge& gauge, std::size_t columns) {
    if (!gauge.size) {
        return PadLeft(gauge.bytes ? AmountText(gauge.position) : "", columns);
    }
    const std::size_t inside = columns - 2;
    const auto filled = static_cast<std::size_t>(std::floor(FractionOf(gauge) * static_cast<double>(inside)));
    return "[" + std::string(filled, '#') + std::string(inside - filled, '.') + "]";
}

std::string PercentText(const Gauge& gauge) {
    if (!gauge.size) {
        return std::string(PercentColumns, ' ');
    }
    const double fraction = FractionOf(gauge);
    const int percent = fraction < 1 ? std::min(99, static_cast<int>(fraction * 100)) : 100;
    return PadLeft(std::to_string(percent) + "%", PercentColumns);
}

std::string RateText(const Gauge& gauge) {
    const bool known = gauge.bytes && gauge.rate;
    return PadLeft(known ? AmountText(static_cast<std::uint64_t>(*gauge.rate)) + "/s" : "", RateColumns);
}

// " in 3 s"; empty once the pause is over.
std::string PauseText(std::chrono::milliseconds pause) {
    return pause.count() <= 0 ? "" : " in " + std::to_string((pause.count() + 999) / 1000) + " s";
}

std::optional<double> SecondsLeft(const Gauge& gauge) {
    if (!gauge.size) {
        return std::nullopt;
    }
    if (gauge.position >= *gauge.size) {
        return 0;
    }
    if (!gauge.rate || *gauge.rate < 1) {
        return std::nullopt;
    }
    return static_cast<double>(*gauge.size - gauge.position) / *gauge.rate;
}

}  // namespace

std::string AmountText(std::uint64_t bytes) {
    if (bytes < 1024) {
        return std::to_string(bytes) + " B";
    }
    constexpr std::string_view Units = "KMGTPE";
    double amount = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    while (amount >= 1024 && unit + 1 < Units.size()) {
        amount /= 1024;
        ++unit;
    }
    // Cut off, not rounded: what is not there yet is not shown.
    char text[16] = {};
    if (amount < 100) {
        std::snprintf(text, sizeof(text), "%.1f", std::floor(amount * 10) / 10);
    } else {
        std::snprintf(text, sizeof(text), "%.0f", std::floor(amount));
    }
    return std::string(text) + " " + Units[unit] + "iB";
}

std::string DurationText(std::optional<double> seconds) {
    constexpr double Day = 86400;
    if (!seconds || *seconds >= 1000 * Day) {
        return "-:--";
    }
    const auto whole = static_cast<std::uint64_t>(std::ceil(*seconds));
    const std::uint64_t hours = whole / 3600;
    if (hours >= 100) {
        return std::to_string(whole / 86400) + " d";
    }
    if (hours >= 10) {
        return std::to_string(hours) + " h";
    }
    const std::uint64_t minutes = whole / 60 % 60;
    const std::string ending = ":" + TwoDigits(whole % 60);
    return hours == 0 ? std::to_string(minutes) + ending : std::to_string(hours) + ":" + TwoDigits(minutes) + ending;
}

std::string AttemptText(int attempt, int most, std::chrono::milliseconds pause) {
    return "trying again" + PauseText(pause) + " (" + std::to_string(attempt) + " of " + std::to_string(most) + ")";
}

std::string BriefAttemptText(int attempt, int most, std::chrono::milliseconds pause) {
    return "again" + PauseText(pause) + " (" + std::to_string(attempt) + "/" + std::to_string(most) + ")";
}

LineLayout::LineLayout(std::size_t usable) {
    std::size_t taken = PercentColumns;
    percent = usable >= PercentColumns;
    if (usable >= 38) {
        time = true;
        rate = usable >= 70;
        bar = rate ? std::clamp<std::size_t>(usable / 4, 10, 50) : std::clamp<std::size_t>(usable / 5, 8, 12);
        taken += bar + Gap + TimeColumns + Gap + (rate ? RateColumns + Gap : 0);
    }
    name = usable > taken + Gap ? usable - taken - Gap : 0;
}

std::string GaugeLine(const LineLayout& layout, const std::string& name, const Gauge& gauge) {
    const std::string gap(Gap, ' ');
    std::string line;
    const auto add = [&line, &gap](const std::string& part) { line += (line.empty() ? "" : gap) + part; };
    if (layout.name != 0) {
        add(name);
    }
    if (layout.bar != 0) {
        add(BarText(gauge, layout.bar));
    }
    if (layout.percent) {
        add(PercentText(gauge));
    }
    if (layout.rate) {
        add(RateText(gauge));
    }
    if (layout.time) {
        add(PadLeft(DurationText(SecondsLeft(gauge)), TimeColumns));
    }
    return line;
}

}  // namespace quillmark::cli
