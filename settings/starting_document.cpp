#include "settings/starting_document.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "settings/command_lists.h"
#include "settings/setting_rows.h"
#include "settings/settings_place.h"

namespace SvcKivClass {
namespace {

// An element of the text that is being put together. The initial values hold nothing that XML
// would take for markup inside an attribute.
struct Element {
  std::wstring tag;
  std::wstring attributes = {};
  std::vector<Element> children = {};

  Element& Child(std::wstring_view childTag) {
    const auto found = std::find_if(children.begin(), children.end(),
                                    [&](const Element& child) { return child.tag == childTag; });
    return found != children.end() ? *found
                                   : children.emplace_back(Element{std::wstring(childTag)});
  }
  // The element at a tag path below this one.
  Element& At(std::wstring_view tagPath) {
    const std::size_t dot = tagPath.find(L'.');
    Element& child = Child(tagPath.substr(0, dot));
    return dot == std::wstring_view::npos ? child : child.At(tagPath.substr(dot + 1));
  }
  void Set(std::wstring_view attribute, std::wstring_view value) {
    attributes.append(L" ").append(attribute).append(L"=\"").append(value).append(L"\"");
  }
  void AppendTo(std::wstring& text, std::size_t depth) const;
};

void Element::AppendTo(std::wstring& text, std::size_t depth) const {
  const std::wstring indent(depth, L'\t');
  text += indent + L"<" + tag + attributes;
  if (children.empty()) {
    text += L" />\n";
    return;
  }
  text += L">\n";
  for (const Element& child : children) child.AppendTo(text, depth + 1);
  text += indent + L"</" + tag + L">\n";
}

}  // namespace

QCString StartingDocument() {
  Element root{kRootTag};
  Element& session = root.Child(kSessionTag);
  session.Set(kIdAttribute, L"1");
  Element& instance = session.Child(kInstanceTag);
  instance.Set(kIdAttribute, L"1");
  Element& settings = instance.Child(kDefaultTag);
  for (const auto rows : AllSettingRows()) {
    for (const SettingRow& row : rows) {
      if (row.initial != nullptr) settings.At(row.element).Set(row.attribute, row.initial);
    }
  }
  for (const ListTags& list : {kHistoryTags, kFavouriteTags, kShortcutTags, kIndTags}) {
    settings.Child(list.container);
  }
  std::wstring text = L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  root.AppendTo(text, 0);
  return QCString(std::move(text));
}

std::vector<xml_config::MergeRule> SettingsMergeRules() {
  using enum xml_config::MergeKind;
  return {
      {kRootTag, kByAttribute, kIdAttribute},
      {kSessionTagPath, kByAttribute, kIdAttribute},
      {L"SourceData.SESSION.INSTANCE.DEFAULT.HISTORY_CMD", kAppended, nullptr},
      {L"SourceData.SESSION.INSTANCE.DEFAULT.FAVORATE_CMD", kWhole, nullptr},
      {L"SourceData.SESSION.INSTANCE.DEFAULT.SHORTCUTKEY_CMD", kWhole, nullptr},
      {L"SourceData.SESSION.INSTANCE.DEFAULT.SUPPORT_IND", kWhole, nullptr},
  };
}

// What a document is completed with is nobody's choice either.
std::vector<xml_config::UnsetValue> UnsetSettingValues() {
  std::vector<xml_config::UnsetValue> values = {
      {nullptr, L""}, {nullptr, L"0"}, {L"AUTO_INTELLISENSE", L"1"}};
  for (const auto rows : AllSettingRows()) {
    for (const SettingRow& row : rows) {
      if (row.initial != nullptr) values.push_back({row.attribute, row.initial});
    }
  }
  return values;
}

}  // namespace SvcKivClass
