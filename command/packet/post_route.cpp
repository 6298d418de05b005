#include "command/packet/post_route.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "platform/text/decimal_number.h"

namespace SvcKivClass {
namespace {

constexpr std::wstring_view kPlainOption = L"-r ";
constexpr std::wstring_view kBroadcastOption = L"-rf ";
constexpr std::wstring_view kDirectOption = L"-d ";
constexpr std::wstring_view kDirectPrefix = L"d->";

// The option that stands last.
struct FoundOption {
  std::size_t at = QCString::npos;
  std::size_t chars = 0;
};

FoundOption LastOption(const QCString& lowered) {
  FoundOption last;
  for (const std::wstring_view option : {kPlainOption, kBroadcastOption, kDirectOption}) {
    const std::size_t at = lowered.ReverseFind(option);
    if (at == QCString::npos || (last.chars != 0 && at < last.at)) continue;
    last = {at, option.size()};
  }
  return last;
}

// Whether the text can have an option at all: a dash with one of their letters behind it.
bool MayHaveOption(std::wstring_view text) {
  for (std::size_t at = text.find(L'-'); at != text.npos; at = text.find(L'-', at + 1)) {
    if (at + 1 == text.size()) return false;
    const wchar_t letter = ToLowerChar(text[at + 1]);
    if (letter == L'r' || letter == L'd') return true;
  }
  return false;
}

}  // namespace

MacSplit SplitMacPath(const QCString& parameterRest) {
  if (!MayHaveOption(parameterRest.view())) return {parameterRest, QCString()};
  const QCString lowered = parameterRest.ToLower();
  const FoundOption option = LastOption(lowered);
  if (option.at == QCString::npos) return {parameterRest, QCString()};
  MacSplit split{parameterRest.Left(option.at), parameterRest.Mid(option.at + option.chars)};
  split.rest.Trim();
  split.macPath.TrimLeft();
  if (lowered.Find(kBroadcastOption) != QCString::npos) {
    split.macPath = L"FF:FF:FF:FF:FF:FF->" + split.macPath;
  }
  if (lowered.Find(kDirectOption) != QCString::npos) split.macPath = L"d->" + split.macPath;
  return split;
}

PostRoute RouteOf(const QCString& macPath) {
  PostRoute route;
  if (macPath.IsEmpty()) return route;
  if (macPath.StartsWith(kDirectPrefix)) {
    route.form = PostForm::kDirect;
    route.directNumber = ParseDecimalUint32(macPath.Mid(macPath.ReverseFind(L'>') + 1).view());
    return route;
  }
  route.form = PostForm::kRouted;
  route.status = MacTools::PathToHeader(macPath, route.header, nullptr);
  return route;
}

}  // namespace SvcKivClass
