// Rendering against a second, plain account of it, on random trees with random display flags.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "platform/text/qc_string.h"
#include "tests/link/render/rendered_rows.h"
#include "tests/support/sweep.h"

using namespace kivtest;

namespace {

constexpr std::int64_t kFullTrees = 20000;
constexpr std::uint32_t kSeed = 20261;

struct Row {
  QCString name;
  QCString value;
  QCString comment;
};

bool IsSingle(std::int32_t kind) { return kind == 0 || kind == 8 || kind == 16; }
bool IsArray(std::int32_t kind) { return kind == 1 || kind == 9; }

QCString Ascii(const char* format, unsigned value) {
  char text[32];
  std::snprintf(text, sizeof(text), format, value);
  return QCString::FromUtf8(text);
}

// One number of `widthBytes` bytes at `at`, as it is shown.
QCString Number(const ParamNodeSpec& spec, std::size_t at, const RenderFlags& flags) {
  std::uint64_t value = 0;
  for (std::uint32_t i = 0; i < spec.dataTypeBytes; ++i) {
    value |= std::uint64_t{spec.bytes[at + i]} << (8 * i);
  }
  const bool negative = spec.isSigned && (spec.bytes[at + spec.dataTypeBytes - 1] & 0x80) != 0;
  for (std::uint32_t i = spec.dataTypeBytes; negative && i < 8; ++i) {
    value |= std::uint64_t{0xFF} << (8 * i);
  }
  const auto low = static_cast<std::uint32_t>(value);
  const bool minus = spec.isSigned && static_cast<std::int32_t>(low) < 0;
  if (!flags.hexadecimal) {
    return minus ? QCString(L"-") + Ascii("%u", 0u - low) : Ascii("%u", low);
  }
  const unsigned shown = minus ? 0 : low;
  if (spec.dataTypeBytes == 1) return Ascii("0x%02x", shown);
  if (spec.dataTypeBytes == 2) return Ascii("0x%04x", shown);
  return spec.dataTypeBytes == 4 ? Ascii("0x%08x", shown) : QCString();
}

QCString Dotted(const ParamNodeSpec& spec) {
  return QCString(std::wstring(spec.depth, L'.')) + spec.variableName;
}

QCString CharactersOf(const ParamNodeSpec& spec) {
  if (!spec.hasBuffer) return QCString();
  const auto end = std::find(spec.bytes.begin(), spec.bytes.end(), 0);
  return QCString::FromUtf8(std::string(spec.bytes.begin(), end));
}

// Rows of an array whose elements are shown as numbers.
void AddNumbers(std::vector<Row>& rows, const ParamNodeSpec& spec, const RenderFlags& flags) {
  const std::size_t count = spec.inStructBytes / spec.dataTypeBytes;
  QCString line;
  for (std::size_t i = 0; i < count; ++i) {
    const QCString number = Number(spec, i * spec.dataTypeBytes, flags);
    if (flags.oneLineArrays) {
      line += i == 0 ? number : QCString(L",") + number;
    } else {
      rows.push_back(
          {spec.variableName + Ascii("[%u]", static_cast<unsigned>(i)), number, spec.typeName});
    }
  }
  if (flags.oneLineArrays) rows.push_back({Dotted(spec), line, spec.typeName});
}

std::vector<Row> RowsOfSpecs(const std::vector<ParamNodeSpec>& specs, const RenderFlags& flags) {
  std::vector<Row> rows;
  for (const ParamNodeSpec& spec : specs) {
    if (spec.kind == 17) continue;
    const bool numeric =
        spec.dataTypeBytes == 1 || spec.dataTypeBytes == 2 || spec.dataTypeBytes == 4;
    const bool characters = spec.isChar && spec.dataTypeBytes == 1;
    if (IsArray(spec.kind) && numeric && !characters && spec.inStructBytes >= spec.dataTypeBytes) {
      AddNumbers(rows, spec, flags);
    } else if (!(spec.variableName == L"struct")) {
      QCString value;
      if (IsSingle(spec.kind)) value = Number(spec, 0, flags);
      if (IsArray(spec.kind) && characters) value = CharactersOf(spec);
      rows.push_back({Dotted(spec), value, QCString()});
    }
  }
  return rows;
}

bool IsStringTitle(const QCString& title) {
  return title == L"dbk_str_type" || title == L"dbk_str_type_stru";
}

QCString TextOfSpecs(const std::vector<ParamNodeSpec>& specs, const RenderFlags& flags) {
  QCString title;
  for (const ParamNodeSpec& spec : specs) {
    if (spec.kind != 17 && spec.variableName == L"struct") title = spec.typeName;
  }
  const std::vector<Row> rows = RowsOfSpecs(specs, flags);
  std::size_t width = 0;
  for (const Row& row : rows) width = std::max(width, row.name.GetLength());
  QCString text;
  for (const Row& row : rows) {
    if (IsStringTitle(title)) {
      QCString trimmed = row.value;
      if (!trimmed.TrimWhiteSpace().IsEmpty()) text += row.value + L"  ";
      continue;
    }
    text +=
        row.name + QCString(std::wstring(width - row.name.GetLength(), L' ')) + L" = " + row.value;
    text += flags.showType ? QCString(L"  ") + row.comment + L"\n" : QCString(L" \n");
  }
  return text;
}

class RandomTrees {
 public:
  std::vector<ParamNodeSpec> Next() {
    static const wchar_t* const kTitles[] = {L"plain_type", L"dbk_str_type", L"dbk_str_type_stru",
                                             L"NULL_STRU", L"t"};
    specs_ = {Structure(0, OneIn(4) ? L"root" : L"struct", kTitles[OneIn(3) ? Below(5) : 0])};
    Children(1);
    return specs_;
  }
  RenderFlags Flags() { return {OneIn(2), OneIn(2), OneIn(2)}; }

