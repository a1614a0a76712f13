// The changes that a server tells of: {"contents": [{"a": "delete", "m": "/x/y.txt"},
//                                                   {"a": "move", "m": {"from": "/a", "to": "/b"}}]}
#pragma once

#include "quillmark/Records.h"
#include "quillmark/ResponseBuffer.h"

namespace quillmark {

// Appends the changes in the reply's order. Always 0: a reply that is no JSON is logged and tells of no changes, and
// what the JSON library throws is logged and ends the list, with the changes before it kept. Members that are missing
// give empty texts.
DWORD GetNotificationsFromResponse(const ResponseBuffer& reply, NotificationList& actions);

}  // namespace quillmark
