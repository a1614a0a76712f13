// The user's mapped folders, as the server lists them:
//
//   [{"name": "Home", "description": "", "permissions": "WRITE", "folder_permissions": "READONLY", "status": "ONLINE",
//     "mode": "AUTOMATIC", "type": "smb", "allow_sharing": true, "storage_id": "{GUID}", "guid": "{GUID}",
//     "capabilities": {"delta_upload": true, "locking": true, "resumable_uploads": true,
//                      "file_size_upload_limit": 1048576}}, ...]
#pragma once

#include <cstdint>

#include "quillmark/Records.h"
#include "quillmark/ResponseBuffer.h"

namespace quillmark {

// Appends the folders in the reply's order; count: how many. A folder without a name cannot be addressed: it is logged
// and left out. Other members may be missing. 13, logged, when the reply is no JSON or the JSON library throws on it,
// 8 when memory is short; the folders before that are kept and counted.
[[nodiscard]] DWORD ReadMappings(const ResponseBuffer& reply, MappingList& mappings, DWORD& count);

}  // namespace quillmark
