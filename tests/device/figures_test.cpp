// Figures out of the kernel's texts, of old and new kernels and of none.
#include "device/linux/figures.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "device/linux/indications.h"

namespace kivtest {
namespace {

namespace fs = std::filesystem;

class Figures : public testing::Test {
 protected:
  Figures() {
    std::string name = testing::TempDir() + "kivproc-XXXXXX";
    proc_ = mkdtemp(name.data());
  }
  ~Figures() override { fs::remove_all(proc_); }

  void Write(const std::string& name, const std::string& text) {
    fs::create_directories((fs::path(proc_) / name).parent_path());
    std::ofstream(fs::path(proc_) / name) << text;
  }

  std::string proc_;
};

TEST_F(Figures, OfMemoryAreTakenByTheirKeys) {
  Write("meminfo",
        "MemTotal:        8000 kB\nMemFree:   100 kB\nMemAvailable: 400 kB\nBuffers: 5 kB\n"
        "Cached: 60 kB\nSwapCached: 1 kB\nSwapTotal: 5000000000 kB\nSwapFree: 7 kB\nHugetlb: x\n");
  kiv_memory memory;
  ASSERT_TRUE(kiv_figures_memory(proc_.c_str(), &memory));
  EXPECT_EQ(memory.total_kib, 8000u);
  EXPECT_EQ(memory.free_kib, 100u);
  EXPECT_EQ(memory.available_kib, 400u);
  EXPECT_EQ(memory.buffers_kib, 5u);
  EXPECT_EQ(memory.cached_kib, 60u);
  EXPECT_EQ(memory.swap_total_kib, 0xFFFFFFFFu);  // does not wrap to a small figure
  EXPECT_EQ(memory.swap_free_kib, 7u);
}

TEST_F(Figures, OfMemoryFailWithoutTheTotal) {
  kiv_memory memory;
  EXPECT_FALSE(kiv_figures_memory(proc_.c_str(), &memory));
  Write("meminfo", "MemFree: 100 kB\n");
  EXPECT_FALSE(kiv_figures_memory(proc_.c_str(), &memory));
  Write("meminfo", "MemFree: 100 kB\nMemTotal: 100 kB\n");
  EXPECT_TRUE(kiv_figures_memory(proc_.c_str(), &memory));
}

TEST_F(Figures, OfProcessorsSkipOfflineOnesAndLongLines) {
  Write("stat",
        "cpu  10 0 20 100 5 0 1 2 50 50\ncpu0 5 0 10 50\ncpu2 5 0 10 50 5 0 1 2 9 9\n"
        "cpu40 1 1 1 1\nintr " +
            std::string(2000, '7') + " cpu9 1 1 1 1\nctxt 5\n");
  kiv_cpu_times times;
  ASSERT_TRUE(kiv_figures_cpu(proc_.c_str(), &times));
  EXPECT_EQ(times.online_count, 3u);
  EXPECT_EQ(times.total.busy, 33u);
  EXPECT_EQ(times.total.all, 138u);
  EXPECT_EQ(times.cpu[0].all, 65u);
  EXPECT_EQ(times.cpu[1].all, 0u);
  EXPECT_EQ(times.cpu[2].busy, 18u);
}

TEST_F(Figures, OfProcessorsFailOnOtherTexts) {
  kiv_cpu_times times;
  EXPECT_FALSE(kiv_figures_cpu(proc_.c_str(), &times));
  for (const char* text :
       {"", "cpu  1 2 3\n", "cpu  a b c d\n", "cpu  1 1 1 1\ncpu0 x\n", "ctxt"}) {
    Write("stat", text);
    EXPECT_FALSE(kiv_figures_cpu(proc_.c_str(), &times)) << text;
  }
}

TEST(CpuPermille, IsTheShareBetweenTwoReadings) {
  const struct {
    kiv_cpu_time before;
    kiv_cpu_time now;
    uint16_t permille;
  } rows[] = {{{0, 0}, {25, 100}, 250},    {{25, 100}, {25, 200}, 0}, {{25, 100}, {125, 200}, 1000},
              {{25, 100}, {25, 100}, 0},   {{25, 100}, {20, 200}, 0}, {{25, 100}, {30, 90}, 0},
              {{0, 100}, {300, 200}, 1000}};
  for (const auto& row : rows) EXPECT_EQ(kiv_cpu_permille(&row.before, &row.now), row.permille);
}

TEST_F(Figures, OfTheRunQueueAreHundredths) {
  uint32_t centi[3];
  EXPECT_FALSE(kiv_figures_load_average(proc_.c_str(), centi));
  Write("loadavg", "0.05 12.34 100.00 1/234 5678\n");
  ASSERT_TRUE(kiv_figures_load_average(proc_.c_str(), centi));
  EXPECT_EQ(centi[0], 5u);
  EXPECT_EQ(centi[1], 1234u);
  EXPECT_EQ(centi[2], 10000u);
  Write("loadavg", "0.05 12");
  EXPECT_FALSE(kiv_figures_load_average(proc_.c_str(), centi));
}

TEST_F(Figures, OfTheStartAreOneLine) {
  char text[40];
  EXPECT_FALSE(kiv_figures_boot_id(proc_.c_str(), text, sizeof text));
  Write("sys/kernel/random/boot_id", "0b2e4c4e-1111-2222-3333-444455556666\n");
  ASSERT_TRUE(kiv_figures_boot_id(proc_.c_str(), text, sizeof text));
  EXPECT_STREQ(text, "0b2e4c4e-1111-2222-3333-444455556666");
}

TEST(Indications, AreDueByTheirPeriodAndEndByTheirCount) {
  kiv_indications all;
  kiv_indications_reset(&all);
  EXPECT_EQ(kiv_indications_next_due_ms(&all), -1);
  ASSERT_TRUE(kiv_indications_start(&all, KIV_IND_TICK, 10, 2, 1000));
  ASSERT_TRUE(kiv_indications_start(&all, KIV_IND_LOAD, 25, 0, 1000));
  uint32_t number = 0;
  EXPECT_EQ(kiv_indications_next_due_ms(&all), 1010);
  EXPECT_EQ(kiv_indications_take(&all, 1009, &number), 0);
  EXPECT_EQ(kiv_indications_take(&all, 1010, &number), KIV_IND_TICK);
  EXPECT_EQ(number, 1u);
  EXPECT_EQ(kiv_indications_take(&all, 1010, &number), 0);
  EXPECT_EQ(kiv_indications_take(&all, 1025, &number), KIV_IND_TICK);
  EXPECT_EQ(number, 2u);
  EXPECT_EQ(kiv_indications_take(&all, 1025, &number), KIV_IND_LOAD);
  EXPECT_EQ(number, 1u);
  EXPECT_EQ(kiv_indications_running(&all), KIV_IND_LOAD);
  EXPECT_EQ(kiv_indications_next_due_ms(&all), 1050);
  EXPECT_EQ(all.sent, 3u);
}

TEST(Indications, DoNotBurstAfterAPause) {
  kiv_indications all;
  kiv_indications_reset(&all);
  ASSERT_TRUE(kiv_indications_start(&all, KIV_IND_TICK, 10, 0, 0));
  uint32_t number = 0;
  EXPECT_EQ(kiv_indications_take(&all, 5000, &number), KIV_IND_TICK);
  EXPECT_EQ(kiv_indications_take(&all, 5000, &number), 0);
  EXPECT_EQ(kiv_indications_next_due_ms(&all), 5010);
}

TEST(Indications, RefuseWhatIsOutOfRangeAndChangeNothing) {
  kiv_indications all;
  kiv_indications_reset(&all);
  ASSERT_TRUE(kiv_indications_start(&all, KIV_IND_ALL, 10, 0, 0));
  EXPECT_FALSE(kiv_indications_start(&all, 0, 10, 0, 0));
  EXPECT_FALSE(kiv_indications_start(&all, 4, 10, 0, 0));
  EXPECT_FALSE(kiv_indications_start(&all, 1, 0, 0, 0));
  EXPECT_FALSE(kiv_indications_start(&all, 1, KIV_MAX_PERIOD_MS + 1, 0, 0));
  EXPECT_FALSE(kiv_indications_stop(&all, 0));
  EXPECT_FALSE(kiv_indications_stop(&all, 5));
  EXPECT_EQ(kiv_indications_running(&all), KIV_IND_ALL);
  EXPECT_TRUE(kiv_indications_stop(&all, KIV_IND_TICK));
  EXPECT_EQ(kiv_indications_running(&all), KIV_IND_LOAD);
}

}  // namespace
}  // namespace kivtest
