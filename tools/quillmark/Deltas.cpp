#include "Deltas.h"

#include <librsync.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "LocalFile.h"

namespace quillmark::cli {
namespace {

constexpr std::size_t SmallestBuffer = 256 * 1024;

struct JobDeleter {
    void operator()(rs_job_t* job) const { rs_job_free(job); }
};
using Job = std::unique_ptr<rs_job_t, JobDeleter>;

struct SignatureDeleter {
    void operator()(rs_signature_t* signature) const { rs_free_sumset(signature); }
};
using Signature = std::unique_ptr<rs_signature_t, SignatureDeleter>;

DWORD ErrorOf(rs_result result) {
    switch (result) {
        case RS_DONE:
            return ERROR_SUCCESS;
        case RS_MEM_ERROR:
            return ERROR_NOT_ENOUGH_MEMORY;
        default:
            return ERROR_INVALID_DATA;
    }
}

// Runs a job over the whole of one file.
class Pump {
public:
    // librsync writes what it finds wrong to standard error unless it is told not to.
    Pump(HANDLE cancelEvent, std::size_t bufferSize) : m_cancelEvent(cancelEvent), m_in(bufferSize), m_out(bufferSize) {
        rs_trace_set_level(RS_LOG_EMERG);
    }

    // Feeds the job with the file's bytes and hands on what it makes; output may be null for a job that makes nothing.
    DWORD Run(rs_job_t* job, const LocalFile& input, const LocalFile* output) {
        rs_buffers_t buffers = {};
        for (rs_result result = RS_BLOCKED; result == RS_BLOCKED;) {
            if (WaitForSingleObject(m_cancelEvent, 0) == WAIT_OBJECT_0) {
                return ERROR_CANCELLED;
            }
            if (const DWORD error = Fill(input, buffers); error != ERROR_SUCCESS) {
                return error;
            }
            buffers.next_out = m_out.data();
            buffers.avail_out = m_out.size();
            result = rs_job_iter(job, &buffers);
            if (result != RS_DONE && result != RS_BLOCKED) {
                return ErrorOf(result);
            }
            const auto made = static_cast<std::size_t>(buffers.next_out - m_out.data());
            if (const DWORD error = output == nullptr ? ERROR_SUCCESS : output->Write(m_out.data(), made);
                error != ERROR_SUCCESS) {
                return error;
            }
        }
        return ERROR_SUCCESS;
    }

private:
    // Puts more of the file behind what the job has left over.
    DWORD Fill(const LocalFile& input, rs_buffers_t& buffers) {
        if (buffers.eof_in != 0 || buffers.avail_in == m_in.size()) {
            return ERROR_SUCCESS;
        }
        std::copy_n(buffers.next_in, buffers.avail_in, m_in.data());
        std::size_t got = 0;
        const std::size_t room = m_in.size() - buffers.avail_in;
        const DWORD error = input.Read(m_in.data() + buffers.avail_in, room, got);
        buffers.next_in = m_in.data();
        buffers.avail_in += got;
        buffers.eof_in = got < room ? 1 : 0;
        return error;
    }

