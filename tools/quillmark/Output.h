// What commands print: results on standard output, everything else on standard error.
#pragma once

#include <cstdint>
#include <string>

#include "quillmark/Attributes.h"

namespace quillmark::cli {

// Nobody reads standard output any more (a closed pipe); there is nothing left to do and nothing to say.
class OutputClosed {};

struct GlobalOptions;
class JsonObject;

// A result of a command: the line, or with --json the object. Throws like Print.
void PrintResult(const GlobalOptions& options, const std::string& line, const JsonObject& object);

// Throws OutputClosed, or Failure when standard output cannot be written for another reason.
void Print(const std::string& line);
// Writes what is still buffered; throws like Print.
void FinishOutput();
void PrintError(const std::string& line);

// "d  2026-11-20T16:07:00.123Z           4096  name"
[[nodiscard]] std::string LongLine(const IServerAttributes& item);

[[nodiscard]] bool IsFolder(const IServerAttributes& item);

}  // namespace quillmark::cli
