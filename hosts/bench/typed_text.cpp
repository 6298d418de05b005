#include "hosts/bench/typed_text.h"

#include <algorithm>
#include <map>

#include "command/packet/post_route.h"
#include "params/line_files.h"
#include "platform/os/paths.h"
#include "platform/text/qc_string.h"

namespace hostbench {
namespace {

constexpr std::size_t npos = std::wstring_view::npos;
// What the module takes of a line and of its word.
constexpr std::size_t kMaxLineChars = 16463;
constexpr std::size_t kMaxWordChars = 80;
constexpr std::wstring_view kTextFileTag = L"$(T<";
// Files within files beyond this are not followed.
constexpr std::size_t kMaxReplaced = 1024;
constexpr std::size_t kMaxChars = std::size_t{4} * 1024 * 1024;

bool IsBlank(wchar_t ch) { return ch == L' ' || ch == L'\n'; }

TypedText Cleaned(std::wstring_view line, bool keepEnd) {
  TypedText text = TypedText::Of(line);
  text.TrimLeft(L' ');
  if (!keepEnd) text.TrimRight(L' ');
  text.TrimLeft(L'\n');
  if (!keepEnd) text.TrimRight(L'\n');
  TypedText cleaned;
  cleaned.columns.back() = text.columns.back();
  for (std::size_t i = 0; i < text.text.size(); ++i) {
    if (text.text[i] != L'\r' && text.text[i] != L'\n') cleaned.Add(text.text[i], text.columns[i]);
  }
  return cleaned;
}

TypedParts Split(std::wstring_view line, bool keepEnd) {
  TypedParts parts;
  TypedText cleaned = Cleaned(line, keepEnd);
  const std::wstring& text = cleaned.text;
  const std::size_t end = std::min(text.find(L' '), text.size());
  const bool isAt =
      text.size() >= 2 && ToLowerChar(text[0]) == L'a' && ToLowerChar(text[1]) == L't';
  if (isAt || text.size() > kMaxLineChars || end > kMaxWordChars) {
    parts.rest.columns = {cleaned.columns.back()};
    parts.word = std::move(cleaned);
    return parts;
  }
  parts.word = cleaned.Part(0, end);
  parts.rest = cleaned.Part(end);
  parts.rest.TrimLeft(L' ');
  if (!keepEnd) parts.rest.TrimRight(L' ');
  return parts;
}

// As the parser tidies a line: line feeds to blanks, runs of blanks to one, and none at either end
// or beside a comma.
TypedText Tidied(const TypedText& from) {
  TypedText tidy;
  tidy.columns.back() = from.columns.back();
  std::size_t blank = npos;
  std::size_t behind = from.ColumnAt(0);
  for (std::size_t i = 0; i < from.text.size(); ++i) {
    const wchar_t ch = from.text[i];
    if (IsBlank(ch)) {
      if (blank == npos && !tidy.text.empty()) blank = i;
      continue;
    }
    if (blank != npos && ch != L',' && tidy.text.back() != L',')
      tidy.Add(L' ', from.columns[blank]);
    blank = npos;
    tidy.Add(ch, from.columns[i]);
    behind = from.columns[i + 1];
  }
  tidy.columns.back() = behind;
  return tidy;
}

// Reads each file once.
class Files {
 public:
  // Null when it cannot be read.
  const std::wstring* Text(const std::wstring& path) {
    const auto known = texts_.find(path);
    if (known != texts_.end()) return &known->second;
    QCString errorText;
    std::wstring content;
    if (!SvcKivClass::ReadTextFile(QCString(path), content, errorText)) return nullptr;
    return &texts_.emplace(path, std::move(content)).first->second;
  }

