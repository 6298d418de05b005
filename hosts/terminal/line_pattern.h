// LinePattern: a regular expression that lines are looked through for, which nobody can make so
// slow that the console stands still: each look has a bounded number of steps, in a bounded length
// of line. What cannot be decided within them counts as found.
//
// The expression is Perl's as Qt takes it. Without a capital letter (those behind a backslash do
// not count) it finds capitals and small letters alike.
//
// Threads: one caller at a time. Errors: an expression that cannot be used gives one line.
#pragma once

#include <QRegularExpression>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kiv {

// A part of a text.
struct TextPart {
  std::size_t from = 0;
  std::size_t lengthBytes = 0;
  bool operator==(const TextPart&) const = default;
};

class LinePattern {
 public:
  static constexpr std::size_t kLongestChars = 1000;  // of an expression
  // So much of a line is looked at; a longer one in pieces of so much that overlap.
  static constexpr std::size_t kLookedAtBytes = 2048;
  static constexpr std::size_t kOverlapBytes = 256;

  // Null when it cannot be used; `problem` says why.
  static std::unique_ptr<LinePattern> Make(std::wstring_view expression, std::string& problem);

  // The first part of the line, in UTF-8, that the expression finds; nothing when it is not in it.
  // A length of 0 when the steps did not suffice.
  std::optional<TextPart> Find(std::string_view line) const;
  bool IsIn(std::string_view line) const { return Find(line).has_value(); }
  // Looks that were given up so far.
  std::uint64_t GivenUp() const { return givenUp_; }
  // As it was typed, fit for showing.
  const std::string& Text() const { return text_; }

 private:
  LinePattern(QRegularExpression expression, std::string text)
      : expression_(std::move(expression)), text_(std::move(text)) {}
  std::optional<TextPart> FindIn(std::string_view piece) const;

  QRegularExpression expression_;
  std::string text_;
  mutable std::uint64_t givenUp_ = 0;
};

}  // namespace kiv
