// What :watch takes, and what it says of anything else.
#include "hosts/terminal/watch_request.h"

#include <gtest/gtest.h>

namespace kiv {
namespace {

using namespace std::chrono_literals;

// "LINE|STEP in ms|TIMES", or what is wrong.
std::string Read(std::wstring_view arguments) {
  WatchRequest request;
  if (const auto problem = ReadWatchRequest(arguments, request)) return *problem;
  return std::string(request.line.begin(), request.line.end()) + "|" +
         std::to_string(request.step.count()) + "|" +
         (request.times ? std::to_string(*request.times) : "-");
}

TEST(ReadWatchRequest, TakesStepAndTimesFromTheEndInAnyOrder) {
  EXPECT_EQ(Read(L"sys_info"), "sys_info|1000|-");
  EXPECT_EQ(Read(L"sys_info every 5s"), "sys_info|5000|-");
  EXPECT_EQ(Read(L"sys_info every 250ms 3 times"), "sys_info|250|3");
  EXPECT_EQ(Read(L"sys_info 3 times every 2m"), "sys_info|120000|3");
  EXPECT_EQ(Read(L"sys_info   3 times "), "sys_info|1000|3");
  EXPECT_EQ(Read(L"nv_read 7 \t every\t1s"), "nv_read 7|1000|-");
}

TEST(ReadWatchRequest, LeavesTheLineAsItIs) {
  EXPECT_EQ(Read(L"echo  every 1s of it"), "echo  every 1s of it|1000|-");
  EXPECT_EQ(Read(L"sh uptime every 1s every 2s"), "sh uptime every 1s|2000|-");
  EXPECT_EQ(Read(L"sh 2 times 3 times"), "sh 2 times|1000|3");
  EXPECT_EQ(Read(L"times"), "times|1000|-");
  EXPECT_EQ(Read(L"every"), "every|1000|-");
}

TEST(ReadWatchRequest, SaysWhatIsNoTime) {
  for (const wchar_t* step :
       {L"1", L"s", L"1h", L"99ms", L"0s", L"-1s", L"1.5s", L"86401s", L"99999999999999999999s"}) {
    const std::string shown(step, step + std::wcslen(step));
    EXPECT_EQ(Read(L"sys_info every " + std::wstring(step)),
              "'" + shown + "' is no time from 100ms to 24h in ms, s or m");
  }
  EXPECT_EQ(Read(L"sys_info every"), "no time behind 'every', such as 500ms or 1s");
  EXPECT_EQ(Read(L"sys_info every 3 times"), "no time behind 'every', such as 500ms or 1s");
  EXPECT_EQ(Read(L"x every 100ms"), "x|100|-");
  EXPECT_EQ(Read(L"x every 1440m"), "x|86400000|-");
}

TEST(ReadWatchRequest, SaysWhatIsNoNumberOfTimes) {
  EXPECT_EQ(Read(L"x 0 times"), "'0' is no number from 1 to 1000000000");
  EXPECT_EQ(Read(L"x many times"), "'many' is no number from 1 to 1000000000");
  EXPECT_EQ(Read(L"x 1000000001 times"), "'1000000001' is no number from 1 to 1000000000");
}

TEST(ReadWatchRequest, WantsALine) {
  EXPECT_EQ(Read(L""), "no line to watch");
  EXPECT_EQ(Read(L"every 1s"), "no line to watch");
  EXPECT_EQ(Read(L"every 1s 3 times"), "no line to watch");
}

TEST(StepText, HasTheLargestUnitThatFits) {
  EXPECT_EQ(StepText(250ms), "250ms");
  EXPECT_EQ(StepText(1500ms), "1500ms");
  EXPECT_EQ(StepText(1s), "1s");
  EXPECT_EQ(StepText(90s), "90s");
  EXPECT_EQ(StepText(5min), "5m");
}

}  // namespace
}  // namespace kiv
