#include "settings/settings_export.h"

#include <limits>

#include "platform/base/result_codes.h"

namespace SvcKivClass {
namespace {

constexpr wchar_t kTargetSession[] = L"0.0";
constexpr wchar_t kTargetInstance[] = L"0.0.0";
constexpr wchar_t kTargetSettings[] = L"0.0.0.0";
constexpr std::uint32_t kAllEntries = std::numeric_limits<std::uint32_t>::max();

std::uint32_t AddNumbered(CXmlConfig& target, const wchar_t* tag, const wchar_t* parentTagPath,
                          const wchar_t* parentPath, const wchar_t* path, std::uint32_t id) {
  const std::uint32_t status =
      target.AddConfigNode(tag, parentTagPath, parentPath, kParentMustExist);
  if (status != result::kOk) return status;
  return target.WriteAttrValue(IdText(id), kIdAttribute, QCString(parentTagPath) + L"." + tag,
                               path);
}

std::uint32_t AddSkeleton(CXmlConfig& target, std::uint32_t sessionId, std::uint32_t instanceId) {
  std::uint32_t status =
      AddNumbered(target, kSessionTag, kRootTag, kRootPath, kTargetSession, sessionId);
  if (status == result::kOk) {
    status = AddNumbered(target, kInstanceTag, kSessionTagPath, kTargetSession, kTargetInstance,
                         instanceId);
  }
  if (status != result::kOk) return status;
  return target.AddConfigNode(kDefaultTag, kInstanceTagPath, kTargetInstance, kParentMustExist);
}

std::uint32_t AddGroup(const SettingsSide& to, const wchar_t* tag) {
  return to.document.AddConfigNode(tag, to.place.DefaultElement(), to.place.instancePath,
                                   kParentMustExist);
}

std::uint32_t ExportKeyboard(const SettingsSide& from, const SettingsSide& to) {
  std::uint32_t status = AddGroup(to, kKeyboardElement);
  for (const KeyBindingRow& row : kKeyBindings) {
    if (status != result::kOk) return status;
    status = to.document.AddConfigNode(row.tag, to.place.Element(kKeyboardElement),
                                       to.place.GroupPath(), kParentMustExist);
    CopiedText name;
    CopiedText value;
    if (status == result::kOk) status = CopyBinding(from, to, row, name, value);
  }
  return status;
}

std::uint32_t ExportList(const SettingsSide& from, const SettingsSide& to, const ListTags& tags) {
  const std::uint32_t status = AddGroup(to, tags.container);
  if (status != result::kOk) return status;
  QCList<SvcKivSpace::KivCommandRecord> copied;
  return CopyEntries(from, to, tags, kAllEntries, 0, copied);
}

}  // namespace

std::uint32_t ExportSettings(const SettingsSide& from, std::uint32_t sessionId,
                             std::uint32_t instanceId, const TransferGroups& groups,
                             CXmlConfig& target) {
  const SettingsSide to = {target, {kSettingsPrefix, kTargetSettings}};
  std::uint32_t status = AddSkeleton(target, sessionId, instanceId);
  if (status == result::kOk && groups.keyboard) status = ExportKeyboard(from, to);
  if (status == result::kOk && groups.favourites) status = ExportList(from, to, kFavouriteTags);
  if (status == result::kOk && groups.shortcuts) status = ExportList(from, to, kShortcutTags);
  if (status != result::kOk) return status;
  return target.Save(kSaveFlag) == result::kOk ? result::kOk : result::kSaveFailed;
}

}  // namespace SvcKivClass
