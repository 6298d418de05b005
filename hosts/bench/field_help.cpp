#include "hosts/bench/field_help.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "hosts/bench/fill_trace.h"
#include "params/number_text.h"
#include "params/param_line_parser.h"

namespace hostbench {
namespace {

constexpr std::size_t npos = std::wstring_view::npos;
constexpr std::wstring_view kTextFileTag = L"$(T<";
constexpr std::wstring_view kBinaryFileTag = L"$(B<";

// A routing option and what it does.
struct OptionRow {
  std::wstring_view typed;
  const wchar_t* note;
};
constexpr OptionRow kOptions[] = {
    {L"-d ", L"sent directly, a number behind it"},
    {L"-r ", L"sent along a MAC path"},
    {L"-rf ", L"broadcast along a MAC path"},
};

bool BeginsFolded(std::wstring_view text, std::wstring_view beginning) {
  return beginning.size() <= text.size() &&
         std::equal(beginning.begin(), beginning.end(), text.begin(),
                    [](wchar_t a, wchar_t b) { return ToLowerChar(a) == ToLowerChar(b); });
}

// Whether a number can still come of it: one more digit makes it one.
bool MayBecomeNumber(std::wstring_view text) {
  const std::wstring longer = std::wstring(text) + L'0';
  return SvcKivClass::ParseNumber(longer).readChars == longer.size();
}

bool IsNumber(std::wstring_view text) {
  return text.empty() || SvcKivClass::ParseNumber(text).readChars == text.size();
}

TypedText With(const TypedText& text, std::wstring_view behind) {
  TypedText longer = text;
  for (const wchar_t ch : behind) longer.Add(ch, longer.columns.back());
  return longer;
}

// The routing option that may begin at the text's end: an empty token, or a part of one.
struct OptionToken {
  std::size_t at = npos;     // npos: none can
  bool standsAlone = false;  // it cannot be the beginning of a value
  bool isSign = false;       // it is all of the text, and may be that of a number as well
};

OptionToken OptionTokenOf(const std::wstring& text) {
  const std::size_t blank = text.rfind(L' ');
  const std::size_t at = blank == npos ? 0 : blank + 1;
  const std::wstring_view token = std::wstring_view(text).substr(at);
  const bool fits =
      std::any_of(std::begin(kOptions), std::end(kOptions),
                  [&](const OptionRow& row) { return BeginsFolded(row.typed, token); });
  if (!fits) return {};
  const std::size_t before = text.find_last_not_of(L' ', at == 0 ? 0 : at - 1);
  const bool behindValue =
      at != 0 && before != npos && std::wstring_view(L",{[").find(text[before]) == npos;
  return {at, !token.empty() && (behindValue || token.size() > 1), !token.empty() && at == 0};
}

// One place, looked at.
class PlaceReader {
 public:
  PlaceReader(CParamNode& tree, const ParameterShape& shape, const TypedText& line,
              bool endsWithBlank)
      : tree_(tree),
        shape_(shape),
        fields_(shape.Fields()),
        line_(line),
        text_(line.text),
        endsWithBlank_(endsWithBlank),
        isBraced_(text_.starts_with(L'{')) {}

  FieldHelp Read() {
    if (text_.empty()) return FirstField();
    if (!isBraced_ && text_.find_first_of(L"{}") != npos) return Refused(line_);
    const std::size_t separator = text_.find_last_of(L",[{");
    base_ = separator == npos ? 0 : separator + 1;
    const std::wstring_view value = text_.substr(base_);
    const bool isClosed = value.find_first_of(isBraced_ ? L"]}" : L"]") != npos;
    return isClosed ? Behind() : AtValue();
  }

 private:
  FieldHelp FirstField() {
    FieldHelp help = HelpFor(0);
    help.opens.assign(fields_[0].depth, L'{');
    if (fields_[0].IsArray()) help.opens += L'[';
    help.bracesOptional = true;
    AddChoices(help, fields_[0]);
    return help;
  }

  // What `probe` does when the braces that are open are closed with one.
  FillTrace Try(const TypedText& probe) {
    tree_.ResetBody();
    return TraceFill(tree_, QCString(probe.text));
  }
  std::wstring Closing() const { return isBraced_ ? L"}" : L""; }

  FieldHelp Refused(const TypedText& probe) {
    tree_.ResetBody();
    FieldHelp help;
    help.state = HelpState::kRefused;
    help.isTaken = false;
    help.refusal = FindRefusal(tree_, shape_, probe);
    if (!help.refusal) help.refusal = Refusal{RefusalKind::kOther, line_.ColumnAt(base_), {}, {}};
    help.field = help.refusal->field;
    return help;
  }

