// What clients send in forms and queries, in url-encoded and in multipart fields alike.
#pragma once

#include <optional>

#include "http/HttpMessage.h"
#include "http/Uri.h"
#include "storage/Item.h"

namespace appliance {

// "creation_time", "modification_time" and "attributes". A field that is missing, or that holds a client's text for an
// unset value, stays empty. Throws ApiError for one that cannot be read.
ItemValues ReadItemValues(const Fields& fields);

// "size", that of the file whose content follows. Throws ApiError when it is missing or no number.
std::uint64_t RequireSize(const Fields& fields);

// "revision"; a client that knows none sends an empty one or leaves the field out.
std::optional<std::string> RevisionOf(const Fields& fields);

// The field of that name. Throws ApiError when there is none.
const std::string& RequireField(const Fields& fields, std::string_view name);

// The fields of a query. Throws ApiError for a malformed escape.
Fields RequireQuery(const Request& request);

// The path below a resource. Throws ApiError when it cannot name an item.
ItemPath RequireItemPath(std::string_view encoded);
// The same for a path that a field or a header holds as plain UTF-8.
ItemPath RequirePlainItemPath(std::string_view path);

}  // namespace appliance
