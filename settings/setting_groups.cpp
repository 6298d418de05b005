#include "settings/setting_groups.h"

#include "platform/base/result_codes.h"

namespace SvcKivClass {
namespace {

bool IsRead(SettingUse use) { return use != SettingUse::kWrittenOnly; }

bool IsWritten(SettingUse use) {
  return use == SettingUse::kReadAndWritten || use == SettingUse::kWrittenOnly;
}

}  // namespace

void ReadSettingRows(const CXmlConfig& document, const SettingsPlace& place,
                     std::span<const SettingRow> rows, SettingsMemory& memory) {
  QCString text;  // one for all rows: those that are read unchecked may take their forerunner's
  for (const SettingRow& row : rows) {
    if (!IsRead(row.use)) continue;
    const std::uint32_t status =
        document.ReadAttrValue(text, row.attribute, place.Element(row.element), place.GroupPath());
    if (status == result::kOk || row.use == SettingUse::kReadUnchecked) {
      row.field.take(memory, text.view());
    }
  }
}

void WriteSettingRows(CXmlConfig& document, const SettingsPlace& place,
                      std::span<const SettingRow> rows, SettingsMemory& memory) {
  for (const SettingRow& row : rows) {
    if (!IsWritten(row.use)) continue;
    WriteAddingNode(document, row.field.text(memory), row.attribute, place.Element(row.element),
                    place.GroupPath());
  }
}

}  // namespace SvcKivClass
