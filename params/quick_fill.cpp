#include "params/quick_fill.h"

#include <cstddef>
#include <cstdint>

#include "params/fill_plan.h"
#include "params/number_text.h"

namespace SvcKivClass {
namespace {

constexpr std::uint32_t kMaxValue = 0xFFFFFFFFu;
constexpr std::ptrdiff_t kMaxDecimalDigits = 19;  // of which 64 bits hold any number

// The low bytes, lowest first. Eight take zeros above the 32 bits that a number has.
void Store(std::uint8_t* to, std::uint32_t widthBytes, std::uint32_t value) {
  const auto put = [to, value](std::uint32_t i) {
    to[i] = static_cast<std::uint8_t>(value >> 8 * i);
  };
  put(0);
  if (widthBytes == 1) return;
  put(1);
  if (widthBytes == 2) return;
  put(2);
  put(3);
  for (std::uint32_t i = 4; i < widthBytes; ++i) to[i] = 0;
}

// Each of these takes something off the line and answers where it ends; null at the first character
// that is not of the usual form. Positions are handed from one to the next, never kept in an
// object: the bytes that are written could be those of any object.

// A number that does not begin with a digit from 1 to 9, or no number: what the place holds stays.
const wchar_t* TakeOther(const wchar_t* at, const wchar_t* end, std::uint8_t* to,
                         std::uint32_t widthBytes) {
  if (at == end || *at == L',' || *at == L'}' || *at == L']') return at;
  if (*at != L'-' && *at != L'+' && *at != L'0') return nullptr;
  const ParsedNumber number = ParseNumber({at, static_cast<std::size_t>(end - at)});
  if (number.readChars == 0) return nullptr;
  Store(to, widthBytes, number.value);
  return at + number.readChars;
}

inline const wchar_t* TakeNumber(const wchar_t* const begin, const wchar_t* end, std::uint8_t* to,
                                 std::uint32_t widthBytes) {
  const wchar_t* at = begin;
  const bool isNegative = at != end && *at == L'-';
  if (isNegative) ++at;
  const wchar_t* const first = at;
  std::uint64_t magnitude = at != end ? static_cast<char32_t>(*at) - L'0' : 0;
  // Prefixes, other signs and blanks are the parser's; so is an empty place.
  if (magnitude - 1 >= 9) return TakeOther(begin, end, to, widthBytes);
  for (++at; at != end; ++at) {
    const std::uint32_t digit = static_cast<char32_t>(*at) - L'0';
    if (digit >= 10) break;
    magnitude = magnitude * 10 + digit;
  }
  const bool isBeyond = magnitude > kMaxValue || at - first > kMaxDecimalDigits;
  const auto value = static_cast<std::uint32_t>(magnitude);
  Store(to, widthBytes, isBeyond ? kMaxValue : isNegative ? 0u - value : value);
  return at;
}

const wchar_t* TakeArray(const wchar_t* at, const wchar_t* end, std::uint8_t* to,
                         const FillStep& step) {
  if (at == end || *at++ != L'[') return nullptr;
  for (std::uint32_t taken = 0; taken < step.capacity; ++taken, to += step.widthBytes) {
    at = TakeNumber(at, end, to, step.widthBytes);
    if (at == nullptr || at == end) return nullptr;
    const wchar_t behind = *at++;
    if (behind == L']') return at;
    if (behind != L',') return nullptr;
  }
  return nullptr;  // more elements than the array has
}

// A flat line that ends early leaves values at their defaults, but never an array.
bool OnlyValues(const FillStep* step, const FillStep* end) {
  for (; step != end; ++step) {
    if (step->capacity != 0) return false;
  }
  return true;
}

// A line in braces, whose depth is followed, or a flat one. True when the line ends with the last
// step, or before it where it may.
template <bool kIsBraced>
bool Run(std::wstring_view line, const FillStep* step, const FillStep* stepsEnd,
         std::uint8_t* body) {
  const wchar_t* at = line.data();
  const wchar_t* const end = at + line.size();
  std::uint32_t depth = 0;
  for (; step != stepsEnd; ++step) {
    if (kIsBraced) {
      for (; at != end && *at == L'{'; ++at) ++depth;
      if (depth != step->depth) return false;
    }
    std::uint8_t* const to = body + step->offsetBytes;
    at = step->capacity == 0 ? TakeNumber(at, end, to, step->widthBytes)
                             : TakeArray(at, end, to, *step);
    if (at == nullptr) return false;
    if (kIsBraced) {
      for (; at != end && *at == L'}'; ++at) {
        if (depth-- == 0) return false;  // one brace too many
      }
    }
    if (at == end && step + 1 == stepsEnd) return true;
    // Behind an array the parser still stands on its bracket, which is no number.
    if (at == end) return !kIsBraced && step->capacity == 0 && OnlyValues(step + 1, stepsEnd);
    if (*at++ != L',') return false;
  }
  return false;  // more than the tree takes
}

bool RunLine(std::wstring_view line, const FillPlan& plan, std::uint8_t* body) {
  if (line.empty()) return false;
  const FillStep* const steps = plan.Steps();
  const FillStep* const end = steps + plan.stepCount;
  if (line.front() != L'{') return Run<false>(line, steps, end, body);
  return line.back() == L'}' && Run<true>(line, steps, end, body);
}

}  // namespace

bool QuickFill(CParamNode& root, std::wstring_view line) {
  const FillPlan* const plan = FillPlanOf(root);
  if (plan == nullptr) return false;
  if (RunLine(line, *plan, root.GetBody())) return true;
  root.ResetBody();
  return false;
}

}  // namespace SvcKivClass
