#include "LoadedLibrary.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace quillmark::test {
namespace {

template <typename Function>
void Find(HMODULE module, const char* name, Function& function) {
    const FARPROC found = ::GetProcAddress(module, name);
    if (found == nullptr) {
        throw std::runtime_error(std::string("the library has no ") + name);
    }
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) {
        throw std::runtime_error(std::string(name) + " is not set; start this program with with-server.sh");
    }
    return value;
}

}  // namespace

LoadedLibrary::LoadedLibrary() : m_module(::LoadLibraryW(L"quillmark_http.dll")) {
    if (m_module == nullptr) {
        throw std::runtime_error("the library does not load: " + std::to_string(::GetLastError()));
    }
    Find(m_module, "Init", init);
    Find(m_module, "Exit", exit);
    Find(m_module, "CreateInstance", createInstance);
    Find(m_module, "CreateInstanceWithFactory", createInstanceWithFactory);
}

LoadedLibrary::~LoadedLibrary() {
    ::FreeLibrary(m_module);
}

std::string HttpUrl() {
    return Variable("QUILLMARK_TEST_HTTP");
}

std::string HttpsUrl() {
    return Variable("QUILLMARK_TEST_HTTPS");
}

std::string AuthorityFile() {
    return Variable("QUILLMARK_TEST_CA");
}

Host::Host(const std::string& url) {
    m_library.init(0, std::make_shared<Services::ServicesCollection>());
    m_client = m_library.createInstance(QM_W("test device"));
    const std::size_t colon = url.rfind(':');
    WideString server = WidenUtf8(url.substr(0, colon));
    m_client->SetServer(server);
    m_client->SetPort(static_cast<DWORD>(std::stoul(url.substr(colon + 1))));
}

Host::~Host() {
    m_client->Release();
    m_library.exit();
    // The services are this program's: the library lets go of them before it is unloaded.
    m_library.init(0, nullptr);
}

DWORD Host::Login(const std::string& password) const {
    WideString policy;
    return m_client->Login(QM_W("anna"), WidenUtf8(password), QM_W(""), QM_W("device-1"), policy, QM_W("1.0"), QM_W(""),
                           nullptr);
}

WideString Host::Path(const std::string& name) const {
    return WideString((m_folder.Path() / name).wstring());
}

WideString Host::Write(const std::string& name, const std::string& content) const {
    std::ofstream(m_folder.Path() / name, std::ios::binary) << content;
    return Path(name);
}

std::string Host::Read(const std::string& name) const {
    std::ifstream file(m_folder.Path() / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

DWORD Host::Upload(const WideString& serverPath, const std::string& content) const {
    return m_client->UploadFile(Write("upload", content), serverPath, UploadAttributes(content.size()), nullptr,
                                nullptr, 0);
}

std::string Host::ContentOf(const WideString& serverPath) const {
    const DWORD error =
        m_client->DownloadFile(serverPath, Path("download"), nullptr, MakeAttributes(), QM_W(""), nullptr, nullptr, 0);
    return error == 0 ? Read("download") : "error " + std::to_string(error);
}

std::shared_ptr<IServerAttributes> UploadAttributes(std::size_t size) {
    const CAttributeTime time = CAttributeTime::Parse("2026-01-02T03:04:05.678Z");
    auto attributes = MakeAttributes();
    attributes->SetCreationTime(time);
    attributes->SetLastAccessTime(time);
    attributes->SetLastWriteTime(time);
    attributes->SetChangeTime(time);
    attributes->SetFileAttributes(FILE_ATTRIBUTE_NORMAL);
    attributes->SetSize(static_cast<std::int64_t>(size));
    return attributes;
}

std::string Pattern(std::size_t size) {
    std::string bytes(size, '\0');
    std::uint32_t state = 1;
    for (char& byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

}  // namespace quillmark::test