    HANDLE m_cancelEvent;
    std::vector<char> m_in;
    std::vector<char> m_out;
};

// The contents that a patch copies from.
struct Basis {
    LocalFile file;
    DWORD error = ERROR_SUCCESS;  // librsync's own results do not tell
};

rs_result CopyFromBasis(void* opaque, rs_long_t position, std::size_t* length, void** buffer) {
    auto& basis = *static_cast<Basis*>(opaque);
    basis.error = basis.file.Seek(position);
    if (basis.error == ERROR_SUCCESS) {
        basis.error = basis.file.Read(*buffer, *length, *length);
    }
    if (basis.error != ERROR_SUCCESS) {
        return RS_IO_ERROR;
    }
    return *length != 0 ? RS_DONE : RS_INPUT_ENDED;  // librsync would ask for nothing for ever
}

// Opens what is read and what is written.
DWORD OpenBoth(LocalFile& input, const WideString& inputPath, LocalFile& output, const WideString& outputPath) {
    const DWORD error = input.Open(inputPath, GENERIC_READ, OPEN_EXISTING);
    return error == ERROR_SUCCESS ? output.Open(outputPath, GENERIC_WRITE, CREATE_ALWAYS) : error;
}

// What librsync recommends for contents of this size.
struct SignatureForm {
    rs_magic_number magic = static_cast<rs_magic_number>(0);
    std::size_t block = 0;
    std::size_t strongSum = 0;  // the longest: equal sums must not be a matter of luck or of malice
};

DWORD ChooseForm(const LocalFile& file, SignatureForm& form) {
    std::int64_t size = 0;
    const DWORD error = file.Size(size);
    return error == ERROR_SUCCESS ? ErrorOf(rs_sig_args(size, &form.magic, &form.block, &form.strongSum)) : error;
}

DWORD LoadSignature(const WideString& signatureFile, HANDLE cancelEvent, Signature& signature) {
    LocalFile file;
    if (const DWORD error = file.Open(signatureFile, GENERIC_READ, OPEN_EXISTING); error != ERROR_SUCCESS) {
        return error;
    }
    rs_signature_t* loaded = nullptr;
    const Job job(rs_loadsig_begin(&loaded));
    const DWORD error = Pump(cancelEvent, SmallestBuffer).Run(job.get(), file, nullptr);
    signature.reset(loaded);
    return error == ERROR_SUCCESS ? ErrorOf(rs_build_hash_table(signature.get())) : error;
}

// A delta looks at whole blocks of the old contents: the buffer has room for some of them.
DWORD DeltaBuffer(const WideString& oldFile, std::size_t& size) {
    LocalFile file;
    SignatureForm form;
    DWORD error = file.Open(oldFile, GENERIC_READ, OPEN_EXISTING);
    if (error == ERROR_SUCCESS) {
        error = ChooseForm(file, form);
    }
    size = std::max(SmallestBuffer, 4 * form.block);
    return error;
}

}  // namespace

DWORD WriteSignature(const WideString& oldFile, const WideString& signatureFile, HANDLE cancelEvent) {
    LocalFile input;
    LocalFile output;
    SignatureForm form;
    DWORD error = OpenBoth(input, oldFile, output, signatureFile);
    if (error == ERROR_SUCCESS) {
        error = ChooseForm(input, form);
    }
    if (error != ERROR_SUCCESS) {
        return error;
    }
    const Job job(rs_sig_begin(form.block, form.strongSum, form.magic));
    return Pump(cancelEvent, SmallestBuffer).Run(job.get(), input, &output);
}

DWORD WriteDelta(const WideString& oldFile, const WideString& newFile, const WideString& deltaFile,
                 HANDLE cancelEvent) {
    const TemporaryFile signatureFile;
    Signature signature;
    std::size_t bufferSize = 0;
    DWORD error = WriteSignature(oldFile, signatureFile.Path(), cancelEvent);
    if (error == ERROR_SUCCESS) {
        error = LoadSignature(signatureFile.Path(), cancelEvent, signature);
    }
    if (error == ERROR_SUCCESS) {
        error = DeltaBuffer(oldFile, bufferSize);
    }
    LocalFile input;
    LocalFile output;
    if (error == ERROR_SUCCESS) {
        error = OpenBoth(input, newFile, output, deltaFile);
    }
    if (error != ERROR_SUCCESS) {
        return error;
    }
    const Job job(rs_delta_begin(signature.get()));
    return Pump(cancelEvent, bufferSize).Run(job.get(), input, &output);
}

DWORD ApplyDelta(const WideString& oldFile, const WideString& deltaFile, const WideString& newFile,
                 HANDLE cancelEvent) {
    Basis basis;
    LocalFile input;
    LocalFile output;
    DWORD error = basis.file.Open(oldFile, GENERIC_READ, OPEN_EXISTING);
    if (error == ERROR_SUCCESS) {
        error = OpenBoth(input, deltaFile, output, newFile);
    }
    if (error != ERROR_SUCCESS) {
        return error;
    }
    const Job job(rs_patch_begin(&CopyFromBasis, &basis));
    error = Pump(cancelEvent, SmallestBuffer).Run(job.get(), input, &output);
    return basis.error != ERROR_SUCCESS ? basis.error : error;
}

}  // namespace quillmark::cli
