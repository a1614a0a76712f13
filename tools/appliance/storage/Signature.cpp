#include "storage/Signature.h"

#include <librsync.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace appliance {

namespace {

// On the wire: magic, block length and length of the strong sums, each of four bytes with the highest first; then weak
// and strong sum of each block.
constexpr std::size_t HeadLength = 12;
constexpr std::size_t WeakLength = 4;

constexpr std::size_t ShortestBlock = 64;
constexpr std::size_t LongestBlock = 1024UL * 1024;
constexpr std::size_t ShortestSum = 5;
constexpr std::size_t LongestMd4Sum = 16;
constexpr std::size_t LongestBlake2Sum = 32;

// Different blocks with the same weak sum.
constexpr std::size_t MostAlike = 16;

std::uint32_t NumberAt(std::string_view bytes, std::size_t offset) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        number = number << 8 | static_cast<unsigned char>(bytes[offset + i]);
    }
    return number;
}

// 0 for a number that marks no signature.
std::size_t LongestSum(std::uint32_t magic) {
    switch (magic) {
        case RS_MD4_SIG_MAGIC:
        case RS_RK_MD4_SIG_MAGIC:
            return LongestMd4Sum;
        case RS_BLAKE2_SIG_MAGIC:
        case RS_RK_BLAKE2_SIG_MAGIC:
            return LongestBlake2Sum;
        default:
            return 0;
    }
}

// Equal blocks, and a file may have many of them, count once.
bool HasCrowds(std::string_view blocks, std::size_t blockLength) {
    std::vector<const char*> sorted;
    sorted.reserve(blocks.size() / blockLength);
    for (std::size_t at = 0; at < blocks.size(); at += blockLength) {
        sorted.push_back(blocks.data() + at);
    }
    std::sort(sorted.begin(), sorted.end(),
              [&](const char* left, const char* right) { return std::memcmp(left, right, blockLength) < 0; });
    std::size_t alike = 1;
    for (std::size_t i = 1; i < sorted.size(); ++i) {
        if (std::memcmp(sorted[i - 1], sorted[i], WeakLength) != 0) {
            alike = 1;
        } else if (std::memcmp(sorted[i - 1], sorted[i], blockLength) != 0 && ++alike > MostAlike) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool BeginsLikeSignature(std::string_view beginning) {
    return beginning.size() >= 4 && LongestSum(NumberAt(beginning, 0)) != 0;
}

bool IsUsableSignature(std::string_view signature) {
    if (signature.size() < HeadLength || signature.size() > LongestSignature) {
        return false;
    }
    const std::size_t block = NumberAt(signature, 4);
    const std::size_t sum = NumberAt(signature, 8);
    if (block < ShortestBlock || block > LongestBlock || sum < ShortestSum ||
        sum > LongestSum(NumberAt(signature, 0))) {
        return false;
    }
    const std::string_view blocks = signature.substr(HeadLength);
    return blocks.size() % (WeakLength + sum) == 0 && !HasCrowds(blocks, WeakLength + sum);
}

}  // namespace appliance
