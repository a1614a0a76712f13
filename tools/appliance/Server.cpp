#include "Server.h"

#include <fcntl.h>
#include <sys/file.h>

#include <filesystem>

#include "Pch.h"
#include "storage/Mappings.h"
#include "storage/Passwords.h"

namespace appliance {

namespace {

FileDescriptor LockFolder(const std::string& folder) {
    std::filesystem::create_directories(folder);
    FileDescriptor lock(::open((folder + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lock) {
        throw std::runtime_error("cannot write into the data folder " + folder);
    }
    if (::flock(lock.Get(), LOCK_EX | LOCK_NB) != 0) {
        throw std::runtime_error("another server uses the data folder " + folder);
    }
    return lock;
}

std::vector<ListenAddress> AddressesOf(const std::vector<std::unique_ptr<Listener>>& listeners) {
    std::vector<ListenAddress> addresses;
    for (const auto& listener : listeners) {
        addresses.push_back(listener->BoundAddress());
    }
    return addresses;
}

}  // namespace

Server::Server(const Options& options, Statistics& statistics, Faults& faults,
               std::function<void(std::chrono::milliseconds)> restart)
    : m_options(options),
      m_folderLock(LockFolder(options.dataFolder)),
      m_data(options.dataFolder + "/appliance.db", options.sync),
      m_store(m_data, options.capacity),
      m_contents(options.dataFolder + "/contents", options.sync),
      m_uploads(m_data, m_contents, options.capacity, options.uploadLifetime),
      m_deltaJobs(m_data, m_contents, options.capacity, options.uploadLifetime),
      m_deltaWorker(m_deltaJobs, m_contents, options.sync),
      m_changes(m_data),
      m_outbox(options.dataFolder + "/outbox", options.sync),
      m_sessions(m_store, options.sessionLifetime),
      m_services{m_options,  m_data,    m_store,  m_contents, m_uploads,  m_deltaJobs, m_deltaWorker,
                 m_workPool, m_changes, m_outbox, m_sessions, statistics, faults,      std::move(restart)} {
    m_uploads.RemoveExpired();
    m_deltaJobs.RemoveExpired();
    m_contents.Sweep(m_store);
    m_changes.DropOld();
    m_deltaWorker.Start();
    SetUsers();
    Mappings(m_data).Offer(m_options.mappings);
    LoadTls();
    Listen();
    StartThreads();
}

Server::~Server() {
    m_io.stop();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
}

std::vector<ListenAddress> Server::PlainAddresses() const {
    return AddressesOf(m_plain);
}

std::vector<ListenAddress> Server::TlsAddresses() const {
    return AddressesOf(m_secure);
}

void Server::SetUsers() {
    for (const Credentials& user : m_options.users) {
        const auto known = m_store.FindUser(user.name);
        if (IsPasswordHash(user.secret)) {
            m_store.SetUser(user.name, user.secret);
        } else if (!known || !VerifyPassword(user.secret, known->passwordHash)) {
            m_store.SetUser(user.name, HashPassword(user.secret));
        }
    }
    if (!m_store.HasUsers()) {
        throw std::runtime_error("there are no users yet: add some with --user or --users-file");
    }
}

void Server::LoadTls() {
    if (m_options.tlsListen.empty()) {
        return;
    }
    if (!m_options.certificateFile.empty()) {
        m_tls = LoadTlsContext(m_options.certificateFile, m_options.keyFile);
        return;
    }
    const std::string folder =
        m_options.certificateFolder.empty() ? m_options.dataFolder + "/tls" : m_options.certificateFolder;
    MakeCertificates(folder);
    m_tls = LoadTlsContext(folder + "/server.pem", folder + "/server.key");
}

void Server::Listen() {
    for (const ListenAddress& address : m_options.listen) {
        m_plain.push_back(std::make_unique<Listener>(m_io, address, nullptr, m_services, m_open));
    }
    for (const ListenAddress& address : m_options.tlsListen) {
        m_secure.push_back(std::make_unique<Listener>(m_io, address, m_tls.get(), m_services, m_open));
    }
    for (const auto& listener : m_plain) {
        listener->Start();
    }
    for (const auto& listener : m_secure) {
        listener->Start();
    }
}

void Server::StartThreads() {
    for (unsigned i = 0; i < m_options.threads; ++i) {
        m_threads.emplace_back([this] { m_io.run(); });
    }
}

}  // namespace appliance
