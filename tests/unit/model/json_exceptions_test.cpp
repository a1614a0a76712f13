#include "model/JsonExceptions.h"

#include <gtest/gtest.h>
#include <json/value.h>

#include <new>
#include <stdexcept>

#include "fakes/RecordingEventing.h"

namespace quillmark {
namespace {

constexpr Logger Log("CNativeHttp::Operation", LogSource::NativeHttp);

template <typename Exception>
DWORD CodeOf(const Exception& exception) {
    try {
        throw exception;
    } catch (...) {
        return CodeOfExceptionInFlight(Log);
    }
}

TEST(ExceptionInFlight, OfTheJsonLibraryIsInvalidData) {
    const fakes::RecordedLog log;
    EXPECT_EQ(CodeOf(Json::LogicError("bad conversion")), 13u);
    EXPECT_EQ(CodeOf(Json::RuntimeError("too deep")), 13u);
    EXPECT_EQ(log.Records().size(), 2u);
    EXPECT_TRUE(log.Has(103, "NativeHttp", "CNativeHttp::Operation",
                        "JSON library has thrown a runtime_error exception (bad conversion)!"));
    EXPECT_TRUE(log.Has(103, "JSON library has thrown a runtime_error exception (too deep)!"));
}

TEST(ExceptionInFlight, OfMemoryShortageIsNotEnoughMemory) {
    const fakes::RecordedLog log;
    EXPECT_EQ(CodeOf(std::bad_alloc()), 8u);
    EXPECT_TRUE(log.Has(103, "NativeHttp", "CNativeHttp::Operation",
                        "JSON library has thrown a bad_alloc exception (std::bad_alloc)!"));
    EXPECT_EQ(CodeOf(WideString::OutOfMemory()), 8u);
    EXPECT_TRUE(log.Has(103, "JSON library has thrown a bad_alloc exception (WideString: out of memory)!"));
}

TEST(ExceptionInFlight, OfAnyOtherKindIsAnInternalError) {
    const fakes::RecordedLog log;
    EXPECT_EQ(CodeOf(std::runtime_error("not of the JSON library")), 1359u);
    EXPECT_EQ(CodeOf(17), 1359u);
    EXPECT_EQ(log.Count(103, "Unknown exception"), 2u);
    EXPECT_EQ(log.Records().size(), 2u);
}

class ExceptionWithoutText : public std::bad_alloc {
public:
    [[nodiscard]] const char* what() const noexcept override { return nullptr; }
};

TEST(ExceptionInFlight, WithoutATextIsLoggedAsUnknown) {
    const fakes::RecordedLog log;
    EXPECT_EQ(CodeOf(ExceptionWithoutText()), 8u);
    EXPECT_TRUE(log.Has(103, "JSON library has thrown a bad_alloc exception (Unknown exception)!"));
}

}  // namespace
}  // namespace quillmark
