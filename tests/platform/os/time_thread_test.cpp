#include "platform/os/time_thread.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <regex>
#include <string>
#include <thread>

#include "platform/os/local_time.h"
#include "tests/support/scoped_env.h"

namespace {

std::time_t SecondsOf(const SYSTEMTIME& time) {
  std::tm parts{};
  parts.tm_year = time.wYear - 1900;
  parts.tm_mon = time.wMonth - 1;
  parts.tm_mday = time.wDay;
  parts.tm_hour = time.wHour;
  parts.tm_min = time.wMinute;
  parts.tm_sec = time.wSecond;
  return timegm(&parts);
}

TEST(SystemTime, IsTheUtcOfTheClock) {
  const kivtest::ScopedEnv zone("TZ", "XYZ+7");
  const std::time_t before = std::time(nullptr);
  SYSTEMTIME time{};
  GetSystemTime(&time);
  const std::time_t after = std::time(nullptr);
  EXPECT_LE(before, SecondsOf(time));
  EXPECT_GE(after, SecondsOf(time));
  EXPECT_LT(time.wMilliseconds, 1000);
  const std::time_t seconds = SecondsOf(time);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  EXPECT_EQ(parts.tm_wday, time.wDayOfWeek);
}

TEST(Sleep, WaitsAtLeastAsLongAsAsked) {
  const auto start = std::chrono::steady_clock::now();
  Sleep(20);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
  Sleep(0);
}

TEST(CurrentThreadId, DiffersBetweenThreadsAndStays) {
  const DWORD own = GetCurrentThreadId();
  DWORD others = own;
  std::thread([&others] { others = GetCurrentThreadId(); }).join();
  EXPECT_NE(0u, own);
  EXPECT_NE(own, others);
  EXPECT_EQ(own, GetCurrentThreadId());
}

TEST(LocalTime, HasOneFormWhateverTheLocale) {
  const kivtest::ScopedEnv lang("LC_ALL", "C");
  const std::string text = os::LocalTimeText();
  EXPECT_TRUE(
      std::regex_match(text, std::regex("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}")))
      << text;
}

}  // namespace