 private:
  std::uint32_t Below(std::uint32_t bound) {
    return std::uniform_int_distribution<std::uint32_t>(0, bound - 1)(random_);
  }
  bool OneIn(std::uint32_t n) { return Below(n) == 0; }

  const wchar_t* Name() {
    static const wchar_t* const kNames[] = {L"a", L"name",         L"a_long_name_of_a_field",
                                            L"",  L"\x00e9\x20ac", L"x[0]"};
    return OneIn(12) ? L"struct" : kNames[Below(6)];
  }
  std::vector<std::uint8_t> Bytes(std::size_t count) {
    std::vector<std::uint8_t> bytes(count);
    for (std::uint8_t& byte : bytes) {
      byte = static_cast<std::uint8_t>(OneIn(3) ? (OneIn(2) ? 0 : 255) : Below(256));
    }
    return bytes;
  }

  ParamNodeSpec Leaf(std::uint32_t depth) {
    static const std::uint32_t kWidths[] = {1, 2, 4, 8, 1, 4};
    const std::uint32_t width = kWidths[Below(6)];
    if (OneIn(2)) {
      ParamNodeSpec spec = Single(depth, Name(), width, 0, OneIn(2), OneIn(3) ? 8 : 0);
      spec.bytes = Bytes(width);
      return spec;
    }
    if (OneIn(3)) return Text(depth);
    ParamNodeSpec spec =
        Array(depth, Name(), OneIn(12) ? 3 : width, Bytes(Below(25)), L"items", OneIn(3) ? 9 : 1);
    if (OneIn(20)) spec.dataTypeBytes = 0;
    spec.isSigned = OneIn(2);
    return spec;
  }
  ParamNodeSpec Text(std::uint32_t depth) {
    static const char* const kTexts[] = {"",       " ",  "board",      "\xc3\xa9\xe2\x82\xac",
                                         "a\377b", "\t", "two words ", "%1 %s"};
    const std::string text = kTexts[Below(8)];
    ParamNodeSpec spec = Characters(depth, Name(), text, text.size() + Below(4));
    spec.hasBuffer = !OneIn(8);
    return spec;
  }
  void Children(std::uint32_t depth) {
    static const std::int32_t kKinds[] = {24, 17, 25, 32, 33, 5};
    for (std::uint32_t left = Below(5); left > 0 && specs_.size() < 40; --left) {
      if (depth < 6 && OneIn(4)) {
        specs_.push_back(Structure(depth, Name(), L"inner_type", kKinds[Below(6)]));
        Children(depth + 1);
      } else {
        specs_.push_back(Leaf(depth));
      }
    }
  }

  std::mt19937 random_{kSeed};
  std::vector<ParamNodeSpec> specs_;
};

std::string Described(const std::vector<ParamNodeSpec>& specs) {
  std::string text;
  for (const ParamNodeSpec& spec : specs) {
    text += std::to_string(spec.depth) + " kind " + std::to_string(spec.kind) + " '" +
            spec.variableName.ToUtf8() + "' " + std::to_string(spec.dataTypeBytes) +
            (spec.isSigned ? " signed " : " ") + (spec.isChar ? "char " : "") + ToHex(spec.bytes) +
            "\n";
  }
  return text;
}

}  // namespace

TEST(RenderCompare, RandomTreesGiveTheTextOfThePlainAccount) {
  RandomTrees trees;
  int different = 0;
  for (std::int64_t i = SweepCount(kFullTrees); i > 0 && different < 3; --i) {
    const std::vector<ParamNodeSpec> specs = trees.Next();
    const RenderFlags flags = trees.Flags();
    HandTree tree(specs);
    const std::string wanted = TextOfSpecs(specs, flags).ToUtf8();
    const std::string actual = SvcKivClass::RenderTree(tree.Root(), flags).ToUtf8();
    // The table that other callers see gives the same lines.
    std::string joined;
    for (const std::string& line : LinesOf(TableOf(tree, flags))) joined += line;
    if (actual == wanted && joined == wanted) continue;
    ++different;
    EXPECT_EQ(actual, wanted) << Described(specs);
    EXPECT_EQ(joined, wanted) << Described(specs);
  }
  EXPECT_EQ(different, 0);
}
