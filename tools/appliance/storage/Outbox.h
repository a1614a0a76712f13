// The letters that the server sends: one JSON file each in a folder, from which a mailer takes them. A file is complete
// from the moment on at which it has its name; names end in ".json" and order as the letters were written.
//
// What a letter tells of is committed before the letter is written, and the request is answered after it: a client that
// got its answer has its letter, and a letter never tells of something that is not there. A server that is killed in
// between has answered nobody, and the client asks again.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace appliance {

class Outbox {
public:
    // Makes the folder when it is missing and removes what a killed server has left unfinished.
    Outbox(std::string folder, bool sync);

    // Throws ApiError when the disk is full.
    void Post(const nlohmann::json& letter) const;

private:
    std::string m_folder;
    bool m_sync;
};

}  // namespace appliance
