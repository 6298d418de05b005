// What the lists of the board say, out of the kernel's texts of a made-up machine.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "device/linux/disk_figures.h"
#include "device/linux/net_figures.h"
#include "device/linux/process_figures.h"

namespace kivtest {
namespace {

namespace fs = std::filesystem;

class BoardFigures : public testing::Test {
 protected:
  BoardFigures() {
    std::string name = testing::TempDir() + "kivproc-XXXXXX";
    proc_ = mkdtemp(name.data());
  }
  ~BoardFigures() override { fs::remove_all(proc_); }

  void Write(const std::string& name, const std::string& text) {
    fs::create_directories((fs::path(proc_) / name).parent_path());
    std::ofstream(fs::path(proc_) / name) << text;
  }

  std::string proc_;
};

// Interfaces

constexpr char kHeadings[] =
    "Inter-|   Receive                            |  Transmit\n"
    " face |bytes    packets errs drop fifo frame compressed multicast|bytes packets ...\n";

std::string TextOf(const kiv_net_figures& one) {
  std::string text = one.name;
  for (const uint32_t counter : one.counters) text += " " + std::to_string(counter);
  return text;
}

class NetFigures : public BoardFigures {
 protected:
  // "taken of count", then each interface.
  std::string Take(uint32_t skip, uint32_t capacity) {
    std::vector<kiv_net_figures> found(capacity);
    uint32_t taken = 0;
    uint32_t count = 0;
    if (!kiv_figures_net(proc_.c_str(), skip, found.data(), capacity, &taken, &count)) return "no";
    std::string text = std::to_string(taken) + " of " + std::to_string(count);
    for (uint32_t i = 0; i < taken; ++i) text += "; " + TextOf(found[i]);
    return text;
  }
};

TEST_F(NetFigures, AreTakenFromTheirColumnsModuloTwoToThe32nd) {
  Write("net/dev",
        std::string(kHeadings) +
            "    lo: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n"
            "  eth0:4294967297 8589934595 0 0 0 0 0 0 18446744073709551615 1 2 3 0 0 0 0\n"
            "br0:12: 1 1 1 1 0 0 0 0 2 2 2 2 0 0 0 0\n");
  EXPECT_EQ(Take(0, 8),
            "3 of 3; lo 1 2 3 4 9 10 11 12; eth0 1 3 0 0 4294967295 1 2 3; br0:12 1 1 1 1 2 2 2 2");
}

TEST_F(NetFigures, OfALongListComeInParts) {
  std::string text = kHeadings;
  for (int i = 0; i < 5; ++i) {
    text += "  if" + std::to_string(i) + ": 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0\n";
  }
  Write("net/dev", text);
  const std::string zeros = " 0 0 0 0 0 0 0 0";
  EXPECT_EQ(Take(0, 2), "2 of 5; if0" + zeros + "; if1" + zeros);
  EXPECT_EQ(Take(2, 2), "2 of 5; if2" + zeros + "; if3" + zeros);
  EXPECT_EQ(Take(4, 2), "1 of 5; if4" + zeros);
  EXPECT_EQ(Take(5, 2), "0 of 5");
  EXPECT_EQ(Take(0xFFFFFFFF, 2), "0 of 5");
}

TEST_F(NetFigures, FailOnTextsThatAreNoTableOfInterfaces) {
  EXPECT_EQ(Take(0, 8), "no");
  for (const char* line :
       {"lo 1 2 3 4 5 6 7 8 9 10 11 12\n", "lo: 1 2 3\n", ": 1 1 1 1 1 1 1 1 1 1 1 1\n",
        "a_name_of_16_byte: 1 1 1 1 1 1 1 1 1 1 1 1\n", "lo: a\n", "\n"}) {
    Write("net/dev", std::string(kHeadings) + line);
    EXPECT_EQ(Take(0, 8), "no") << line;
  }
  Write("net/dev", "something else\nlo: 1 1 1 1 1 1 1 1 1 1 1 1\n");
  EXPECT_EQ(Take(0, 8), "no");
  Write("net/dev", kHeadings);
  EXPECT_EQ(Take(0, 8), "0 of 0");
}

// File systems

class DiskFigures : public BoardFigures {
 protected:
  // "taken of count", then place and kind of each.
  std::string Take(uint32_t skip, uint32_t capacity) {
    found_.assign(capacity, {});
    uint32_t taken = 0;
    uint32_t count = 0;
    if (!kiv_figures_disks(proc_.c_str(), skip, found_.data(), capacity, &taken, &count))
      return "no";
    std::string text = std::to_string(taken) + " of " + std::to_string(count);
    for (uint32_t i = 0; i < taken; ++i) {
      text += std::string("; ") + found_[i].mount_point + " " + found_[i].kind;
    }
    return text;
  }