  // Behind a value that its bracket or brace has ended: what would come behind a comma?
  FieldHelp Behind() {
    const TypedText probe = With(line_, L"," + Closing());
    const FillTrace trace = Try(probe);
    const std::size_t next = text_.size() + 1;
    const auto reached = static_cast<std::size_t>(
        std::count_if(trace.steps.begin(), trace.steps.end(),
                      [next](const FillStep& step) { return step.position < next; }));
    if (trace.failedStep && *trace.failedStep < reached) return Refused(probe);
    FieldHelp help;
    help.state = HelpState::kBehind;
    help.from = line_.columns.back();
    if (reached == trace.steps.size()) {  // all fields have their values
      help.follows.assign(OpenBraces(), L'}');
      if (help.follows.empty()) help.state = HelpState::kComplete;
      return help;
    }
    help.field = reached;
    help.fieldsLeft = fields_.size() - reached;
    help.follows = FollowsClosed(trace.steps[reached], fields_[reached], reached);
    return help;
  }

  // Braces that the line has open; a line that closed too many has none.
  std::size_t OpenBraces() const {
    if (!isBraced_) return 0;
    const auto opened = std::count(text_.begin(), text_.end(), L'{');
    const auto closed = std::count(text_.begin(), text_.end(), L'}');
    return opened > closed ? static_cast<std::size_t>(opened - closed) : 0;
  }

  // `step` is that of the next field behind a comma: the depth that the parser has there decides.
  std::wstring FollowsClosed(const FillStep& step, const ParameterField& next,
                             std::size_t index) const {
    std::wstring follows;
    if (!isBraced_ || step.depth == SvcKivClass::ParamLineParser::kAllOnes) {
      follows = L",";
    } else {
      const std::uint32_t shared = index == 0 ? 0 : next.sharedDepth;
      const auto surplus = static_cast<std::int32_t>(step.depth - shared);
      const std::uint32_t closings = surplus > 0 ? static_cast<std::uint32_t>(surplus) : 0;
      follows.append(closings, L'}') += L',';
      follows.append(next.depth - (step.depth - closings), L'{');
    }
    if (next.IsArray()) follows += L'[';
    return follows;
  }

  // Before the cursor stands a value, or the beginning of one, or nothing.
  FieldHelp AtValue() {
    const std::wstring_view base = text_.substr(0, base_);
    const std::size_t opening = base.rfind(L'[');
    const std::size_t closing = base.rfind(L']');
    inArray_ = opening != npos && (closing == npos || closing < opening);
    value_ = text_.substr(base_);
    value_.remove_prefix(std::min(value_.find_first_not_of(L' '), value_.size()));

    std::optional<std::size_t> current;
    std::wstring opens;
    if (base_ == 0) {
      current = 0;
      if (fields_[0].IsArray()) opens = L"[";
    } else {
      const TypedText probe = With(line_.Part(0, base_), (inArray_ ? L"]" : L"") + Closing());
      const FillTrace trace = Try(probe);
      current = CurrentField(trace);
      const bool failed = trace.failedStep && (!current || *trace.failedStep <= *current);
      if (failed && !Opens(trace, current, opens)) return Refused(probe);
      if (current && fields_[*current].IsArray() && !inArray_) opens += L'[';
    }
    return current ? ValueHelp(*current, std::move(opens)) : Surplus();
  }

  // The field whose value begins where the base ends, or in whose brackets the base ends.
  std::optional<std::size_t> CurrentField(const FillTrace& trace) const {
    // Behind an array that is closed for the try the parser stands at the base, too.
    const std::size_t most = inArray_ ? text_.rfind(L'[', base_) : base_;
    std::optional<std::size_t> last;
    for (std::size_t i = 0; i < trace.steps.size() && trace.steps[i].position <= most; ++i) {
      last = i;
    }
    if (!last) return last;
    const std::size_t position = trace.steps[*last].position;
    const bool isHere = inArray_ ? fields_[*last].IsArray() && text_.find(L']', position) == npos
                                 : position == base_;
    return isHere ? last : std::nullopt;
  }

  // Whether the failure is only that brackets or braces are still to come; which ones.
  bool Opens(const FillTrace& trace, const std::optional<std::size_t>& current,
             std::wstring& opens) const {
    if (!current || *trace.failedStep != *current || inArray_) return false;
    const ParameterField& field = fields_[*current];
    if (!trace.depthDiffered) return field.IsArray();
    const auto missing = static_cast<std::int32_t>(field.depth - trace.steps[*current].depth);
    if (missing < 0) return false;
    opens.assign(static_cast<std::size_t>(missing), L'{');
    return true;
  }

