#include "command/typed_line.h"

#include <cwchar>

#include "command/shared_constants.h"
#include "platform/text/file_path.h"

namespace SvcKivClass {
namespace {

QCString Cleaned(const QCString& line) {
  QCString cleaned = line;
  // The order matters: blanks behind a line feed at either end stay.
  cleaned.Trim(L' ').Trim(L'\n');
  cleaned.Remove(L'\r');
  cleaned.Remove(L'\n');
  return cleaned;
}

}  // namespace

TypedLine SplitTypedLine(const QCString& line) {
  TypedLine split;
  const QCString cleaned = Cleaned(line);
  if (cleaned.IsEmpty()) return split;
  split.word = cleaned;
  if (cleaned.GetLength() > kMaxLineChars) return split;

  // Line feeds are gone by now, so a space alone ends the word.
  const std::size_t end = cleaned.Find(L' ');
  split.lastWord = cleaned.Left(end == QCString::npos ? cleaned.GetLength() : end);
  split.hasLastWord = true;
  // An AT line keeps its text whole, a too long one as well: cut, it would do something else.
  const bool isAtLine = cleaned.Left(2).ToLower() == L"at";
  if (!isAtLine) split.word = split.lastWord;
  if (split.lastWord.GetLength() > kMaxWordChars) return split;

  if (!isAtLine && end != QCString::npos) split.rest = cleaned.Mid(end).Trim(L' ');
  split.accepted = true;
  return split;
}

int TestScriptFile(const QCString& word) {
  constexpr std::size_t kSuffixChars = std::size(kScriptFileSuffix) - 1;
  if (word.GetLength() < kSuffixChars) return kScriptWordTooShort;
  if (!(word.Right(kSuffixChars).ToLower() == kScriptFileSuffix)) return kScriptOtherSuffix;
  return CFilePathOperator::IsRegularFile(word) ? kScriptFile : kScriptFileMissing;
}

}  // namespace SvcKivClass