  // Folders on the file system that the test runs on stand for mounted ones.
  std::string Folder(const std::string& name) {
    fs::create_directories(fs::path(proc_) / name);
    return proc_ + "/" + name;
  }

  std::vector<kiv_disk_figures> found_;
};

TEST_F(DiskFigures, AreThoseOfEachLocalFileSystemThatHasASize) {
  const std::string root = Folder("r");
  const std::string blank = Folder("a b");
  std::string escaped = blank;
  escaped.replace(escaped.find(' '), 1, "\\040");
  Write("self/mounts",
        "proc /proc proc rw 0 0\n/dev/sda1 " + root + " ext4 rw,relatime 0 0\n/dev/sdb " + escaped +
            " vfat rw 0 0\nserver:/x " + Folder("x") + " nfs4 rw 0 0\nx " + Folder("y") +
            " fuse.sshfs rw 0 0\n/dev/gone " + proc_ + "/none ext4 rw 0 0\n\nword\n");
  ASSERT_EQ(Take(0, 8), "2 of 2; " + root + " ext4; " + blank + " vfat");
  EXPECT_EQ(Take(1, 8), "1 of 2; " + blank + " vfat");
  EXPECT_EQ(Take(0, 1), "1 of 2; " + root + " ext4");

  struct statvfs status;
  ASSERT_EQ(statvfs(root.c_str(), &status), 0);
  const uint64_t totalKib = uint64_t{status.f_blocks} * status.f_frsize / 1024;
  EXPECT_EQ(found_[0].total_kib, totalKib > UINT32_MAX ? UINT32_MAX : totalKib);
  EXPECT_LE(found_[0].free_kib, found_[0].total_kib);
  EXPECT_LE(found_[0].available_kib, found_[0].free_kib);
  EXPECT_LE(found_[0].used_permille, 1000);
  if (totalKib < UINT32_MAX) {
    const double used = 1000.0 * (found_[0].total_kib - found_[0].free_kib) / found_[0].total_kib;
    EXPECT_NEAR(found_[0].used_permille, used, 2);
  }
}

// What a path leads to is the last one, so the others would be told with its figures.
TEST_F(DiskFigures, CountOnlyTheTopmostOfSeveralMountsAtOnePlace) {
  const std::string root = Folder("r");
  const std::string other = Folder("o");
  Write("self/mounts", "/dev/a " + root + " ext4 rw 0 0\n/dev/b " + other + " xfs rw 0 0\ntmpfs " +
                           root + " tmpfs rw 0 0\n");
  EXPECT_EQ(Take(0, 8), "2 of 2; " + other + " xfs; " + root + " tmpfs");
  EXPECT_EQ(Take(1, 8), "1 of 2; " + root + " tmpfs");
  // Asking for the lower one would ask the server.
  Write("self/mounts", "/dev/a " + root + " ext4 rw 0 0\nserver:/x " + root + " nfs4 rw 0 0\n");
  EXPECT_EQ(Take(0, 8), "0 of 0");
}

TEST_F(DiskFigures, AreThoseOfMoreMountsThanOneBlockOfMemoryHolds) {
  std::string lines;
  for (int i = 0; i < 200; ++i) lines += "/dev/a " + Folder("m" + std::to_string(i)) + " ext4 rw\n";
  Write("self/mounts", lines);
  EXPECT_EQ(Take(199, 8), "1 of 200; " + proc_ + "/m199 ext4");
}

TEST_F(DiskFigures, PassOverTheRestOfALineThatIsLongerThanTheBuffer) {
  const std::string root = Folder("r");
  Write("self/mounts", "overlay /nowhere overlay lowerdir=" + std::string(5000, 'x') + " " + root +
                           " ext4 0 0\n/dev/a " + root + " ext3 rw 0 0\n");
  EXPECT_EQ(Take(0, 8), "1 of 1; " + root + " ext3");
}

TEST_F(DiskFigures, CutALongPlaceAndFailWithoutTheList) {
  EXPECT_EQ(Take(0, 8), "no");
  const std::string longName = Folder(std::string(80, 'n'));
  Write("self/mounts", "/dev/a " + longName + " a_file_system_of_long_name rw 0 0\n");
  EXPECT_EQ(Take(0, 8), "1 of 1; " + longName.substr(0, 63) + " a_file_system_o");
}

// Processes

class ProcessFigures : public BoardFigures {
 protected:
  void WriteProcess(uint32_t pid, const std::string& name, const std::string& behind) {
    Write(std::to_string(pid) + "/stat", std::to_string(pid) + " (" + name + ") " + behind);
  }

