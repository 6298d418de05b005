#include "tools/kivcts/test_config.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>

namespace kivcts {
namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kMarkOfUtf8 = "\xEF\xBB\xBF";
constexpr std::string_view kCompiledInfix = ".rt.";
constexpr std::size_t kMaxNameBytes = 63;

bool IsIndexCharacter(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' ||
         c == '_';
}

std::string_view Trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

std::string_view WithoutComment(std::string_view line) {
  bool quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '"') quoted = !quoted;
    if (line[i] == '#' && !quoted) return line.substr(0, i);
  }
  return line;
}

std::string_view TakeWord(std::string_view& line) {
  const std::string_view word = line.substr(0, line.find_first_of(kBlanks));
  line = Trimmed(line.substr(word.size()));
  return word;
}

std::optional<std::uint64_t> NumberOf(std::string_view text, int base) {
  std::uint64_t value = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, value, base);
  if (text.empty() || read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return value;
}

// Each adds the value's bytes; false when the text is no such value.
bool AddNumber(std::string_view text, int sizeBytes, std::string& bytes) {
  const bool isHex = text.starts_with("0x") || text.starts_with("0X");
  const auto value = NumberOf(isHex ? text.substr(2) : text, isHex ? 16 : 10);
  if (!value || *value >> (8 * sizeBytes) != 0) return false;
  for (int i = 0; i < sizeBytes; ++i) bytes += static_cast<char>(*value >> (8 * i) & 0xFF);
  return true;
}

bool AddU8(std::string_view text, std::string& bytes) { return AddNumber(text, 1, bytes); }
bool AddU16(std::string_view text, std::string& bytes) { return AddNumber(text, 2, bytes); }
bool AddU32(std::string_view text, std::string& bytes) { return AddNumber(text, 4, bytes); }

bool AddText(std::string_view text, std::string& bytes) {
  if (text.size() < 2 || text.front() != '"' || text.back() != '"') return false;
  const std::string_view inner = text.substr(1, text.size() - 2);
  if (inner.find('"') != std::string_view::npos) return false;
  bytes += inner;
  return true;
}

bool AddBytes(std::string_view text, std::string& bytes) {
  if (text.empty()) return false;
  while (!text.empty()) {
    const std::string_view word = TakeWord(text);
    const auto value = NumberOf(word, 16);
    if (word.size() != 2 || !value) return false;
    bytes += static_cast<char>(*value);
  }
  return true;
}

struct ValueRow {
  std::string_view word;
  bool (*add)(std::string_view text, std::string& bytes);
  const char* wants;
};
constexpr ValueRow kValues[] = {
    {"u8", AddU8, "a number from 0 to 255"},
    {"u16", AddU16, "a number from 0 to 65535"},
    {"u32", AddU32, "a number from 0 to 4294967295"},
    {"text", AddText, "a text in quotes"},
    {"bytes", AddBytes, "bytes of two hexadecimal digits"},
};

// The problem of the line, empty when there is none.
std::string BeginVariation(std::string_view line, std::vector<Variation>& variations) {
  const std::string index(line.substr(1, line.size() - 2));
  if (line.back() != ']' || index.empty() ||
      !std::all_of(index.begin(), index.end(), IsIndexCharacter)) {
    return "an index is letters, digits, '-' and '_' in brackets";
  }
  for (const Variation& other : variations) {
    if (other.index == index) return "the index " + index + " is there twice";
  }
  variations.push_back({index, {}});
  return {};
}

std::string ReadLine(std::string_view line, std::vector<Variation>& variations) {
  if (line.empty()) return {};
  if (line.front() == '[') return BeginVariation(line, variations);
  if (variations.empty()) return "a value stands in front of the first index";
  const std::string_view word = TakeWord(line);
  for (const ValueRow& row : kValues) {
    if (row.word != word) continue;
    if (row.add(line, variations.back().bytes)) return {};
    return std::string(word) + " wants " + row.wants;
  }
  return "a value begins with u8, u16, u32, text or bytes";
}

}  // namespace

bool ReadTestConfig(std::string_view source, std::vector<Variation>& variations,
                    std::string& problem) {
  if (source.starts_with(kMarkOfUtf8)) source.remove_prefix(kMarkOfUtf8.size());
  for (int number = 1; !source.empty(); ++number) {
    const std::string_view line = source.substr(0, source.find('\n'));
    problem = ReadLine(Trimmed(WithoutComment(line)), variations);
    if (!problem.empty()) {
      problem = "line " + std::to_string(number) + ": " + problem;
      return false;
    }
    source.remove_prefix(std::min(line.size() + 1, source.size()));
  }
  if (variations.empty()) problem = "there is no index in it";
  return problem.empty();
}

std::string NameProblem(std::string_view name) {
  if (name.empty()) return "a cts line cannot name it: its name is empty";
  const bool isReached = std::none_of(name.begin(), name.end(), [](char c) {
    return c == ' ' || c == '\\' || c == '\r' || c == '\n';
  });
  if (!isReached) {
    return "a cts line cannot name it: there is a blank, a line end or a backslash in its name";
  }
  if (name.size() > kMaxNameBytes) {
    return "a device gets 63 bytes of a name, and this one has " + std::to_string(name.size());
  }
  return {};
}

std::string_view IndexOfCompiled(std::string_view fileName, std::string_view configName) {
  if (!fileName.starts_with(configName)) return {};
  fileName.remove_prefix(configName.size());
  if (!fileName.starts_with(kCompiledInfix)) return {};
  fileName.remove_prefix(kCompiledInfix.size());
  return std::all_of(fileName.begin(), fileName.end(), IsIndexCharacter) ? fileName
                                                                         : std::string_view();
}

}  // namespace kivcts
