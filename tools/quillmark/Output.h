// What commands print: results on standard output, everything else on standard error.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "quillmark/Attributes.h"

namespace quillmark::cli {

// Nobody reads standard output any more (a closed pipe); there is nothing left to do and nothing to say.
class OutputClosed {};

struct GlobalOptions;
class JsonObject;

// A result of a command: the line, or with --json the object. Throws like Print.
void PrintResult(const GlobalOptions& options, const std::string& line, const JsonObject& object);

// The object alone, only with --json: for commands that are silent to a person.
void PrintForPrograms(const GlobalOptions& options, const JsonObject& object);

// Throws OutputClosed, or Failure when standard output cannot be written for another reason.
void Print(const std::string& line);
// Bytes as they are, without a line's end; throws like Print.
void PrintBytes(const void* bytes, std::size_t count);
// Writes what is still buffered; throws like Print, also when an earlier line could not be written and nobody was told.
void FinishOutput();
void PrintError(const std::string& line);

// Where the lines of PrintError go instead of standard error, while something else is drawn there; called by any thread
// that prints, one at a time, and not to print itself. None: standard error again; after that no call is under way.
using ErrorSink = std::function<void(const std::string&)>;
void SetErrorSink(ErrorSink sink);

[[nodiscard]] bool IsFolder(const IServerAttributes& item);

}  // namespace quillmark::cli
