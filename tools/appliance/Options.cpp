#include "Options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fstream>

#include "http/Uri.h"

namespace appliance {

namespace {

constexpr const char* Description =
    "Reference server for Quillmark clients: sessions, folders and files over HTTP and HTTPS.\n"
    "\n"
    "Users, items and sessions are kept in one data folder. What the server has acknowledged is there after a "
    "restart,\n"
    "whenever and however the server was stopped. It stops at once on SIGTERM and SIGINT.\n"
    "\n"
    "Once it accepts connections it prints one line, the addresses in the order of the options:\n"
    "  quillmark-appliance ready http=127.0.0.1:41873 https=127.0.0.1:40211";

constexpr const char* Examples =
    "Examples:\n"
    "  Try it on free ports, HTTP and HTTPS with a certificate of its own (the authority is in DIR/tls/ca.pem):\n"
    "    quillmark-appliance --data DIR --user ann:secret --listen 127.0.0.1:0 --tls-listen 127.0.0.1:0\n"
    "  Make the certificates only:\n"
    "    quillmark-appliance --make-certificate DIR\n"
    "  Behind a front end that authenticates with Negotiate and passes the name on:\n"
    "    quillmark-appliance --data DIR --users-file users --listen 127.0.0.1:8080 --identity-header X-Remote-User\n"
    "  Under test, with counters and faults below /control:\n"
    "    quillmark-appliance --data DIR --user ann:secret --listen 127.0.0.1:0 --control /control --faults\n"
    "  With a mapped folder that takes small files only, and one whose storage is away:\n"
    "    quillmark-appliance --data DIR --user ann:secret --listen 127.0.0.1:0 \\\n"
    "        --mapping 'Docs;type=smb;limit=1000000' --mapping 'Archive;type=webdav;status=OFFLINE;readonly'\n"
    "  Look at it with curl:\n"
    "    curl -d 'user_id=ann&password=secret&device_id=d' http://127.0.0.1:8080/api/1.7/sessions\n"
    "    curl -b session_token=TOKEN 'http://127.0.0.1:8080/api/1.7/folders/?type=all'\n"
    "  A line for the users file, the password read from standard input:\n"
    "    quillmark-appliance --hash-password";

// "ADDR:PORT"; an IPv6 address stands in brackets.
ListenAddress ParseListenAddress(const std::string& text) {
    const std::size_t colon = text.rfind(':');
    const auto port = colon == std::string::npos ? std::nullopt : ParseNumber(std::string_view(text).substr(colon + 1));
    if (!port || *port > 65535 || colon == 0) {
        throw CLI::ValidationError("'" + text + "' is not ADDR:PORT");
    }
    std::string address = text.substr(0, colon);
    if (address.size() > 2 && address.front() == '[' && address.back() == ']') {
        address = address.substr(1, address.size() - 2);
    }
    return {address, static_cast<std::uint16_t>(*port)};
}

OfferedApi ParseApi(const std::string& text) {
    const std::size_t equals = text.find('=');
    const std::string version = text.substr(0, equals);
    const std::string path = equals == std::string::npos ? "/api/" + version : text.substr(equals + 1);
    if (version.empty() || path.size() < 2 || path.front() != '/' || path.back() == '/') {
        throw CLI::ValidationError("'" + text + "' is not VERSION or VERSION=/PATH");
    }
    return {version, path};
}

void ParseMappings(const std::vector<std::string>& texts, std::vector<Mapping>& mappings) {
    for (const std::string& text : texts) {
        try {
            mappings.push_back(ParseMapping(text));
        } catch (const std::invalid_argument& error) {
            throw CLI::ValidationError(error.what());
        }
        const std::string& name = mappings.back().name;
        if (std::any_of(mappings.begin(), std::prev(mappings.end()),
                        [&](const Mapping& mapping) { return mapping.name == name; })) {
            throw CLI::ValidationError("mapping '" + text + "': there is one of that name already");
        }
    }
}

Credentials ParseUser(const std::string& text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos || colon == 0) {
        throw CLI::ValidationError("'" + text.substr(0, colon) + "' is not followed by :PASSWORD");
    }
    return {text.substr(0, colon), text.substr(colon + 1)};
}

void ReadUsersFile(const std::string& path, std::vector<Credentials>& users) {
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        if (!line.empty() && line.front() != '#') {
            users.push_back(ParseUser(line));
        }
    }
    if (!file.eof()) {
        throw CLI::ValidationError("the users file '" + path + "' cannot be read");
    }
}

