#include "BarsView.h"

#include <utility>

#include "Output.h"
#include "TransferTexts.h"

namespace quillmark::cli {

BarsView::BarsView(Screen screen, bool names)
    : m_screen(std::move(screen)), m_names(names), m_bars(m_screen.clock), m_thread([this] { Draw(); }) {
    SetErrorSink([this](const std::string& line) { Note(line); });
}

BarsView::~BarsView() {
    Close("");
}

void BarsView::Planned(std::uint64_t files, std::uint64_t bytes) {
    const std::lock_guard lock(m_mutex);
    m_bars.Planned(files, bytes);
}

void BarsView::Started(const TransferFile& file) {
    const std::lock_guard lock(m_mutex);
    m_bars.Started(file);
}

void BarsView::Advanced(std::uint64_t id, std::int64_t bytes) {
    const std::lock_guard lock(m_mutex);
    m_bars.Advanced(id, bytes);
}

void BarsView::Retrying(std::uint64_t id, const std::string& why, int attempt, int most,
                        std::chrono::milliseconds pause) {
    const std::lock_guard lock(m_mutex);
    m_bars.Retrying(id, why, attempt, most, pause);
}

void BarsView::Finished(const TransferFile& file, const TransferResult& result) {
    const std::string line = ResultText(file, result);
    if (m_names && !line.empty()) {
        m_results.Print(line);
    }
    const std::lock_guard lock(m_mutex);
    m_bars.Finished(file, result);
    if (!m_names && !result.job.empty() && !line.empty()) {
        m_texts.push_back(line);  // standard output is the same terminal
    }
    if (std::string text = OutcomeText(file, result); !text.empty()) {
        m_texts.push_back(std::move(text));
    }
}

void BarsView::Note(const std::string& line) {
    const std::lock_guard lock(m_mutex);
    m_texts.push_back(line);
}

void BarsView::Ended(const TransferSummary& summary) {
    Close(SummaryText(summary));
}

void BarsView::Draw() {
    std::unique_lock lock(m_mutex);
    while (!m_wake.wait_for(lock, FrameTime, [this] { return m_ended; })) {
        const TerminalSize size = m_screen.size();
        const std::string frame = m_painter.Frame(std::exchange(m_texts, {}), m_bars.Lines(size), size);
        if (!frame.empty()) {
            lock.unlock();
            m_screen.write(frame);
            lock.lock();
        }
    }
}

void BarsView::Close(const std::string& text) {
    if (!m_thread.joinable()) {
        return;
    }
    SetErrorSink(nullptr);
    {
        const std::lock_guard lock(m_mutex);
        m_ended = true;
    }
    m_wake.notify_all();
    m_thread.join();
    if (!text.empty()) {
        m_texts.push_back(text);
    }
    if (const std::string frame = m_painter.Frame(m_texts, {}, m_screen.size()); !frame.empty()) {
        m_screen.write(frame);
    }
}

}  // namespace quillmark::cli
