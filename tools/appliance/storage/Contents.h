// The contents of files, one file each, in a folder beside the database. Their names are made up here: nothing that a
// client sends ever becomes part of a path.
//
//     ContentWriter writer(contents.Folder(), sync);
//     writer.Write(bytes);
//     writer.Finish();          // complete and on the disk, name included
//     store.PutFile(... writer.Name() ...);
//     writer.Keep();            // only now it stays
//
// A writer that is not kept removes its file; one that goes on with an earlier content cuts it back to what that was.
// What a killed server leaves without a row is removed at the next start.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "http/HttpMessage.h"
#include "storage/FileDescriptor.h"

namespace appliance {

class Store;

class ContentWriter {
public:
    ContentWriter(std::string folder, bool sync);
    // Goes on behind the first `size` bytes of a content that exists. What stands behind them, from a writer that was
    // killed, is cut off.
    ContentWriter(std::string folder, bool sync, std::string name, std::uint64_t size);
    ContentWriter(const ContentWriter&) = delete;
    ContentWriter& operator=(const ContentWriter&) = delete;
    ~ContentWriter();

    // Throws ApiError when the disk is full.
    void Write(std::string_view bytes);
    void Finish();
    void Keep() { m_kept = true; }

    [[nodiscard]] const std::string& Name() const { return m_name; }
    [[nodiscard]] std::uint64_t Size() const { return m_size; }

private:
    void StartWriteBack();
    [[nodiscard]] std::string Path() const { return m_folder + '/' + m_name; }

    std::string m_folder;
    bool m_sync;
    std::string m_name;
    std::optional<std::uint64_t> m_earlier;  // size of the content that it goes on with
    FileDescriptor m_file;
    std::uint64_t m_size = 0;
    std::uint64_t m_handedToDisk = 0;
    bool m_kept = false;
};

class Contents {
public:
    // Makes the folder when it is missing.
    Contents(std::string folder, bool sync);

    // Where a ContentWriter puts its file.
    [[nodiscard]] const std::string& Folder() const { return m_folder; }
    // Empty when there is no such content any more. What is open stays readable when it is replaced.
    [[nodiscard]] FileDescriptor Open(const std::string& name) const;
    void Remove(const std::string& name) const;
    // Removes every content that no row of the store names. Only before the first request.
    void Sweep(Store& store) const;

private:
    std::string m_folder;
    bool m_sync;
};

}  // namespace appliance
