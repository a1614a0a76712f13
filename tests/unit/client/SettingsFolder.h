// A registry of the test's own: it stands in for the system's while it lives.
#pragma once

#include <memory>
#include <string>

namespace quillmark::test {

class SettingsFolder {
public:
    SettingsFolder();
    ~SettingsFolder();
    SettingsFolder(const SettingsFolder&) = delete;
    SettingsFolder& operator=(const SettingsFolder&) = delete;

    // The machine's settings from now on, in place of those before: lines such as "\"UploadExpiry\"=dword:0000000c\n".
    void Write(const std::string& values) const;

private:
    struct Place;
    std::unique_ptr<Place> m_place;
};

}  // namespace quillmark::test
