// ProgressBars: what runs, and the lines that show it: one for each running transfer, the total last. It knows neither
// terminal nor threads; the time comes from the clock that it is given.
//
//     /Photos/2026/img_0014.jpg        [########.........]   47%  12.3 MiB/s     0:12
//     /Photos/2026/img_0015.jpg        connection lost, trying again in 3 s (2 of 5)
//     3/10 files, 12.3 MiB/45.6 MiB    [####.............]   26%  12.3 MiB/s     0:03
//
// In narrow terminals the rate goes first, then bar and time. Not thread-safe.
#pragma once

#include <string>
#include <vector>

#include "RateMeter.h"
#include "Terminal.h"
#include "transfer/TransferObserver.h"

namespace quillmark::cli {

class ProgressBars {
public:
    explicit ProgressBars(Clock clock);

    // The same as TransferObserver's.
    void Planned(std::uint64_t files, std::uint64_t bytes);
    void Started(const TransferFile& file);
    void Advanced(std::uint64_t id, std::int64_t bytes);
    void Retrying(std::uint64_t id, const std::string& why, int attempt, int most, std::chrono::milliseconds pause);
    void Finished(const TransferFile& file, const TransferResult& result);

    // The lines, each narrower than the terminal, and fewer of them than it has rows. When not all transfers fit, the
    // line before the total says how many more there are. Empty before anything is known.
    [[nodiscard]] std::vector<std::string> Lines(TerminalSize size) const;

private:
    struct Retry {
        std::string why;
        int attempt = 0;
        int most = 0;
        TimePoint until;
    };
    struct Running {
        std::uint64_t id = 0;
        std::string path;
        std::string leaf;
        std::int64_t size = 0;  // negative: unknown
        std::int64_t position = 0;
        bool placed = false;  // position is where the bytes now begin, not 0 for want of news
        RateMeter rate;
        std::optional<Retry> retry;
    };

    [[nodiscard]] Running* Find(std::uint64_t id);
    [[nodiscard]] std::string FileLine(const Running& running, std::size_t usable, TimePoint now) const;
    [[nodiscard]] std::string TotalLine(std::size_t usable, TimePoint now) const;

    Clock m_clock;
    std::vector<Running> m_running;  // in the order of their starts
    std::uint64_t m_plannedFiles = 0;
    std::uint64_t m_plannedBytes = 0;
    std::uint64_t m_filesOver = 0;
    std::uint64_t m_bytesOver = 0;  // of files that are over
    std::optional<RateMeter> m_rate;
};

}  // namespace quillmark::cli
