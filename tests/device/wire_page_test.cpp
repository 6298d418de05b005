// The examples of docs/wire-format.md and the table of docs/result-codes.md against the agent's
// core.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "device/core/result_codes.h"
#include "tests/device/line_recorder.h"
#include "tests/support/tree_paths.h"

namespace kivtest {
namespace {

using Fields = std::map<std::string, std::string>;

// The blocks "```kind NAME" of a page, by name; a line that begins with a blank continues a field.
std::map<std::string, Fields> BlocksOf(const std::string& page, const std::string& kind) {
  std::ifstream file(std::string(SourceDir()) + "/docs/" + page);
  std::map<std::string, Fields> blocks;
  Fields* block = nullptr;
  std::string key;
  const std::string opening = "```" + kind + " ";
  for (std::string line; std::getline(file, line);) {
    if (line.rfind(opening, 0) == 0) {
      block = &blocks[line.substr(opening.size())];
    } else if (line.rfind("```", 0) == 0) {
      block = nullptr;
    } else if (block != nullptr) {
      const size_t colon = line.find(':');
      const bool continues = line.empty() || line.front() == ' ';
      if (!continues) key = line.substr(0, colon);
      (*block)[key] += ' ' + (continues ? line : line.substr(colon + 1));
    }
  }
  return blocks;
}

uint32_t NumberOf(const Fields& fields, const std::string& key, uint32_t otherwise = 0) {
  const auto found = fields.find(key);
  return found == fields.end() ? otherwise
                               : static_cast<uint32_t>(std::stoul(found->second, nullptr, 0));
}

Bytes BytesOf(const Fields& fields, const std::string& key) {
  const auto found = fields.find(key);
  return found == fields.end() ? Bytes() : FromHex(found->second);
}

kiv_head HeadOfExample(const Fields& fields) {
  kiv_head head = HeadOf(static_cast<int>(NumberOf(fields, "kind")), 0, 0, 0);
  head.flags = static_cast<uint8_t>(NumberOf(fields, "flags"));
  head.id = NumberOf(fields, "id");
  head.tag = static_cast<uint16_t>(NumberOf(fields, "tag"));
  head.word16 = static_cast<uint16_t>(NumberOf(fields, "word16"));
  head.word32 = NumberOf(fields, "word32");
  head.result = NumberOf(fields, "result");
  head.sequence = NumberOf(fields, "sequence");
  head.offset_bytes = NumberOf(fields, "offset");
  head.body_bytes =
      NumberOf(fields, "length", static_cast<uint32_t>(BytesOf(fields, "body").size()));
  return head;
}

kiv_side SideOf(const Fields& fields) {
  return fields.at("from").find("host") == std::string::npos ? KIV_SIDE_AGENT : KIV_SIDE_HOST;
}

TEST(WirePage, HasItsExamples) {
  EXPECT_EQ(BlocksOf("wire-format.md", "example").size(), 21u);
  EXPECT_EQ(BlocksOf("wire-format.md", "stream").size(), 8u);
}

TEST(WirePage, EachExampleIsEncodedToItsLine) {
  for (const auto& [name, fields] : BlocksOf("wire-format.md", "example")) {
    EXPECT_EQ(EncodeFrame(HeadOfExample(fields), BytesOf(fields, "body")), BytesOf(fields, "line"))
        << name;
  }
}

TEST(WirePage, EachLineIsDecodedToItsExample) {
  for (const auto& [name, fields] : BlocksOf("wire-format.md", "example")) {
    const kiv_head expected = HeadOfExample(fields);
    if (expected.flags != 0 || expected.offset_bytes != 0) continue;  // parts have their own test
    LineRecorder recorder(SideOf(fields));
    if (expected.kind != KIV_HELLO) recorder.SkipGreeting(expected.sequence);
    recorder.Feed(BytesOf(fields, "line"));
    const std::vector<Recorded> wanted = {{expected, BytesOf(fields, "body")}};
    EXPECT_EQ(recorder.messages, wanted) << name;
    EXPECT_EQ(recorder.receiver.counts.lost, 0u) << name;
  }
}

TEST(WirePage, ThePartsWithAProbeBetweenThemMakeOneMessage) {
  const auto examples = BlocksOf("wire-format.md", "example");
  LineRecorder recorder(KIV_SIDE_HOST);
  recorder.SkipGreeting(6);
  for (const char* name : {"part-1", "part-probe", "part-2"}) {
    recorder.Feed(BytesOf(examples.at(name), "line"));
  }
  const Bytes whole =
      BytesOf(examples.at("part-1"), "body") + BytesOf(examples.at("part-2"), "body");
  const std::vector<Recorded> wanted = {{HeadOfExample(examples.at("part-probe")), {}},
                                        {HeadOfExample(examples.at("part-1")), whole}};
  EXPECT_EQ(recorder.messages, wanted);
}

TEST(WirePage, EachGreetingIsReadAndWrittenBackTheSame) {
  int greetings = 0;
  for (const auto& [name, fields] : BlocksOf("wire-format.md", "example")) {
    if (NumberOf(fields, "kind") != KIV_HELLO) continue;
    ++greetings;
    const Bytes body = BytesOf(fields, "body");
    kiv_hello hello;
    ASSERT_TRUE(
        kiv_hello_read(&hello, SideOf(fields), body.data(), static_cast<uint32_t>(body.size())))
        << name;
    Bytes again(KIV_HELLO_MAX_BYTES);
    again.resize(kiv_hello_write(&hello, SideOf(fields), again.data()));
    EXPECT_EQ(again, body) << name;
  }
  EXPECT_EQ(greetings, 4);
}

TEST(WirePage, EachStreamGivesWhatItSays) {
  const auto examples = BlocksOf("wire-format.md", "example");
  for (const auto& [name, fields] : BlocksOf("wire-format.md", "stream")) {
    std::vector<Recorded> wanted;
    std::istringstream names(fields.at("gives"));
    for (std::string gives; names >> gives;) {
      const Fields& example = examples.at(gives);
      wanted.push_back({HeadOfExample(example), BytesOf(example, "body")});
    }
    LineRecorder recorder(KIV_SIDE_HOST);
    recorder.SkipGreeting(1);
    recorder.Feed(BytesOf(fields, "line"));
    EXPECT_EQ(recorder.messages, wanted) << name;
    EXPECT_EQ(recorder.receiver.deframer.damaged, NumberOf(fields, "damaged")) << name;
    EXPECT_EQ(recorder.receiver.deframer.stray, NumberOf(fields, "stray")) << name;
    EXPECT_EQ(recorder.receiver.counts.malformed, NumberOf(fields, "malformed")) << name;
  }
}

// Code to name, from the rows "| CODE | `name` | text |".
std::map<uint32_t, std::string> ResultCodesOfPage() {
  std::ifstream file(std::string(SourceDir()) + "/docs/result-codes.md");
  std::map<uint32_t, std::string> codes;
  for (std::string line; std::getline(file, line);) {
    const size_t name = line.find("| `");
    if (line.rfind("| ", 0) != 0 || name == std::string::npos) continue;
    const size_t begin = name + 3;
    const auto code = static_cast<uint32_t>(std::stoul(line.substr(2)));
    EXPECT_TRUE(codes.empty() || codes.rbegin()->first < code) << code << " is out of order";
    codes[code] = line.substr(begin, line.find('`', begin) - begin);
  }
  return codes;
}

TEST(ResultCodes, OfTheDeviceStandInTheTable) {
  const std::map<uint32_t, std::string> codes = ResultCodesOfPage();
  const std::map<uint32_t, std::string> ofDevice = {{KIV_RESULT_OK, "ok"},
                                                    {KIV_RESULT_NOT_SUPPORTED, "not_supported"},
                                                    {KIV_RESULT_TOO_LONG, "too_long"},
                                                    {KIV_RESULT_NO_MEMORY, "no_memory"},
                                                    {KIV_RESULT_UNKNOWN_COMMAND, "unknown_command"},
                                                    {KIV_RESULT_BODY_SHORT, "body_short"},
                                                    {KIV_RESULT_BODY_LONG, "body_long"},
                                                    {KIV_RESULT_BAD_VALUE, "bad_value"},
                                                    {KIV_RESULT_NOT_ENABLED, "not_enabled"},
                                                    {KIV_RESULT_NO_SUCH_ITEM, "no_such_item"},
                                                    {KIV_RESULT_STORAGE_FAILED, "storage_failed"},
                                                    {KIV_RESULT_STORAGE_FULL, "storage_full"},
                                                    {KIV_RESULT_FIGURES_FAILED, "figures_failed"},
                                                    {KIV_RESULT_BUSY, "busy"},
                                                    {KIV_RESULT_VERSION_REFUSED, "version_refused"},
                                                    {KIV_RESULT_TOKEN_REFUSED, "token_refused"},
                                                    {KIV_RESULT_DEVICE_FAILED, "device_failed"}};
  for (const auto& [code, name] : ofDevice) {
    ASSERT_TRUE(codes.count(code)) << code;
    EXPECT_EQ(codes.at(code), name);
  }
}

}  // namespace
}  // namespace kivtest
