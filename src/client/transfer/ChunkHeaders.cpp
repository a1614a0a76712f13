#include "client/transfer/ChunkHeaders.h"

#include <algorithm>

#include "common/EngKey.h"

namespace quillmark {
namespace {

// In hours; 0 for uploads that do not expire. Read once per process.
DWORD UploadExpiry() {
    static const DWORD hours = ReadSetting(QM_W("UploadExpiry"), 0);
    return hours;
}

// The time that many hours from now, at the latest the last millisecond of the year 9999.
CAttributeTime TimeIn(DWORD hours) {
    constexpr std::int64_t TicksPerHour = 36000000000;
    constexpr std::int64_t LatestTicks = 2650467743999990000;
    const std::int64_t now = CAttributeTime::Now().Ticks();
    const std::int64_t most = std::max<std::int64_t>((LatestTicks - now) / TicksPerHour, 0);
    return hours <= most ? CAttributeTime(now + hours * TicksPerHour) : CAttributeTime(LatestTicks);
}

// The headers in the order in which they are added, up to the first that the transport refuses.
class HeaderList {
public:
    explicit HeaderList(IWinHttpRequest& request) noexcept : m_request(request) {}

    void Add(const WideChar* name, const WideString& value) {
        if (m_error == ERROR_SUCCESS) {
            m_error = m_request.AddHeader(name, value);
        }
    }
    [[nodiscard]] DWORD Error() const noexcept { return m_error; }

private:
    IWinHttpRequest& m_request;
    DWORD m_error = ERROR_SUCCESS;
};

}  // namespace

DWORD AddChunkHeaders(const Logger& log, IWinHttpRequest& request, const IServerAttributes& attributes,
                      const Chunk& chunk) {
    HeaderList headers(request);
    headers.Add(QM_W("qm_file_size"), attributes.GetSizeTextW());
    headers.Add(QM_W("qm_file_creation_time"), attributes.GetCreationTime().ToText());
    headers.Add(QM_W("qm_file_modification_time"), attributes.GetLastWriteTime().ToText());
    headers.Add(QM_W("qm_attributes"), attributes.GetFileAttributesTextW());
    if (const std::string revision = attributes.GetRevision(); !revision.empty()) {
        headers.Add(QM_W("qm_revision"), WidenUtf8(revision));
    }
    headers.Add(QM_W("qm_offset"), FormatWide(QM_W("%lld"), chunk.offset));
    headers.Add(QM_W("qm_block_size"), FormatWide(QM_W("%lld"), chunk.length));
    if (chunk.isFirst) {
        log.Information("Sending begin marker");
        headers.Add(QM_W("qm_start"), QM_W("true"));
    }
    if (chunk.isLast) {
        log.Information("Sending end marker");
        headers.Add(QM_W("qm_finish"), QM_W("true"));
    }
    if (const DWORD hours = UploadExpiry(); hours != 0) {
        const WideString expiry = TimeIn(hours).ToText();
        log.Information("Sending expiry: %S", expiry);
        headers.Add(QM_W("qm_expiry"), expiry);
    }
    return headers.Error();
}

}  // namespace quillmark
