// A request with which the suites of streamed bodies send one file, "/data/my fileé.txt", under its own name.
#pragma once

#include <memory>
#include <string>

#include "TransportTest.h"

namespace quillmark {

inline constexpr const WideChar* Path = QM_W("/data/my file\u00e9.txt");
inline constexpr const WideChar* Name = QM_W("my file\u00e9.txt");

class UploadTest : public TransportTest {
protected:
    // The boundary as the Content-Type header names it.
    std::string Boundary() {
        winHttp->ClearCalls();
        EXPECT_EQ(request->AddMultipartHeaders(true), 0u);
        const std::string call = winHttp->Calls().at(1);
        const std::size_t begin = call.find("QM_MARK");
        return call.substr(begin, call.find("\"\n", begin) - begin);
    }

    DWORD SendRange(std::uint64_t offset, std::uint64_t length, std::uint64_t* sizeOut = nullptr,
                    HANDLE cancelEvent = nullptr, const std::shared_ptr<IProgressSink>& sink = nullptr) {
        return request->SendMultipartFile("file", Path, Name, offset, length, cancelEvent, sizeOut, sink, 7);
    }

    DWORD SendWhole(std::uint64_t* sizeOut = nullptr) {
        return request->SendMultipartFile("file", Path, Name, nullptr, sizeOut, nullptr, 0);
    }

    // The file part's head is 60 + 75 + 42 bytes, see AWholeUploadMakesTheseBytes.
    static constexpr std::size_t HeadLength = 177;

    // The file's bytes in what was written so far.
    [[nodiscard]] std::string SentRange() const {
        const std::string body = winHttp->Body();
        return body.substr(HeadLength, body.size() - HeadLength - 2);
    }
};

}  // namespace quillmark
