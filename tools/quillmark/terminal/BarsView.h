// BarsView: bars on the terminal of standard error, drawn ten times a second by a thread of its own, so that a slow
// terminal holds up no transfer. Everything that is printed on standard error meanwhile (PrintError) appears above the
// bars. At the end the bars are gone, and the summary stands in their place.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "BarsPainter.h"
#include "ProgressBars.h"
#include "ResultLines.h"
#include "transfer/TransferObserver.h"

namespace quillmark::cli {

class BarsView final : public TransferObserver {
public:
    static constexpr std::chrono::milliseconds FrameTime{100};

    // What it draws on. The functions are called by one thread at a time.
    struct Screen {
        std::function<TerminalSize()> size;
        std::function<void(const std::string&)> write;
        Clock clock;
    };

    // names: a line on standard output for each file, which then is no terminal. One view may live at a time.
    BarsView(Screen screen, bool names);
    // Takes the bars away when nobody has told the end.
    ~BarsView() override;
    BarsView(const BarsView&) = delete;
    BarsView& operator=(const BarsView&) = delete;

    void Planned(std::uint64_t files, std::uint64_t bytes) override;
    void Started(const TransferFile& file) override;
    void Advanced(std::uint64_t id, std::int64_t bytes) override;
    void Retrying(std::uint64_t id, const std::string& why, int attempt, int most,
                  std::chrono::milliseconds pause) override;
    void Finished(const TransferFile& file, const TransferResult& result) override;
    void Note(const std::string& line) override;
    void Ended(const TransferSummary& summary) override;

private:
    void Draw();
    // Ends the thread, takes the bars away and leaves these last words.
    void Close(const std::string& text);

    const Screen m_screen;
    const bool m_names;
    ResultLines m_results;
    std::mutex m_mutex;  // guards what follows, down to m_ended
    ProgressBars m_bars;
    std::vector<std::string> m_texts;  // to be written above the bars with the next frame
    bool m_ended = false;
    std::condition_variable m_wake;
    BarsPainter m_painter;  // the thread's own, until that has ended
    std::thread m_thread;
};

}  // namespace quillmark::cli
