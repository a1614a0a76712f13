// Signatures in librsync's format: what a client sends of a file so that a delta can be made against it.
#pragma once

#include <cstddef>
#include <string_view>

namespace appliance {

// A signature longer than this is taken for a file like any other. With the block lengths that librsync chooses, it
// stands for some terabytes.
constexpr std::size_t LongestSignature = 32UL * 1024 * 1024;

// Whether a file that begins with these bytes may be a signature; four are enough.
bool BeginsLikeSignature(std::string_view beginning);

// Whether it is a whole signature that can be worked with. Not so are blocks of lengths that nobody uses, sums so short
// that unequal blocks would match, and more blocks of one weak sum than chance makes, among which looking up would take
// forever.
bool IsUsableSignature(std::string_view signature);

}  // namespace appliance
