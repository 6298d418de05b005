#include "hosts/terminal/long_word.h"

#include <algorithm>
#include <string>

namespace kiv {
namespace {

std::wstring_view Trimmed(std::wstring_view text, wchar_t c) {
  text.remove_prefix(std::min(text.find_first_not_of(c), text.size()));
  return text.substr(0, text.find_last_not_of(c) + 1);
}

// As the module does it before it splits, in the same order.
std::wstring Cleaned(std::wstring_view typed) {
  std::wstring line(Trimmed(Trimmed(typed, L' '), L'\n'));
  std::erase_if(line, [](wchar_t c) { return c == L'\r' || c == L'\n'; });
  return line;
}

bool BeginsWithAt(std::wstring_view line) {
  return line.size() >= 2 && (line[0] == L'a' || line[0] == L'A') &&
         (line[1] == L't' || line[1] == L'T');
}

}  // namespace

bool IsRestLost(std::wstring_view typed) {
  const std::wstring line = Cleaned(typed);
  if (line.size() > kLongestLineChars || BeginsWithAt(line)) return false;
  const std::size_t wordChars = std::min(line.find(L' '), line.size());
  if (wordChars <= kLongestWordChars) return false;
  return line.find_first_not_of(L' ', wordChars) != std::wstring::npos;
}

}  // namespace kiv
