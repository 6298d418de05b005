#include "command/packet/mac_tools.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>

#include "platform/base/result_codes.h"

namespace SvcKivClass {
namespace {

constexpr std::wstring_view kHopSeparator = L"->";
constexpr std::size_t kHopBytes = 6;
constexpr std::size_t kHopChars = 17;  // "00:11:22:33:44:55"

std::optional<std::uint8_t> HexDigit(wchar_t ch) {
  if (ch >= L'0' && ch <= L'9') return static_cast<std::uint8_t>(ch - L'0');
  if (ch >= L'a' && ch <= L'f') return static_cast<std::uint8_t>(ch - L'a' + 10);
  if (ch >= L'A' && ch <= L'F') return static_cast<std::uint8_t>(ch - L'A' + 10);
  return std::nullopt;
}

// One hop's six bytes; `to` is only written when the whole hop is well formed.
bool HopToBytes(QCString hop, std::uint8_t* to) {
  hop.Remove(L' ');
  if (hop.GetLength() != kHopChars) return false;
  std::array<std::uint8_t, kHopBytes> bytes{};
  for (std::size_t i = 0; i < kHopBytes; ++i) {
    const std::optional<std::uint8_t> high = HexDigit(hop[3 * i]);
    const std::optional<std::uint8_t> low = HexDigit(hop[3 * i + 1]);
    if (!high || !low) return false;
    const wchar_t separator = hop[3 * i + 2];  // 0 behind the last pair
    if (i + 1 < kHopBytes && separator != L':' && separator != L'-') return false;
    bytes[i] = static_cast<std::uint8_t>(*high << 4 | *low);
  }
  std::copy(bytes.begin(), bytes.end(), to);
  return true;
}

}  // namespace

std::uint32_t MacTools::PathToHeader(const QCString& path, RoutingHeader& header,
                                     std::uint32_t* hopCount) {
  header.fill(0);
  std::uint32_t hops = 0;
  std::size_t start = 0;
  std::uint32_t status = result::kBadAddress;
  while (hops < kMaxHops) {
    const std::size_t end = path.Find(kHopSeparator, start);
    const bool last = end == QCString::npos;
    const QCString hop = path.Mid(start, last ? QCString::npos : end - start);
    if (!HopToBytes(hop, header.data() + kHopBytes * hops)) break;
    ++hops;
    if (last) {
      status = result::kOk;
      break;
    }
    start = end + kHopSeparator.size();
  }
  if (hopCount != nullptr) *hopCount = hops;
  return status;
}

}  // namespace SvcKivClass
