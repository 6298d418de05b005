// A parameter line over a tree of any shape: whatever is typed and whatever files it names, the
// parser stays inside its line, the fill inside its tree, and a number reads as the C library reads
// it.
//
// Input: texts separated by zero bytes: the tree's shape (a byte a node), the line, and the
// contents of the files "t", "c" and "b" that it may name, in a folder of the run's own.
#include <stdlib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

#include "params/default_fill.h"
#include "params/number_text.h"
#include "params/param_line_parser.h"
#include "platform/catalogue/param_tree_builder.h"

using SvcKivClass::FillNode;
using SvcKivClass::ParamLineParser;

namespace {

constexpr std::size_t kMaxInputBytes = 1024;  // files that name each other multiply
constexpr std::array<const char*, 3> kFileNames = {"t", "c", "b"};
constexpr std::array<std::int32_t, 11> kKinds = {0, 1, 24, 17, 8, 16, 9, 25, 32, 33, 5};
constexpr std::array<std::uint32_t, 5> kWidths = {1, 2, 4, 8, 0};

std::filesystem::path folder;

void RemoveFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

void Require(bool holds) {
  if (!holds) std::abort();
}

void ReplaceAll(std::string& text, std::string_view what, const std::string& by) {
  for (std::size_t at = text.find(what); at != std::string::npos;
       at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
}

// The next text of the input. Its references are led into the run's folder, and none leads out of
// it or of the working folder: separators of folders are taken out.
std::string NextText(std::string_view& input) {
  const std::size_t end = std::min(input.find('\0'), input.size());
  std::string text(input.substr(0, end));
  input.remove_prefix(std::min(end + 1, input.size()));
  std::replace(text.begin(), text.end(), '/', '_');
  std::replace(text.begin(), text.end(), '\\', '_');
  for (const std::string tag : {"@", "$(T<", "$(B<"}) {
    ReplaceAll(text, tag, tag + folder.string() + "/");
  }
  return text;
}

// Most inputs change the line alone, and a file takes longer to write than a line to read.
void WriteFile(std::size_t which, const std::string& content) {
  static std::array<std::optional<std::string>, kFileNames.size()> written;
  if (written[which] == content) return;
  // Some file systems wait for the disk when a file that has content is emptied; none for a new
  // one.
  std::filesystem::remove(folder / kFileNames[which]);
  std::ofstream(folder / kFileNames[which], std::ios::binary) << content;
  written[which] = content;
}

// A byte a node: kind, width, and whether it stands one deeper or one less deep than the last.
void BuildTree(std::string_view shape, CParamNode& root) {
  ParamTreeBuilder builder;
  builder.Add({.depth = 0, .kind = 24, .variableName = L"struct", .typeName = L"any"});
  std::uint32_t depth = 1;
  for (const char byte : shape) {
    const auto bits = static_cast<std::uint8_t>(byte);
    ParamNodeSpec spec;
    spec.depth = depth;
    spec.kind = kKinds[bits % kKinds.size()];
    spec.dataTypeBytes = kWidths[(bits / kKinds.size()) % kWidths.size()];
    spec.inStructBytes = spec.dataTypeBytes * (spec.kind == 1 || spec.kind == 9 ? 3 : 1);
    spec.hasBuffer = bits % 3 != 0;
    builder.Add(spec);
    if (bits >= 192) ++depth;
    if (bits < 32 && depth > 1) --depth;
  }
  Require(builder.Build(root) == 0);
}

// Texts without a zero or a character that other libraries take for white space.
bool IsPlain(std::wstring_view text) {
  return std::all_of(text.begin(), text.end(), [](wchar_t ch) { return ch > 0 && ch < 0x7F; });
}

void CheckNumber(const std::wstring& text) {
  if (!IsPlain(text)) return;
  wchar_t* end = nullptr;
  const bool negative = text.find(L'-') != std::wstring::npos;
  unsigned long long magnitude = std::wcstoull(text.c_str(), &end, 0);
  const bool whole = end == text.c_str() + text.size();
  if (negative && magnitude != ~0ull) magnitude = 0 - magnitude;
  std::uint32_t expected = 0xFFFFFFFFu;
  if (magnitude <= 0xFFFFFFFFu) {
    expected = static_cast<std::uint32_t>(negative ? 0 - magnitude : magnitude);
  }
  const SvcKivClass::ParsedNumber number = SvcKivClass::ParseNumber(text);
  Require((number.readChars == text.size()) == whole);
  Require(!whole || number.value == expected);
}

// What preprocessing has made of a line stays as it is when it is typed again.
void CheckTidy(const ParamLineParser& parser) {
  const QCString& line = parser.GetLine();
  if (line.IsEmpty() || line.Find(L'@') != QCString::npos) return;
  if (line.Find(L"$(T<") != QCString::npos) return;
  Require(ParamLineParser(line).GetLine() == line);
}

void CheckPosition(const ParamLineParser& parser) {
  Require(parser.GetPosition() == ParamLineParser::kAllOnes ||
          parser.GetPosition() <= parser.GetLine().GetLength());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  std::string pattern = (std::filesystem::temp_directory_path() / "kivfuzzXXXXXX").string();
  Require(mkdtemp(pattern.data()) != nullptr);
  folder = pattern;
  std::atexit(RemoveFolder);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t lengthBytes) {
  if (lengthBytes > kMaxInputBytes) return 0;
  std::string_view input(reinterpret_cast<const char*>(data), lengthBytes);
  const std::string shape = NextText(input);
  const std::string line = NextText(input);
  for (std::size_t i = 0; i < kFileNames.size(); ++i) WriteFile(i, NextText(input));
  CheckNumber(QCString::FromUtf8(line).str());
  CParamNode root;
  BuildTree(shape, root);
  ParamLineParser parser;
  if (parser.SetParamLine(QCString::FromUtf8(line)) != 0) {
    CheckPosition(parser);
    CheckTidy(parser);
    root.ParseNodes(FillNode, &parser, 0);
    CheckPosition(parser);
  } else {
    Require(!parser.GetErrorText().IsEmpty());
  }
  return 0;
}
