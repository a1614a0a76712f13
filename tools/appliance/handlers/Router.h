// Finds the handler of a request and lets it answer. The table in the source lists every endpoint.
#pragma once

#include <boost/asio/awaitable.hpp>

#include "Services.h"
#include "http/HttpMessage.h"
#include "http/RequestBody.h"

namespace appliance {

class Router {
public:
    explicit Router(Services& services) : m_services(services) {}

    // The handler's reply; refusals are replies too. Errors of the connection are thrown.
    [[nodiscard]] boost::asio::awaitable<Reply> Answer(const Request& request, RequestBody& body);

    // Whether the request is for the tests' own endpoints, which are neither counted nor met by faults.
    [[nodiscard]] bool IsControl(const Request& request) const;

private:
    [[nodiscard]] boost::asio::awaitable<Reply> Dispatch(const Request& request, RequestBody& body);

    Services& m_services;
};

}  // namespace appliance
