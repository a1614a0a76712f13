// Reading replies while memory is short: each allocation in turn fails, and the reader must end with a code, leave
// nothing behind and keep what the caller's lists held.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <new>
#include <string>

#include "fakes/RecordingEventing.h"
#include "model/Endpoints.h"
#include "model/JsonExceptions.h"
#include "model/JsonResponse.h"
#include "model/Mappings.h"
#include "model/Notifications.h"
#include "unit/model/Reply.h"

namespace {

// How many allocations of this program still succeed; negative: all.
std::atomic<long> allocationsLeft = -1;
// Whether only the next one then fails, and all behind it succeed.
std::atomic<bool> failOnlyOnce = false;
std::atomic<long> liveAllocations = 0;

void* AllocateOrNull(std::size_t size) noexcept {
    if (allocationsLeft >= 0 && allocationsLeft-- == 0) {
        allocationsLeft = failOnlyOnce ? -1 : 0;
        return nullptr;
    }
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block != nullptr) {
        ++liveAllocations;
    }
    return block;
}

void* Allocate(std::size_t size) {
    void* block = AllocateOrNull(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void Deallocate(void* block) noexcept {
    if (block != nullptr) {
        --liveAllocations;
        std::free(block);
    }
}

}  // namespace

void* operator new(std::size_t size) {
    return Allocate(size);
}
void* operator new[](std::size_t size) {
    return Allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return AllocateOrNull(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return AllocateOrNull(size);
}
void operator delete(void* block) noexcept {
    Deallocate(block);
}
void operator delete[](void* block) noexcept {
    Deallocate(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    Deallocate(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    Deallocate(block);
}
void operator delete(void* block, std::size_t) noexcept {
    Deallocate(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    Deallocate(block);
}

namespace quillmark {
namespace {

// Runs the action with memory for 0, 1, 2, ... allocations until it is no longer short. The action returns the code
// that an operation would end with; what it allocates must be free again at its end. Returns how many runs were short.
long SweepAllocations(const std::function<DWORD()>& action) {
    { const fakes::RecordedLog firstUse; }  // what the recorder allocates once, it has allocated now
    for (long available = 0; available < 100000; ++available) {
        const long before = liveAllocations;
        allocationsLeft = available;
        const DWORD code = action();
        const bool ranShort = allocationsLeft == 0;
        allocationsLeft = -1;
        EXPECT_EQ(liveAllocations, before) << "after " << available << " allocations";
        EXPECT_TRUE(code == 0 || code == 8) << code << " after " << available << " allocations";
        if (!ranShort) {
            EXPECT_EQ(code, 0u);
            return available;
        }
    }
    ADD_FAILURE() << "never had enough";
    return 0;
}

constexpr Logger Log("CNativeHttp::Operation", LogSource::NativeHttp);

TEST(MemoryShortage, EndsTheReadingOfItemsWithACode) {
    const ResponseBuffer reply = ReplyOf(
        R"({"name":"a folder with a name","contents":[{"name":"a name of more than a few letters","revision":"17",
            "creation_time":"2016-02-29T23:59:59.5Z"},{"orca_path":"/Shared/another name that is long"}]})");
    const long runs = SweepAllocations([&]() -> DWORD {
        try {
            ItemList children;
            ItemList self;
            std::uint32_t count = 0;
            const DWORD code = GetAttributesFromResponse(reply, children, self, count);
            EXPECT_EQ(children.size() + self.size(), count);
            return code;
        } catch (...) {
            return CodeOfExceptionInFlight(Log);
        }
    });
    EXPECT_GT(runs, 20);
}

TEST(MemoryShortage, MakesAValueMissing) {
    const ResponseBuffer reply = ReplyOf(R"({"key":"a value that is too long for a small string"})");
    const long runs = SweepAllocations([&]() -> DWORD {
        std::string value;
        const bool found = GetJSONStringFromResponse(reply, "key", value);
        EXPECT_EQ(found, !value.empty());
        return 0;
    });
    EXPECT_GT(runs, 5);
}

TEST(MemoryShortage, EndsTheReadingOfEndpointsWithACode) {
    const ResponseBuffer reply =
        ReplyOf(R"({"qm":{"sync":{"1.0":{"path":"/a path that is longer than a small string","tos":1}}}})");
    const long runs = SweepAllocations([&]() -> DWORD {
        try {
            EndpointMap sync;
            EndpointMap logging;
            EXPECT_TRUE(GetEndpointsFromResponse(reply, sync, logging));
            return 0;
        } catch (...) {
            return CodeOfExceptionInFlight(Log);
        }
    });
    EXPECT_GT(runs, 5);
}

TEST(MemoryShortage, EndsTheReadingOfMappingsWithACode) {
    const ResponseBuffer reply = ReplyOf(R"([{"name":"a name of more than a few letters","type":"smb"}])");
    const long runs = SweepAllocations([&]() -> DWORD {
        MappingList mappings;
        DWORD count = 0;
        const DWORD code = ReadMappings(reply, mappings, count);
        EXPECT_EQ(mappings.size(), count);
        return code;
    });
    EXPECT_GT(runs, 10);
}

TEST(MemoryShortage, EndsTheReadingOfNotificationsWithTheActionsBefore) {
    const ResponseBuffer reply = ReplyOf(R"([{"a":"delete","m":"/a path that is longer than a small string"}])");
    const long runs = SweepAllocations([&]() -> DWORD {
        NotificationList actions;
        return GetNotificationsFromResponse(reply, actions);
    });
    EXPECT_GT(runs, 10);
}

// Lets one allocation fail, the one after this many, while the action runs. The log's own allocations behind it
// succeed.
void FailAllocation(long place, const std::function<void()>& action) {
    failOnlyOnce = true;
    allocationsLeft = place;
    action();
    allocationsLeft = -1;
    failOnlyOnce = false;
}

constexpr const char* Shortage = "JSON library has thrown a bad_alloc exception (std::bad_alloc)!";

TEST(MemoryShortage, IsLoggedWhereTheValueIsRead) {
    const fakes::RecordedLog log;
    const ResponseBuffer reply = ReplyOf(R"({"key":"value"})");
    std::string value;
    bool flag = false;
    FailAllocation(0, [&] { EXPECT_FALSE(GetJSONStringFromResponse(reply, "key", value)); });
    FailAllocation(0, [&] { EXPECT_FALSE(GetJSONBoolFromResponse(reply, "key", flag)); });
    EXPECT_EQ(log.Count(103, Shortage), 2u);
    EXPECT_TRUE(log.Has(103, "NativeHttp", "CNativeHttp::GetJSONValueFromResponse", Shortage));
}

TEST(MemoryShortage, LeavesOutTheMappingThatItStrikes) {
    const ResponseBuffer reply = ReplyOf(R"([{"name":"a","description":"a text"},{"name":"b"}])");
    bool seen = false;
    for (long place = 0; place < 1000 && !seen; ++place) {
        fakes::RecordedLog log;
        log.SetHighestLevel(2);  // errors: other records' allocations are not what is to fail
        MappingList mappings;
        DWORD count = 0;
        DWORD code = 0;
        FailAllocation(place, [&] { code = ReadMappings(reply, mappings, count); });
        EXPECT_EQ(mappings.size(), count);
        seen = code == 0 && count == 1 && log.Has(103, "Failed to create mapping for [a] - error [8]");
    }
    EXPECT_TRUE(seen);
}

TEST(MemoryShortage, EndsAnArrayAndKeepsTheItemsBefore) {
    const ResponseBuffer reply =
        ReplyOf(R"([{"revision":"a revision that is long","directory":true},{"revision":"a revision that is long"}])");
    bool seen = false;
    for (long place = 0; place < 1000 && !seen; ++place) {
        fakes::RecordedLog log;
        log.SetHighestLevel(2);  // errors: other records' allocations are not what is to fail
        ItemList items;
        std::uint32_t count = 0;
        FailAllocation(place, [&] {
            try {
                static_cast<void>(GetAttributesFromResponse(reply, items, false, count));
            } catch (const std::bad_alloc&) {
                count = 0;  // struck the parser, before the array
            }
        });
        EXPECT_EQ(items.size(), count);
        seen = count == 1 && log.Has(103, "NativeHttp", "CNativeHttp::ProcessJSONArray", Shortage);
    }
    EXPECT_TRUE(seen);
}

}  // namespace
}  // namespace quillmark