  static std::string Behind(char state, unsigned parent, unsigned long long userTicks,
                            unsigned threads, unsigned long long residentPages) {
    return std::string(1, state) + " " + std::to_string(parent) + " 5 6 7 8 9 10 11 12 13 " +
           std::to_string(userTicks) + " 3 16 17 18 19 " + std::to_string(threads) + " 21 22 23 " +
           std::to_string(residentPages) + " 25 26\n";
  }

  // "taken of count", then each process.
  std::string Take(uint32_t afterPid) {
    kiv_process_figures found[KIV_MAX_PROCESSES_TAKEN];
    uint32_t taken = 0;
    uint32_t count = 0;
    if (!kiv_figures_processes(proc_.c_str(), afterPid, found, &taken, &count)) return "no";
    std::string text = std::to_string(taken) + " of " + std::to_string(count);
    for (uint32_t i = 0; i < taken; ++i) {
      const kiv_process_figures& one = found[i];
      text += "; " + std::to_string(one.pid) + " " + one.name + " " + one.state + " " +
              std::to_string(one.parent_pid) + " " + std::to_string(one.threads) + " " +
              std::to_string(one.resident_kib) + " " + std::to_string(one.cpu_ms);
    }
    return text;
  }

  // A process of 4 threads and 10 pages that has run for as long as its number says.
  std::string Shown(uint32_t pid) const {
    return "; " + std::to_string(pid) + " p S 1 4 " + std::to_string(10 * pageKib_) + " " +
           std::to_string((uint64_t{pid} + 3) * 1000 / ticks_);
  }

  const uint64_t pageKib_ = static_cast<uint64_t>(sysconf(_SC_PAGESIZE)) / 1024;
  const uint64_t ticks_ = static_cast<uint64_t>(sysconf(_SC_CLK_TCK));
};

TEST_F(ProcessFigures, KeepNamesWithBlanksAndParentheses) {
  WriteProcess(12, "a) (b c", Behind('R', 7, 97, 2, 3));
  EXPECT_EQ(Take(0), "1 of 1; 12 a) (b c R 7 2 " + std::to_string(3 * pageKib_) + " " +
                         std::to_string(100 * 1000 / ticks_));
}

TEST_F(ProcessFigures, ComeInOrderOfTheirNumbersAndInParts) {
  for (uint32_t pid = 100; pid > 60; --pid) {
    WriteProcess(pid * 7, "p", Behind('S', 1, uint64_t{pid} * 7, 4, 10));
  }
  Write("uptime", "1 2");
  Write("self/stat", "no number");
  uint32_t after = 0;
  uint32_t pid = 61;
  for (const uint32_t part : {16, 16, 8, 0}) {
    std::string expected = std::to_string(part) + " of 40";
    for (uint32_t i = 0; i < part; ++i, ++pid) expected += Shown(pid * 7);
    EXPECT_EQ(Take(after), expected);
    after = (pid - 1) * 7;
  }
}

TEST_F(ProcessFigures, LeaveOutWhatHasEndedOrIsNoProcess) {
  WriteProcess(5, "p", Behind('S', 1, 5, 4, 10));
  Write("6/cmdline", "its stat has gone");
  Write("7/stat", "7 (cut");
  Write("8/stat", "8 (short) S 1 2 3");
  Write("9/stat", "");
  Write("10x/stat", "10 (x) S");
  Write("99999999999/stat", "beyond 32 bits");
  EXPECT_EQ(Take(0), "1 of 5" + Shown(5));
}

TEST_F(ProcessFigures, KeepLargeFiguresWithin32Bits) {
  WriteProcess(1, "big", Behind('S', 0, 0, 1, 1ULL << 40));
  const uint64_t cpuMs = (uint64_t{3}) * 1000 / ticks_;
  EXPECT_EQ(Take(0), "1 of 1; 1 big S 0 1 4294967295 " + std::to_string(cpuMs));
  EXPECT_EQ(Take(1), "0 of 1");
  fs::remove_all(proc_);
  EXPECT_EQ(Take(0), "no");
}

}  // namespace
}  // namespace kivtest
