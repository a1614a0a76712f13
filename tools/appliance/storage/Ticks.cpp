#include "storage/Ticks.h"

#include <charconv>
#include <chrono>
#include <cstdio>

namespace appliance {

namespace {

constexpr Ticks TicksPerSecond = 10'000'000;
constexpr Ticks TicksPerMillisecond = 10'000;
constexpr std::chrono::sys_days Epoch = std::chrono::year{1601} / 1 / 1;

// Takes `width` digits (at least that many when `open`) off the front.
std::optional<int> TakeDigits(std::string_view& text, std::size_t width, bool open = false) {
    std::size_t length = 0;
    while (length < text.size() && text[length] >= '0' && text[length] <= '9' && (open || length < width)) {
        ++length;
    }
    int value = 0;
    if (length < width || std::from_chars(text.data(), text.data() + length, value).ec != std::errc()) {
        return std::nullopt;
    }
    text.remove_prefix(length);
    return value;
}

bool TakeMark(std::string_view& text, char mark) {
    if (text.empty() || text.front() != mark) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

// The digits after the point as ticks: the first is a tenth of a second, whatever their number.
std::optional<Ticks> TakeFraction(std::string_view& text) {
    Ticks fraction = 0;
    Ticks unit = TicksPerSecond / 10;
    std::size_t length = 0;
    for (; length < text.size() && text[length] >= '0' && text[length] <= '9'; ++length, unit /= 10) {
        fraction += (text[length] - '0') * unit;
    }
    if (length == 0 || length > 7) {
        return std::nullopt;
    }
    text.remove_prefix(length);
    return fraction;
}

struct Clock {
    int hour;
    int minute;
    int second;
};

std::optional<Clock> TakeClock(std::string_view& text) {
    const auto hour = TakeDigits(text, 2);
    if (!hour || !TakeMark(text, ':')) {
        return std::nullopt;
    }
    const auto minute = TakeDigits(text, 2);
    if (!minute || !TakeMark(text, ':')) {
        return std::nullopt;
    }
    const auto second = TakeDigits(text, 2);
    if (!second || *hour > 23 || *minute > 59 || *second > 59) {
        return std::nullopt;
    }
    return Clock{*hour, *minute, *second};
}

std::optional<std::chrono::sys_days> TakeDate(std::string_view& text) {
    const auto year = TakeDigits(text, 4, true);
    if (!year || !TakeMark(text, '-')) {
        return std::nullopt;
    }
    const auto month = TakeDigits(text, 2);
    if (!month || !TakeMark(text, '-')) {
        return std::nullopt;
    }
    const auto day = TakeDigits(text, 2);
    if (!day || *year < 1601 || *year > 30827) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year{*year}, std::chrono::month{static_cast<unsigned>(*month)},
                                           std::chrono::day{static_cast<unsigned>(*day)}};
    if (!date.ok()) {
        return std::nullopt;
    }
    return std::chrono::sys_days{date};
}

}  // namespace

Ticks CurrentTicks() {
    using HundredNanoseconds = std::chrono::duration<Ticks, std::ratio<1, TicksPerSecond>>;
    const auto sinceUnix =
        std::chrono::duration_cast<HundredNanoseconds>(std::chrono::system_clock::now().time_since_epoch());
    const auto unixEpoch = std::chrono::duration_cast<HundredNanoseconds>(std::chrono::sys_days{} - Epoch);
    return (sinceUnix + unixEpoch).count();
}

std::optional<Ticks> ParseTicks(std::string_view text) {
    const auto date = TakeDate(text);
    if (!date || !TakeMark(text, 'T')) {
        return std::nullopt;
    }
    const auto clock = TakeClock(text);
    if (!clock) {
        return std::nullopt;
    }
    std::optional<Ticks> fraction = 0;
    if (TakeMark(text, '.')) {
        fraction = TakeFraction(text);
    }
    if (!fraction || text != "Z") {
        return std::nullopt;
    }
    const auto days = static_cast<Ticks>((*date - Epoch).count());
    const Ticks seconds = ((days * 24 + clock->hour) * 60 + clock->minute) * 60 + clock->second;
    return seconds * TicksPerSecond + *fraction;
}

std::string FormatTicks(Ticks ticks) {
    const Ticks seconds = ticks / TicksPerSecond;
    const Ticks fraction = ticks % TicksPerSecond;
    const std::chrono::year_month_day date{Epoch + std::chrono::days{seconds / 86400}};
    const auto ofDay = static_cast<int>(seconds % 86400);
    char text[64];
    int length = std::snprintf(text, sizeof(text), "%04d-%02u-%02uT%02d:%02d:%02d.", static_cast<int>(date.year()),
                               static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), ofDay / 3600,
                               ofDay / 60 % 60, ofDay % 60);
    if (fraction % TicksPerMillisecond == 0) {
        length += std::snprintf(text + length, sizeof(text) - static_cast<std::size_t>(length), "%03dZ",
                                static_cast<int>(fraction / TicksPerMillisecond));
    } else {
        length += std::snprintf(text + length, sizeof(text) - static_cast<std::size_t>(length), "%07dZ",
                                static_cast<int>(fraction));
    }
    return std::string(text, static_cast<std::size_t>(length));
}

}  // namespace appliance
