// Every example of docs/channels.md: what a line posts, and how a packet is shown.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "cts/kiv_cts.h"
#include "platform/base/version_query.h"
#include "tests/fakes/module_bench.h"
#include "tests/fakes/platform_seam.h"
#include "tests/support/hex.h"
#include "tests/support/tree_paths.h"

namespace {

using fake::Post;
using fake::PostKind;
using Bytes = std::vector<std::uint8_t>;

// A fenced block: its fields in their order; a line that begins with blanks goes on with the one
// before.
using Field = std::pair<std::string, std::string>;
struct Block {
  std::vector<Field> fields;
  std::string Get(const std::string& key) const {
    for (const auto& [name, value] : fields) {
      if (name == key) return value;
    }
    return "";
  }
  std::int64_t Number(const std::string& key, std::int64_t fallback) const {
    const std::string value = Get(key);
    return value.empty() ? fallback : std::stoll(value, nullptr, 0);
  }
};

Block ReadBlock(std::istream& page) {
  Block block;
  for (std::string line; std::getline(page, line) && line != "```";) {
    if (line.starts_with(" ")) {
      block.fields.back().second += line;
      continue;
    }
    const std::size_t colon = line.find(':');
    const std::size_t value = line.find_first_not_of(' ', colon + 1);
    block.fields.emplace_back(line.substr(0, colon),
                              value == std::string::npos ? "" : line.substr(value));
  }
  return block;
}

std::vector<Block> BlocksOf(const std::string& kind) {
  std::ifstream page(std::string(kivtest::SourceDir()) + "/docs/channels.md");
  std::vector<Block> blocks;
  for (std::string line; std::getline(page, line);) {
    if (line == "```" + kind) blocks.push_back(ReadBlock(page));
  }
  return blocks;
}

Bytes HexBytes(std::string text) {
  std::erase(text, ' ');
  return kivtest::FromHex(text);
}

// "request 0x500D delay 200  09 00 ...", "sdt 0x7E0C  10 ...", "raw  6C ..."
Post PostOf(const std::string& text) {
  std::istringstream words(text);
  std::string kind;
  words >> kind;
  Post post;
  if (kind == "raw") {
    post.kind = PostKind::kRaw;
  } else {
    post.kind = kind == "sdt" ? PostKind::kSdt : PostKind::kCmd;
    words >> std::hex >> post.cmdId >> std::dec;
  }
  std::string rest;
  std::getline(words, rest);
  const std::size_t delay = rest.find("delay ");
  if (delay != std::string::npos) {
    std::size_t digits = 0;
    post.word = static_cast<std::uint32_t>(std::stoul(rest.substr(delay + 6), &digits));
    rest = rest.substr(delay + 6 + digits);
  }
  post.body = HexBytes(rest);
  return post;
}

std::wstring Unescaped(const std::string& text) {
  QCString plain = QCString::FromUtf8(text);
  plain.Replace(std::wstring_view(L"\\r"), std::wstring_view(L"\r"));
  plain.Replace(std::wstring_view(L"\\n"), std::wstring_view(L"\n"));
  return plain.str();
}

class ChannelsPage : public testing::Test {
 protected:
  ~ChannelsPage() override { version_query::NoteDevice(-1, -1); }
  static void Device(const Block& block) {
    version_query::NoteDevice(block.Number("variant", 248), block.Number("product", 0));
  }

  kivtest::ModuleBench bench_{{.channels = SvcKivClass::BuiltInChannels()}};
};

TEST_F(ChannelsPage, LinesArePostedAsItShows) {
  const std::string cases = bench_.Setup().Path("cases");
  std::filesystem::create_directories(cases + "/pbin");
  SvcKivClass::TheChannel<SvcKivClass::KivCts>().SetConfigPath(QCString::FromUtf8(cases).c_str(),
                                                               L"");
  const std::vector<Block> blocks = BlocksOf("line");
  EXPECT_GE(blocks.size(), 9u);
  for (const Block& block : blocks) {
    Device(block);
    const Bytes compiled = HexBytes(block.Get("compiled"));
    std::ofstream(cases + "/echo.pcfg") << "";
    std::ofstream(cases + "/pbin/echo.pcfg.rt.0", std::ios::binary)
        .write(reinterpret_cast<const char*>(compiled.data()),
               static_cast<std::streamsize>(compiled.size()));
    std::vector<Post> expected;
    for (const auto& [name, value] : block.fields) {
      if (name == "post") expected.push_back(PostOf(value));
    }
    EXPECT_FALSE(expected.empty());
    fake::ResetSeam();
    const std::string line = block.Get("line");
    EXPECT_EQ(bench_.Run(QCString::FromUtf8(line).str()), kivtest::ModuleBench::kUntouched) << line;
    const std::vector<Post> posts = fake::Posts();
    ASSERT_EQ(posts.size(), expected.size()) << line;
    for (std::size_t i = 0; i < posts.size(); ++i) {
      EXPECT_EQ(kivtest::ToHex(posts[i].body), kivtest::ToHex(expected[i].body)) << line;
      EXPECT_EQ(posts[i], expected[i]) << line;
    }
  }
}

TEST_F(ChannelsPage, PacketsAreShownAsItSays) {
  const std::vector<Block> blocks = BlocksOf("answer");
  EXPECT_GE(blocks.size(), 6u);
  for (const Block& block : blocks) {
    Device(block);
    const std::size_t before = bench_.Messages().All().size();
    fake::DeliverInd(static_cast<std::uint32_t>(block.Number("id", 0)),
                     HexBytes(block.Get("body")));
    const auto messages = bench_.Messages().All();
    ASSERT_EQ(messages.size(), before + 1) << block.Get("id");
    EXPECT_EQ(messages.back().kind, block.Number("kind", -1)) << block.Get("id");
    EXPECT_EQ(messages.back().text, Unescaped(block.Get("text"))) << block.Get("id");
  }
}

}  // namespace
