#include "terminal/TransferView.h"

#include <mutex>

#include "Output.h"
#include "Paths.h"

namespace quillmark::cli {
namespace {

std::string Counted(std::uint64_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string NameOf(const TransferFile& file) {
    if (file.direction == Direction::Up) {
        return Printable(file.local.empty() ? file.server : file.local);
    }
    return Printable(file.server) + (file.local.empty() ? "" : " to " + Printable(file.local));
}

// A line for each file that is there now.
class LinesView : public TransferObserver {
public:
    explicit LinesView(bool quiet) : m_quiet(quiet) {}

    void Planned(std::uint64_t, std::uint64_t) override {}
    void Started(const TransferFile&) override {}
    void Advanced(std::uint64_t, std::int64_t) override {}
    void Retrying(std::uint64_t, const std::string& why, int attempt, int most, std::chrono::milliseconds) override {
        Note("trying again, " + std::to_string(attempt) + " of " + std::to_string(most) + ": " + why);
    }
    void Finished(const TransferFile& file, const TransferResult& result) override {
        const std::lock_guard lock(m_lock);
        switch (result.outcome) {
            case Outcome::Done:
                PrintName(Printable(file.direction == Direction::Up ? file.server : file.local));
                break;
            case Outcome::Deleted:
                PrintName("deleted: " + Printable(file.direction == Direction::Up ? file.server : file.local));
                break;
            case Outcome::Skipped:
                PrintError("skipped, " + result.why + ": " +
                           Printable(file.direction == Direction::Up ? file.local : file.server));
                break;
            case Outcome::Failed:
                if (result.why.empty()) {
                    break;
                }
                PrintError("failed: " + NameOf(file) + ": " + result.why);
                if (!result.nextStep.empty()) {
                    PrintError(result.nextStep);
                }
                break;
        }
    }
    void Note(const std::string& line) override {
        const std::lock_guard lock(m_lock);
        PrintError(line);
    }
    void Ended(const TransferSummary& summary) override {
        const std::lock_guard lock(m_lock);
        const auto tenths = summary.time.count() / 100;
        PrintError(Counted(summary.files, "file") + ", " + Counted(summary.folders, "folder") + ", " +
                   Counted(summary.bytes, "byte") + ", " + std::to_string(summary.skipped) + " skipped, " +
                   (summary.deleted == 0 ? "" : std::to_string(summary.deleted) + " deleted, ") +
                   std::to_string(summary.failed) + " failed in " + std::to_string(tenths / 10) + "." +
                   std::to_string(tenths % 10) + " s" + (summary.cancelled ? ", cancelled" : ""));
    }

private:
    void PrintName(const std::string& name) {
        if (m_quiet || m_closed) {
            return;
        }
        try {
            Print(name);
        } catch (const OutputClosed&) {
            m_closed = true;
        }
    }

    const bool m_quiet;
    std::mutex m_lock;
    bool m_closed = false;
};

}  // namespace

std::unique_ptr<TransferObserver> MakeTransferView(const GlobalOptions& options) {
    return std::make_unique<LinesView>(options.quiet);
}

}  // namespace quillmark::cli
