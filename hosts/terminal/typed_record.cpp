#include "hosts/terminal/typed_record.h"

#include <algorithm>
#include <iterator>

namespace kiv {

using SvcKivSpace::KivCommandRecord;

KivCommandRecord RecordOf(std::wstring_view line) {
  line.remove_prefix(std::min(line.find_first_not_of(L' '), line.size()));
  const std::size_t blank = line.find(L' ');
  KivCommandRecord record;
  record.name = QCString(line.substr(0, blank));
  if (blank != std::wstring_view::npos) record.parameters = QCString(line.substr(blank + 1));
  return record;
}

std::wstring LineOf(const KivCommandRecord& record) {
  if (record.parameters.IsEmpty()) return record.name.str();
  return record.name.str() + L" " + record.parameters.str();
}

bool CanBeKept(const KivCommandRecord& record) {
  return !record.name.IsEmpty() && record.name.GetLength() <= SvcKivSpace::kMaxCommandNameChars &&
         record.parameters.GetLength() <= SvcKivSpace::kMaxParameterChars;
}

bool ComesBackUnchanged(const KivCommandRecord& record) {
  constexpr const wchar_t* kStandsForOther[] = {L"%(%", L"%)%", L"\\n"};
  return std::none_of(
      std::begin(kStandsForOther), std::end(kStandsForOther),
      [&record](const wchar_t* text) { return record.parameters.Find(text) != QCString::npos; });
}

std::wstring AsTyped(const std::wstring& line) {
  return line.starts_with(L':') ? L":" + line : line;
}

}  // namespace kiv
