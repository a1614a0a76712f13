// The few things that the host program needs from the system and that differ between systems.
#pragma once

#include <string>
#include <vector>

#include "quillmark/WideString.h"

namespace quillmark::cli {

// One argument: its bytes, UTF-8 where it is text, and the same as a path. What is not text in an argument stays
// reachable as a file's name, and no two arguments that differ have the same bytes.
struct Argument {
    std::string bytes;
    WideString path;
};

// The program's arguments without its name.
[[nodiscard]] std::vector<Argument> Arguments(int count, char** values);

// Makes standard output and standard error take the program's lines as they are: UTF-8, ended by line feeds.
void PrepareOutput();

// Writes the text to standard error in one go: lines of several threads and programs stay whole.
void WriteError(const std::string& text);

// The path with "/" between its names, whatever else the system takes there too.
[[nodiscard]] WideString WithSlashes(const WideString& path);

// A local path that another can be put together from: names are joined to it with "/", and behind its last "/" stands a
// name. What hangs on a drive's own current folder, as "C:x" on Windows does, is told from the drive's root.
[[nodiscard]] WideString LocalPath(const WideString& path);

// Whether the standard output that could not be written, with this errno, has lost its reader. Asked on the thread that
// tried, before it calls anything else.
[[nodiscard]] bool IsReaderGone(int error);

// Whether this is the name of one file or folder, within the folder that it is put in, and of no device: what comes
// from a server becomes a local name only then.
[[nodiscard]] bool IsLocalName(const WideString& name);

// The same for two names exactly when they name the same item of a local folder.
[[nodiscard]] WideString LocalNameKey(const WideString& name);

// Whether a person sits at standard input and reads standard error.
[[nodiscard]] bool IsInteractive();

// An environment variable's value as UTF-8, empty when it is not set.
[[nodiscard]] std::string Environment(const char* name);

// What this computer is called, empty when it does not tell.
[[nodiscard]] std::string ComputerName();

// The proxy through which the system reaches a server ("https://host:port"), for a person to read and without a
// password; empty when there is none.
[[nodiscard]] std::string ProxyText(const std::string& server);

// What came of a question: an answer, none (an empty line, or the end of the input), an interruption.
enum class Answer { Given, None, Interrupted, NoTerminal };

// Asks for a secret on the terminal without echoing it. The echo is on again when this returns.
[[nodiscard]] Answer AskSecret(const std::string& prompt, HANDLE interrupt, std::string& secret);

// The manual-reset event that the first Ctrl-C (or a request to terminate) sets. Call it once, before any thread is
// started. A second Ctrl-C ends the program at once, with exit code 7.
[[nodiscard]] HANDLE InterruptEvent();

// Whether the path is a file with contents of its own, links followed: no pipe, socket or device, which reading would
// wait for. False when nothing is there.
[[nodiscard]] bool IsPlainFile(const WideString& path);

// Whether nobody but the owner can read or change the file; links are followed. True where nothing is there, and where
// files take such rights from their folder.
[[nodiscard]] bool IsOwnersAlone(const WideString& path);

// Gives a file the rights of another whose place it is to take, and its owner at least that to read and write; nothing
// to be done when that one is not there. On Windows a new file has the rights that its folder gives. 0 or an error
// code.
[[nodiscard]] DWORD KeepRights(const WideString& from, const WideString& to);

// Has the parts of a file that nothing was written to take no room, where the system does not do so by itself. 0 or an
// error code.
[[nodiscard]] DWORD MakeSparse(const WideString& path);

// The path of an item that is there, from the root, without links, "." and "..". Empty when it is not there.
[[nodiscard]] WideString AbsolutePath(const WideString& path);

// Makes a folder that only its owner can look into; the folder above it is there. 0 also when it is there already.
[[nodiscard]] DWORD MakePrivateFolder(const WideString& path);

// Writes a file that only its owner can read, whole or not at all; where a link stands, the file behind it is written
// (on Windows a file takes the link's place). 0 or an error code. ending: of the temporary name, behind the file's own;
// a program that is killed meanwhile may leave that one, and the next that uses it takes its place.
inline constexpr const WideChar* NewEnding = QM_W(".new");
[[nodiscard]] DWORD WritePrivateFile(const WideString& path, const std::string& content,
                                     const WideString& ending = NewEnding);

// An ending that nobody else uses at the time, for a file that several programs may write at once: the last one stays.
[[nodiscard]] WideString OwnNewEnding();

// Trusts the certificates of this PEM file, beside the system's and the user's, for the rest of the process. 0 or an
// error code; ERROR_INVALID_DATA when the file holds none. ERROR_NOT_SUPPORTED where trust is the system's own business
// and the system does not trust them yet.
[[nodiscard]] DWORD TrustCertificates(const WideString& path);

}  // namespace quillmark::cli
