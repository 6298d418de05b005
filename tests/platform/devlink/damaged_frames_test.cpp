// Whatever is done to frames on their way, what a client is handed was sent, once; and another
// program's HDLC dissector agrees on which frames are sound.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>

#include "platform/devlink/link_session.h"
#include "tests/platform/devlink/damage.h"
#include "tests/platform/devlink/framing.h"
#include "tests/platform/devlink/noise.h"
#include "tests/platform/devlink/test_device.h"
#include "tests/support/sweep.h"
#include "tests/support/sweep_report.h"
#include "tests/support/temp_dir.h"

namespace linktest {
namespace {

// The receiving half of the link: from the bytes of the line to what a client is handed.
class LinkTarget : public DamageTarget, private devlink::SessionHost {
 public:
  LinkTarget() { NewSession({}); }

  DamageRun* run = nullptr;

  std::uint8_t Kind() const override { return kCnf; }
  bool IgnoresStale() const override { return true; }
  std::uint64_t Lost() const override { return devlink::GetLinkCounters().sequenceGaps; }
  void Take(Bytes piece) override { session_->Feed(piece); }
  void NewSession(const Bytes& stale) override {
    devlink::SessionHost& host = *this;
    session_ = std::make_unique<devlink::LinkSession>(host, ++helloTag_, 0);
    Take(stale);
    Take(NaiveLine(Whole(DeviceEnd::Hello(helloTag_))));
    EXPECT_TRUE(session_->Greeted());
  }

 private:
  void OnGreeted(const devlink::PeerInfo&) override {}
  void OnTestAnswer(std::uint16_t) override {}
  void OnBatch(const ReceivedPacket* records, std::uint32_t count) override {
    for (std::uint32_t i = 0; i < count; ++i) {
      const auto* const body = static_cast<const std::uint8_t*>(records[i].body);
      run->Delivered(records[i].cmdId, records[i].tag,
                     Bytes(body, body + records[i].bodyLengthBytes));
    }
  }

  std::unique_ptr<devlink::LinkSession> session_;
  std::uint16_t helloTag_ = 0;
};

class DamagedFrames : public testing::TestWithParam<int> {};

TEST_P(DamagedFrames, GiveTheLinkNoWrongPacketAndNoneTwice) {
  const auto damage = static_cast<Damage>(GetParam());
  const kivtest::SweepReport report(std::string("damaged frames, link, ") + DamageName(damage));
  LinkTarget target;
  DamageRun run(target, damage, static_cast<std::uint32_t>(100 + GetParam()));
  target.run = &run;
  for (auto left = kivtest::SweepCount(1'000'000) / kDamages; left > 0 && run.Found().Good();
       --left) {
    run.Round();
  }
  report.Write(run.Found().tried, run.Found().Text());
  EXPECT_TRUE(run.Found().Good()) << run.Found().Text();
  EXPECT_GE(run.Found().delivered, run.Found().tried);
}

INSTANTIATE_TEST_SUITE_P(InClasses, DamagedFrames, testing::Range(0, kDamages),
                         [](const testing::TestParamInfo<int>& info) {
                           std::string name = DamageName(static_cast<Damage>(info.param));
                           std::replace(name.begin(), name.end(), ' ', '_');
                           return name;
                         });

// --- The other program: tshark takes flags, escapes and FCS apart by itself when it is told that a
// capture holds raw HDLC-like lines with an FCS of 32 bits.

constexpr std::uint32_t kUserLinkType = 147;

class Capture {
 public:
  explicit Capture(const std::string& path) : file_(path, std::ios::binary) {
    for (const std::uint32_t word : {0xA1B2C3D4u, 0x00040002u, 0u, 0u, 1u << 20, kUserLinkType})
      Put(word);
  }
  void Add(const Bytes& packet) {
    const auto length = static_cast<std::uint32_t>(packet.size());
    for (const std::uint32_t word : {0u, 0u, length, length}) Put(word);
    file_.write(reinterpret_cast<const char*>(packet.data()), static_cast<std::streamsize>(length));
  }

 private:
  void Put(std::uint32_t word) {
    for (int i = 0; i < 4; ++i) file_.put(static_cast<char>(word >> (8 * i)));
  }
  std::ofstream file_;
};

// The FCS status of each packet, "1" for a good one; nothing when there is no tshark.
std::optional<std::vector<std::string>> AskTshark(const std::string& capture) {
  if (std::system("command -v tshark >/dev/null 2>&1") != 0) return std::nullopt;
  const std::string command =
      "tshark -n -r '" + capture +
      "' -o 'uat:user_dlts:\"User 0 (DLT=147)\",\"ppp_raw_hdlc\",\"0\",\"\",\"0\",\"\"'"
      " -o ppp.fcs_type:32-Bit -T fields -e ppp.fcs.status 2>/dev/null";
  FILE* const output = ::popen(command.c_str(), "r");
  std::vector<std::string> statuses;
  char line[64];
  while (output != nullptr && std::fgets(line, sizeof(line), output) != nullptr) {
    std::string status = line;
    status.pop_back();
    statuses.push_back(status);
  }
  ::pclose(output);
  return statuses;
}

TEST(Tshark, AgreesOnWhichFramesAreSound) {
  const kivtest::TempDir directory;
  const std::string path = directory.File("frames.pcap");
  std::vector<std::string> verdicts;
  {
    Capture capture(path);
    Damager damager(7);
    for (int i = 0; i < 2000; ++i) {
      NaiveFrame frame;
      frame.id = static_cast<std::uint32_t>(i);
      frame.payload = Noise(damager.Below(300), static_cast<std::uint32_t>(i) | 1);
      Bytes line = Encode(Whole(frame));
      if (i % 2 == 1) i % 4 == 1 ? damager.FlipBits(line) : damager.SwapBytes(line);
      // One candidate between two flags each, long enough for both to look at its FCS.
      if (line.front() != 0x7E || line.back() != 0x7E ||
          std::count(line.begin(), line.end(), 0x7E) != 2) {
        continue;
      }
      devlink::Deframer deframer;
      const auto contents = Deframe(deframer, line);
      if (deframer.Counts().stray != 0 || line.at(line.size() - 2) == 0x7D) continue;
      verdicts.push_back(contents.empty() ? "0" : "1");
      capture.Add(line);
    }
  }
  EXPECT_GT(std::count(verdicts.begin(), verdicts.end(), "1"), 900);
  EXPECT_GT(std::count(verdicts.begin(), verdicts.end(), "0"), 500);
  const auto theirs = AskTshark(path);
  if (!theirs && kivtest::NothingMayBeSkipped()) FAIL() << "tshark is not installed";
  if (!theirs) GTEST_SKIP() << "tshark is not installed";
  EXPECT_EQ(*theirs, verdicts);
}

}  // namespace
}  // namespace linktest
