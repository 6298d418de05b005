// docs/settings.md against the tables that the program reads and writes by. The part between the
// two markers is made from them: KIV_UPDATE_DOCS=1 in the environment writes it anew.
#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <string>

#include "settings/command_lists.h"
#include "settings/setting_rows.h"
#include "tests/settings/generated_part.h"
#include "tests/support/tree_paths.h"

namespace {

using SvcKivClass::ListTags;
using SvcKivClass::SettingForm;
using SvcKivClass::SettingRow;
using SvcKivClass::SettingUse;

constexpr char kBegin[] = "<!-- attributes: begin, written by tests/settings -->\n";
constexpr char kEnd[] = "<!-- attributes: end -->\n";

std::string PagePath() { return std::string(kivtest::SourceDir()) + "/docs/settings.md"; }

std::string Code(const wchar_t* text) {
  return text == nullptr || *text == L'\0' ? "" : "`" + QCString(text).ToUtf8() + "`";
}

std::string FormText(const SvcKivClass::SettingField& field) {
  const std::string limit =
      field.limitChars == 0 ? "" : ", at most " + std::to_string(field.limitChars) + " characters";
  switch (field.form) {
    case SettingForm::kInteger:
      return "integer";
    case SettingForm::kUnsigned:
      return "0 to 4294967295";
    case SettingForm::kCharacter:
      return "one character";
    case SettingForm::kText:
      return "text" + limit;
    case SettingForm::kPath:
      return "path" + limit;
  }
  return "";
}

bool IsWritten(const SettingRow& row, std::span<const SettingRow> rows) {
  return std::any_of(rows.begin(), rows.end(), [&row](const SettingRow& other) {
    return std::wstring(other.element) == row.element &&
           std::wstring(other.attribute) == row.attribute &&
           (other.use == SettingUse::kReadAndWritten || other.use == SettingUse::kWrittenOnly);
  });
}

std::string Cells(std::initializer_list<std::string> cells) {
  std::string line = "|";
  for (const std::string& cell : cells) line += " " + cell + (cell.empty() ? "|" : " |");
  return line + "\n";
}

std::string AttributeTable() {
  std::string text = Cells({"Element", "Attribute", "Value", "At first", "Written", "Meaning"}) +
                     "|---|---|---|---|---|---|\n";
  for (const auto rows : SvcKivClass::AllSettingRows()) {
    for (const SettingRow& row : rows) {
      if (row.use == SettingUse::kWrittenOnly) continue;
      text += Cells({Code(row.element), Code(row.attribute), FormText(row.field), Code(row.initial),
                     IsWritten(row, rows) ? "yes" : "never", row.meaning});
    }
  }
  return text;
}

std::string ListTable() {
  struct Row {
    ListTags tags;
    const char* attributes;
    const char* holds;
  };
  const Row rows[] = {
      {SvcKivClass::kHistoryTags, "`NAME`, `PARA`", "typed lines, oldest first"},
      {SvcKivClass::kFavouriteTags, "`NAME`, `PARA`", "favourite commands"},
      {SvcKivClass::kShortcutTags, "`NAME`, `PARA`", "the commands of ten keys, always ten"},
      {SvcKivClass::kIndTags, "`NAME`, `ID`", "indications to show"},
  };
  std::string text =
      Cells({"Container", "Entries", "Attributes", "What it holds"}) + "|---|---|---|---|\n";
  for (const Row& row : rows) {
    text += Cells({Code(row.tags.container), Code(row.tags.entry), row.attributes, row.holds});
  }
  return text;
}

std::string Generated() { return "\n" + AttributeTable() + "\n" + ListTable() + "\n"; }

TEST(SettingsPage, ListsEveryElementAndAttributeOfTheTables) {
  ExpectGeneratedPart(PagePath(), kBegin, kEnd, Generated());
}

}  // namespace
