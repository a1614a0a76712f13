#include "transport/TransportSupport.h"

#include "TransportTest.h"

namespace quillmark {
namespace {

TEST(ParseDecimalTest, ReadsTheNumberAtTheBeginning) {
    EXPECT_EQ(ParseDecimal(QM_W("200")), 200);
    EXPECT_EQ(ParseDecimal(QM_W("  7 apples")), 7);
    EXPECT_EQ(ParseDecimal(QM_W("9223372036854775807")), INT64_MAX);
}

TEST(ParseDecimalTest, WhatIsNoNumberIsZero) {
    EXPECT_EQ(ParseDecimal(QM_W("")), 0);
    EXPECT_EQ(ParseDecimal(QM_W("  ")), 0);
    EXPECT_EQ(ParseDecimal(QM_W("x1")), 0);
    EXPECT_EQ(ParseDecimal(QM_W("-1")), 0);
}

TEST(ParseDecimalTest, WhatDoesNotFitEndsAtTheGreatestValue) {
    EXPECT_EQ(ParseDecimal(QM_W("9223372036854775808")), INT64_MAX);
    EXPECT_EQ(ParseDecimal(QM_W("99999999999999999999999999")), INT64_MAX);
}

TEST(IsSignalledTest, TellsASetEventFromOthers) {
    const Event event;
    EXPECT_FALSE(IsSignalled(event.Get()));
    event.Set();
    EXPECT_TRUE(IsSignalled(event.Get()));
    EXPECT_TRUE(IsSignalled(event.Get()));
}

TEST(IsSignalledTest, NoEventNeverCancels) {
    EXPECT_FALSE(IsSignalled(nullptr));
}

TEST(FailureCodeTest, IsTheLastErrorAndNeverZero) {
    ::SetLastError(5);
    EXPECT_EQ(FailureCode(), 5u);
    ::SetLastError(0);
    EXPECT_EQ(FailureCode(), 31u);
}

}  // namespace
}  // namespace quillmark
