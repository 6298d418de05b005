// The parser and the fill against the independent model in tests/model, step by step.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "params/default_fill.h"
#include "params/quick_fill.h"
#include "tests/params/line_reading.h"
#include "tests/support/hand_tree.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/sweep.h"
#include "tests/support/tree_paths.h"

using namespace kivtest;
using nlohmann::json;

namespace {

constexpr int kSeeds = 10;
constexpr std::int64_t kFullLinesPerSeed = 12000;
constexpr int kReportedDifferences = 5;

// The lines that the generator writes to its standard output, one at a time.
class Generator {
 public:
  Generator(int seed, std::int64_t count, const ScratchFolder& folder) {
    const std::string command = std::string(KIV_PYTHON " -B '") + SourceDir() +
                                "/tests/model/generate.py' " + std::to_string(seed) + " " +
                                std::to_string(count) + " '" + folder.Path() + "'";
    pipe_ = popen(command.c_str(), "r");
  }
  ~Generator() {
    if (pipe_ != nullptr) pclose(pipe_);
    std::free(buffer_);
  }
  Generator(const Generator&) = delete;
  Generator& operator=(const Generator&) = delete;

  bool Next(std::string& line) {
    if (pipe_ == nullptr) return false;
    const ssize_t length = getline(&buffer_, &capacity_, pipe_);
    if (length <= 0) return false;
    line.assign(buffer_, static_cast<std::size_t>(length));
    return true;
  }
  // The generator's exit status.
  int Close() {
    const int status = pipe_ == nullptr ? -1 : pclose(pipe_);
    pipe_ = nullptr;
    return status;
  }

