// What a place takes, in one line for people.
#include <algorithm>

#include "hosts/bench/field_help.h"

namespace hostbench {
namespace {

// More names than this would not fit on a row: they are listed as candidates.
constexpr std::size_t kMaxNamesShown = 8;

std::wstring Quoted(const std::wstring& text) { return L"\"" + text + L"\""; }

std::wstring Counted(std::size_t count, const wchar_t* thing) {
  return std::to_wstring(count) + L" " + thing + (count == 1 ? L"" : L"s");
}

std::wstring NamesOf(const std::vector<Choice>& choices) {
  std::wstring names;
  for (std::size_t i = 0; i < choices.size() && i < kMaxNamesShown; ++i) {
    names += (i == 0 ? L"" : L", ") + choices[i].typed + L" " + choices[i].name;
  }
  return choices.size() > kMaxNamesShown ? names + L", ..." : names;
}

std::wstring DefaultOf(const FieldHelp& help, const ParameterShape& shape,
                       const ParameterField& field) {
  if (!field.IsArray() || help.element) {
    const std::wstring number = shape.DefaultOf(field, help.element.value_or(0));
    return L", default " + WithChoiceName(field, number);
  }
  return L", default " + DefaultsText(shape, field);
}

// "table[2]: u16, default 7, 0 to 65535"
std::wstring FieldText(const FieldHelp& help, const ParameterShape& shape) {
  const ParameterField& field = shape.Fields()[*help.field];
  std::wstring text = field.path;
  if (help.element) text += L"[" + std::to_wstring(*help.element) + L"]";
  text += L": " + field.type;
  if (field.IsArray() && !help.element) text += L"[" + std::to_wstring(field.count) + L"]";
  text += DefaultOf(help, shape, field);
  const TypedRange range = RangeOf(field);
  text += field.choices != nullptr && !field.choices->empty()
              ? L", " + NamesOf(*field.choices)
              : L", " + range.lowest + L" to " + range.highest;
  if (!field.text.empty()) text += L" (" + field.text + L")";
  return text;
}

std::wstring RefusedText(const FieldHelp& help) {
  if (!help.refusal) return L"refused";
  const std::wstring text = RefusalText(help.refusal->kind);
  return help.refusal->path.empty() ? text : help.refusal->path + L": " + text;
}

std::wstring ValueText(const FieldHelp& help, const ParameterShape& shape) {
  std::wstring text = FieldText(help, shape);
  if (!help.opens.empty()) {
    text += L"; begins with " + Quoted(help.opens);
    if (help.bracesOptional && shape.Fields()[*help.field].IsArray()) {
      text += L", or " + Quoted(L"[");
    } else if (help.bracesOptional) {
      text += L", or without";
    }
  }
  if (!help.follows.empty()) text += L"; then " + Quoted(help.follows);
  if (!help.closes.empty()) text += L" or " + Quoted(help.closes);
  if (help.elementsLeft != 0) text += L", " + Counted(help.elementsLeft, L"more element");
  if (help.fieldsLeft != 0) text += L", " + Counted(help.fieldsLeft, L"more field");
  return text;
}

std::wstring BehindText(const FieldHelp& help, const ParameterShape& shape) {
  const std::wstring text = L"then " + Quoted(help.follows);
  return help.field ? text + L" and " + FieldText(help, shape) : text;
}

std::wstring PathText(const FieldHelp& help, const ParameterShape& shape) {
  if (!help.field) return L"path of a file";
  return L"path of a file with the bytes of " + shape.Fields()[*help.field].path;
}

}  // namespace

std::wstring WithChoiceName(const ParameterField& field, const std::wstring& number) {
  if (field.choices == nullptr) return number;
  const auto named = std::find_if(field.choices->begin(), field.choices->end(),
                                  [&](const Choice& each) { return each.typed == number; });
  return named == field.choices->end() ? number : number + L" (" + named->name + L")";
}

std::wstring DefaultsText(const ParameterShape& shape, const ParameterField& field) {
  if (field.isChar) return Quoted(shape.DefaultText(field));
  std::vector<std::wstring> values;
  for (std::uint32_t i = 0; i < std::max(field.count, 1u); ++i) {
    values.push_back(WithChoiceName(field, shape.DefaultOf(field, i)));
  }
  const bool areEqual = std::all_of(values.begin(), values.end(),
                                    [&](const std::wstring& each) { return each == values[0]; });
  if (areEqual) return values.size() == 1 ? values[0] : L"all " + values[0];
  std::wstring text;
  for (std::size_t i = 0; i < values.size(); ++i) text += (i == 0 ? L"" : L", ") + values[i];
  return text;
}

std::wstring HelpText(const FieldHelp& help, const ParameterShape& shape) {
  switch (help.state) {
    case HelpState::kNoParameters:
      return L"takes no parameters";
    case HelpState::kText:
      return L"takes its text as it is typed";
    case HelpState::kField:
      return ValueText(help, shape);
    case HelpState::kBehind:
      return BehindText(help, shape);
    case HelpState::kComplete:
      return L"every field has its value";
    case HelpState::kFilePath:
      return PathText(help, shape);
    case HelpState::kFromFile:
      return L"the file decides what comes next";
    case HelpState::kRoutePath:
      return L"where it is sent: hops as 00:11:22:33:44:55->..., or a number behind \"-d \"";
    case HelpState::kRefused:
      break;
  }
  return RefusedText(help);
}

}  // namespace hostbench
