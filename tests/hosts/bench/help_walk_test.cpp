// Field help against the real parser, on trees and lines made by chance: what it says comes next is
// taken, and what the parser takes it never calls refused.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "platform/os/utf8.h"
#include "tests/hosts/bench/shaped_tree.h"
#include "tests/support/sweep.h"

using namespace kivtest;
using hostbench::FieldHelp;
using hostbench::HelpState;
using hostbench::ParameterField;
using hostbench::ParameterShape;

namespace {

using Chance = std::mt19937;

std::uint32_t Below(Chance& chance, std::uint32_t limit) { return chance() % limit; }

// A structure's fields from `depth` on; at least one.
void AddFields(Chance& chance, std::vector<ParamNodeSpec>& specs, std::uint32_t depth) {
  const std::uint32_t count = 1 + Below(chance, 3);
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::wstring name = L"f" + std::to_wstring(i);
    const std::uint32_t width = 1u << Below(chance, 4);
    const std::uint32_t kind = Below(chance, 10);
    if (kind < 5 || depth > 3) {
      specs.push_back(Single(depth, name.c_str(), width, chance(), Below(chance, 2) == 0));
    } else if (kind < 7) {
      std::vector<std::uint8_t> bytes(width * (1 + Below(chance, 3)));
      for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(chance());
      specs.push_back(Array(depth, name.c_str(), width, bytes));
    } else if (kind < 9) {
      specs.push_back(Structure(depth, name.c_str(), L"nested"));
      AddFields(chance, specs, depth + 1);
    } else {
      specs.push_back(Structure(depth, name.c_str(), L"part", 17));
      const std::uint32_t elements = 1 + Below(chance, 2);
      for (std::uint32_t element = 0; element < elements; ++element) {
        const std::wstring each = name + L"[" + std::to_wstring(element) + L"]";
        specs.push_back(Structure(depth + 1, each.c_str(), L"part"));
        AddFields(chance, specs, depth + 2);
      }
    }
  }
}

std::vector<ParamNodeSpec> TreeByChance(Chance& chance) {
  std::vector<ParamNodeSpec> specs = {Structure(0, L"struct", L"root")};
  AddFields(chance, specs, 1);
  return specs;
}

// A value that the parser takes; empty: it stays at its default.
std::wstring Value(Chance& chance) {
  switch (Below(chance, 6)) {
    case 0:
      return L"";
    case 1:
      return L"-" + std::to_wstring(Below(chance, 200));
    case 2:
      return L"0x1F";
    case 3:
      return L"017";
    default:
      return std::to_wstring(chance());
  }
}

std::uint32_t Number(const std::wstring& value) {
  if (value == L"0x1F") return 31;
  if (value == L"017") return 15;
  return static_cast<std::uint32_t>(std::stoll(value));
}

void Store(std::vector<std::uint8_t>& body, const ParameterField& field, std::uint32_t element,
           const std::wstring& value) {
  if (value.empty()) return;
  for (std::uint32_t i = 0; i < field.elementBytes; ++i) {
    const std::uint64_t number = Number(value);
    body[field.offsetBytes + element * field.elementBytes + i] =
        static_cast<std::uint8_t>(number >> 8 * i);
  }
}

// Types whatever the help says comes next until nothing does, and keeps what must come of it.
class Walker {
 public:
  Walker(Chance& chance, ShapedTree& tree)
      : chance_(chance),
        tree_(tree),
        body_(tree.Shape().DefaultBody()),
        isFlat_(Below(chance, 3) == 0) {}

  void Walk() {
    for (int steps = 0; steps < 1000 && !::testing::Test::HasFatalFailure(); ++steps) {
      const FieldHelp help = tree_.Help(line_);
      if (isEnd_) {
        EXPECT_TRUE(help.sendsNow) << os::WideToUtf8(line_);
        return;
      }
      if (help.state == HelpState::kBehind) {
        line_ += help.follows;
        continue;
      }
      TypeValue(help);
    }
    ADD_FAILURE() << "no end: " << os::WideToUtf8(line_);
  }

  const std::wstring& Line() const { return line_; }
  std::string Body() const { return ToHex(body_); }

