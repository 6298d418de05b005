#include "hosts/terminal/line_pattern.h"

#include <QString>
#include <algorithm>
#include <cwctype>

#include "platform/text/shown_text.h"

namespace kiv {
namespace {

// Steps of a look: a fraction of a millisecond, and far beyond what a sensible expression takes.
constexpr char kLimits[] = "(*LIMIT_MATCH=20000)(*LIMIT_DEPTH=2000)";

bool HasCapital(std::wstring_view expression) {
  for (std::size_t i = 0; i < expression.size(); ++i) {
    if (expression[i] == L'\\') {
      ++i;
    } else if (std::iswupper(static_cast<std::wint_t>(expression[i])) != 0) {
      return true;
    }
  }
  return false;
}

// Where the next piece of a long line begins: not within a character.
std::size_t NextPiece(std::string_view line, std::size_t from) {
  from += LinePattern::kLookedAtBytes - LinePattern::kOverlapBytes;
  while (from < line.size() && (line[from] & 0xC0) == 0x80) ++from;
  return from;
}

}  // namespace

std::unique_ptr<LinePattern> LinePattern::Make(std::wstring_view expression, std::string& problem) {
  const std::string shown = ShownLine(expression);
  if (expression.size() > kLongestChars) {
    problem = "it has more than " + std::to_string(kLongestChars) + " characters";
    return nullptr;
  }
  const QString text =
      QString::fromWCharArray(expression.data(), static_cast<int>(expression.size()));
  const auto options = HasCapital(expression) ? QRegularExpression::NoPatternOption
                                              : QRegularExpression::CaseInsensitiveOption;
  QRegularExpression made(QLatin1String(kLimits) + text, options);
  if (!made.isValid()) {
    constexpr int kLimitsChars = static_cast<int>(sizeof kLimits) - 1;
    problem = ShownLine(made.errorString().toStdString()) + " at character " +
              std::to_string(std::max(made.patternErrorOffset() - kLimitsChars, 0) + 1);
    return nullptr;
  }
  return std::unique_ptr<LinePattern>(new LinePattern(std::move(made), shown));
}

std::optional<TextPart> LinePattern::FindIn(std::string_view piece) const {
  const QString text = QString::fromUtf8(piece.data(), static_cast<int>(piece.size()));
  const QRegularExpressionMatch match = expression_.match(text);
  if (match.hasMatch()) {
    const auto bytes = [&text](int chars) {
      return static_cast<std::size_t>(text.left(chars).toUtf8().size());
    };
    const std::size_t from = bytes(match.capturedStart());
    return TextPart{from, bytes(match.capturedEnd()) - from};
  }
  if (match.isValid()) return std::nullopt;
  ++givenUp_;
  return TextPart{};
}

std::optional<TextPart> LinePattern::Find(std::string_view line) const {
  if (line.size() <= kLookedAtBytes) return FindIn(line);
  for (std::size_t from = 0; from < line.size(); from = NextPiece(line, from)) {
    std::size_t end = std::min(from + kLookedAtBytes, line.size());
    while (end < line.size() && (line[end] & 0xC0) == 0x80) ++end;
    if (auto found = FindIn(line.substr(from, end - from))) {
      found->from += from;
      return found;
    }
    if (end == line.size()) break;
  }
  return std::nullopt;
}

}  // namespace kiv
