// The endpoints. Each handler answers one method of one resource; refusals are thrown as ApiError.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <string_view>

#include "Services.h"
#include "handlers/Access.h"
#include "http/HttpMessage.h"

namespace appliance {

using Handler = boost::asio::awaitable<Reply> (*)(Services& services, Exchange& exchange);

// GET /endpoints, at the server's root.
Reply AnswerEndpoints(const Services& services);

// GET <api>/init and <api>/version.
boost::asio::awaitable<Reply> AnswerInit(Services& services, Exchange& exchange);
boost::asio::awaitable<Reply> AnswerVersion(Services& services, Exchange& exchange);

// POST <api>/sessions: opens a session.
boost::asio::awaitable<Reply> Login(Services& services, Exchange& exchange);

// GET <api>/folders<path>: an item, a folder's listing, or a file's content.
boost::asio::awaitable<Reply> GetItem(Services& services, Exchange& exchange);

// POST <api>/folders<path>: form "create" or "update", or a whole file as multipart.
boost::asio::awaitable<Reply> PostItem(Services& services, Exchange& exchange);

// The multipart form of it.
boost::asio::awaitable<Reply> UploadFile(Services& services, Exchange& exchange, const Actor& actor);

// <api>/resume/upload<path>?resume_id=<GUID>: a chunk or the completion of a resumable upload, how far it has come, and
// its end.
boost::asio::awaitable<Reply> PostUpload(Services& services, Exchange& exchange);
boost::asio::awaitable<Reply> GetUpload(Services& services, Exchange& exchange);
boost::asio::awaitable<Reply> DeleteUpload(Services& services, Exchange& exchange);

// POST <api>/delta<path>: a delta for the item, or one, or its content, for a base of the client's.
boost::asio::awaitable<Reply> PostDelta(Services& services, Exchange& exchange);

// <api>/asdelta/folders<path>, <api>/asdelta/<GUID>, <api>/asdelta/status: a delta job's start, commit and end, and the
// states of several.
boost::asio::awaitable<Reply> PostDeltaJob(Services& services, Exchange& exchange);
boost::asio::awaitable<Reply> GetDeltaJobs(Services& services, Exchange& exchange);
boost::asio::awaitable<Reply> DeleteDeltaJob(Services& services, Exchange& exchange);

// The tests' own endpoints; `resource` is what follows the control path.
boost::asio::awaitable<Reply> AnswerControl(Services& services, const Request& request, RequestBody& body,
                                            std::string_view resource);

}  // namespace appliance