// The options as texts, before they are checked and turned into values.
struct Texts {
    std::vector<std::string> listen;
    std::vector<std::string> tlsListen;
    std::vector<std::string> users;
    std::string usersFile;
    std::vector<std::string> apis{"1.7"};
    std::vector<std::string> mappings;
    std::int64_t sessionSeconds = 86400;
    std::int64_t idleSeconds = 120;
    std::uint64_t capacity = 0;
    std::int64_t uploadSeconds = 604800;
    bool noSync = false;
    bool hashPassword = false;
};

void AddNetworkOptions(CLI::App& app, Options& options, Texts& texts) {
    app.add_option("--listen", texts.listen, "Serve HTTP here; port 0 takes a free one. May be given several times")
        ->type_name("ADDR:PORT")
        ->group("Network");
    app.add_option("--tls-listen", texts.tlsListen, "Serve HTTPS here, likewise")
        ->type_name("ADDR:PORT")
        ->group("Network");
    app.add_option("--port-file", options.portFile,
                   "Write the addresses there too, one http=ADDR:PORT or https=ADDR:PORT per line")
        ->type_name("FILE")
        ->group("Network");
    app.add_option("--cert", options.certificateFile, "Certificate chain for HTTPS (PEM)")
        ->type_name("FILE")
        ->group("Network");
    app.add_option("--key", options.keyFile, "Its private key (PEM)")->type_name("FILE")->group("Network");
    app.add_option(
           "--make-certificate", options.certificateFolder,
           "Folder of the generated authority and certificate for localhost, 127.0.0.1 and ::1: ca.pem, server.pem and "
           "server.key are made when missing. Without --data nothing else is done. Default: DATA/tls")
        ->type_name("FOLDER")
        ->group("Network");
    app.add_option("--threads", options.threads, "Threads that serve requests")
        ->check(CLI::Range(1, 256))
        ->type_name("NUMBER")
        ->capture_default_str()
        ->group("Network");
    app.add_option("--max-connections", options.maxConnections, "Connections beyond this number are closed at once")
        ->type_name("NUMBER")
        ->capture_default_str()
        ->group("Network");
    app.add_option("--idle-time", texts.idleSeconds,
                   "Seconds after which a connection on which nothing moves is closed")
        ->check(CLI::Range(1, 86400))
        ->type_name("SECONDS")
        ->capture_default_str()
        ->group("Network");
}

void AddAccountOptions(CLI::App& app, Options& options, Texts& texts) {
    app.add_option("--user", texts.users,
                   "Add this user, or give the user this password. May be given several times; other people on "
                   "this machine can read it, so a users file is better where there are any")
        ->type_name("NAME:PASSWORD")
        ->group("Accounts");
    app.add_option(
           "--users-file", texts.usersFile,
           "The same from a file, one user per line; the password may be a hash. Lines with # in front are skipped")
        ->type_name("FILE")
        ->group("Accounts");
    app.add_flag("--hash-password", texts.hashPassword, "Read a password from standard input, print its hash and leave")
        ->group("Accounts");
    app.add_option("--session-lifetime", texts.sessionSeconds, "Seconds for which a login is good")
        ->check(CLI::Range(1, 315360000))
        ->type_name("SECONDS")
        ->capture_default_str()
        ->group("Accounts");
    app.add_flag("--device-token-auth", options.deviceTokenAuth, "Logins need a device token (announced to clients)")
        ->group("Accounts");
    app.add_option("--device-token", options.deviceTokens, "A device token that is good. May be given several times")
        ->type_name("TOKEN")
        ->group("Accounts");
    app.add_option("--policy-block", options.policyBlock, "JSON that every login reply carries as policy_block")
        ->type_name("JSON")
        ->group("Accounts");
    app.add_option(
           "--identity-header", options.identityHeader,
           "Header in which a trusted front end names the user on the /kerberos branch; without it that branch is "
           "closed")
        ->type_name("HEADER")
        ->group("Accounts");
    app.add_option("--front-end", options.frontEnds,
                   "Address from which that header is believed. May be given several times; default 127.0.0.1 and ::1")
        ->type_name("ADDR")
        ->group("Accounts");
}

