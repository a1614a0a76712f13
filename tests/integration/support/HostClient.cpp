#include "integration/support/HostClient.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace quillmark::testing {

HostClient::HostClient(const std::string& url) {
    ::Init(0, std::make_shared<Services::ServicesCollection>());
    m_api.reset(::CreateInstance(QM_W("test device")));
    const std::size_t colon = url.rfind(':');
    WideString server = WidenUtf8(url.substr(0, colon));
    m_api->SetServer(server);
    m_api->SetPort(static_cast<DWORD>(std::stoul(url.substr(colon + 1))));
}

DWORD HostClient::Login(const std::string& user, const std::string& password) {
    WideString policy;
    return m_api->Login(WidenUtf8(user), WidenUtf8(password), QM_W(""), QM_W("device-1"), policy, QM_W(""), QM_W(""),
                        nullptr);
}

std::shared_ptr<IServerAttributes> UploadAttributes(std::int64_t size) {
    const CAttributeTime time = CAttributeTime::Parse("2026-01-02T03:04:05.678Z");
    auto attributes = MakeAttributes();
    attributes->SetCreationTime(time);
    attributes->SetLastAccessTime(time);
    attributes->SetLastWriteTime(time);
    attributes->SetChangeTime(time);
    attributes->SetFileAttributes(FILE_ATTRIBUTE_NORMAL);
    attributes->SetSize(size);
    return attributes;
}

WideString WriteFileAt(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
    return WidenUtf8(path);
}

WideString WritePatternAt(const std::string& path, std::uint64_t size) {
    std::string block(1 << 20, '\0');
    for (std::size_t index = 0; index < block.size(); ++index) {
        block[index] = static_cast<char>((index * 2654435761u) >> 13);
    }
    std::ofstream file(path, std::ios::binary);
    for (std::uint64_t left = size; left > 0;) {
        const std::uint64_t count = std::min<std::uint64_t>(left, block.size());
        file.write(block.data(), static_cast<std::streamsize>(count));
        left -= count;
    }
    return WidenUtf8(path);
}

std::string ReadFileAt(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

}  // namespace quillmark::testing
