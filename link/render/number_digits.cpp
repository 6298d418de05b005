#include "link/render/number_digits.h"

#include <array>

namespace SvcKivClass {
namespace {

constexpr std::size_t kMaxDigits = 10;  // of 32 bits in decimal

// "00" to "99", two characters each.
constexpr std::array<wchar_t, 200> MakePairs() {
  std::array<wchar_t, 200> pairs{};
  for (std::size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<wchar_t>(L'0' + i / 10);
    pairs[2 * i + 1] = static_cast<wchar_t>(L'0' + i % 10);
  }
  return pairs;
}

constexpr std::array<wchar_t, 200> kPairs = MakePairs();

// The node's own bits as a signed number of 32.
std::uint32_t SignExtended(std::uint32_t value, std::uint32_t widthBytes) {
  if (widthBytes == 0 || widthBytes >= 4) return value;
  const std::uint32_t signBit = 1u << (8 * widthBytes - 1);
  const std::uint32_t own = value & (2 * signBit - 1);
  return (own ^ signBit) - signBit;
}

bool IsNegative(std::uint32_t value) { return (value & 0x80000000u) != 0; }

}  // namespace

void AppendDecimal(std::wstring& to, std::uint32_t value) {
  std::array<wchar_t, kMaxDigits> digits;
  wchar_t* const end = digits.data() + digits.size();
  wchar_t* first = end;
  for (; value >= 100; value /= 100) {
    const std::size_t pair = 2 * (value % 100);
    *--first = kPairs[pair + 1];
    *--first = kPairs[pair];
  }
  *--first = kPairs[2 * value + 1];
  if (value >= 10) *--first = kPairs[2 * value];
  to.append(first, end);
}

void AppendHex(std::wstring& to, std::uint32_t value, std::uint32_t minDigits) {
  std::array<wchar_t, 8> digits;
  wchar_t* const end = digits.data() + digits.size();
  wchar_t* first = end;
  const wchar_t* const padded = end - minDigits;
  for (; first != digits.data() && (value != 0 || first > padded); value >>= 4) {
    *--first = L"0123456789abcdef"[value & 15];
  }
  to.append(first, end);
}

void AppendValue(std::wstring& to, std::uint64_t value, const ValueFormat& format) {
  auto bits = static_cast<std::uint32_t>(value);
  if (format.isSigned) bits = SignExtended(bits, format.widthBytes);
  const bool negative = format.isSigned && IsNegative(bits);
  if (!format.hexadecimal) {
    if (negative) to.push_back(L'-');
    AppendDecimal(to, negative ? 0u - bits : bits);
    return;
  }
  if (format.widthBytes != 1 && format.widthBytes != 2 && format.widthBytes != 4) return;
  to.append(L"0x");
  AppendHex(to, negative ? 0 : bits, 2 * format.widthBytes);
}

}  // namespace SvcKivClass
