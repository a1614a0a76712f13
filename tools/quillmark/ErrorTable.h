// Every error that this program has words for, sorted by number. See ErrorText.
#pragma once

#include <span>

#include "ErrorText.h"

namespace quillmark::cli {

struct KnownError {
    DWORD error;
    const char* name;  // as Windows, the library or the protocol's description for servers call it
    ExitCode exit;
    const char* reason;
    const char* nextStep = "";  // a whole sentence
    bool doctorHelps = false;   // what is wrong can be told closer by looking at the way to the server
};

[[nodiscard]] std::span<const KnownError> KnownErrors();

}  // namespace quillmark::cli
