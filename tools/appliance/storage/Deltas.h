// Deltas in librsync's format, the one that the rdiff command writes and reads.
//
// What clients send is not trusted: memory stays bounded, no more bytes are written than announced, and whatever is not
// what it claims to be is refused. Calls block for as long as the work takes, which for large files is long: they
// belong on a thread that nobody waits for.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "storage/FileDescriptor.h"

namespace appliance {

class ContentWriter;

// Called between blocks with the bytes written so far. Throwing ends the work.
using Checkpoint = std::function<void(std::uint64_t written)>;

// Writes what the delta makes of the base. Throws ApiError: Malformed for what is no delta, or none for this base, and
// BodyMismatch when the result has not exactly `size` bytes. A result that grows longer is given up at once.
void ApplyDelta(const FileDescriptor& base, const FileDescriptor& delta, std::uint64_t size, ContentWriter& result,
                const Checkpoint& checkpoint);

// Writes the delta that makes the content, of `size` bytes, from the file with that signature. It is hardly longer than
// the content. False, with an undefined beginning of a delta written, when the signature cannot be worked with or was
// made so that looking its blocks up takes forever.
bool MakeDelta(std::string_view signature, const FileDescriptor& content, std::uint64_t size, ContentWriter& delta,
               const Checkpoint& checkpoint);

}  // namespace appliance
