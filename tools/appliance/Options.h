// What the command line asks for.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "storage/Mapping.h"

namespace appliance {

struct ListenAddress {
    std::string address;
    std::uint16_t port = 0;
};

// One entry of the endpoint list: the version under which clients find it and the path below which it answers.
struct OfferedApi {
    std::string version;
    std::string path;
};

struct Credentials {
    std::string name;
    std::string secret;  // a password, or its hash as --hash-password prints it
};

struct Options {
    std::string dataFolder;
    std::vector<ListenAddress> listen;
    std::vector<ListenAddress> tlsListen;
    std::string portFile;
    unsigned threads = 8;
    std::size_t maxConnections = 1024;
    std::chrono::seconds idleTime{120};

    std::string certificateFile;
    std::string keyFile;
    std::string certificateFolder;

    std::vector<Credentials> users;
    std::chrono::seconds sessionLifetime{86400};
    bool deviceTokenAuth = false;
    std::vector<std::string> deviceTokens;
    std::string policyBlock;
    std::string identityHeader;
    std::vector<std::string> frontEnds;

    std::vector<OfferedApi> apis;
    int tos = 0;
    bool audit = false;
    std::string versionText;

    bool sync = true;
    std::optional<std::uint64_t> capacity;
    std::chrono::seconds uploadLifetime{604800};

    std::vector<Mapping> mappings;

    std::string controlPath;
    bool faults = false;
};

// What the process is to do.
enum class Command {
    Serve,
    MakeCertificate,
    HashPassword,
    Leave,  // help has been printed, or the command line was wrong
};

struct CommandLine {
    Command command = Command::Leave;
    int exitCode = 0;
    Options options;
};

// Reads the command line, and prints help or what is wrong with it.
CommandLine ParseCommandLine(int argc, char** argv);

}  // namespace appliance
