#include "platform/xml/well_formed.h"

#include <algorithm>
#include <vector>

#include "platform/os/utf8_codec.h"
#include "platform/xml/xml_text.h"

namespace well_formed {
namespace {

struct Range {
  char32_t first, last;
};

// XML 1.0 (fifth edition), NameStartChar, then what NameChar has beyond it.
constexpr Range kNameStart[] = {
    {':', ':'},       {'A', 'Z'},       {'_', '_'},       {'a', 'z'},
    {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
    {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
    {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF}};
constexpr Range kNameMore[] = {
    {'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

template <std::size_t kCount>
bool IsIn(const Range (&ranges)[kCount], char32_t ch) {
  return std::any_of(std::begin(ranges), std::end(ranges),
                     [ch](const Range& range) { return ch >= range.first && ch <= range.last; });
}

bool IsNameStart(char32_t ch) { return IsIn(kNameStart, ch); }
bool IsNameChar(char32_t ch) { return IsIn(kNameStart, ch) || IsIn(kNameMore, ch); }
bool IsBlank(char ch) { return ch == ' ' || ch == '\t' || ch == '\n' || ch == '\r'; }

// The length in bytes of the name that `text` begins with; 0 for none.
std::size_t NameLength(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size()) {
    const auto one = os::utf8_codec::DecodeOne(text.substr(at));
    if (!(at == 0 ? IsNameStart(one.codePoint) : IsNameChar(one.codePoint))) break;
    at += one.lengthBytes;
  }
  return at;
}

// What is read off the front of the document, one construct after the other. Each method answers
// false after it has noted what is wrong.
class Scanner {
 public:
  explicit Scanner(std::string_view document) : rest_(document), whole_(document) {}

  bool Document() {
    if (!Characters()) return false;
    Take("\xEF\xBB\xBF");
    if (!Declaration() || !Misc()) return false;
    if (rest_.starts_with("<!DOCTYPE")) return Wrong("a document type is not taken");
    if (!Root() || !Misc()) return false;
    return rest_.empty() || Wrong("text behind the end of the document");
  }

  Fault fault() const {
    const auto end = whole_.end() - static_cast<std::ptrdiff_t>(rest_.size());
    return {1 + static_cast<std::size_t>(std::count(whole_.begin(), end, '\n')), reason_};
  }

 private:
  // UTF-8 of characters that XML has, all through, so that what follows need not look again.
  bool Characters() {
    while (!rest_.empty()) {
      const auto one = os::utf8_codec::DecodeOne(rest_);
      const bool isBroken =
          one.codePoint == os::utf8_codec::kReplacement && !rest_.starts_with("\xEF\xBF\xBD");
      if (isBroken) return Wrong("not UTF-8");
      if (!xml_text::IsXmlChar(one.codePoint)) return Wrong("a character that XML does not have");
      rest_.remove_prefix(one.lengthBytes);
    }
    rest_ = whole_;
    return true;
  }

  bool Declaration() {
    if (!rest_.starts_with("<?xml") || rest_.size() < 6 || !IsBlank(rest_[5])) return true;
    rest_.remove_prefix(5);
    std::string_view value;
    if (!PseudoAttribute("version", value)) return Wrong("bad XML declaration");
    if (value != "1.0") return Wrong("not XML 1.0");
    if (PseudoAttribute("encoding", value) && !IsUtf8Name(value)) return Wrong("not in UTF-8");
    if (PseudoAttribute("standalone", value) && value != "yes" && value != "no") {
      return Wrong("bad XML declaration");
    }
    Blanks();
    return Take("?>") || Wrong("bad XML declaration");
  }

  // Moves only when the attribute is there.
  bool PseudoAttribute(std::string_view name, std::string_view& value) {
    const std::string_view before = rest_;
    const bool isThere = Blanks() && Take(name) && Equals() && Quoted(value);
    if (!isThere) rest_ = before;
    return isThere;
  }

  static bool IsUtf8Name(std::string_view name) {
    std::string lower(name);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char ch) {
      return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch + 32) : ch;
    });
    return lower == "utf-8" || lower == "us-ascii";
  }

  // Blanks, comments and processing instructions, as they stand around the root.
  bool Misc() {
    for (;;) {
      Blanks();
      if (rest_.starts_with("<!--")) {
        if (!Comment()) return false;
      } else if (rest_.starts_with("<?")) {
        if (!Instruction()) return false;
      } else {
        return true;
      }
    }
  }

  bool Comment() {
    rest_.remove_prefix(4);
    if (!SkipPast("--")) return Wrong("a comment without end");
    return Take(">") || Wrong("\"--\" in a comment");
  }

  bool Instruction() {
    rest_.remove_prefix(2);
    std::string_view name;
    if (!Name(name)) return false;
    if (name.size() == 3 && IsXmlInAnyCase(name))
      return Wrong("an XML declaration that is not first");
    if (!rest_.starts_with("?>") && !Blanks()) return Wrong("bad processing instruction");
    return SkipPast("?>") || Wrong("a processing instruction without end");
  }

  static bool IsXmlInAnyCase(std::string_view name) {
    return (name[0] | 32) == 'x' && (name[1] | 32) == 'm' && (name[2] | 32) == 'l';
  }

  bool Root() {
    if (!rest_.starts_with('<'))
      return Wrong(rest_.empty() ? "no element" : "text before the root");
    if (!StartTag()) return false;
    while (!open_.empty()) {
      if (!Piece()) return false;
    }
    return true;
  }

  // One tag, text, comment, instruction or CDATA section inside the root.
  bool Piece() {
    if (rest_.empty()) return Wrong("an element without end");
    if (rest_[0] != '<') return Text();
    if (rest_.starts_with("</")) return EndTag();
    if (rest_.starts_with("<!--")) return Comment();
    if (rest_.starts_with("<![CDATA[")) return SkipPast("]]>") || Wrong("CDATA without end");
    if (rest_.starts_with("<?")) return Instruction();
    return StartTag();
  }

  bool Text() {
    const std::size_t end = rest_.find('<');
    const std::string_view text = rest_.substr(0, end);
    if (text.find("]]>") != std::string_view::npos) return Wrong("\"]]>\" in a text");
    return References(text) && Skip(text.size());
  }

  bool StartTag() {
    rest_.remove_prefix(1);
    std::string_view name;
    if (!Name(name)) return false;
    if (open_.size() >= kMaxLevels) return Wrong("more than 64 levels");
    open_.push_back(name);
    attributes_.clear();
    for (;;) {
      const bool blanks = Blanks();
      if (Take(">")) return true;
      if (Take("/>")) return open_.pop_back(), true;
      if (!blanks) return Wrong("bad tag");
      if (!Attribute()) return false;
    }
  }

  bool Attribute() {
    std::string_view name, value;
    if (!Name(name)) return false;
    if (std::find(attributes_.begin(), attributes_.end(), name) != attributes_.end()) {
      return Wrong("an attribute twice");
    }
    attributes_.push_back(name);
    if (attributes_.size() > kMaxAttributes) return Wrong("more than 1,000 attributes");
    if (!Equals() || !Quoted(value)) return Wrong("an attribute without value");
    if (value.find('<') != std::string_view::npos) return Wrong("\"<\" in an attribute");
    return References(value);
  }

  bool EndTag() {
    rest_.remove_prefix(2);
    std::string_view name;
    if (!Name(name)) return false;
    Blanks();
    if (open_.empty() || name != open_.back()) return Wrong("end tags do not match");
    open_.pop_back();
    return Take(">") || Wrong("bad tag");
  }

  // Every "&" of a text begins a reference that needs no document type.
  bool References(std::string_view text) {
    for (std::size_t at = text.find('&'); at != std::string_view::npos;
         at = text.find('&', at + 1)) {
      const std::size_t end = text.find(';', at);
      if (end == std::string_view::npos || !IsReference(text.substr(at + 1, end - at - 1))) {
        return Wrong("bad reference");
      }
    }
    return true;
  }

  static bool IsReference(std::string_view name) {
    static constexpr std::string_view kNames[] = {"lt", "gt", "amp", "quot", "apos"};
    if (!name.starts_with('#')) return std::ranges::find(kNames, name) != std::end(kNames);
    const bool isHex = name.starts_with("#x");
    name.remove_prefix(isHex ? 2 : 1);
    char32_t value = 0;
    for (const char ch : name) {
      const char32_t digit = xml_text::HexDigit(
          static_cast<unsigned char>(ch >= 'a' && ch <= 'f' ? ch - 'a' + 'A' : ch));
      if (digit >= (isHex ? 16u : 10u)) return false;
      value = std::min<char32_t>(value * (isHex ? 16 : 10) + digit, 0x110000);
    }
    return !name.empty() && xml_text::IsXmlChar(value);
  }

  bool Name(std::string_view& name) {
    name = rest_.substr(0, NameLength(rest_));
    return name.empty() ? Wrong("a name is missing") : Skip(name.size());
  }

  bool Quoted(std::string_view& value) {
    if (rest_.empty() || (rest_[0] != '"' && rest_[0] != '\'')) return false;
    const std::size_t end = rest_.find(rest_[0], 1);
    if (end == std::string_view::npos) return false;
    value = rest_.substr(1, end - 1);
    return Skip(end + 1);
  }

  bool Equals() {
    Blanks();
    if (!Take("=")) return false;
    Blanks();
    return true;
  }

  // Whether there was at least one.
  bool Blanks() {
    std::size_t count = 0;
    while (count < rest_.size() && IsBlank(rest_[count])) ++count;
    rest_.remove_prefix(count);
    return count != 0;
  }

  bool Take(std::string_view text) { return rest_.starts_with(text) && Skip(text.size()); }

  bool SkipPast(std::string_view text) {
    const std::size_t at = rest_.find(text);
    return at != std::string_view::npos && Skip(at + text.size());
  }

  bool Skip(std::size_t lengthBytes) {
    rest_.remove_prefix(lengthBytes);
    return true;
  }

  bool Wrong(const char* reason) {
    reason_ = reason;
    return false;
  }

  // Looking for an attribute that stands twice is quadratic in their number.
  static constexpr std::size_t kMaxAttributes = 1000;

  std::string_view rest_, whole_;
  std::vector<std::string_view> open_, attributes_;
  const char* reason_ = "";
};

}  // namespace

std::optional<Fault> FindFault(std::string_view document) {
  Scanner scanner(document);
  if (scanner.Document()) return std::nullopt;
  return scanner.fault();
}

bool IsPlainName(std::string_view name) {
  if (name.empty() || NameLength(name) != name.size()) return false;
  for (std::size_t at = 0; at < name.size();) {
    const auto one = os::utf8_codec::DecodeOne(name.substr(at));
    if (one.codePoint == ':' || one.codePoint == os::utf8_codec::kReplacement) return false;
    at += one.lengthBytes;
  }
  return true;
}

}  // namespace well_formed
