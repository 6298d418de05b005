#include "platform/os/ini_document.h"

#include "platform/os/case_map.h"
#include "platform/os/utf8.h"

namespace os {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool SameName(std::string_view a, std::string_view b) {
  if (a == b) return true;
  std::wstring wideA = Utf8ToWide(a);
  std::wstring wideB = Utf8ToWide(b);
  for (wchar_t& ch : wideA) ch = ToLowerChar(ch);
  for (wchar_t& ch : wideB) ch = ToLowerChar(ch);
  return wideA == wideB;
}

std::string_view WithoutMark(std::string_view line) {
  return line.starts_with(kByteOrderMark) ? line.substr(kByteOrderMark.size()) : line;
}

// The name in "[name]"; unset for a line that is no section head.
std::optional<std::string_view> SectionOf(std::string_view line) {
  const std::string_view content = Trim(WithoutMark(line));
  if (!content.starts_with('[')) return std::nullopt;
  const std::size_t end = content.find(']');
  if (end == std::string_view::npos) return std::nullopt;
  return Trim(content.substr(1, end - 1));
}

struct KeyValue {
  std::string_view key, value;
};

std::optional<KeyValue> KeyValueOf(std::string_view line) {
  const std::string_view content = Trim(WithoutMark(line));
  const std::size_t equals = content.find('=');
  if (content.starts_with(';') || equals == std::string_view::npos) return std::nullopt;
  return KeyValue{Trim(content.substr(0, equals)), Trim(content.substr(equals + 1))};
}

std::string_view Unquoted(std::string_view value) {
  const bool isQuoted = value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
                        value.front() == value.back();
  return isQuoted ? value.substr(1, value.size() - 2) : value;
}

}  // namespace

IniDocument::IniDocument(std::string_view text) {
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    const std::size_t lineBytes = end == std::string_view::npos ? text.size() : end + 1;
    lines_.emplace_back(text.substr(0, lineBytes));
    text.remove_prefix(lineBytes);
  }
  if (!lines_.empty() && lines_.front().ends_with("\r\n")) lineEnd_ = "\r\n";
}

std::size_t IniDocument::FindKey(std::string_view section, std::string_view key) const {
  bool inside = false;
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    if (const auto name = SectionOf(lines_[i])) {
      inside = SameName(*name, section);
    } else if (inside) {
      const auto entry = KeyValueOf(lines_[i]);
      if (entry && SameName(entry->key, key)) return i;
    }
  }
  return lines_.size();
}

std::optional<std::string> IniDocument::Get(std::string_view section, std::string_view key) const {
  const std::size_t index = FindKey(Trim(section), Trim(key));
  if (index == lines_.size()) return std::nullopt;
  return std::string(Unquoted(KeyValueOf(lines_[index])->value));
}

std::size_t IniDocument::EndOfSection(std::string_view section) const {
  std::size_t end = 0;
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    const auto name = SectionOf(lines_[i]);
    if (end == 0) {
      if (name && SameName(*name, section)) end = i + 1;
    } else if (name) {
      break;
    } else if (!Trim(lines_[i]).empty()) {
      end = i + 1;
    }
  }
  return end;
}

void IniDocument::InsertLine(std::size_t index, const std::string& content) {
  if (index > 0 && !lines_[index - 1].ends_with('\n')) lines_[index - 1] += lineEnd_;
  lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(index), content + lineEnd_);
}

void IniDocument::Set(std::string_view section, std::string_view key, std::string_view value) {
  const std::string_view sectionName = Trim(section);
  const std::string content = std::string(Trim(key)) + "=" + std::string(value);
  const std::size_t index = FindKey(sectionName, Trim(key));
  if (index < lines_.size()) {
    const std::string& old = lines_[index];
    const std::string end = old.ends_with("\r\n") ? "\r\n" : old.ends_with('\n') ? "\n" : "";
    lines_[index] = content + end;
    return;
  }
  std::size_t end = EndOfSection(sectionName);
  if (end == 0) {
    InsertLine(lines_.size(), "[" + std::string(sectionName) + "]");
    end = lines_.size();
  }
  InsertLine(end, content);
}

void IniDocument::Remove(std::string_view section, std::string_view key) {
  const std::size_t index = FindKey(Trim(section), Trim(key));
  if (index < lines_.size()) lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(index));
}

void IniDocument::RemoveSection(std::string_view section) {
  const std::string_view wanted = Trim(section);
  bool inside = false;
  std::erase_if(lines_, [&inside, wanted](const std::string& line) {
    if (const auto name = SectionOf(line)) inside = SameName(*name, wanted);
    return inside;
  });
}

std::string IniDocument::Text() const {
  std::string text;
  for (const std::string& line : lines_) text += line;
  return text;
}

}  // namespace os
