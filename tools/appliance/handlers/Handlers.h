// The endpoints. Each handler answers one method of one resource; refusals are thrown as ApiError.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <string_view>

#include "Services.h"
#include "handlers/Access.h"
#include "http/HttpMessage.h"

namespace appliance {

using Handler = boost::asio::awaitable<Reply> (*)(Services& services, Exchange& exchange);

// The logging path, at the server's root.
inline constexpr std::string_view LoggingPath = "/audit/1.0";

// GET /endpoints, at the server's root.
boost::asio::awaitable<Reply> AnswerEndpoints(Services& services, Exchange& exchange);

// GET <api>/init and <api>/version.
boost::asio::awaitable<Reply> AnswerInit(Services& services, Exchange& exchange);
boost::asio::awaitable<Reply> AnswerVersion(Services& services, Exchange& exchange);

// POST <api>/sessions: opens a session.
boost::asio::awaitable<Reply> Login(Services& services, Exchange& exchange);

// POST <api>/registrations and <api>/registrations/resend: a device for a user's account.
boost::asio::awaitable<Reply> PostRegistration(Services& services, Exchange& exchange);

// POST /api/devices, at the server's root: a wipe has been carried out. And the control path's order of one.
boost::asio::awaitable<Reply> AcknowledgeWipe(Services& services, Exchange& exchange);
boost::asio::awaitable<Reply> OrderWipe(Services& services, const Request& request, RequestBody& body);

// GET <api>/folders<path>: an item, a folder's listing, or a file's content.
boost::asio::awaitable<Reply> GetItem(Services& services, Exchange& exchange);

// The mapped folders, for a query with "includeAll".
Reply ListMappings(Services& services, std::int64_t user, const Fields& query);

// DELETE <api>/folders<path>: the item, a folder with all that is in it.
boost::asio::awaitable<Reply> DeleteItem(Services& services, Exchange& exchange);

// POST <api>/folders<path>: form "create", "update" or "move", or a whole file as multipart.
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

// GET <api>/notifs: what the user's other devices have changed.
boost::asio::awaitable<Reply> GetChanges(Services& services, Exchange& exchange);

// <api>/locking<path>: the state of a lock, taking it, giving it up.
boost::asio::awaitable<Reply> GetLock(Services& services, Exchange& exchange);
boost::asio::awaitable<Reply> TakeLock(Services& services, Exchange& exchange);
boost::asio::awaitable<Reply> ReleaseLock(Services& services, Exchange& exchange);

// POST <api>/share makes a link; GET /share/<token>, at the server's root, is where it leads.
boost::asio::awaitable<Reply> PostShare(Services& services, Exchange& exchange);
boost::asio::awaitable<Reply> GetShared(Services& services, Exchange& exchange);

// POST <logging path>: a client's statistics. And the control path's report of them.
boost::asio::awaitable<Reply> PostAudit(Services& services, Exchange& exchange);
Reply ReportAudit(Services& services, const Request& request);

// The tests' own endpoints; `resource` is what follows the control path.
boost::asio::awaitable<Reply> AnswerControl(Services& services, const Request& request, RequestBody& body,
                                            std::string_view resource);

}  // namespace appliance
