#include "hosts/bench/refusal.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "params/default_fill.h"
#include "params/number_text.h"
#include "params/param_line_parser.h"
#include "platform/os/paths.h"

namespace hostbench {
namespace {

constexpr std::size_t npos = std::wstring_view::npos;
constexpr std::wstring_view kBinaryFileTag = L"$(B<";

// Where it is, as a position in the parser's line.
struct Spot {
  RefusalKind kind = RefusalKind::kOther;
  std::size_t position = 0;
  std::wstring path = {};
};

// The line was refused before a value was read: its braces.
Spot LineSpot(std::wstring_view line) {
  if (!line.starts_with(L'{')) return {RefusalKind::kFirstBraceMissing, 0};
  std::size_t depth = 0;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == L'{') ++depth;
    if (line[i] != L'}' || --depth != 0) continue;
    const std::size_t behind = std::min(line.find_first_not_of(L' ', i + 1), line.size());
    return {RefusalKind::kTextBehindLastBrace, behind};
  }
  return {RefusalKind::kLastBraceMissing, line.size()};
}

// Reads why the fill stopped out of its trace.
class StepReader {
 public:
  StepReader(const FillTrace& trace, const ParameterShape& shape)
      : line_(trace.line.view()),
        trace_(trace),
        at_(*trace.failedStep),
        step_(trace.steps[at_]),
        field_(shape.Fields()[at_]),
        before_(at_ != 0 ? &shape.Fields()[at_ - 1] : nullptr) {}

  Spot Read() const {
    const bool isOdd = trace_.status != SvcKivClass::kFillFailed;  // a tree made by hand
    Spot spot = isOdd                  ? Spot{RefusalKind::kOther, StepPosition()}
                : IsUsedUp()           ? UsedUp()
                : trace_.depthDiffered ? WrongDepth()
                : field_.IsArray()     ? BadArray()
                                       : BadValue();
    if (spot.path.empty()) spot.path = field_.path;
    return spot;
  }

 private:
  std::size_t StepPosition() const { return std::min<std::size_t>(step_.position, line_.size()); }
  const FillStep& StepBefore() const { return trace_.steps[at_ - 1]; }

  // Whether the field before is an array that was the last thing on the line: the parser then
  // stands on its bracket, or still on the reference to its file.
  bool IsBehindLastArray() const {
    if (before_ == nullptr || !before_->IsArray()) return false;
    return StepBefore().behind == step_.position && StepPosition() < line_.size() &&
           (line_[StepPosition()] == L']' || StepBefore().position == step_.position);
  }
  bool IsUsedUp() const {
    return step_.position == FillStep::kUsedUp || IsBehindLastArray() ||
           (field_.IsArray() && StepPosition() == line_.size());
  }

  // Just behind the value of the field before.
  std::size_t ValueEnd() const {
    const std::size_t begin = StepBefore().position;
    if (!before_->IsArray()) return std::min(line_.find_first_of(L",}", begin), line_.size());
    if (line_.find(kBinaryFileTag, begin) != npos) {
      const std::size_t tag = line_.find(kBinaryFileTag, begin);
      return std::min(line_.find(L')', tag), line_.size() - 1) + 1;
    }
    return std::min(line_.find(L']', line_.find(L'[', begin)), line_.size() - 1) + 1;
  }

  // The place for what is missing: behind the braces that the field before still needs.
  Spot UsedUp() const {
    const bool isBehindComma = step_.position == line_.size();
    if (before_ == nullptr || isBehindComma) return {RefusalKind::kLineEnded, StepPosition()};
    std::size_t at = ValueEnd();
    if (step_.depth != SvcKivClass::ParamLineParser::kAllOnes) {
      for (std::uint32_t left = ClosingsBetween(*before_, field_); left != 0; --left) {
        const std::size_t closing = line_.find_first_not_of(L' ', at);
        if (closing == npos || line_[closing] != L'}') break;
        at = closing + 1;
      }
    }
    return {RefusalKind::kLineEnded, at};
  }

