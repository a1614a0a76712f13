// A key of the test's own, which this process sees as the user's registry. The registry editor, a process of its own,
// finds it below the user's real one: the names of keys in the file are changed accordingly.
#include "unit/platform/OwnRegistry.h"

#include <fstream>
#include <stdexcept>

#include "support/TempFolder.h"
#include "support/TestRegistry.h"

namespace quillmark::test {

struct OwnRegistry::Place {
    TestRegistry registry;
    TempFolder folder{"registry"};
};

namespace {

// As the file has it: each character followed by a null, or not.
std::string InEncodingOf(const std::string& file, const std::string& text) {
    if (!file.starts_with("\xFF\xFE")) {
        return text;
    }
    std::string wide;
    for (const char character : text) {
        wide += {character, '\0'};
    }
    return wide;
}

std::string ReplaceAll(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

void RunRegistryEditor(const std::filesystem::path& file) {
    std::wstring line = L"regedit.exe /S \"" + file.wstring() + L"\"";
    STARTUPINFOW start = {};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process = {};
    if (::CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &process) ==
        FALSE) {
        throw std::runtime_error("the registry editor does not start");
    }
    ::WaitForSingleObject(process.hProcess, INFINITE);
    ::CloseHandle(process.hProcess);
    ::CloseHandle(process.hThread);
}

}  // namespace

OwnRegistry::OwnRegistry() : m_place(std::make_unique<Place>()) {}

OwnRegistry::~OwnRegistry() = default;

void OwnRegistry::Import(const std::string& file) {
    const std::string root = InEncodingOf(file, "HKEY_CURRENT_USER");
    const std::string place = InEncodingOf(file, "HKEY_CURRENT_USER\\" + m_place->registry.UsersKey());
    const std::filesystem::path path = m_place->folder.Path() / "import.reg";
    std::ofstream(path, std::ios::binary) << ReplaceAll(file, root, place);
    RunRegistryEditor(path);
}

}  // namespace quillmark::test
