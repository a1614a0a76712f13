#include "storage/DataFile.h"

#include "storage/Schema.h"

namespace appliance {

DataFile::Reader::Reader(DataFile& file) : m_file(file), m_database(file.TakeReader()) {
    m_database->Prepare("BEGIN").Run();
}

DataFile::Reader::~Reader() {
    try {
        m_database->Prepare("COMMIT").Run();
        m_file.GiveReader(std::move(m_database));
    } catch (const std::exception&) {
        // A connection that cannot even end a reading is closed instead of being used again.
    }
}

DataFile::DataFile(const std::string& file, bool sync) : m_file(file), m_sync(sync), m_writer(file, sync) {
    MigrateSchema(m_writer);
}

std::unique_ptr<Database> DataFile::TakeReader() {
    {
        const std::lock_guard lock(m_readersLock);
        if (!m_readers.empty()) {
            auto database = std::move(m_readers.back());
            m_readers.pop_back();
            return database;
        }
    }
    return std::make_unique<Database>(m_file, m_sync);
}

void DataFile::GiveReader(std::unique_ptr<Database> database) {
    const std::lock_guard lock(m_readersLock);
    m_readers.push_back(std::move(database));
}

}  // namespace appliance