  Spot WrongDepth() const {
    const std::size_t end = before_ != nullptr ? ValueEnd() : 0;
    const std::size_t comma = before_ != nullptr ? line_.find(L',', end) : 0;
    if (comma == npos || comma > StepPosition()) return {RefusalKind::kOther, StepPosition()};
    if (before_ != nullptr) {
      const std::wstring_view closing = line_.substr(end, comma - end);
      const auto closings = std::count(closing.begin(), closing.end(), L'}');
      const auto wanted = static_cast<std::ptrdiff_t>(ClosingsBetween(*before_, field_));
      if (closings < wanted) return {RefusalKind::kClosingMissing, comma};
      if (closings > wanted) return {RefusalKind::kClosingSurplus, Nth(L'}', wanted, end)};
    }
    const std::wstring_view opening = line_.substr(comma, StepPosition() - comma);
    const auto openings = std::count(opening.begin(), opening.end(), L'{');
    const auto wanted = static_cast<std::ptrdiff_t>(field_.depth - field_.sharedDepth);
    if (openings <= wanted) return {RefusalKind::kOpeningMissing, StepPosition()};
    return {RefusalKind::kOpeningSurplus, Nth(L'{', wanted, comma)};
  }

  // The n-th `ch` from `from` on, counted from 0. It is there.
  std::size_t Nth(wchar_t ch, std::ptrdiff_t n, std::size_t from) const {
    std::size_t at = line_.find(ch, from);
    while (n-- > 0) at = line_.find(ch, at + 1);
    return at;
  }

  Spot BadValue() const {
    const std::size_t begin = StepPosition();
    const std::size_t comma = std::min(line_.find(L',', begin), line_.size());
    const std::size_t bracket = line_.find(L'[', begin);
    if (bracket < comma) return {RefusalKind::kBracketAtValue, bracket};
    const bool isFlat = step_.depth == SvcKivClass::ParamLineParser::kAllOnes;
    const std::size_t brace = isFlat ? npos : line_.find(L'}', begin);
    return BadNumber(begin, std::min(comma, brace), {});
  }

  // The first character that is no part of a number.
  Spot BadNumber(std::size_t begin, std::size_t end, std::wstring path) const {
    const std::wstring_view text = line_.substr(begin, end - begin);
    std::size_t good = SvcKivClass::ParseNumber(text).readChars;
    if (good == 0) good = std::min(text.find_first_not_of(L' '), text.size());
    return {RefusalKind::kNotANumber, begin + (good == text.size() ? 0 : good), std::move(path)};
  }

  Spot BadArray() const {
    const std::size_t begin = StepPosition();
    const std::size_t tag = line_.find(kBinaryFileTag, begin);
    if (tag != npos) return BadBinaryFile(tag);
    const std::size_t opening = line_.find_first_of(L",[]", begin);
    if (opening == npos || line_[opening] == L',') return {RefusalKind::kBracketMissing, begin};
    const bool isClosed = line_[opening] == L'[' && line_.find(L']', opening) != npos;
    if (!isClosed) return {RefusalKind::kBracketMissing, opening};
    return BadElement(opening + 1, line_.find(L']', opening));
  }

  Spot BadElement(std::size_t begin, std::size_t end) const {
    for (std::uint32_t element = 0; begin <= end; ++element) {
      const std::size_t comma = std::min(line_.find(L',', begin), end);
      if (element == field_.count) {
        // Of an empty element its comma is the surplus one.
        return {RefusalKind::kTooManyElements, begin == comma && element != 0 ? begin - 1 : begin};
      }
      const std::wstring_view text = line_.substr(begin, comma - begin);
      if (SvcKivClass::ParseNumber(text).readChars != text.size()) {
        return BadNumber(begin, comma, field_.path + L"[" + std::to_wstring(element) + L"]");
      }
      begin = comma + 1;
    }
    return {RefusalKind::kOther, begin};
  }