 private:
  std::map<std::wstring, std::wstring> texts_;
};

PreparedAs FileFault(const std::wstring& path) {
  return PathFileExistsW(path.c_str()) != 0 ? PreparedAs::kFileNotOpened : PreparedAs::kFileMissing;
}

// Puts `content` in the place of text[from, to), all of it at the column of `from`.
void ReplacePart(TypedText& text, std::size_t from, std::size_t to, const std::wstring& content) {
  const std::size_t column = text.columns[from];
  const auto columns = text.columns.begin();
  text.text.replace(from, to - from, content);
  text.columns.erase(columns + static_cast<std::ptrdiff_t>(from),
                     columns + static_cast<std::ptrdiff_t>(to));
  text.columns.insert(text.columns.begin() + static_cast<std::ptrdiff_t>(from), content.size(),
                      column);
}

void ReadCommandFileInto(PreparedText& prepared) {
  TypedText& text = prepared.text;
  const std::size_t at = text.text.find(L'@');
  if (at == npos) return;
  const std::wstring path = text.text.substr(at + 1);
  QCString errorText;
  std::wstring content;
  if (!SvcKivClass::ReadCommandFile(QCString(path), content, errorText)) {
    prepared.as = FileFault(path);
    prepared.column = text.ColumnAt(at + 1);
    return;
  }
  text.columns[0] = text.columns[at];
  ReplacePart(text, 0, text.text.size(), content);
}

void ExpandTextFiles(PreparedText& prepared) {
  TypedText& text = prepared.text;
  Files files;
  std::size_t replaced = 0;
  for (std::size_t tag = text.text.find(kTextFileTag); tag != npos;
       tag = text.text.find(kTextFileTag)) {
    const std::size_t pathStart = tag + kTextFileTag.size();
    const std::size_t pathEnd = text.text.find(L')', pathStart);
    prepared.column = text.columns[tag];
    if (pathEnd == npos) {
      prepared.as = PreparedAs::kTagOpen;
      return;
    }
    const std::wstring path = text.text.substr(pathStart, pathEnd - pathStart);
    const std::wstring* content = files.Text(path);
    if (content == nullptr) {
      prepared.column = text.columns[pathStart];
      prepared.as = FileFault(path);
      return;
    }
    if (++replaced > kMaxReplaced || text.text.size() > kMaxChars) {
      prepared.as = PreparedAs::kFileNotOpened;
      return;
    }
    ReplacePart(text, tag, pathEnd + 1, *content);
  }
}

}  // namespace

std::size_t TypedText::ColumnAt(std::size_t position) const noexcept {
  return columns[std::min(position, text.size())];
}

TypedText TypedText::Part(std::size_t from, std::size_t to) const {
  from = std::min(from, text.size());
  to = std::clamp(to, from, text.size());
  TypedText part;
  part.text = text.substr(from, to - from);
  part.columns.assign(columns.begin() + static_cast<std::ptrdiff_t>(from),
                      columns.begin() + static_cast<std::ptrdiff_t>(to) + 1);
  return part;
}

void TypedText::Add(wchar_t ch, std::size_t column) {
  text += ch;
  columns.insert(columns.end() - 1, column);
}

void TypedText::TrimLeft(wchar_t ch) {
  const std::size_t kept = std::min(text.find_first_not_of(ch), text.size());
  if (kept != 0) *this = Part(kept);
}

void TypedText::TrimRight(wchar_t ch) {
  const std::size_t last = text.find_last_not_of(ch);
  *this = Part(0, last == npos ? 0 : last + 1);
}

TypedText TypedText::Of(std::wstring_view typed) {
  TypedText text;
  text.text = typed;
  text.columns.resize(typed.size() + 1);
  for (std::size_t i = 0; i <= typed.size(); ++i) text.columns[i] = i;
  return text;
}

TypedParts SplitTyped(std::wstring_view line) { return Split(line, false); }

TypedParts SplitTypedSoFar(std::wstring_view beforeCursor) { return Split(beforeCursor, true); }

// The module's own split decides; where it cut is found from how long its parts are.
TypedRoute SplitTypedRoute(const TypedText& rest) {
  TypedRoute route;
  const QCString text(rest.text);
  const SvcKivClass::MacSplit split = SvcKivClass::SplitMacPath(text);
  if (split.rest == text) {
    route.parameters = rest;
    return route;
  }
  route.hasOption = true;
  const std::size_t parametersAt = rest.text.find(split.rest.str());
  route.parameters = rest.Part(parametersAt, parametersAt + split.rest.GetLength());
  const QCString lowered = text.ToLower();
  std::size_t pathChars = split.macPath.GetLength();
  if (lowered.Find(L"-rf ") != npos) pathChars -= std::wstring_view(L"FF:FF:FF:FF:FF:FF->").size();
  if (lowered.Find(L"-d ") != npos) pathChars -= std::wstring_view(L"d->").size();
  route.path = rest.Part(rest.text.size() - pathChars);
  return route;
}

PreparedText PrepareParameters(const TypedText& parameters, bool readFiles) {
  PreparedText prepared;
  prepared.text = parameters;
  const std::wstring& raw = parameters.text;
  if (raw.find(L'@') == npos && raw.find(kTextFileTag) == npos) {
    const bool isTidy = std::none_of(raw.begin(), raw.end(), IsBlank);
    if (!isTidy) prepared.text = Tidied(parameters);
    return prepared;
  }
  prepared.as = readFiles ? PreparedAs::kWithFiles : PreparedAs::kNotRead;
  if (!readFiles) return prepared;
  std::replace(prepared.text.text.begin(), prepared.text.text.end(), L'\n', L' ');
  prepared.text.TrimLeft(L' ');
  prepared.text.TrimRight(L' ');
  ReadCommandFileInto(prepared);
  if (prepared.as == PreparedAs::kWithFiles) ExpandTextFiles(prepared);
  if (prepared.as == PreparedAs::kWithFiles) prepared.text = Tidied(prepared.text);
  return prepared;
}

}  // namespace hostbench
