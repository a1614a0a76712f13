// quillmark-appliance: the process around the server. The main thread waits for signals; everything else is the
// server's.

#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "Certificates.h"
#include "Options.h"
#include "Pch.h"
#include "Server.h"
#include "Statistics.h"
#include "faults/Faults.h"
#include "storage/Passwords.h"

namespace appliance {

namespace {

// Sent by the process to itself.
const int RestartSignal = SIGRTMIN;

std::string AddressText(const ListenAddress& address) {
    const bool v6 = address.address.find(':') != std::string::npos;
    return (v6 ? '[' + address.address + ']' : address.address) + ':' + std::to_string(address.port);
}

std::vector<std::string> AddressLines(const Server& server) {
    std::vector<std::string> lines;
    for (const ListenAddress& address : server.PlainAddresses()) {
        lines.push_back("http=" + AddressText(address));
    }
    for (const ListenAddress& address : server.TlsAddresses()) {
        lines.push_back("https=" + AddressText(address));
    }
    return lines;
}

// Readers of the file never see half of it.
void WritePortFile(const std::string& path, const std::vector<std::string>& lines) {
    const std::string unfinished = path + ".new";
    std::ofstream file(unfinished);
    for (const std::string& line : lines) {
        file << line << '\n';
    }
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path);
    }
    std::filesystem::rename(unfinished, path);
}

void Announce(const Options& options, const Server& server) {
    const auto lines = AddressLines(server);
    if (!options.portFile.empty()) {
        WritePortFile(options.portFile, lines);
    }
    std::string ready = "quillmark-appliance ready";
    for (const std::string& line : lines) {
        ready += ' ' + line;
    }
    std::puts(ready.c_str());
    std::fflush(stdout);
}

sigset_t HandledSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, RestartSignal}) {
        sigaddset(&signals, signal);
    }
    return signals;
}

// Waits for the time to pass; false when the process is to end instead.
bool StayDown(const sigset_t& signals, std::chrono::milliseconds time) {
    const auto until = std::chrono::steady_clock::now() + time;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::nanoseconds>(until - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return true;
        }
        const timespec rest{left.count() / 1'000'000'000, left.count() % 1'000'000'000};
        const int signal = sigtimedwait(&signals, nullptr, &rest);
        if (signal == SIGTERM || signal == SIGINT) {
            return false;
        }
    }
}

// Serves until the process is told to end.
void Serve(Options options) {
    const sigset_t signals = HandledSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    Statistics statistics;
    Faults faults;
    std::atomic<std::chrono::milliseconds> downTime{};
    const auto restart = [&](std::chrono::milliseconds time) {
        downTime = time;
        ::kill(::getpid(), RestartSignal);
    };
    bool announced = false;
    for (;;) {
        {
            Server server(options, statistics, faults, restart);
            if (!announced) {
                Announce(options, server);
                announced = true;
            }
            options.listen = server.PlainAddresses();
            options.tlsListen = server.TlsAddresses();
            int signal = 0;
            sigwait(&signals, &signal);
            if (signal != RestartSignal) {
                return;
            }
        }
        if (!StayDown(signals, downTime)) {
            return;
        }
    }
}

void PrintPasswordHash() {
    std::string password;
    std::getline(std::cin, password);
    std::puts(HashPassword(password).c_str());
}

int Run(const CommandLine& commandLine) {
    switch (commandLine.command) {
        case Command::Serve:
            Serve(commandLine.options);
            break;
        case Command::MakeCertificate:
            MakeCertificates(commandLine.options.certificateFolder);
            break;
        case Command::HashPassword:
            PrintPasswordHash();
            break;
        case Command::Leave:
            break;
    }
    return commandLine.exitCode;
}

}  // namespace

}  // namespace appliance

int main(int argc, char** argv) {
    try {
        return appliance::Run(appliance::ParseCommandLine(argc, argv));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quillmark-appliance: %s\n", error.what());
        return 1;
    }
}