  // Every field has its value already: the parser does not look at what comes.
  FieldHelp Surplus() const {
    FieldHelp help;
    help.state = HelpState::kComplete;
    help.from = line_.columns.back();
    return help;
  }

  FieldHelp ValueHelp(std::size_t index, std::wstring opens) {
    FieldHelp help = HelpFor(index);
    const ParameterField& field = fields_[index];
    help.opens = std::move(opens);
    help.typed = value_;
    if (!value_.empty()) help.from = line_.ColumnAt(text_.size() - value_.size());
    help.isTaken = help.opens.empty() && IsNumber(value_);
    if (value_.empty()) {
      AddChoices(help, field);
      return help;
    }
    const bool mayGrow = !endsWithBlank_ && help.opens.empty();
    if (mayGrow || help.isTaken) {
      if (mayGrow) AddChoices(help, field);
      const bool isName = !help.candidates.empty();
      if (help.isTaken || isName || (mayGrow && MayBecomeNumber(value_))) return help;
    }
    if (AddFileTags(help, field)) return help;
    return Refused(With(line_, (inArray_ ? L"]" : L"") + Closing()));
  }

  FieldHelp HelpFor(std::size_t index) const {
    FieldHelp help;
    help.state = HelpState::kField;
    help.field = index;
    help.fieldsLeft = fields_.size() - 1 - index;
    help.from = line_.columns.back();
    const std::uint32_t count = fields_[index].count;
    if (inArray_) {
      const std::size_t opening = text_.rfind(L'[', base_);
      const std::wstring_view before = text_.substr(opening, base_ - opening);
      help.element = static_cast<std::uint32_t>(std::count(before.begin(), before.end(), L','));
      help.elementsLeft = count - 1 - *help.element;
    } else if (count != 0) {
      help.elementsLeft = count - 1;
    }
    SetFollows(help, index);
    return help;
  }

  void SetFollows(FieldHelp& help, std::size_t index) const {
    const bool isBraced = isBraced_ || text_.empty();
    std::wstring behind = fields_[index].IsArray() ? L"]" : L"";
    if (index + 1 < fields_.size()) {
      const ParameterField& next = fields_[index + 1];
      if (isBraced) behind.append(ClosingsBetween(fields_[index], next), L'}');
      behind += L',';
      if (isBraced) behind.append(OpeningsBetween(fields_[index], next), L'{');
      if (next.IsArray()) behind += L'[';
    } else if (isBraced) {
      behind.append(fields_[index].depth, L'}');
    }
    const bool hasMore = help.elementsLeft != 0;
    help.follows = hasMore ? L"," : behind;
    if (hasMore) help.closes = behind;
  }

  void AddChoices(FieldHelp& help, const ParameterField& field) const {
    if (field.choices == nullptr) return;
    for (const Choice& choice : *field.choices) {
      if (choice.typed.empty()) continue;
      if (!choice.typed.starts_with(value_) && !BeginsFolded(choice.name, value_)) continue;
      help.candidates.push_back(
          {choice.typed, choice.text.empty() ? choice.name : choice.name + L": " + choice.text});
    }
  }

  // The beginning of a reference to a file.
  bool AddFileTags(FieldHelp& help, const ParameterField& field) const {
    if (inArray_ || endsWithBlank_) return false;
    if (kTextFileTag.starts_with(value_)) {
      help.candidates.push_back(
          {std::wstring(kTextFileTag), L"a text file's content, up to \")\""});
    }
    if (field.IsArray() && kBinaryFileTag.starts_with(value_)) {
      help.candidates.push_back(
          {std::wstring(kBinaryFileTag), L"a binary file as the array, up to \")\""});
    }
    return !help.candidates.empty();
  }