  Spot BadBinaryFile(std::size_t tag) const {
    const std::size_t begin = tag + kBinaryFileTag.size();
    const std::size_t end = line_.find(L')', begin);
    if (end == npos) return {RefusalKind::kBinaryFileTagOpen, tag};
    const std::wstring path(line_.substr(begin, end - begin));
    if (PathFileExistsW(path.c_str()) == 0) return {RefusalKind::kFileMissing, begin};
    const bool wasOpened = trace_.isShortFile;
    return {wasOpened ? RefusalKind::kFileTooShort : RefusalKind::kFileNotOpened, begin};
  }

  const std::wstring_view line_;
  const FillTrace& trace_;
  const std::size_t at_;  // which step
  const FillStep& step_;
  const ParameterField& field_;
  const ParameterField* const before_;  // null for the first
};

RefusalKind KindOf(PreparedAs as) {
  switch (as) {
    case PreparedAs::kTagOpen:
      return RefusalKind::kTextFileTagOpen;
    case PreparedAs::kFileMissing:
      return RefusalKind::kFileMissing;
    default:
      return RefusalKind::kFileNotOpened;
  }
}

struct KindText {
  RefusalKind kind;
  const wchar_t* text;
};

constexpr KindText kKindTexts[] = {
    {RefusalKind::kFirstBraceMissing, L"a line with braces begins with \"{\""},
    {RefusalKind::kLastBraceMissing, L"\"}\" is missing"},
    {RefusalKind::kTextBehindLastBrace, L"behind the last \"}\""},
    {RefusalKind::kTextFileTagOpen, L"\")\" is missing behind the file's name"},
    {RefusalKind::kBinaryFileTagOpen, L"\")\" is missing behind the file's name"},
    {RefusalKind::kFileMissing, L"no such file"},
    {RefusalKind::kFileNotOpened, L"the file cannot be read"},
    {RefusalKind::kFileTooShort, L"the file is shorter than the array"},
    {RefusalKind::kBracketAtValue, L"one value, no \"[\""},
    {RefusalKind::kLineEnded, L"nothing is left for it"},
    {RefusalKind::kBracketMissing, L"an array stands in \"[\" and \"]\""},
    {RefusalKind::kTooManyElements, L"more elements than the array has"},
    {RefusalKind::kNotANumber, L"not a number"},
    {RefusalKind::kOpeningMissing, L"\"{\" is missing"},
    {RefusalKind::kOpeningSurplus, L"one \"{\" too many"},
    {RefusalKind::kClosingMissing, L"\"}\" is missing"},
    {RefusalKind::kClosingSurplus, L"one \"}\" too many"},
    {RefusalKind::kOther, L"refused"},
};

}  // namespace

const wchar_t* RefusalText(RefusalKind kind) noexcept {
  const auto* const row = std::find_if(std::begin(kKindTexts), std::end(kKindTexts),
                                       [kind](const KindText& each) { return each.kind == kind; });
  return row->text;
}

std::optional<Refusal> FindRefusal(CParamNode& tree, const ParameterShape& shape,
                                   const TypedText& parameters) {
  if (parameters.text.empty()) return std::nullopt;
  const FillTrace trace = TraceFill(tree, QCString(parameters.text));
  if (trace.IsAccepted()) return std::nullopt;
  const PreparedText prepared = PrepareParameters(parameters, true);
  const bool isFollowed =
      prepared.as == PreparedAs::kPlain || prepared.as == PreparedAs::kWithFiles;
  if (!isFollowed) return Refusal{KindOf(prepared.as), prepared.column, {}, {}};
  Refusal refusal;
  refusal.column = parameters.ColumnAt(0);
  // A file that was written in between: the line is another one now.
  if (prepared.text.text != trace.line.str()) return refusal;
  Spot spot;
  if (!trace.lineTaken) {
    spot = LineSpot(trace.line.view());
  } else if (trace.failedStep && *trace.failedStep < shape.Fields().size()) {
    spot = StepReader(trace, shape).Read();
    refusal.field = trace.failedStep;
  }
  refusal.kind = spot.kind;
  refusal.column = prepared.text.ColumnAt(spot.position);
  refusal.path = std::move(spot.path);
  return refusal;
}

}  // namespace hostbench
