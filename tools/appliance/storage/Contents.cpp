#include "storage/Contents.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <unordered_set>

#include "http/Errors.h"
#include "storage/Random.h"
#include "storage/Store.h"

namespace appliance {

namespace {

// From this many bytes on the disk starts writing while the upload still runs, so that the sync at its end is short.
constexpr std::uint64_t WriteBackStep = 16UL * 1024 * 1024;
constexpr std::size_t NameBytes = 16;

[[noreturn]] void ThrowFileError(const char* what) {
    if (errno == ENOSPC || errno == EDQUOT || errno == EFBIG) {
        throw ApiError(ErrorId::StorageFull, "The disk is full");
    }
    throw std::system_error(errno, std::generic_category(), what);
}

void SyncFolder(const std::string& folder) {
    const FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor || ::fsync(descriptor.Get()) != 0) {
        ThrowFileError("syncing the contents folder");
    }
}

}  // namespace

ContentWriter::ContentWriter(std::string folder, bool sync)
    : m_folder(std::move(folder)), m_sync(sync), m_name(ToHex(RandomBytes(NameBytes))) {
    m_file = FileDescriptor(::open(Path().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!m_file) {
        ThrowFileError("creating a content file");
    }
}

ContentWriter::ContentWriter(std::string folder, bool sync, std::string name, std::uint64_t size)
    : m_folder(std::move(folder)),
      m_sync(sync),
      m_name(std::move(name)),
      m_earlier(size),
      m_size(size),
      m_handedToDisk(size) {
    m_file = FileDescriptor(::open(Path().c_str(), O_WRONLY | O_CLOEXEC));
    if (!m_file) {
        ThrowFileError("opening a content file");
    }
    const off_t end = ::lseek(m_file.Get(), 0, SEEK_END);
    if (end < 0 || static_cast<std::uint64_t>(end) < size) {
        throw std::runtime_error("the content " + m_name + " has lost bytes");
    }
    const auto position = static_cast<off_t>(size);
    if (::ftruncate(m_file.Get(), position) != 0 || ::lseek(m_file.Get(), position, SEEK_SET) != position) {
        ThrowFileError("cutting a content file");
    }
}

ContentWriter::~ContentWriter() {
    if (m_kept) {
        return;
    }
    if (!m_earlier) {
        ::unlink(Path().c_str());
    } else if (::truncate(Path().c_str(), static_cast<off_t>(*m_earlier)) != 0) {
        std::fprintf(stderr, "quillmark-appliance: cutting a content file: %s\n", std::strerror(errno));
    }
}

void ContentWriter::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(m_file.Get(), bytes.data(), bytes.size());
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            ThrowFileError("writing a content file");
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
        m_size += static_cast<std::uint64_t>(count);
    }
    if (m_sync && m_size - m_handedToDisk >= WriteBackStep) {
        StartWriteBack();
    }
}

void ContentWriter::StartWriteBack() {
    ::sync_file_range(m_file.Get(), static_cast<off64_t>(m_handedToDisk), static_cast<off64_t>(m_size - m_handedToDisk),
                      SYNC_FILE_RANGE_WRITE);
    m_handedToDisk = m_size;
}

void ContentWriter::Finish() {
    if (m_sync) {
        if (::fsync(m_file.Get()) != 0) {
            ThrowFileError("syncing a content file");
        }
        if (!m_earlier) {
            SyncFolder(m_folder);
        }
    }
    m_file = FileDescriptor();
}

Contents::Contents(std::string folder, bool sync) : m_folder(std::move(folder)), m_sync(sync) {
    std::filesystem::create_directories(m_folder);
    if (m_sync) {
        SyncFolder(std::filesystem::path(m_folder).parent_path().string());
    }
}

FileDescriptor Contents::Open(const std::string& name) const {
    FileDescriptor file(::open((m_folder + '/' + name).c_str(), O_RDONLY | O_CLOEXEC));
    if (!file && errno != ENOENT) {
        ThrowFileError("opening a content file");
    }
    return file;
}

void Contents::Remove(const std::string& name) const {
    ::unlink((m_folder + '/' + name).c_str());
}

void Contents::Sweep(Store& store) const {
    std::unordered_set<std::string> named;
    store.ForEachContent([&](const std::string& name) { named.insert(name); });
    for (const auto& entry : std::filesystem::directory_iterator(m_folder)) {
        const std::string name = entry.path().filename().string();
        if (!named.contains(name)) {
            Remove(name);
        }
    }
}

}  // namespace appliance
