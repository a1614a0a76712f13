// What happens while files are transferred, told as it happens: the engine tells it, a view shows it. Views are bars on
// a terminal, lines in a pipe, JSON objects, or nothing.
//
// Told from several threads at once; an implementation locks for itself, returns quickly and does not throw.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "quillmark/WideString.h"

namespace quillmark::cli {

enum class Direction { Up, Down };

// How the contents of one file travel.
enum class Method {
    Whole,
    Resumable,
    Delta,
    AsyncDelta,  // a delta that the server applies in the background
    Range,       // some of the bytes, to the same place of the target
};

// One file of a transfer.
struct TransferFile {
    std::uint64_t id = 0;  // its place in the plan, from 1
    Direction direction = Direction::Up;
    Method method = Method::Whole;
    WideString local;
    WideString server;
    std::int64_t size = 0;  // bytes, as far as known when the plan was made; negative: unknown
};

enum class Outcome { Done, Skipped, Failed, Deleted };

// How a file, or another item that the plan names, ended.
struct TransferResult {
    Outcome outcome = Outcome::Done;
    std::int64_t bytes = 0;  // of the file
    DWORD error = 0;         // for Failed
    // For Skipped and Failed: words for a person, without the file's name. Empty when there is nothing to say: a file
    // that is the same on both sides, a failure that is the user's own interruption.
    std::string why;
    std::string nextStep;  // what to do about it, a whole sentence; empty when there is nothing to say
    std::string revision;  // of the item on the server afterwards, where known
    std::string job;       // that holds what was sent, when nobody has committed it yet: told like a result
};

// The end of everything.
struct TransferSummary {
    std::uint64_t files = 0;
    std::uint64_t folders = 0;
    std::uint64_t bytes = 0;
    std::uint64_t skipped = 0;
    std::uint64_t deleted = 0;
    std::uint64_t failed = 0;
    std::chrono::milliseconds time{0};
    bool cancelled = false;
    DWORD firstError = 0;
};

class TransferObserver {
public:
    virtual ~TransferObserver() = default;

    // So much is to be moved, as far as known; told again when more is found.
    virtual void Planned(std::uint64_t files, std::uint64_t bytes) = 0;
    // A file's transfer begins.
    virtual void Started(const TransferFile& file) = 0;
    // So many of its bytes are over, from the file's start: less than before when a part is sent again. The first call
    // after Started or Retrying says where the transfer begins, and counts as no movement.
    virtual void Advanced(std::uint64_t id, std::int64_t bytes) = 0;
    // It waits before another attempt.
    virtual void Retrying(std::uint64_t id, const std::string& why, int attempt, int most,
                          std::chrono::milliseconds pause) = 0;
    // It is over, also for what was never started (skipped, deleted, failed before its first byte).
    virtual void Finished(const TransferFile& file, const TransferResult& result) = 0;
    // A line for the user that belongs to no file.
    virtual void Note(const std::string& line) = 0;
    // Everything is over; nothing is told afterwards.
    virtual void Ended(const TransferSummary& summary) = 0;
};

}  // namespace quillmark::cli
