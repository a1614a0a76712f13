#include "storage/Deltas.h"

#include <librsync.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include "http/Errors.h"
#include "storage/Contents.h"
#include "storage/Signature.h"

namespace appliance {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t InputBlock = 64UL * 1024;
constexpr std::size_t OutputBlock = 256UL * 1024;
// Rounds in which a job may neither read nor write before it is given up.
constexpr int MostIdle = 3;

// Far more than looking up the blocks of a sensible signature takes, even on a machine that has better things to do.
constexpr std::chrono::seconds LeastTime{30};
constexpr std::uint64_t BytesPerSecond = 4UL * 1024 * 1024;

struct JobDeleter {
    void operator()(rs_job_t* job) const { rs_job_free(job); }
};
using Job = std::unique_ptr<rs_job_t, JobDeleter>;

struct SignatureDeleter {
    void operator()(rs_signature_t* signature) const { rs_free_sumset(signature); }
};
using SignatureOwner = std::unique_ptr<rs_signature_t, SignatureDeleter>;

// librsync reports on standard error what clients send; it is told to them instead.
void Silence() {
    static const bool once = [] {
        rs_trace_to(nullptr);
        return true;
    }();
    static_cast<void>(once);
}

// As many bytes as there are, up to the size.
std::size_t ReadAt(const FileDescriptor& file, char* data, std::size_t size, std::uint64_t offset) {
    for (;;) {
        const ssize_t count = ::pread(file.Get(), data, size, static_cast<off_t>(offset));
        if (count >= 0) {
            return static_cast<std::size_t>(count);
        }
        if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "reading a content file");
        }
    }
}

// Where a job's input comes from: an open file, from its beginning.
class FileSource {
public:
    explicit FileSource(const FileDescriptor& file) : m_file(file), m_buffer(InputBlock) {}

    std::string_view Next() {
        const std::size_t count = ReadAt(m_file, m_buffer.data(), m_buffer.size(), m_offset);
        m_offset += count;
        return {m_buffer.data(), count};
    }

private:
    const FileDescriptor& m_file;
    std::vector<char> m_buffer;
    std::uint64_t m_offset = 0;
};

// Or bytes in memory, handed over at once.
class MemorySource {
public:
    explicit MemorySource(std::string_view bytes) : m_bytes(bytes) {}

    std::string_view Next() { return std::exchange(m_bytes, std::string_view()); }

private:
    std::string_view m_bytes;
};

// Runs a job over its whole input; `output` gets what it writes. The result is the first one that is not "blocked"; a
// job that neither reads nor writes any more has come to the end of its input too early, and one that leaves input
// behind was given something that goes on after its end.
template <class Source, class Output>
rs_result Drive(rs_job_t* job, Source source, const Output& output) {
    std::vector<char> written(OutputBlock);
    rs_buffers_t buffers{};
    int idle = 0;
    for (;;) {
        if (buffers.avail_in == 0 && buffers.eof_in == 0) {
            const std::string_view input = source.Next();
            buffers.next_in = const_cast<char*>(input.data());  // librsync reads only
            buffers.avail_in = input.size();
            buffers.eof_in = input.empty() ? 1 : 0;
        }
        buffers.next_out = written.data();
        buffers.avail_out = written.size();
        const std::size_t before = buffers.avail_in;
        const rs_result result = rs_job_iter(job, &buffers);
        const std::string_view bytes(written.data(), written.size() - buffers.avail_out);
        output(bytes);
        if (result == RS_DONE) {
            const bool ended = buffers.avail_in == 0 && (buffers.eof_in != 0 || source.Next().empty());
            return ended ? RS_DONE : RS_CORRUPT;
        }
        if (result != RS_BLOCKED) {
            return result;
        }
        idle = bytes.empty() && buffers.avail_in == before ? idle + 1 : 0;
        if (idle == MostIdle) {
            return RS_INPUT_ENDED;
        }
    }
}

struct PatchBase {
    const FileDescriptor& file;
    std::uint64_t size;
};

std::uint64_t SizeOf(const FileDescriptor& file) {
    struct stat status {};
    if (::fstat(file.Get(), &status) != 0) {
        throw std::system_error(errno, std::generic_category(), "looking at a content file");
    }
    return static_cast<std::uint64_t>(status.st_size);
}

// librsync's way to ask for a piece of the base. Asked for what is behind its end, the delta is for another base.
// Exceptions must not pass through librsync.
rs_result CopyFromBase(void* opaque, rs_long_t position, std::size_t* length, void** buffer) {
    try {
        const auto& base = *static_cast<const PatchBase*>(opaque);
        const auto offset = static_cast<std::uint64_t>(position);
        if (offset >= base.size) {
            return RS_INPUT_ENDED;
        }
        *length = ReadAt(base.file, static_cast<char*>(*buffer), *length, offset);
        return *length == 0 ? RS_INPUT_ENDED : RS_DONE;
    } catch (const std::system_error&) {
        return RS_IO_ERROR;
    }
}

SignatureOwner Load(std::string_view bytes) {
    rs_signature_t* loaded = nullptr;
    const Job job(rs_loadsig_begin(&loaded));
    const rs_result result = Drive(job.get(), MemorySource(bytes), [](std::string_view) {});
    SignatureOwner signature(loaded);
    if (result != RS_DONE || rs_build_hash_table(signature.get()) != RS_DONE) {
        signature.reset();
    }
    return signature;
}

class OutOfTime : public std::exception {};

}  // namespace

void ApplyDelta(const FileDescriptor& base, const FileDescriptor& delta, std::uint64_t size, ContentWriter& result,
                const Checkpoint& checkpoint) {
    Silence();
    PatchBase patched{base, SizeOf(base)};
    const Job job(rs_patch_begin(CopyFromBase, &patched));
    checkpoint(0);
    const rs_result outcome = Drive(job.get(), FileSource(delta), [&](std::string_view bytes) {
        if (bytes.size() > size - result.Size()) {
            throw ApiError(ErrorId::BodyMismatch, "The delta makes more than the announced size");
        }
        result.Write(bytes);
        checkpoint(result.Size());
    });
    if (outcome == RS_IO_ERROR) {
        throw std::runtime_error("the base of a delta cannot be read");
    }
    if (outcome != RS_DONE) {
        throw ApiError(ErrorId::Malformed, "This is no delta for the present content");
    }
    if (result.Size() != size) {
        throw ApiError(ErrorId::BodyMismatch, "The delta makes less than the announced size");
    }
}

bool MakeDelta(std::string_view signature, const FileDescriptor& content, std::uint64_t size, ContentWriter& delta,
               const Checkpoint& checkpoint) {
    Silence();
    if (!IsUsableSignature(signature)) {
        return false;
    }
    const SignatureOwner loaded = Load(signature);
    if (!loaded) {
        return false;
    }
    const auto end = Clock::now() + LeastTime + std::chrono::seconds(size / BytesPerSecond);
    const Job job(rs_delta_begin(loaded.get()));
    checkpoint(0);
    try {
        const rs_result outcome = Drive(job.get(), FileSource(content), [&](std::string_view bytes) {
            delta.Write(bytes);
            checkpoint(delta.Size());
            if (Clock::now() > end) {
                throw OutOfTime();
            }
        });
        return outcome == RS_DONE;
    } catch (const OutOfTime&) {
        return false;
    }
}

}  // namespace appliance