 private:
  void TypeValue(const FieldHelp& help) {
    ASSERT_EQ(help.state, HelpState::kField) << os::WideToUtf8(line_);
    ASSERT_EQ(help.field, field_) << os::WideToUtf8(line_);
    ASSERT_EQ(help.element.value_or(element_), element_) << os::WideToUtf8(line_);
    ASSERT_EQ(help.typed, L"");
    const ParameterField& field = tree_.Shape().Fields()[field_];
    const bool flatStart = help.bracesOptional && isFlat_;
    line_ += flatStart ? (field.IsArray() ? L"[" : L"") : help.opens;
    std::wstring value = Value(chance_);
    if (flatStart && line_.empty() && value.empty()) value = L"1";  // an empty text ends the walk
    Store(body_, field, element_, value);
    line_ += value;
    const FieldHelp after = tree_.Help(line_);
    ASSERT_EQ(after.state, HelpState::kField) << os::WideToUtf8(line_);
    ASSERT_EQ(after.field, field_) << os::WideToUtf8(line_);
    ASSERT_EQ(after.typed, value) << os::WideToUtf8(line_);
    ASSERT_TRUE(after.isTaken) << os::WideToUtf8(line_);
    const bool more = !after.closes.empty() && Below(chance_, 4) != 0;
    ASSERT_EQ(after.elementsLeft != 0, !after.closes.empty());
    const bool goesOn = more || (field.IsArray() && after.closes.empty() && after.follows == L",");
    Follow(after.closes.empty() || more ? after.follows : after.closes, goesOn);
  }

  // What opens the next value is typed with it; so the walk goes on behind the comma.
  void Follow(const std::wstring& text, bool inArray) {
    line_ += text.substr(0, text.find_first_of(L"{[", text.find(L',')));
    element_ = inArray ? element_ + 1 : 0;
    if (!inArray) ++field_;
    isEnd_ = text.find(L',') == std::wstring::npos;
  }

  Chance& chance_;
  ShapedTree& tree_;
  std::vector<std::uint8_t> body_;
  const bool isFlat_;
  std::wstring line_;
  std::size_t field_ = 0;
  std::uint32_t element_ = 0;
  bool isEnd_ = false;
};

TEST(FieldHelp, LeadsToALineThatTheParserTakesWithEveryValueInItsField) {
  const auto walks = static_cast<int>(SweepCount(5000));
  Chance chance(7);
  for (int i = 0; i < walks && !HasFailure(); ++i) {
    ShapedTree tree(TreeByChance(chance));
    Walker walker(chance, tree);
    walker.Walk();
    EXPECT_TRUE(tree.Takes(walker.Line())) << os::WideToUtf8(walker.Line());
    EXPECT_EQ(tree.Body(), walker.Body()) << os::WideToUtf8(walker.Line());
  }
}

// The line with each field's values as they are given, in braces or flat.
std::wstring LineOf(const ParameterShape& shape, const std::vector<std::wstring>& values,
                    bool isFlat, std::size_t* markEnd, std::size_t mark) {
  std::wstring line;
  std::size_t next = 0;
  const auto add = [&] {
    line += values[next];
    if (next++ == mark) *markEnd = line.size();
  };
  for (std::size_t i = 0; i < shape.Fields().size(); ++i) {
    const ParameterField& field = shape.Fields()[i];
    if (i != 0) {
      if (!isFlat) line.append(ClosingsBetween(shape.Fields()[i - 1], field), L'}');
      line += L',';
    }
    if (!isFlat) line.append(i == 0 ? field.depth : field.depth - field.sharedDepth, L'{');
    if (!field.IsArray()) {
      add();
      continue;
    }
    for (std::uint32_t element = 0; element < field.count; ++element) {
      line += element == 0 ? L'[' : L',';
      add();
    }
    line += L']';
  }
  return isFlat ? line : line.append(shape.LastDepth(), L'}');
}

TEST(FieldHelp, CallsRefusedWhatTheParserRefuses) {
  const auto lines = static_cast<int>(SweepCount(5000));
  Chance chance(11);
  for (int i = 0; i < lines && !HasFailure(); ++i) {
    ShapedTree tree(TreeByChance(chance));
    std::vector<std::wstring> values;
    for (const ParameterField& field : tree.Shape().Fields()) {
      for (std::uint32_t n = 0; n < std::max(field.count, 1u); ++n) values.push_back(L"1");
    }
    const std::size_t mark = Below(chance, static_cast<std::uint32_t>(values.size()));
    const wchar_t* const bad[] = {L"0x", L"-", L"08", L"1x", L"x", L"1-", L"--1", L"0x1g"};
    values[mark] = bad[Below(chance, std::size(bad))];
    std::size_t markEnd = 0;
    const std::wstring line = LineOf(tree.Shape(), values, Below(chance, 2) == 0, &markEnd, mark);
    EXPECT_FALSE(tree.Takes(line)) << os::WideToUtf8(line);
    const FieldHelp help = tree.Help(line.substr(0, markEnd));
    EXPECT_FALSE(help.isTaken) << os::WideToUtf8(line);
    EXPECT_EQ(tree.Help(line.substr(0, markEnd + 1)).state == HelpState::kRefused ||
                  markEnd == line.size(),
              true)
        << os::WideToUtf8(line);
  }
}

