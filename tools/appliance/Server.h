// The running server: data folder, listeners and the threads that serve. From construction to destruction it serves; a
// second server on the same data folder is refused.
#pragma once

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Certificates.h"
#include "DeltaWorker.h"
#include "Listener.h"
#include "Options.h"
#include "Services.h"
#include "WorkPool.h"
#include "storage/ChangeFeed.h"
#include "storage/Contents.h"
#include "storage/FileDescriptor.h"
#include "storage/Outbox.h"
#include "storage/Sessions.h"
#include "storage/Store.h"
#include "storage/Uploads.h"

namespace appliance {

class Server {
public:
    // Statistics and faults outlive a restart, so the caller owns them. Throws std::exception with what is wrong.
    Server(const Options& options, Statistics& statistics, Faults& faults,
           std::function<void(std::chrono::milliseconds)> restart);
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    // Drops every connection at once; only work that is being written to the disk is waited for.
    ~Server();

    // Where it listens, in the order of the options.
    [[nodiscard]] std::vector<ListenAddress> PlainAddresses() const;
    [[nodiscard]] std::vector<ListenAddress> TlsAddresses() const;

private:
    void SetUsers();
    void LoadTls();
    void Listen();
    void StartThreads();

    Options m_options;
    FileDescriptor m_folderLock;
    DataFile m_data;
    Store m_store;
    Contents m_contents;
    Uploads m_uploads;
    DeltaJobs m_deltaJobs;
    DeltaWorker m_deltaWorker;
    ChangeFeed m_changes;
    Outbox m_outbox;
    Sessions m_sessions;
    Services m_services;
    SslContext m_tls;
    std::atomic<std::size_t> m_open{0};
    // Below everything that connections use: what is left of them goes first.
    boost::asio::io_context m_io;
    // Goes before the streams of the connections that wait for it.
    WorkPool m_workPool{2};
    std::vector<std::unique_ptr<Listener>> m_plain;
    std::vector<std::unique_ptr<Listener>> m_secure;
    std::vector<std::thread> m_threads;
};

}  // namespace appliance
