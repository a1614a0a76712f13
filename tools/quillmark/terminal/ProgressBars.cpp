#include "ProgressBars.h"

#include <algorithm>
#include <utility>

#include "Paths.h"
#include "ProgressTexts.h"
#include "TextWidth.h"

namespace quillmark::cli {
namespace {

// A name that makes room for the reason of a pause keeps so many columns.
constexpr std::size_t ShortestName = 12;

std::uint64_t Count(std::int64_t bytes) {
    return bytes > 0 ? static_cast<std::uint64_t>(bytes) : 0;
}

// The path where it fits; otherwise its end, with the whole of the name, if that fits at least.
std::string NamePart(const std::string& path, const std::string& leaf, std::size_t columns) {
    const bool leafFits = Columns(leaf) < columns;
    return PadRight(leafFits ? CutFront(path, columns) : CutMiddle(leaf, columns), columns);
}

// The first of the texts that fits; the last one cut, when none does.
std::string FirstThatFits(const std::vector<std::string>& texts, std::size_t columns) {
    for (const std::string& text : texts) {
        if (Columns(text) <= columns) {
            return text;
        }
    }
    return CutMiddle(texts.back(), columns);
}

std::string TotalLabel(std::uint64_t over, std::uint64_t all, const Gauge& bytes, std::size_t columns) {
    const std::string brief = std::to_string(over) + "/" + std::to_string(all);
    const std::string noun = all == 1 ? " file" : " files";
    const std::string moved = ", " + AmountText(bytes.position);
    const std::string size = bytes.size ? AmountText(*bytes.size) : "";
    return FirstThatFits(
        {std::to_string(over) + " of " + std::to_string(all) + noun + moved + (bytes.size ? " of " + size : ""),
         brief + noun + moved + (bytes.size ? "/" + size : ""), brief + noun, brief},
        columns);
}

}  // namespace

ProgressBars::ProgressBars(Clock clock) : m_clock(std::move(clock)) {}

void ProgressBars::Planned(std::uint64_t files, std::uint64_t bytes) {
    m_plannedFiles = files;
    m_plannedBytes = bytes;
}

void ProgressBars::Started(const TransferFile& file) {
    const TimePoint now = m_clock();
    if (!m_rate) {
        m_rate.emplace(now);
    }
    m_running.push_back({file.id, Printable(file.server), Printable(LeafName(file.server)), file.size, 0, false,
                         RateMeter(now), std::nullopt});
}

ProgressBars::Running* ProgressBars::Find(std::uint64_t id) {
    const auto found =
        std::find_if(m_running.begin(), m_running.end(), [id](const Running& running) { return running.id == id; });
    return found == m_running.end() ? nullptr : &*found;
}

void ProgressBars::Advanced(std::uint64_t id, std::int64_t bytes) {
    Running* running = Find(id);
    if (running == nullptr) {
        return;
    }
    if (running->placed && bytes > running->position) {
        const TimePoint now = m_clock();
        running->rate.Moved(Count(bytes - running->position), now);
        m_rate->Moved(Count(bytes - running->position), now);
    }
    running->position = bytes;
    running->placed = true;
    running->retry.reset();
}

void ProgressBars::Retrying(std::uint64_t id, const std::string& why, int attempt, int most,
                            std::chrono::milliseconds pause) {
    if (Running* running = Find(id); running != nullptr) {
        running->retry = Retry{why, attempt, most, m_clock() + pause};
        running->placed = false;
    }
}

void ProgressBars::Finished(const TransferFile& file, const TransferResult& result) {
    std::erase_if(m_running, [&file](const Running& running) { return running.id == file.id; });
    if (result.outcome == Outcome::Done || result.outcome == Outcome::Failed) {
        ++m_filesOver;
        m_bytesOver += Count(result.outcome == Outcome::Done ? result.bytes : file.size);
    }
}

std::string ProgressBars::FileLine(const Running& running, std::size_t usable, TimePoint now) const {
    const LineLayout layout(usable);
    if (!running.retry || layout.name == 0) {
        const Gauge gauge{Count(running.position), running.size < 0 ? std::nullopt : std::optional(Count(running.size)),
                          true, running.rate.Rate(now)};
        return GaugeLine(layout, NamePart(running.path, running.leaf, layout.name), gauge);
    }
    const Retry& retry = *running.retry;
    const auto pause = std::chrono::ceil<std::chrono::milliseconds>(retry.until - now);
    const std::string attempt = AttemptText(retry.attempt, retry.most, pause);
    const std::size_t most = usable > ShortestName + 2 ? usable - ShortestName - 2 : 0;
    const std::string brief = BriefAttemptText(retry.attempt, retry.most, pause);
    const std::string text = FirstThatFits({retry.why + ", " + attempt, attempt, brief}, most);
    const std::size_t name = std::min(layout.name, usable - Columns(text) - 2);
    return NamePart(running.path, running.leaf, name) + "  " + text;
}

std::string ProgressBars::TotalLine(std::size_t usable, TimePoint now) const {
    Gauge bytes{m_bytesOver, std::nullopt, true, m_rate ? m_rate->Rate(now) : std::nullopt};
    bool known = true;
    for (const Running& running : m_running) {
        bytes.position += Count(running.position);
        known = known && running.size >= 0;
    }
    // More may be over than was planned: files grow, and plans are made in steps.
    const std::uint64_t files = std::max(m_plannedFiles, m_filesOver + m_running.size());
    if (known) {
        bytes.size = std::max(m_plannedBytes, bytes.position);
    }
    const bool onlyEmptyFiles = bytes.size && *bytes.size == 0;
    const Gauge gauge = onlyEmptyFiles ? Gauge{m_filesOver, files, false, std::nullopt} : bytes;
    const LineLayout layout(usable);
    return GaugeLine(layout, PadRight(TotalLabel(m_filesOver, files, bytes, layout.name), layout.name), gauge);
}

std::vector<std::string> ProgressBars::Lines(TerminalSize size) const {
    const bool fits = size.rows > 1;  // a line, and the cursor's own row
    if (!fits || (m_plannedFiles == 0 && m_running.empty())) {
        return {};
    }
    const TimePoint now = m_clock();
    // The last column stays free: there some terminals break the line, and some do not.
    const std::size_t usable = size.columns > 0 ? size.columns - 1 : 0;
    const std::size_t room = size.rows - 2;  // beside the total and the cursor's own row
    const bool allFit = m_running.size() <= room;
    const std::size_t shown = allFit ? m_running.size() : room > 0 ? room - 1 : 0;
    std::vector<std::string> lines;
    for (std::size_t index = 0; index < shown; ++index) {
        lines.push_back(FileLine(m_running[index], usable, now));
    }
    if (!allFit && room > 0) {
        lines.push_back(CutMiddle("and " + std::to_string(m_running.size() - shown) + " more", usable));
    }
    lines.push_back(TotalLine(usable, now));
    return lines;
}

}  // namespace quillmark::cli
