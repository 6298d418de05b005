// The shape of a settings document for the tests of this folder: what it begins with, and how it is
// merged (sessions and instances by their ID, a history that grows, favourites taken as a whole).
//
// Threads: any. Owns or borrows: nothing. Errors: none.
#ifndef TESTS_PLATFORM_XML_SETTINGS_SHAPE_H_
#define TESTS_PLATFORM_XML_SETTINGS_SHAPE_H_

#include <vector>

#include "platform/xml/xml_config.h"

namespace kivtest {

inline QCString StartingSettings() {
  return LR"(<SourceData>
  <!-- as a console begins -->
  <SESSION ID="1">
    <INSTANCE ID="1">
      <DEFAULT>
        <COLOR>
          <GENERAL TEXT="0" BACKGROUND="16777215" />
          <HILITE_LINE TEXT="192" />
        </COLOR>
        <POPULAR TITLE="" PROMPT="&gt;" FONT_NAME="Monospace" FONT_SIZE="10" />
        <KEYBOARD SPEC_KEY="0">
          <SEND_CMD NAME="ENTER" VALUE="16777220" />
        </KEYBOARD>
        <HISTORY_CMD />
        <FAVORATE_CMD />
      </DEFAULT>
    </INSTANCE>
  </SESSION>
</SourceData>
)";
}

inline std::vector<xml_config::MergeRule> SettingsMergeRules() {
  using xml_config::MergeKind;
  return {
      {L"SourceData", MergeKind::kByAttribute, L"ID"},
      {L"SourceData.SESSION", MergeKind::kByAttribute, L"ID"},
      {L"SourceData.SESSION.INSTANCE.DEFAULT.HISTORY_CMD", MergeKind::kAppended, nullptr},
      {L"SourceData.SESSION.INSTANCE.DEFAULT.FAVORATE_CMD", MergeKind::kWhole, nullptr},
  };
}

// As a console opens its settings.
inline xml_config::Options SettingsOptions() {
  return {.startingText = StartingSettings(), .mergeRules = SettingsMergeRules()};
}

}  // namespace kivtest

#endif  // TESTS_PLATFORM_XML_SETTINGS_SHAPE_H_
