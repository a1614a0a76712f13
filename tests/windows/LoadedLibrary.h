// quillmark_http.dll as a host loads it, and a client object that was made through it.
#pragma once

#include <memory>
#include <string>

#include "quillmark/HttpApi.h"
#include "support/TempFolder.h"

namespace quillmark::test {

// Loads the DLL and finds its four functions; unloads it at its end. Throws std::runtime_error when one is missing.
class LoadedLibrary {
public:
    LoadedLibrary();
    ~LoadedLibrary();
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    decltype(&::Init) init = nullptr;
    decltype(&::Exit) exit = nullptr;
    decltype(&::CreateInstance) createInstance = nullptr;
    decltype(&::CreateInstanceWithFactory) createInstanceWithFactory = nullptr;

private:
    HMODULE m_module = nullptr;
};

// What the script that started this program says of the server.
[[nodiscard]] std::string HttpUrl();
[[nodiscard]] std::string HttpsUrl();
[[nodiscard]] std::string AuthorityFile();

// The library, initialised with plain services, a client object for one of the server's addresses, a folder for files.
class Host {
public:
    explicit Host(const std::string& url = HttpUrl());
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    [[nodiscard]] DWORD Login(const std::string& password = "secret") const;
    IQuillmarkHttpAPI* operator->() const { return m_client; }
    [[nodiscard]] const LoadedLibrary& Library() const { return m_library; }

    [[nodiscard]] WideString Path(const std::string& name) const;
    // Writes a local file and gives back its path.
    [[nodiscard]] WideString Write(const std::string& name, const std::string& content) const;
    [[nodiscard]] std::string Read(const std::string& name) const;
    // Uploads a file of that content; downloads one and gives back its content.
    [[nodiscard]] DWORD Upload(const WideString& serverPath, const std::string& content) const;
    [[nodiscard]] std::string ContentOf(const WideString& serverPath) const;

private:
    LoadedLibrary m_library;
    TempFolder m_folder{"windows"};
    IQuillmarkHttpAPI* m_client = nullptr;
};

// The record of a file with this size, its times all 2026-01-02T03:04:05.678Z.
[[nodiscard]] std::shared_ptr<IServerAttributes> UploadAttributes(std::size_t size);

// So many bytes that do not repeat in any short distance.
[[nodiscard]] std::string Pattern(std::size_t size);

}  // namespace quillmark::test
