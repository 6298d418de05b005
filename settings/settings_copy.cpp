#include "settings/settings_copy.h"

#include <algorithm>
#include <utility>

#include "platform/base/result_codes.h"
#include "settings/parameter_escape.h"

namespace SvcKivClass {
namespace {

// The same element in both documents, at its place in each.
struct CopyWay {
  const SettingsSide& from;
  QCString fromPath;
  const SettingsSide& to;
  QCString toPath;
  const wchar_t* element;
};

std::uint32_t CopyAttribute(const CopyWay& way, const wchar_t* attribute, CopiedText& copied) {
  QCString text;
  if (way.from.document.ReadAttrValue(text, attribute, way.from.place.Element(way.element),
                                      way.fromPath) != result::kOk) {
    return result::kOk;
  }
  copied = std::move(text);
  return WriteAddingNode(way.to.document, *copied, attribute, way.to.place.Element(way.element),
                         way.toPath);
}

std::uint32_t CopyEntry(const CopyWay& way, const ListTags& tags,
                        SvcKivSpace::KivCommandRecord& record) {
  std::uint32_t status = way.to.document.AddConfigNode(
      kEntryTag, way.to.place.Element(tags.container), way.to.place.GroupPath(), kParentMustExist);
  CopiedText name;
  CopiedText parameters;
  if (status == result::kOk) status = CopyAttribute(way, kNameAttribute, name);
  if (status == result::kOk) status = CopyAttribute(way, kParametersAttribute, parameters);
  record.name = name.value_or(QCString());
  record.parameters = UnescapedParameters(parameters.value_or(QCString()));
  return status;
}

}  // namespace

bool SettingsSide::Has(const wchar_t* tag) const {
  return document.GetNode(place.Element(tag), place.GroupPath()) == result::kOk;
}

std::uint32_t CopyBinding(const SettingsSide& from, const SettingsSide& to,
                          const KeyBindingRow& row, CopiedText& name, CopiedText& value) {
  const CopyWay way = {from, from.place.GroupPath(), to, to.place.GroupPath(), row.element};
  const std::uint32_t status = CopyAttribute(way, kNameAttribute, name);
  return status != result::kOk ? status : CopyAttribute(way, kValueAttribute, value);
}

std::uint32_t CopyEntries(const SettingsSide& from, const SettingsSide& to, const ListTags& tags,
                          std::uint32_t limit, std::size_t firstPosition,
                          QCList<SvcKivSpace::KivCommandRecord>& copied) {
  const std::uint32_t count = std::min(CountEntries(from.document, from.place, tags), limit);
  for (std::uint32_t i = 0; i < count; ++i) {
    const CopyWay way = {from, from.place.EntryPath(i), to, to.place.EntryPath(firstPosition + i),
                         tags.entry};
    const std::uint32_t status = CopyEntry(way, tags, copied.AddTail({}));
    if (status != result::kOk) return status;
  }
  return result::kOk;
}

}  // namespace SvcKivClass
