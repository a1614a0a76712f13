// What wide strings and the module's state do when memory is short. This file replaces the allocation functions of the
// test program.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "common/ModuleState.h"
#include "quillmark/WideString.h"

namespace {

// Whether the thread's allocations fail.
thread_local bool memoryIsShort = false;

void* AllocateOrNull(std::size_t size) noexcept {
    return memoryIsShort ? nullptr : std::malloc(size == 0 ? 1 : size);
}

// Out of line: inlined into its callers it looks to the compiler as if they freed what operator new gave them.
[[gnu::noinline]] void Deallocate(void* block) noexcept {
    std::free(block);
}

}  // namespace

// Both forms: a sanitizer's runtime brings a second one of its own, which does not go through the first.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return AllocateOrNull(size);
}
void* operator new(std::size_t size) {
    void* block = AllocateOrNull(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}
void operator delete(void* block) noexcept {
    Deallocate(block);
}
void operator delete(void* block, std::size_t) noexcept {
    Deallocate(block);
}

namespace quillmark {
namespace {

template <typename Change>
HRESULT ResultWithoutMemory(Change change) {
    memoryIsShort = true;
    HRESULT result = S_OK;
    try {
        change();
    } catch (const WideString::OutOfMemory& error) {
        result = error.Result();
    }
    memoryIsShort = false;
    return result;
}

TEST(WideStringMemoryTest, RaisesEFailWhenATextCannotBeMade) {
    EXPECT_EQ(ResultWithoutMemory([] { const WideString text(QM_W("abc")); }), E_FAIL);
}

TEST(WideStringMemoryTest, KeepsTheTextWhenItCannotGrow) {
    WideString text = QM_W("abc");
    EXPECT_EQ(ResultWithoutMemory([&] { text += QM_W("def"); }), E_FAIL);
    EXPECT_EQ(ResultWithoutMemory([&] { text.Resize(1000); }), E_FAIL);
    EXPECT_EQ(text, QM_W("abc"));
}

TEST(WideStringMemoryTest, KeepsASharedTextWhenItCannotBeCopied) {
    WideString text = QM_W("abc");
    const WideString copy = text;
    EXPECT_EQ(ResultWithoutMemory([&] { static_cast<void>(text.MutableData()); }), E_FAIL);
    EXPECT_EQ(text.c_str(), copy.c_str());
    EXPECT_EQ(text, QM_W("abc"));
}

TEST(WideStringMemoryTest, CopiesAndMovesWithoutMemory) {
    const WideString text = QM_W("abc");
    WideString assigned;
    EXPECT_EQ(ResultWithoutMemory([&] {
                  WideString copy = text;
                  assigned = std::move(copy);
              }),
              S_OK);
    EXPECT_EQ(assigned, QM_W("abc"));
}

TEST(WideStringMemoryTest, RefusesALengthThatNoMemoryHolds) {
    WideString text = QM_W("abc");
    EXPECT_THROW(text.Resize(WideString::npos), WideString::OutOfMemory);
    EXPECT_THROW(text.Resize(WideString::npos / sizeof(WideChar)), WideString::OutOfMemory);
    EXPECT_EQ(text, QM_W("abc"));
}

TEST(WideStringMemoryTest, IsCaughtAsAnAllocationFailure) {
    memoryIsShort = true;
    bool caught = false;
    try {
        const WideString text(QM_W("abc"));
    } catch (const std::bad_alloc& error) {
        caught = std::string_view(error.what()) == "WideString: out of memory";
    }
    memoryIsShort = false;
    EXPECT_TRUE(caught);
}

// Has to be the first use of the state in its process, as it is when the test runs alone.
TEST(ModuleStateMemoryTest, TakesServicesWithoutMemory) {
    EXPECT_EQ(ResultWithoutMemory([] { InstallServices(nullptr); }), S_OK);
    EXPECT_NE(WinHttp(), nullptr);
}

}  // namespace
}  // namespace quillmark
