// What wide strings do when memory is short. This file replaces the allocation functions of the test program.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "quillmark/WideString.h"

namespace {

// Whether the thread's allocations fail.
thread_local bool memoryIsShort = false;

}  // namespace

void* operator new(std::size_t size) {
    void* block = memoryIsShort ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
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

}  // namespace
}  // namespace quillmark
