// Replies for the tests of this folder.
#pragma once

#include <string_view>

#include "quillmark/ResponseBuffer.h"

namespace quillmark {

// A buffer that holds exactly these bytes; an empty text gives an empty buffer that is not null.
inline ResponseBuffer ReplyOf(std::string_view text) {
    ResponseBuffer reply;
    char* place = reply.Extend(text.size());
    text.copy(place, text.size());
    reply.Commit(text.size());
    return reply;
}

}  // namespace quillmark
