// The console's table of settings against the module's: the same attributes of the same forms, each
// with a row in docs/console.md. The part of that page between the two markers is made from the
// table: KIV_UPDATE_DOCS=1 in the environment writes it anew.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "hosts/terminal/setting_table.h"
#include "hosts/terminal/setting_value.h"
#include "settings/setting_rows.h"
#include "tests/settings/generated_part.h"
#include "tests/support/tree_paths.h"

namespace {

using SvcKivClass::SettingForm;
using SvcKivClass::SettingUse;

constexpr char kBegin[] = "<!-- settings: begin, written by tests/settings -->\n";
constexpr char kEnd[] = "<!-- settings: end -->\n";

std::wstring NameOf(const wchar_t* element, const wchar_t* attribute) {
  return std::wstring(element) + L"." + attribute;
}

std::map<std::wstring, const SvcKivClass::SettingRow*> ModuleRows() {
  std::map<std::wstring, const SvcKivClass::SettingRow*> rows;
  for (const auto group : SvcKivClass::AllSettingRows()) {
    for (const SvcKivClass::SettingRow& row : group) {
      if (row.use != SettingUse::kWrittenOnly) rows[NameOf(row.element, row.attribute)] = &row;
    }
  }
  return rows;
}

std::map<std::wstring, const kiv::SettingRow*> ConsoleRows() {
  std::map<std::wstring, const kiv::SettingRow*> rows;
  for (const kiv::SettingGroup& group : kiv::SettingGroups()) {
    for (const kiv::SettingRow& row : group.rows) {
      EXPECT_TRUE(rows.emplace(NameOf(row.element, row.attribute), &row).second);
    }
  }
  return rows;
}

TEST(SettingTable, HasARowForEachAttributeOfTheDocumentAndNoOther) {
  const auto module = ModuleRows();
  const auto console = ConsoleRows();
  for (const auto& [name, row] : module) {
    EXPECT_TRUE(console.contains(name)) << QCString(name).ToUtf8();
  }
  for (const auto& [name, row] : console) {
    EXPECT_EQ(module.contains(name), std::wstring(row->element) != kiv::kOwnElement)
        << QCString(name).ToUtf8();
  }
  EXPECT_EQ(module.size(), 51u);
}

// Both ends of what may be typed come back from the module as they were written.
TEST(SettingTable, AllowsWhatTheModuleKeeps) {
  SvcKivClass::LiveSwitches switches;
  SvcKivClass::SettingsMemory memory{switches};
  const auto console = ConsoleRows();
  for (const auto& [name, row] : ModuleRows()) {
    const kiv::SettingRow& own = *console.at(name);
    if (row->field.form == SettingForm::kPath) continue;
    if (own.kind == kiv::SettingKind::kText) {
      EXPECT_EQ(own.most, static_cast<std::int64_t>(row->field.limitChars));
    }
    const bool isText = own.kind == kiv::SettingKind::kText ||
                        own.kind == kiv::SettingKind::kCharacter ||
                        own.kind == kiv::SettingKind::kKeyName;
    const auto most = static_cast<std::size_t>(own.most);
    const std::wstring last = !isText ? std::to_wstring(own.most)
                              : own.kind == kiv::SettingKind::kKeyName
                                  ? L"CTRL+F2"
                                  : std::wstring(most, L'\u2603');
    for (const std::wstring& text : {isText ? std::wstring() : std::to_wstring(own.least), last}) {
      row->field.take(memory, text);
      EXPECT_EQ(row->field.text(memory).str(), text) << QCString(name).ToUtf8();
    }
  }
}

std::string PagePath() { return std::string(kivtest::SourceDir()) + "/docs/console.md"; }

std::string Code(const std::wstring& text) { return "`" + QCString(text).ToUtf8() + "`"; }

std::string Table() {
  std::string text = "\n| Setting | Element | Takes | Here |\n|---|---|---|---|\n";
  for (const kiv::SettingGroup& group : kiv::SettingGroups()) {
    for (const kiv::SettingRow& row : group.rows) {
      const std::string effect = row.effect;
      text += "| " + Code(kiv::SettingName(row)) + " | " + Code(row.element) + " | " +
              kiv::AllowedText(row) + " | " + (effect.empty() ? "desktop only" : effect) + " |\n";
    }
  }
  return text + "\n";
}

TEST(SettingTable, HasARowInThePageOfTheConsole) {
  ExpectGeneratedPart(PagePath(), kBegin, kEnd, Table());
}

}  // namespace
