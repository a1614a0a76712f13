#include "storage/Outbox.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <system_error>

#include "http/Errors.h"
#include "storage/Contents.h"
#include "storage/Ticks.h"

namespace appliance {

namespace {

constexpr std::string_view Extension = ".json";
constexpr std::size_t TimeDigits = 19;

// Letters sort by the time at which they were written.
std::string FinalName(const std::string& unique) {
    std::string time = std::to_string(CurrentTicks());
    time.insert(0, TimeDigits - time.size(), '0');
    return time + '-' + unique + std::string(Extension);
}

void SyncNames(const std::string& folder) {
    const FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor || ::fsync(descriptor.Get()) != 0) {
        throw std::system_error(errno, std::generic_category(), "syncing the outbox");
    }
}

}  // namespace

Outbox::Outbox(std::string folder, bool sync) : m_folder(std::move(folder)), m_sync(sync) {
    std::filesystem::create_directories(m_folder);
    for (const auto& entry : std::filesystem::directory_iterator(m_folder)) {
        if (entry.path().extension() != Extension) {
            std::filesystem::remove(entry.path());
        }
    }
}

void Outbox::Post(const nlohmann::json& letter) const {
    ContentWriter writer(m_folder, m_sync);
    writer.Write(JsonText(letter) + '\n');
    writer.Finish();
    const std::string name = FinalName(writer.Name());
    std::filesystem::rename(m_folder + '/' + writer.Name(), m_folder + '/' + name);
    writer.Keep();
    if (m_sync) {
        SyncNames(m_folder);
    }
}

}  // namespace appliance