void AddProtocolOptions(CLI::App& app, Options& options, Texts& texts) {
    app.add_option("--data", options.dataFolder, "Folder for everything that is kept; made when missing")
        ->type_name("FOLDER")
        ->group("Storage");
    app.add_option("--capacity", texts.capacity, "Bytes that all contents together may take; 0 is no bound")
        ->type_name("BYTES")
        ->group("Storage");
    app.add_option("--upload-lifetime", texts.uploadSeconds,
                   "Seconds for which a resumable upload is kept after its last chunk, unless the client says until "
                   "when, and a delta job after its start")
        ->check(CLI::Range(1, 315360000))
        ->type_name("SECONDS")
        ->capture_default_str()
        ->group("Storage");
    app.add_flag("--no-sync", texts.noSync,
                 "Do not wait for the disk: faster, but a power cut may lose what was acknowledged")
        ->group("Storage");
    app.add_option("--api", texts.apis,
                   "Offer this API version, below /api/VERSION or the path given. May be given several times")
        ->type_name("VERSION[=/PATH]")
        ->capture_default_str()
        ->group("Protocol");
    app.add_option(
           "--mapping", texts.mappings,
           "Offer every user this mapped folder. May be given several times; without it each top-level folder is "
           "offered. Settings: type=WORD (such as smb or webdav), status=ONLINE|OFFLINE|TIMEOUT|INACCESSIBLE|"
           "BAD_CREDENTIALS (all but ONLINE: what is in it cannot be reached), mode=WORD (such as AUTOMATIC or "
           "OFFLINE), "
           "description=TEXT, limit=BYTES (of one file), readonly, no-sharing, no-delta, no-locking, no-resumable")
        ->type_name("NAME[;SETTING]...")
        ->group("Protocol");
    app.add_option("--tos", options.tos, "The tos number of the offered endpoints")
        ->type_name("NUMBER")
        ->capture_default_str()
        ->group("Protocol");
    app.add_flag("--audit", options.audit, "Offer a logging endpoint")->group("Protocol");
    app.add_option("--version-text", options.versionText, "What /version answers")
        ->capture_default_str()
        ->group("Protocol");
    app.add_option("--control", options.controlPath, "Answer statistics and faults below this path; for tests only")
        ->type_name("/PATH")
        ->group("Tests");
    app.add_flag("--faults", options.faults, "Take fault rules below the control path")->group("Tests");
}

void Convert(const Texts& texts, Options& options) {
    for (const std::string& text : texts.listen) {
        options.listen.push_back(ParseListenAddress(text));
    }
    for (const std::string& text : texts.tlsListen) {
        options.tlsListen.push_back(ParseListenAddress(text));
    }
    for (const std::string& text : texts.apis) {
        options.apis.push_back(ParseApi(text));
    }
    ParseMappings(texts.mappings, options.mappings);
    if (!texts.usersFile.empty()) {
        ReadUsersFile(texts.usersFile, options.users);
    }
    for (const std::string& text : texts.users) {
        options.users.push_back(ParseUser(text));
    }
    if (options.frontEnds.empty()) {
        options.frontEnds = {"127.0.0.1", "::1"};
    }
    if (texts.capacity > 0) {
        options.capacity = texts.capacity;
    }
    options.sessionLifetime = std::chrono::seconds(texts.sessionSeconds);
    options.uploadLifetime = std::chrono::seconds(texts.uploadSeconds);
    options.idleTime = std::chrono::seconds(texts.idleSeconds);
    options.sync = !texts.noSync;
}

Command Choose(const Options& options, bool hashPassword) {
    if (hashPassword) {
        return Command::HashPassword;
    }
    if (!options.certificateFolder.empty() && options.dataFolder.empty()) {
        return Command::MakeCertificate;
    }
    if (options.dataFolder.empty()) {
        throw CLI::RequiredError("--data");
    }
    if (options.listen.empty() && options.tlsListen.empty()) {
        throw CLI::RequiredError("--listen or --tls-listen");
    }
    if (options.certificateFile.empty() != options.keyFile.empty()) {
        throw CLI::ValidationError("--cert and --key go together");
    }
    if (options.faults && options.controlPath.empty()) {
        throw CLI::ValidationError("--faults needs --control");
    }
    if (!options.controlPath.empty() && (options.controlPath.size() < 2 || options.controlPath.front() != '/')) {
        throw CLI::ValidationError("--control is a path that begins with /");
    }
    return Command::Serve;
}

}  // namespace

CommandLine ParseCommandLine(int argc, char** argv) {
    CommandLine result;
    Options& options = result.options;
    options.versionText = QUILLMARK_VERSION;
    Texts texts;
    CLI::App app(Description, "quillmark-appliance");
    app.footer(Examples);
    AddNetworkOptions(app, options, texts);
    AddAccountOptions(app, options, texts);
    AddProtocolOptions(app, options, texts);
    try {
        app.parse(argc, argv);
        Convert(texts, options);
        result.command = Choose(options, texts.hashPassword);
    } catch (const CLI::ParseError& error) {
        result.exitCode = app.exit(error);
    }
    return result;
}

}  // namespace appliance
