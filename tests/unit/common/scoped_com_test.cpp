#include "common/ScopedCOM.h"

#include <gtest/gtest.h>

#include <thread>

#include "fakes/RecordingEventing.h"
#include "support/Wrap.h"

namespace {

// What CoInitializeEx answers instead of being called; S_OK for calling it.
thread_local HRESULT forcedResult = S_OK;

}  // namespace

QUILLMARK_WRAP(HRESULT, CoInitializeEx, (LPVOID reserved, DWORD mode)) {
    return forcedResult == S_OK ? QUILLMARK_REAL(CoInitializeEx)(reserved, mode) : forcedResult;
}

namespace quillmark {
namespace {

// Runs the action on a thread of its own, which has no apartment yet.
template <typename Action>
void OnFreshThread(const Action& action) {
    std::thread(action).join();
}

// Whether the calling thread has COM: an object that is unknown to it is then the error, not COM itself.
bool ThreadHasCom() {
    void* object = nullptr;
    return ::CoCreateInstance(IID_IUnknown, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &object) !=
           static_cast<HRESULT>(CO_E_NOTINITIALIZED);
}

TEST(ScopedComTest, InitialisesForItsLifeOnly) {
    const fakes::RecordedLog log;
    OnFreshThread([] {
        EXPECT_FALSE(ThreadHasCom());
        {
            const CScopedCOM com;
            EXPECT_TRUE(com.Initialised());
            EXPECT_TRUE(com.Usable());
            EXPECT_EQ(com.Result(), S_OK);
            EXPECT_TRUE(ThreadHasCom());
        }
        EXPECT_FALSE(ThreadHasCom());
    });
    EXPECT_TRUE(log.Records().empty());
}

TEST(ScopedComTest, NestsWithinTheSameMode) {
    OnFreshThread([] {
        const CScopedCOM outer;
        {
            const CScopedCOM inner;
            EXPECT_TRUE(inner.Initialised());
            EXPECT_TRUE(inner.Usable());
            EXPECT_EQ(inner.Result(), S_FALSE);
        }
        EXPECT_TRUE(ThreadHasCom());
    });
}

TEST(ScopedComTest, LeavesAThreadOfAnotherModeAsItIs) {
    const fakes::RecordedLog log;
    OnFreshThread([] {
        ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        {
            const CScopedCOM com;
            EXPECT_FALSE(com.Initialised());
            EXPECT_TRUE(com.Usable());
            EXPECT_EQ(static_cast<std::uint32_t>(com.Result()), 0x80010106u);
        }
        EXPECT_TRUE(ThreadHasCom());
        ::CoUninitialize();
        EXPECT_FALSE(ThreadHasCom());
    });
    EXPECT_EQ(log.Records().size(), 1u);
    EXPECT_TRUE(log.Has(103, "ComInit", "CScopedCOM::CScopedCOM", "Cannot change COM appartment mode"));
}

TEST(ScopedComTest, OwnsNothingAfterAnyOtherFailure) {
    const fakes::RecordedLog log;
    OnFreshThread([] {
        ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        {
            forcedResult = static_cast<HRESULT>(0x8007000Eu);
            const CScopedCOM com;
            forcedResult = S_OK;
            EXPECT_FALSE(com.Initialised());
            EXPECT_FALSE(com.Usable());
            EXPECT_EQ(static_cast<std::uint32_t>(com.Result()), 0x8007000Eu);
        }
        EXPECT_TRUE(ThreadHasCom());  // the failed one has released nothing
        ::CoUninitialize();
    });
    EXPECT_EQ(log.Records().size(), 1u);
    EXPECT_TRUE(log.Has(103, "ComInit", "CScopedCOM::CScopedCOM", "Failed to initialize COM with hr=0x8007000e"));
}

}  // namespace
}  // namespace quillmark
