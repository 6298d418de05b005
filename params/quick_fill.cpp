#include "params/quick_fill.h"

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

// One walk along the line. Each step answers false at the first character that is not of the usual
// form; nothing is undone then.
class QuickReader {
 public:
  explicit QuickReader(std::wstring_view line)
      : at_(line.data()), end_(at_ + line.size()), isBraced_(line.starts_with(L'{')) {}

  bool Run(const FillStep* steps, std::uint32_t count, std::uint8_t* body) {
    if (at_ == end_ || (isBraced_ && end_[-1] != L'}')) return false;
    for (std::uint32_t i = 0; i < count; ++i) {
      if (isUsedUp_) return !isBraced_ && OnlyValues(steps + i, steps + count);
      const FillStep& step = steps[i];
      std::uint8_t* const to = body + step.offsetBytes;
      if (!EnterBraces(step.depth)) return false;
      if (!(step.capacity == 0 ? TakeNumber(to, step.widthBytes) : TakeArray(to, step))) {
        return false;
      }
      if (!PassItem()) return false;
    }
    return isUsedUp_;
  }

 private:
  // A flat line that ends early leaves values at their defaults, but never an array.
  static bool OnlyValues(const FillStep* step, const FillStep* end) {
    for (; step != end; ++step) {
      if (step->capacity != 0) return false;
    }
    return true;
  }

  bool EnterBraces(std::uint32_t depth) {
    if (!isBraced_) return true;
    for (; at_ != end_ && *at_ == L'{'; ++at_) ++depth_;
    return depth_ == depth;
  }

  // Behind a value or an array: its closing braces, and the comma.
  bool PassItem() {
    for (; at_ != end_ && *at_ == L'}'; ++at_) {
      if (depth_ == 0) return false;  // a flat line, or one brace too many
      --depth_;
    }
    isUsedUp_ = at_ == end_;
    if (isUsedUp_) return true;
    return *at_++ == L',';
  }

  bool TakeNumber(std::uint8_t* to, std::uint32_t widthBytes) {
    const wchar_t* at = at_;
    const bool isNegative = at != end_ && *at == L'-';
    if (isNegative) ++at;
    if (at == end_) return !isNegative;
    const wchar_t* const first = at;
    std::uint64_t magnitude = static_cast<char32_t>(*at) - L'0';
    // Prefixes, signs and blanks are the parser's; so is an empty place.
    if (magnitude - 1 >= 9) return TakeOther(to, widthBytes);
    for (++at; at != end_; ++at) {
      const std::uint32_t digit = static_cast<char32_t>(*at) - L'0';
      if (digit >= 10) break;
      magnitude = magnitude * 10 + digit;
    }
    const bool isBeyond = magnitude > kMaxValue || at - first > kMaxDecimalDigits;
    const auto value = static_cast<std::uint32_t>(magnitude);
    Store(to, widthBytes, isBeyond ? kMaxValue : isNegative ? 0u - value : value);
    at_ = at;
    return true;
  }

  // A number that does not begin with a digit from 1 to 9, or no number: what the place holds
  // stays.
  bool TakeOther(std::uint8_t* to, std::uint32_t widthBytes) {
    if (*at_ == L',' || *at_ == L'}' || *at_ == L']') return true;
    if (*at_ != L'-' && *at_ != L'+' && *at_ != L'0') return false;
    const ParsedNumber number = ParseNumber({at_, static_cast<std::size_t>(end_ - at_)});
    if (number.readChars == 0) return false;
    Store(to, widthBytes, number.value);
    at_ += number.readChars;
    return true;
  }

  bool TakeArray(std::uint8_t* to, const FillStep& step) {
    if (at_ == end_ || *at_++ != L'[') return false;
    for (std::uint32_t taken = 0; taken < step.capacity; ++taken, to += step.widthBytes) {
      if (!TakeNumber(to, step.widthBytes) || at_ == end_) return false;
      const wchar_t behind = *at_++;
      if (behind == L']') return true;
      if (behind != L',') return false;
    }
    return false;  // more elements than the array has
  }

  const wchar_t* at_;
  const wchar_t* const end_;
  const bool isBraced_;
  bool isUsedUp_ = false;
  std::uint32_t depth_ = 0;
};

}  // namespace

bool QuickFill(CParamNode& root, std::wstring_view line) {
  const FillPlan* const plan = FillPlanOf(root);
  if (plan == nullptr) return false;
  if (QuickReader(line).Run(plan->Steps(), plan->stepCount, root.GetBody())) return true;
  root.ResetBody();
  return false;
}

}  // namespace SvcKivClass
