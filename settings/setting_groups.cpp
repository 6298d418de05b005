#include "settings/setting_groups.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "platform/base/result_codes.h"

namespace SvcKivClass {
namespace {

bool IsRead(SettingUse use) { return use != SettingUse::kWrittenOnly; }

bool IsWritten(SettingUse use) {
  return use == SettingUse::kReadAndWritten || use == SettingUse::kWrittenOnly;
}

// A value may have its place in the order of writing in a row of its own.
bool IsNeverWritten(std::span<const SettingRow> rows, const SettingRow& row) {
  return std::none_of(rows.begin(), rows.end(), [&row](const SettingRow& other) {
    return IsWritten(other.use) && std::wstring_view(other.element) == row.element &&
           std::wstring_view(other.attribute) == row.attribute;
  });
}

// What a user may have left out on purpose: consoles read something of their own into that.
bool IsLeftOut(const CXmlConfig& document, const SettingsPlace& place,
               std::span<const SettingRow> rows, const SettingRow& row) {
  return IsNeverWritten(rows, row) &&
         document.GetNode(place.Element(row.element), place.GroupPath()) == result::kOk;
}

std::vector<const SettingRow*> MissingRows(const CXmlConfig& document, const SettingsPlace& place) {
  std::vector<const SettingRow*> missing;
  for (const auto rows : AllSettingRows()) {
    for (const SettingRow& row : rows) {
      QCString ignored;
      if (row.initial != nullptr && !IsLeftOut(document, place, rows, row) &&
          document.ReadAttrValue(ignored, row.attribute, place.Element(row.element),
                                 place.GroupPath()) != result::kOk) {
        missing.push_back(&row);
      }
    }
  }
  return missing;
}

}  // namespace

bool AddMissingSettings(CXmlConfig& document, const SettingsPlace& place) {
  const std::vector<const SettingRow*> missing = MissingRows(document, place);
  for (const SettingRow* row : missing) {
    WriteAddingNode(document, row->initial, row->attribute, place.Element(row->element),
                    place.GroupPath());
  }
  return !missing.empty();
}

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
