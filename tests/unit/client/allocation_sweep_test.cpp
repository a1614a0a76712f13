// Each operation while memory is short: its n-th allocation fails, alone or with all that follow, for n = 1, 2, ...
// until the operation has no allocation left. It ends with a code whatever fails, keeps no request, leaves no record
// half filled, and the next try succeeds.
//
// The transport's allocations are among them: what a transport throws is the operation's to catch as well.
#include <cstdlib>
#include <new>

#include "unit/client/Operations.h"

namespace {

// How many allocations of this thread still succeed; negative: all.
thread_local constinit long allocationsLeft = -1;
// Whether those behind the failing one fail too.
thread_local constinit bool failsOnwards = false;

void* Allocate(std::size_t size) noexcept {
    if (allocationsLeft == 0) {
        allocationsLeft = failsOnwards ? 0 : -1;
        return nullptr;
    }
    if (allocationsLeft > 0) {
        --allocationsLeft;
    }
    return std::malloc(size == 0 ? 1 : size);
}

void* AllocateOrThrow(std::size_t size) {
    void* block = Allocate(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

}  // namespace

void* operator new(std::size_t size) {
    return AllocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return AllocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}

namespace quillmark::test {
namespace {

class AllocationSweep : public OperationTest {
protected:
    void SetUp() override {
        OperationTest::SetUp();
        // The recorder needs memory of its own; without a reader nothing is written.
        log.SetHighestLevel(0);
    }

    // Runs the operation with so many allocations to spare. True when it came to ask for more.
    bool RunWith(long allocations, bool onwards) {
        Prepare();
        const Event event;
        failsOnwards = onwards;
        allocationsLeft = allocations;
        const DWORD code = Run(event.Handle());
        const bool ranShort = onwards ? allocationsLeft == 0 : allocationsLeft < 0;
        allocationsLeft = -1;

        const bool ended = code == GetParam().result || code == ERROR_NOT_ENOUGH_MEMORY || code == ERROR_INVALID_DATA ||
                           GetParam().whenUnread.contains(code);
        EXPECT_TRUE(ended) << code << " with " << allocations;
        EXPECT_EQ(fakes::RecordingFactory::LiveRequests(), 0) << allocations;
        // The record is never half another: as it was, or, when memory ran short behind it, what a success makes of it.
        const bool finished = record->Equals(*afterSuccess);
        EXPECT_TRUE(finished || (code != GetParam().result && record->Equals(*attributes))) << code << allocations;
        return ranShort;
    }
    void Sweep(bool onwards) {
        Prepare();
        ASSERT_EQ(Run(), GetParam().result);  // what is made once per process is made
        afterSuccess = record;
        long allocations = 0;
        while (allocations < 100000 && RunWith(allocations, onwards)) {
            ++allocations;
        }
        EXPECT_GT(allocations, 0);
        EXPECT_LT(allocations, 100000);
        Prepare();
        EXPECT_EQ(Run(), GetParam().result);
    }

    std::shared_ptr<IServerAttributes> afterSuccess;
};

TEST_P(AllocationSweep, AnyOneMayFail) {
    Sweep(false);
}

TEST_P(AllocationSweep, AllMayFailFromAnyOneOn) {
    Sweep(true);
}

INSTANTIATE_TEST_SUITE_P(Of, AllocationSweep, ::testing::ValuesIn(AllOperations()), OperationName);

}  // namespace
}  // namespace quillmark::test
