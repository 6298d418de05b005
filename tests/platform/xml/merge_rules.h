// Rules of a settings document for the tests of this folder: sessions and instances by their ID, a
// history that grows, favourites taken as a whole.
//
// Threads: any. Owns or borrows: nothing. Errors: none.
#ifndef TESTS_PLATFORM_XML_MERGE_RULES_H_
#define TESTS_PLATFORM_XML_MERGE_RULES_H_

#include <vector>

#include "platform/xml/xml_config.h"

namespace kivtest {

inline std::vector<xml_config::MergeRule> SettingsMergeRules() {
  using xml_config::MergeKind;
  return {
      {L"SourceData", MergeKind::kByAttribute, L"ID"},
      {L"SourceData.SESSION", MergeKind::kByAttribute, L"ID"},
      {L"SourceData.SESSION.INSTANCE.DEFAULT.HISTORY_CMD", MergeKind::kAppended, nullptr},
      {L"SourceData.SESSION.INSTANCE.DEFAULT.FAVORATE_CMD", MergeKind::kWhole, nullptr},
  };
}

}  // namespace kivtest

#endif  // TESTS_PLATFORM_XML_MERGE_RULES_H_
