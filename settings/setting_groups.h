// Reading and writing a group of settings: its rows, in their order.
//
// Threads: the facade's. Errors: a read that finds nothing leaves the value as it was, a write that
// fails leaves the document as it was.
#pragma once

#include <span>

#include "platform/xml/xml_config.h"
#include "settings/setting_rows.h"
#include "settings/settings_place.h"

namespace SvcKivClass {

void ReadSettingRows(const CXmlConfig& document, const SettingsPlace& place,
                     std::span<const SettingRow> rows, SettingsMemory& memory);
void WriteSettingRows(CXmlConfig& document, const SettingsPlace& place,
                      std::span<const SettingRow> rows, SettingsMemory& memory);

// Adds each value that the document lacks here and a starting document has; true when there was
// one. What is never written comes only together with its element.
bool AddMissingSettings(CXmlConfig& document, const SettingsPlace& place);

}  // namespace SvcKivClass
