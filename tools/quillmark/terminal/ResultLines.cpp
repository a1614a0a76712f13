#include "ResultLines.h"

#include "ErrorText.h"
#include "Output.h"
#include "TransferTexts.h"

namespace quillmark::cli {

void ResultLines::Print(const std::string& line) {
    const std::lock_guard lock(m_mutex);
    if (m_broken) {
        return;
    }
    try {
        cli::Print(line);
    } catch (const OutputClosed&) {
        m_broken = true;
    } catch (const Failure&) {
        m_broken = true;
    }
}

void RunningNames::Started(const TransferFile& file) {
    const std::lock_guard lock(m_mutex);
    m_names[file.id] = TargetText(file);
}

void RunningNames::Finished(std::uint64_t id) {
    const std::lock_guard lock(m_mutex);
    m_names.erase(id);
}

std::string RunningNames::Of(std::uint64_t id) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_names.find(id);
    return found == m_names.end() ? std::string() : found->second;
}

}  // namespace quillmark::cli
