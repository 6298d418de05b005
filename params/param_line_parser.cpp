#include "params/param_line_parser.h"

#include <algorithm>
#include <string>
#include <utility>

#include "params/line_files.h"
#include "params/number_text.h"
#include "params/params_texts.h"
#include "params/text_expander.h"
#include "platform/text/qt_text.h"

namespace SvcKivClass {
namespace {

constexpr std::wstring_view kTextFileTag = L"$(T<";
constexpr std::wstring_view kBinaryFileTag = L"$(B<";

// Line feeds to blanks, no blank at either end.
std::wstring OneLine(std::wstring_view text) {
  const auto isBlank = [](wchar_t ch) { return ch == L' ' || ch == L'\n'; };
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  std::wstring line(text);
  std::replace(line.begin(), line.end(), L'\n', L' ');
  return line;
}

// Line feeds to blanks, runs of blanks to one, and no blank at either end or beside a comma.
void Tidy(std::wstring& line) {
  std::size_t kept = 0;
  bool blankPending = false;
  for (const wchar_t ch : line) {
    if (ch == L' ' || ch == L'\n') {
      blankPending = kept != 0;
      continue;
    }
    if (blankPending && ch != L',' && line[kept - 1] != L',') line[kept++] = L' ';
    blankPending = false;
    line[kept++] = ch;
  }
  line.resize(kept);
}

// What one look at a single value's piece tells.
struct Piece {
  std::size_t end;  // its comma, or the line's end
  std::size_t firstClosing = std::wstring_view::npos;
  std::uint32_t closingBraces = 0;
  bool hasBracket = false;
};

Piece ScanPiece(std::wstring_view line, std::size_t from) {
  Piece piece{line.size()};
  for (std::size_t i = from; i < line.size(); ++i) {
    switch (line[i]) {
      case L',':
        piece.end = i;
        return piece;
      case L'[':
        piece.hasBracket = true;
        break;
      case L'}':
        if (piece.closingBraces++ == 0) piece.firstClosing = i;
        break;
      default:
        break;
    }
  }
  return piece;
}

// The low `elementBytes` bytes, lowest first; elements wider than the value get zeros.
void StoreElement(std::uint8_t* to, std::uint32_t elementBytes, std::uint32_t value) {
  for (std::uint32_t i = 0; i < elementBytes; ++i, value >>= 8) {
    to[i] = static_cast<std::uint8_t>(value);
  }
}

}  // namespace

ParamLineParser::ParamLineParser() = default;

ParamLineParser::ParamLineParser(const QCString& line) { SetParamLine(line); }

ParamLineParser::~ParamLineParser() = default;

std::uint32_t ParamLineParser::SetParamLine(const QCString& line) {
  if (line.IsEmpty()) return Fail(texts::kLineEmpty);
  line_ = line;
  position_ = 0;
  depth_ = 0;
  if (!Preprocess()) return 0;
  const std::wstring_view text = line_.view();
  binaryReference_ = text.find(kBinaryFileTag);
  lastOpeningBrace_ = text.find(L'{') != npos ? text.rfind(L'{') : npos;
  if (!text.starts_with(L'{')) {
    const bool hasBrace = lastOpeningBrace_ != npos || text.find(L'}') != npos;
    if (hasBrace) return Fail(texts::kOutermostBraceMissing);
    depth_ = kAllOnes;
    return 1;
  }
  if (!text.ends_with(L'}')) return Fail(texts::kLastBraceMissing);
  position_ = 1;
  depth_ = 1;
  EnterBraces();
  return 1;
}

bool ParamLineParser::Preprocess() {
  const std::wstring_view raw = line_.view();
  if (raw.find(L'@') == npos && raw.find(kTextFileTag) == npos) {
    if (raw.find(L' ') == npos && raw.find(L'\n') == npos) return true;
    std::wstring text(raw);
    Tidy(text);
    line_ = QCString(std::move(text));
    return true;
  }
  std::wstring text = OneLine(raw);
  const std::size_t at = text.find(L'@');
  if (at != npos && !ReadCommandFile(QCString(text.substr(at + 1)), text, errorText_)) return false;
  if (!TextExpander(text, errorText_).Run()) return false;
  Tidy(text);
  line_ = QCString(std::move(text));
  return true;
}

std::uint32_t ParamLineParser::GetNextValue(std::uint32_t* value, bool* leftAtDefault) {
  ++index_;
  *value = 0;
  *leftAtDefault = false;
  if (position_ == kAllOnes) {
    *leftAtDefault = true;
    return 1;
  }
  const std::wstring_view line = line_.view();
  const std::size_t start = position_;
  const ParsedNumber number = ParseNumber(line.substr(start));
  const std::size_t behind = start + number.readChars;
  if (number.readChars != 0 && behind < line.size() && line[behind] == L',') {
    *value = number.value;  // the usual piece: a number and nothing else
    PassComma(behind);
    return 1;
  }
  const Piece piece = ScanPiece(line, start);
  const bool endsWithComma = piece.end < line.size();
  if (!endsWithComma) position_ = kAllOnes;
  if (piece.hasBracket) return Fail(texts::kBracketForSingleValue);
  std::size_t end = piece.end;
  if (TracksDepth()) {
    // One brace too many wraps, and all ones then reads as a flat line; consoles' scripts have such
    // lines.
    depth_ -= piece.closingBraces;
    end = std::min(end, piece.firstClosing);
  }
  if (end == start) {
    *leftAtDefault = true;
  } else if (!Convert(line.substr(start, end - start), value)) {
    return 0;
  }
  if (endsWithComma) PassComma(piece.end);
  return 1;
}

std::uint32_t ParamLineParser::GetNextArray(std::uint8_t** buffer, std::uint32_t elementBytes,
                                            std::uint32_t bufferBytes) {
  ++index_;
  if (buffer == nullptr || *buffer == nullptr) return 0;
  const std::wstring_view line = line_.view();
  if (position_ == kAllOnes || position_ >= line.size()) return Fail(texts::kLineEnd);
  if (HasBinaryReference()) return ReadBinaryReference(*buffer, bufferBytes);
  std::size_t opening = 0;
  std::size_t closing = 0;
  if (!FindBrackets(&opening, &closing)) return Fail(texts::kBracketsMisplaced);
  const std::wstring_view values = line.substr(opening + 1, closing - opening - 1);
  if (!SplitArrayValues(values, *buffer, elementBytes, bufferBytes)) return 0;
  PassArray(closing);
  return 1;
}

void ParamLineParser::PassComma(std::size_t comma) {
  position_ = static_cast<std::uint32_t>(comma + 1);
  if (TracksDepth()) EnterBraces();
}

void ParamLineParser::EnterBraces() {
  const std::wstring_view line = line_.view();
  if (lastOpeningBrace_ == npos || position_ > lastOpeningBrace_) return;
  std::size_t behindLast = position_;
  for (std::size_t i = position_; i < line.size() && line[i] != L','; ++i) {
    if (line[i] != L'{') continue;
    ++depth_;
    behindLast = i + 1;
  }
  position_ = static_cast<std::uint32_t>(behindLast);
}

bool ParamLineParser::HasBinaryReference() {
  if (binaryReference_ < position_) binaryReference_ = line_.Find(kBinaryFileTag, position_);
  return binaryReference_ != npos;
}

// The position stays where it is: the reference is meant to be the last thing on the line, and a
// later array reads the file again.
bool ParamLineParser::ReadBinaryReference(std::uint8_t* buffer, std::uint32_t bufferBytes) {
  const std::size_t pathStart = binaryReference_ + kBinaryFileTag.size();
  const std::size_t pathEnd = line_.Find(L')', pathStart);
  if (pathEnd == npos) return Fail(texts::kBinFileTagOpen);
  const QCString path = line_.Mid(pathStart, pathEnd - pathStart);
  return ReadBinaryFile(path, buffer, bufferBytes, errorText_);
}

bool ParamLineParser::FindBrackets(std::size_t* opening, std::size_t* closing) const {
  const std::wstring_view line = line_.view();
  *opening = line.find_first_of(L",[]", position_);
  if (*opening == npos || line[*opening] != L'[') return false;
  *closing = line.find(L']', *opening);
  return *closing != npos;
}

bool ParamLineParser::SplitArrayValues(std::wstring_view text, std::uint8_t* buffer,
                                       std::uint32_t elementBytes, std::uint32_t bufferBytes) {
  if (elementBytes == 0) return false;
  const std::uint32_t capacity = bufferBytes / elementBytes;
  std::uint32_t taken = 0;
  for (std::size_t start = 0; start <= text.size(); ++taken, buffer += elementBytes) {
    if (taken == capacity) return Fail(texts::kTooManyElements);
    const ParsedNumber number = ParseNumber(text.substr(start));
    std::size_t end = start + number.readChars;
    if (end < text.size() && text[end] != L',') {
      end = std::min(text.find(L',', start), text.size());
      return FailNumber(text.substr(start, end - start));
    }
    if (end > start) StoreElement(buffer, elementBytes, number.value);
    start = end + 1;
  }
  return true;
}

// Without a comma behind it the array is the line's last value: the position stays on the bracket
// and closing braces are not counted. Lines in use rely on it.
void ParamLineParser::PassArray(std::size_t closing) {
  const std::wstring_view line = line_.view();
  position_ = static_cast<std::uint32_t>(closing);
  const std::size_t comma = line.find(L',', closing);
  if (comma == npos) return;
  const bool tracksDepth = TracksDepth();
  if (tracksDepth) {
    const std::wstring_view between = line.substr(closing, comma - closing);
    depth_ -= static_cast<std::uint32_t>(std::count(between.begin(), between.end(), L'}'));
  }
  position_ = static_cast<std::uint32_t>(comma + 1);
  if (tracksDepth) EnterBraces();
}

std::uint32_t ParamLineParser::StrToUint32(const wchar_t* text, std::uint32_t* value) {
  if (text == nullptr) return Fail(texts::kNullNumber);
  return Convert(text, value);
}

bool ParamLineParser::Convert(std::wstring_view text, std::uint32_t* value) {
  const ParsedNumber number = ParseNumber(text);
  *value = number.value;
  return number.readChars == text.size() || FailNumber(text);
}

bool ParamLineParser::FailNumber(std::wstring_view text) {
  errorText_ = Translated(texts::kNotANumberHead);
  errorText_.Append(text) += Translated(texts::kNotANumberTail);
  return false;
}

bool ParamLineParser::Fail(const char* text) {
  errorText_ = Translated(text);
  return false;
}

}  // namespace SvcKivClass