 private:
  std::FILE* pipe_ = nullptr;
  char* buffer_ = nullptr;
  std::size_t capacity_ = 0;
};

json State(const ParamLineParser& parser) {
  return {parser.GetPosition(), parser.GetDepth(), parser.GetIndex()};
}

void AppendState(json& step, const ParamLineParser& parser) {
  for (const json& number : State(parser)) step.push_back(number);
}

// Sets the line and notes the outcome; true when it was taken.
bool SetLine(ParamLineParser& parser, const json& wanted, json& actual) {
  const std::string line = wanted["line"].get<std::string>();
  const std::uint32_t good = parser.SetParamLine(Wide(line));
  actual["line"] = line;
  actual["ok"] = good;
  actual["err"] = ErrorOf(parser);
  actual["state"] = State(parser);
  return good != 0;
}

json RunNumber(const json& wanted) {
  ParamLineParser parser;
  std::uint32_t value = 0;
  QCString text;
  if (!wanted["text"].is_null()) text = Wide(wanted["text"].get<std::string>());
  const wchar_t* chars = wanted["text"].is_null() ? nullptr : text.c_str();
  const std::uint32_t good = parser.StrToUint32(chars, &value);
  return {{"t", "number"},
          {"text", wanted["text"]},
          {"ok", good},
          {"value", value},
          {"err", ErrorOf(parser)}};
}

json ValueStep(ParamLineParser& parser) {
  std::uint32_t value = 0;
  bool leftAtDefault = false;
  const std::uint32_t good = parser.GetNextValue(&value, &leftAtDefault);
  return {"v", good, value, leftAtDefault ? 1 : 0};
}

json ArrayStep(ParamLineParser& parser, const json& wanted) {
  std::vector<std::uint8_t> bytes;
  std::uint8_t* buffer = nullptr;
  const std::uint32_t sizeBytes = wanted[2].get<std::uint32_t>();
  if (!wanted[3].is_null()) {
    bytes = FromHex(wanted[3].get<std::string>());
    bytes.reserve(bytes.size() + 1);  // so that an empty one has an address too
    buffer = bytes.data();
  }
  const std::uint32_t good =
      parser.GetNextArray(&buffer, wanted[1].get<std::uint32_t>(), sizeBytes);
  json after = nullptr;
  if (!wanted[3].is_null()) after = ToHex(bytes);
  return {"a", wanted[1], wanted[2], wanted[3], good, after};
}

json RunRequests(const json& wanted) {
  ParamLineParser parser;
  json actual = {{"t", "requests"}, {"steps", json::array()}};
  if (!SetLine(parser, wanted, actual)) return actual;
  for (const json& request : wanted["steps"]) {
    json step = request[0] == "v" ? ValueStep(parser) : ArrayStep(parser, request);
    step.push_back(ErrorOf(parser));
    AppendState(step, parser);
    actual["steps"].push_back(step);
  }
  return actual;
}

std::vector<ParamNodeSpec> SpecsOf(const json& nodes) {
  std::vector<ParamNodeSpec> specs;
  for (const json& node : nodes) {
    ParamNodeSpec spec;
    spec.depth = node[0].get<std::uint32_t>();
    spec.kind = node[1].get<std::int32_t>();
    spec.variableName = L"node";
    spec.dataTypeBytes = node[2].get<std::uint32_t>();
    spec.inStructBytes = node[3].get<std::uint32_t>();
    spec.bytes = FromHex(node[4].get<std::string>());
    const bool isArray = spec.kind == 1 || spec.kind == 9;
    if (isArray) spec.hasBuffer = !node[5].is_null();
    if (isArray && spec.hasBuffer && node[5] != node[3]) {
      spec.bufferBytes = node[5].get<std::uint64_t>();
    }
    specs.push_back(spec);
  }
  return specs;
}

struct Walk {
  ParamLineParser parser;
  json steps = json::array();
};

std::uint32_t FillAndNote(CParamNode* node, void* user, std::uint32_t depth) {
  Walk* walk = static_cast<Walk*>(user);
  const std::uint32_t status = SvcKivClass::FillNode(node, &walk->parser, depth);
  json step = json::array({status});
  AppendState(step, walk->parser);
  walk->steps.push_back(step);
  return status;
}

// The line in one pass: when it is taken, as the walk left the tree; else the tree is as it was.
void ExpectQuickFillToAgree(const json& wanted, std::uint32_t status, HandTree& walked) {
  HandTree quick(SpecsOf(wanted["nodes"]));
  const std::size_t bodyBytes = quick.Root().GetBodyBytes();
  const std::vector<std::uint8_t> before(quick.Root().GetBody(),
                                         quick.Root().GetBody() + bodyBytes);
  const QCString line = Wide(wanted["line"].get<std::string>());
  const bool isTaken = SvcKivClass::QuickFill(quick.Root(), line.view());
  const std::uint8_t* const expected = isTaken ? walked.Root().GetBody() : before.data();
  EXPECT_TRUE(std::equal(expected, expected + bodyBytes, quick.Root().GetBody())) << wanted;
  if (isTaken) {
    EXPECT_EQ(status, 0u) << wanted;
  }
}

json RunFill(const json& wanted) {
  json actual = {{"t", "fill"},           {"nodes", wanted["nodes"]}, {"status", 0},
                 {"walk", json::array()}, {"fill_err", ""},           {"bytes", json::array()}};
  HandTree tree(SpecsOf(wanted["nodes"]));
  Walk walk;
  if (SetLine(walk.parser, wanted, actual)) {
    SvcKivClass::ClearFillErrorText();
    actual["status"] = tree.Root().ParseNodes(&FillAndNote, &walk, 0);
    actual["walk"] = walk.steps;
    actual["fill_err"] = SvcKivClass::GetFillErrorText().ToUtf8();
    ExpectQuickFillToAgree(wanted, actual["status"].get<std::uint32_t>(), tree);
  }
  for (std::size_t i = 0; i < wanted["nodes"].size(); ++i) {
    const json& node = wanted["nodes"][i];
    const bool isArray = node[1] == 1 || node[1] == 9;
    // What a node does not show cannot be read back.
    const bool shown = !isArray || !node[5].is_null();
    actual["bytes"].push_back(shown ? json(tree.Bytes(i)) : wanted["bytes"][i]);
  }
  return actual;
}

json RunCase(const json& wanted) {
  if (wanted["t"] == "number") return RunNumber(wanted);
  if (wanted["t"] == "requests") return RunRequests(wanted);
  return RunFill(wanted);
}

class ModelCompare : public testing::TestWithParam<int> {};

}  // namespace

TEST_P(ModelCompare, ParserAndFillAgreeWithTheModelOnEveryLine) {
  ScratchFolder folder;
  const std::int64_t count = SweepCount(kFullLinesPerSeed);
  Generator generator(GetParam(), count, folder);
  std::int64_t compared = 0;
  int different = 0;
  for (std::string line; generator.Next(line); ++compared) {
    const json wanted = json::parse(line);
    const json actual = RunCase(wanted);
    if (actual == wanted || ++different > kReportedDifferences) continue;
    ADD_FAILURE() << "case " << compared << "\nmodel  " << wanted.dump() << "\nparser "
                  << actual.dump();
  }
  EXPECT_EQ(generator.Close(), 0);
  EXPECT_EQ(compared, count);
  EXPECT_EQ(different, 0);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ModelCompare, testing::Range(1, kSeeds + 1));
