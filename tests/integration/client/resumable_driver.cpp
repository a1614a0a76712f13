// A host that sends one file in chunks and goes on where the server stands, for tests that kill it:
//
//     resumable-driver URL LOCAL-FILE SERVER-PATH UPLOAD-ID CHUNK-SIZE
//
// What it does goes to standard output, one line per step, each written before the step it announces or after the one
// it reports:
//
//     send OFFSET LENGTH     about to send that chunk
//     kept OFFSET            the server has acknowledged everything up to there
//     done                   the item is stored; the exit code is 0
//     failed CODE            an operation has failed; the exit code is 1
#include <unistd.h>

#include <filesystem>
#include <string>

#include "integration/support/HostClient.h"

namespace quillmark::testing {
namespace {

struct Job {
    WideString local;
    WideString remote;
    GUID id = {};
    std::int64_t size = 0;
    std::int64_t chunk = 0;
};

// In one piece, so that a kill leaves whole lines.
void Say(const std::string& line) {
    const std::string text = line + "\n";
    if (::write(STDOUT_FILENO, text.data(), text.size()) < 0) {
        ::_exit(2);
    }
}

// Where the server stands; one that has never heard of the upload stands at the beginning. While it still works on a
// request of the host before, it is asked again.
DWORD AskOffset(IQuillmarkHttpAPI& api, const Job& job, std::int64_t& offset, bool& known) {
    for (;;) {
        bool locked = false;
        offset = 0;
        const DWORD error = api.GetResumableUploadMetadata(job.remote, job.id, offset, locked, nullptr);
        known = error == ERROR_SUCCESS;
        if (error == 21002) {
            return ERROR_SUCCESS;
        }
        if (error != ERROR_SUCCESS || !locked) {
            return error;
        }
    }
}

// When all bytes are there, a last chunk of none brings the item: it is stored now, or was before.
DWORD SendChunks(IQuillmarkHttpAPI& api, const Job& job) {
    std::int64_t offset = 0;
    bool known = false;
    DWORD error = AskOffset(api, job, offset, known);
    const auto attributes = UploadAttributes(job.size);
    for (bool last = false; error == ERROR_SUCCESS && !last;) {
        std::int64_t length = std::min(job.chunk, job.size - offset);
        last = offset + length == job.size;
        Say("send " + std::to_string(offset) + " " + std::to_string(length));
        error =
            api.ResumableUpload(job.local, job.remote, attributes, job.id, offset, length, !known, nullptr, nullptr, 0);
        if (error == ERROR_SUCCESS) {
            known = true;
            offset += length;
            Say("kept " + std::to_string(offset));
        }
    }
    return error;
}

DWORD Drive(char** arguments) {
    HostClient client(arguments[1]);
    Job job;
    job.local = WidenUtf8(arguments[2]);
    job.remote = WidenUtf8(arguments[3]);
    job.size = static_cast<std::int64_t>(std::filesystem::file_size(arguments[2]));
    job.chunk = std::stoll(arguments[5]);
    if (CLSIDFromString(WidenUtf8(arguments[4]).c_str(), &job.id) != 0) {
        return ERROR_INVALID_PARAMETER;
    }
    const DWORD error = client.Login();
    return error == ERROR_SUCCESS ? SendChunks(client.Api(), job) : error;
}

}  // namespace
}  // namespace quillmark::testing

int main(int count, char** arguments) {
    if (count != 6) {
        return 2;
    }
    const DWORD error = quillmark::testing::Drive(arguments);
    quillmark::testing::Say(error == ERROR_SUCCESS ? "done" : "failed " + std::to_string(error));
    return error == ERROR_SUCCESS ? 0 : 1;
}