  CParamNode& tree_;
  const ParameterShape& shape_;
  const std::vector<ParameterField>& fields_;
  const TypedText& line_;  // as the parser would have it
  const std::wstring_view text_;
  const bool endsWithBlank_;
  const bool isBraced_;
  std::size_t base_ = 0;  // behind the last separator: where the value begins
  bool inArray_ = false;  // between an array's brackets
  std::wstring_view value_ = {};
};

FieldHelp FilePath(const TypedText& text, std::size_t pathAt) {
  FieldHelp help;
  help.sendsNow = false;
  const bool isOpen = text.text.find(L')', pathAt) == npos;
  help.state = isOpen ? HelpState::kFilePath : HelpState::kFromFile;
  help.from = isOpen ? text.ColumnAt(pathAt) : text.columns.back();
  if (isOpen) help.typed = text.text.substr(pathAt);
  return help;
}

// The first array of the line takes a binary file, wherever its reference stands behind it; the
// parser stays on the reference, so that only arrays may come after.
FieldHelp BinaryFilePath(CParamNode& tree, const ParameterShape& shape, const TypedText& text,
                         std::size_t tag) {
  const std::vector<ParameterField>& fields = shape.Fields();
  const TypedText before = text.Part(0, tag);
  FieldHelp place = PlaceReader(tree, shape, before, false).Read();
  const bool isPlace = place.state == HelpState::kField && place.typed.empty() && place.field;
  place.sendsNow = false;
  if (place.state == HelpState::kRefused) return place;
  if (isPlace && fields[*place.field].IsArray() && !place.element) {
    const bool isBraced = before.text.starts_with(L'{');
    const auto first = std::find_if(fields.begin(), fields.end(),
                                    [](const ParameterField& field) { return field.IsArray(); });
    const bool onlyArrays = std::all_of(first, fields.end(), [&](const ParameterField& field) {
      return field.IsArray() && (!isBraced || field.depth == first->depth);
    });
    const bool hasBraces = place.opens == L"[" || place.bracesOptional;
    if (onlyArrays && hasBraces) {
      FieldHelp help = FilePath(text, tag + kBinaryFileTag.size());
      help.field = static_cast<std::size_t>(first - fields.begin());
      return help;
    }
  }
  FieldHelp help;
  help.state = HelpState::kRefused;
  help.isTaken = false;
  help.sendsNow = false;
  help.field = place.field;
  Refusal refusal{RefusalKind::kNotANumber, text.ColumnAt(tag), {}, place.field};
  if (place.field) refusal.path = fields[*place.field].path;
  help.refusal = std::move(refusal);
  return help;
}

void AddOptions(FieldHelp& help, const TypedText& typed, std::size_t tokenAt) {
  help.from = typed.ColumnAt(tokenAt);
  const std::wstring_view token = std::wstring_view(typed.text).substr(tokenAt);
  for (const OptionRow& row : kOptions) {
    if (BeginsFolded(row.typed, token)) help.options.push_back({std::wstring(row.typed), row.note});
  }
}

FieldHelp HelpForParameters(CParamNode& tree, const ParameterShape& shape, const TypedText& typed) {
  if (shape.Fields().empty()) return {};
  const std::size_t at = typed.text.find(L'@');
  if (at != npos) {
    FieldHelp help = FilePath(typed.Part(0), at + 1);
    help.state = HelpState::kFilePath;
    help.from = typed.ColumnAt(at + 1);
    help.typed = typed.text.substr(at + 1);
    return help;
  }
  if (const std::size_t tag = typed.text.rfind(kTextFileTag); tag != npos) {
    return FilePath(typed, tag + kTextFileTag.size());
  }
  const PreparedText prepared = PrepareParameters(typed, false);
  const std::size_t tag = prepared.text.text.find(kBinaryFileTag);
  if (tag != npos) return BinaryFilePath(tree, shape, prepared.text, tag);
  FieldHelp help = PlaceReader(tree, shape, prepared.text, typed.text.ends_with(L' ')).Read();
  tree.ResetBody();
  help.sendsNow =
      prepared.text.text.empty() || TraceFill(tree, QCString(prepared.text.text)).IsAccepted();
  return help;
}

}  // namespace

FieldHelp HelpAt(CParamNode& tree, const ParameterShape& shape, const TypedText& beforeCursor) {
  const TypedRoute route = SplitTypedRoute(beforeCursor);
  if (route.hasOption) {
    FieldHelp help;
    help.state = HelpState::kRoutePath;
    help.from = route.path.ColumnAt(0);
    help.typed = route.path.text;
    return help;
  }
  const OptionToken token = OptionTokenOf(beforeCursor.text);
  FieldHelp whole = HelpForParameters(tree, shape, beforeCursor);
  if (token.at == npos) return whole;
  if (!token.standsAlone) {
    if (whole.sendsNow || token.isSign) AddOptions(whole, beforeCursor, token.at);
    return whole;
  }
  FieldHelp before = HelpForParameters(tree, shape, beforeCursor.Part(0, token.at));
  if (!before.sendsNow) return whole;
  before.typed = beforeCursor.text.substr(token.at);
  before.isTaken = false;
  before.sendsNow = false;
  before.candidates.clear();
  AddOptions(before, beforeCursor, token.at);
  return before;
}

}  // namespace hostbench
