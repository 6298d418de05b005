// The test functions, step by step, with times that are handed in.
#include "device/linux/test_functions.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/device/failing_calls.h"

namespace {

std::string hexOf(const kiv_sha256& begun) {
  kiv_sha256 hash = begun;
  uint8_t digest[KIV_SHA256_BYTES];
  kiv_sha256_end(&hash, digest);
  std::string hex;
  for (const uint8_t byte : digest) {
    hex += "0123456789abcdef"[byte >> 4];
    hex += "0123456789abcdef"[byte & 15];
  }
  return hex;
}

TEST(Sha256, GivesThePublishedDigests) {
  kiv_sha256 hash;
  kiv_sha256_begin(&hash);
  EXPECT_EQ(hexOf(hash), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  kiv_sha256_add(&hash, reinterpret_cast<const uint8_t*>("abc"), 3);
  EXPECT_EQ(hexOf(hash), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  kiv_sha256_begin(&hash);
  const std::vector<uint8_t> as(1000, 'a');
  for (int i = 0; i < 1000; ++i) kiv_sha256_add(&hash, as.data(), 1000);
  EXPECT_EQ(hexOf(hash), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

class TestRun : public testing::Test {
 protected:
  ~TestRun() override { kiv_test_end(&run_); }
  void begin(const char* name, const std::vector<uint32_t>& numbers) {
    for (const uint32_t number : numbers)
      for (int shift = 0; shift < 32; shift += 8)
        parameters_.push_back(static_cast<uint8_t>(number >> shift));
    kiv_test_begin(&run_, kiv_test_find(name), parameters_.data(),
                   static_cast<uint32_t>(parameters_.size()));
  }
  std::vector<uint8_t> parameters_;
  kiv_test_run run_{};
};

TEST_F(TestRun, MemoryThatForgetsIsFound) {
  begin("cts_memory", {65536, 1});
  ASSERT_EQ(kiv_test_step(&run_, 0), KIV_TEST_GOES_ON);
  ASSERT_EQ(kiv_test_step(&run_, 0), KIV_TEST_GOES_ON);
  run_.memory[100] ^= 1U << 5;
  EXPECT_EQ(kiv_test_step(&run_, 0), KIV_TEST_FAILED);
  EXPECT_STREQ(run_.line, "offset 800: 0x0000000000000020 instead of 0x0000000000000000");
}

TEST_F(TestRun, WithoutMemoryTheTestFails) {
  begin("cts_memory", {65536, 1});
  const kivtest::FailingCall failing(kivtest::FailingCall::Kind::kAllocation, 1);
  EXPECT_EQ(kiv_test_step(&run_, 0), KIV_TEST_FAILED);
  EXPECT_STREQ(run_.line, "out of memory for 65536 bytes");
}

TEST_F(TestRun, APauseThatIsFarTooLongFailsTheTest) {
  for (const int64_t lateMs : {KIV_TEST_MAX_LATE_MS, KIV_TEST_MAX_LATE_MS + 1}) {
    parameters_.clear();
    begin("cts_loop", {2, 50});
    EXPECT_EQ(kiv_test_step(&run_, 1000), KIV_TEST_GOES_ON);
    EXPECT_EQ(kiv_test_step(&run_, 1000), KIV_TEST_GOES_ON);
    EXPECT_STREQ(run_.line, "turn 1 of 2");
    EXPECT_EQ(run_.wait_until_ms, 1050);
    EXPECT_EQ(kiv_test_step(&run_, 1050 + lateMs), KIV_TEST_GOES_ON);
    EXPECT_STREQ(run_.line, "turn 2 of 2");
    EXPECT_EQ(run_.wait_until_ms, 1100 + lateMs);
    EXPECT_EQ(kiv_test_step(&run_, 1100 + lateMs),
              lateMs == KIV_TEST_MAX_LATE_MS ? KIV_TEST_PASSED : KIV_TEST_FAILED);
    EXPECT_EQ(std::string(run_.line), "longest pause: " + std::to_string(50 + lateMs) + " ms");
  }
}

TEST(TestFunctions, AreFoundByTheirWholeNameOnly) {
  for (const char* name : {"cts_echo", "cts_memory", "cts_loop"})
    EXPECT_NE(kiv_test_find(name), nullptr) << name;
  for (const char* name : {"", "echo", "cts_echo2", "CTS_ECHO"})
    EXPECT_EQ(kiv_test_find(name), nullptr) << name;
}

}  // namespace
