#include "service/message/failure_log.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "service/message/debug_trace.h"
#include "tests/fakes/module_bench.h"

namespace {

using SvcKivClass::FailureLine;
using SvcKivClass::LogFailure;
using Lines = std::vector<std::wstring>;

TEST(FailureLine, BeginsWithTheUeIdInTwoDigits) {
  EXPECT_EQ(FailureLine(0, L"A::B()", -1, L"What"), L"00 A::B() - err=-1, What\n");
  EXPECT_EQ(FailureLine(1, L"A::B()", 0, L"What"), L"01 A::B() - err=0, What\n");
  EXPECT_EQ(FailureLine(123, L"A::B()", 3207, L"What"), L"123 A::B() - err=3207, What\n");
  EXPECT_EQ(FailureLine(-1, L"A::B()", 1, L""), L"-1 A::B() - err=1, \n");
  EXPECT_EQ(FailureLine(std::numeric_limits<std::int32_t>::min(), L"A::B()",
                        std::numeric_limits<std::int32_t>::min(), L"x"),
            L"-2147483648 A::B() - err=-2147483648, x\n");
}

TEST(FailureLine, KeepsMarkersAndAnyLetterAsTheyAre) {
  EXPECT_EQ(FailureLine(1, L"%s", 0, L"%n %1 \u20ac\U0001F600"),
            L"01 %s - err=0, %n %1 \u20ac\U0001F600\n");
}

TEST(FailureLine, IsCutByTheLogAndNotDropped) {
  kivtest::ScratchSetup setup;
  kivtest::LogEar log;
  LogFailure(1, L"A::B()", 0, std::wstring(300, L'x').c_str());
  const std::wstring whole = L"01 A::B() - err=0, " + std::wstring(300, L'x');
  EXPECT_EQ(log.Lines(), Lines{whole.substr(0, 255)});
}

TEST(DebugTrace, GoesToTheDefaultCategoryAsItIs) {
  kivtest::TraceEar ear;
  SvcKivClass::Trace(L"fixed %s %n %1");
  SvcKivClass::Trace([] { return QCString(L"built \u20ac\U0001F600 %d"); });
  SvcKivClass::Trace(L"");
  EXPECT_EQ(ear.Lines(), (Lines{L"fixed %s %n %1", L"built \u20ac\U0001F600 %d", L""}));
}

TEST(DebugTrace, OfAnyLengthIsWhole) {
  kivtest::TraceEar ear;
  const std::wstring text(100000, L'\u00e4');
  SvcKivClass::WriteTrace(QCString(text));
  EXPECT_EQ(ear.Lines(), Lines{text});
}

}  // namespace