// The parser drops what stands in front of a bracket or brace; help calls it wrong.
bool HasJunk(const std::wstring& line) {
  for (std::size_t at = line.find_first_of(L"{["); at != std::wstring::npos;
       at = line.find_first_of(L"{[", at + 1)) {
    const std::size_t before = at == 0 ? std::wstring::npos : line.find_last_not_of(L' ', at - 1);
    if (before == std::wstring::npos) continue;
    if (line[before] != L',' && line[before] != L'{') return true;
  }
  return false;
}

std::wstring LineByChance(Chance& chance, const ParameterShape& shape) {
  std::vector<std::wstring> values;
  for (const ParameterField& field : shape.Fields()) {
    for (std::uint32_t n = 0; n < std::max(field.count, 1u); ++n) values.push_back(Value(chance));
  }
  std::size_t unused = 0;
  std::wstring line = LineOf(shape, values, Below(chance, 2) == 0, &unused, values.size());
  static constexpr wchar_t kLetters[] = L"0123,,{}[] -x";
  for (std::uint32_t changes = Below(chance, 4); changes != 0; --changes) {
    const std::size_t at = Below(chance, static_cast<std::uint32_t>(line.size() + 1));
    const wchar_t letter = kLetters[Below(chance, std::size(kLetters) - 1)];
    switch (Below(chance, 3)) {
      case 0:
        line.insert(at, 1, letter);
        break;
      case 1:
        if (at < line.size()) line.erase(at, 1);
        break;
      default:
        if (at < line.size()) line[at] = letter;
        break;
    }
  }
  return line;
}

// Each field's value begins where the parser looked for it: there help names that field.
void ExpectFieldsNamed(ShapedTree& tree, const std::wstring& line) {
  if (line.find(L' ') != std::wstring::npos) return;  // positions are those of the tidied line
  tree.Root().ResetBody();
  const hostbench::FillTrace trace = hostbench::TraceFill(tree.Root(), QCString(line));
  for (std::size_t i = 0; i < trace.steps.size(); ++i) {
    const std::size_t at = trace.steps[i].position;
    if (at >= line.size()) continue;
    const bool isDigit = line[at] >= L'0' && line[at] <= L'9';
    if (!isDigit && line[at] != L'[') continue;
    const FieldHelp help = tree.Help(line.substr(0, at + 1));
    EXPECT_EQ(help.field, i) << os::WideToUtf8(line) << " at " << at;
    EXPECT_EQ(help.element.has_value(), line[at] == L'[') << os::WideToUtf8(line) << " at " << at;
  }
}

TEST(FieldHelp, NeverCallsRefusedWhatTheParserTakes) {
  const auto lines = static_cast<int>(SweepCount(10000));
  Chance chance(13);
  int taken = 0;
  int refused = 0;
  for (int i = 0; i < lines && !HasFailure(); ++i) {
    ShapedTree tree(TreeByChance(chance));
    const std::wstring line = LineByChance(chance, tree.Shape());
    const bool isTaken = tree.Takes(line);
    ++(isTaken ? taken : refused);
    EXPECT_EQ(tree.Help(line).sendsNow, isTaken) << os::WideToUtf8(line);
    EXPECT_EQ(tree.Refusal(line).has_value(), !isTaken) << os::WideToUtf8(line);
    if (!isTaken || HasJunk(line)) continue;
    for (std::size_t end = 0; end <= line.size(); ++end) {
      EXPECT_NE(tree.Help(line.substr(0, end)).state, HelpState::kRefused)
          << os::WideToUtf8(line.substr(0, end)) << "  of  " << os::WideToUtf8(line);
    }
    ExpectFieldsNamed(tree, line);
  }
  EXPECT_GT(taken, lines / 5);
  EXPECT_GT(refused, lines / 5);
}

TEST(Refusal, LiesInTheLineAndInAFieldOfTheTree) {
  const auto lines = static_cast<int>(SweepCount(20000));
  Chance chance(17);
  for (int i = 0; i < lines && !HasFailure(); ++i) {
    ShapedTree tree(TreeByChance(chance));
    const std::wstring line = LineByChance(chance, tree.Shape());
    const auto refusal = tree.Refusal(line);
    if (!refusal) continue;
    EXPECT_LE(refusal->column, line.size()) << os::WideToUtf8(line);
    EXPECT_NE(refusal->kind, hostbench::RefusalKind::kOther) << os::WideToUtf8(line);
    if (!refusal->field) continue;
    const std::wstring& path = tree.Shape().Fields()[*refusal->field].path;
    EXPECT_TRUE(refusal->path.starts_with(path)) << os::WideToUtf8(line);
  }
}

}  // namespace
