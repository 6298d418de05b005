// Documents that were cut off or damaged: the program starts, quickly, and nothing of the file is
// lost without a word. Either the file is taken as it is, or it is kept whole under another name
// and the user is told.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "platform/xml/xml_config.h"
#include "tests/platform/xml/settings_shape.h"
#include "tests/support/processor_time.h"
#include "tests/support/scoped_env.h"
#include "tests/support/sweep.h"
#include "tests/support/temp_dir.h"

namespace {

using kivtest::SweepCount;
using kivtest::TempDir;

constexpr std::size_t kDocumentBytes = 20'000;
constexpr auto kLongestStart = std::chrono::seconds(2);

// A directory in memory where there is such: nothing here is about the disk, and each document is
// synced four times.
class MemoryDir {
  kivtest::ScopedEnv tmp_{"TMPDIR", access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp"};

 public:
  const TempDir dir;
};

// Settings with a history of hard texts, some 20 kB long.
std::string LongDocument() {
  const MemoryDir memory;
  const TempDir& dir = memory.dir;
  CXmlConfig config(QCString(dir.WideFile("kiv.xml")), kivtest::SettingsOptions());
  const QCString list = L"SourceData.SESSION.INSTANCE.DEFAULT.HISTORY_CMD";
  for (int i = 0; dir.Read("kiv.xml").size() < kDocumentBytes; ++i) {
    const QCString at = QCString(L"0.0.0.0.0.") + std::to_wstring(i).c_str();
    config.AddConfigNode(L"CMD", list, L"0.0.0.0.0", 0);
    config.WriteAttrValue(L"nv_write", L"NAME", list + L".CMD", at);
    config.WriteAttrValue(L"{7,3,[\"<a&b>\"]}\t\r\n\x01\x20AC{U+0041}", L"PARA", list + L".CMD",
                          at);
    config.Save(1);
  }
  return dir.Read("kiv.xml");
}

// Starts with this file as a console does, changes something and saves.
void ExpectNothingLost(const TempDir& dir, const std::string& text) {
  dir.Write("kiv.xml", text);
  const auto start = kivtest::ProcessorTime();
  std::string notice;
  {
    CXmlConfig config(QCString(dir.WideFile("kiv.xml")), kivtest::SettingsOptions());
    ASSERT_TRUE(config.IsOpen());
    notice = config.TakeNotice().ToUtf8();
    QCString value;
    config.ReadAttrValue(value, L"TITLE", L"SourceData.SESSION.INSTANCE.DEFAULT.POPULAR", L"0");
    ASSERT_EQ(0u, config.WriteAttrValue(L"new", L"CHANGED", L"SourceData", L"0"));
    ASSERT_EQ(0u, config.Save(1));
  }
  EXPECT_LT(kivtest::ProcessorTime() - start, kLongestStart);
  const std::string kept = dir.Read("kiv.xml.corrupt-1");
  if (notice.empty()) {
    ASSERT_EQ("", kept);
    ASSERT_EQ(text, dir.Read("kiv.xml.bak"));
  } else {
    ASSERT_NE(std::string::npos, notice.find("kiv.xml.corrupt-1"));
    ASSERT_TRUE(text == kept);
  }
  for (const std::string& name : dir.Names()) std::filesystem::remove(dir.File(name));
}

TEST(DamagedDocument, IsKeptWhereverItWasCutOff) {
  const MemoryDir memory;
  const TempDir& dir = memory.dir;
  const std::string document = LongDocument();
  const std::size_t step = static_cast<std::size_t>(SweepCount(10)) == 10 ? 1 : 7;
  std::size_t sound = 0;
  for (std::size_t length = 0; length < document.size(); length += step) {
    ExpectNothingLost(dir, document.substr(0, length));
    if (HasFatalFailure()) FAIL() << "cut off at " << length;
    sound += document.substr(0, length).ends_with("</SourceData>") ? 1 : 0;
  }
  EXPECT_LE(sound, 1u);
}

// Damages a text in one of the ways that disks, editors and hands do.
class Damage {
 public:
  std::string Of(std::string text) {
    for (std::uint64_t left = 1 + Below(4); left > 0; --left) One(text);
    return text;
  }

 private:
  std::uint64_t Below(std::uint64_t limit) { return random_() % limit; }

  void One(std::string& text) {
    const std::size_t at = Below(text.size());
    const std::size_t length = Below(std::min<std::size_t>(text.size() - at, 400)) + 1;
    switch (Below(6)) {
      case 0:
        text[at] = static_cast<char>(random_());
        break;
      case 1:
        text.erase(at, length);
        break;
      case 2:
        text.insert(at, text.substr(Below(text.size()), length));
        break;
      case 3:
        text.replace(at, length, length, '\0');
        break;
      case 4:
        text[at] = static_cast<char>(text[at] ^ (1 << Below(8)));
        break;
      default: {
        static constexpr std::string_view kPieces[] = {"<",
                                                       ">",
                                                       "&",
                                                       "\"",
                                                       "'",
                                                       "/>",
                                                       "<!--",
                                                       "-->",
                                                       "<![CDATA[",
                                                       "]]>",
                                                       "<?",
                                                       "?>",
                                                       "&#0;",
                                                       "&#x",
                                                       "<a>",
                                                       "</a>",
                                                       "<SESSION ID=\"1\"/>",
                                                       "=",
                                                       "\xFF",
                                                       "<!DOCTYPE a>",
                                                       "{U+"};
        text.insert(at, kPieces[Below(std::size(kPieces))]);
      }
    }
    if (text.empty()) text = "x";
  }

  std::mt19937_64 random_{20261121};
};

TEST(DamagedDocument, IsKeptHoweverItWasDamaged) {
  const MemoryDir memory;
  const TempDir& dir = memory.dir;
  const std::string document = LongDocument();
  Damage damage;
  for (std::int64_t left = SweepCount(10'000); left > 0; --left) {
    const std::string text = damage.Of(document);
    ExpectNothingLost(dir, text);
    if (HasFatalFailure()) FAIL() << text;
  }
}

}  // namespace
