// The table of settings: each attribute once, sound initial values, key codes that are Qt's.
#include <gtest/gtest.h>

#include <QtCore/qnamespace.h>

#include <map>
#include <set>
#include <string>

#include "settings/setting_rows.h"

namespace {

using SvcKivClass::AllSettingRows;
using SvcKivClass::SettingRow;
using SvcKivClass::SettingUse;

std::wstring NameOf(const SettingRow& row) {
  return std::wstring(row.element) + L" " + row.attribute;
}

template <typename Look>
void ForEachRow(const Look& look) {
  for (const auto rows : AllSettingRows()) {
    for (const SettingRow& row : rows) look(row);
  }
}

TEST(SettingRows, EachAttributeIsReadAtOnePlaceAndWrittenAtOneAtMost) {
  std::map<std::wstring, int> reads;
  std::map<std::wstring, int> writes;
  ForEachRow([&](const SettingRow& row) {
    if (row.use != SettingUse::kWrittenOnly) ++reads[NameOf(row)];
    if (row.use == SettingUse::kReadAndWritten || row.use == SettingUse::kWrittenOnly) {
      ++writes[NameOf(row)];
    }
  });
  for (const auto& [name, count] : reads) EXPECT_EQ(count, 1) << QCString(name).ToUtf8();
  for (const auto& [name, count] : writes) EXPECT_EQ(count, 1) << QCString(name).ToUtf8();
  EXPECT_EQ(reads.size(), 22u + 9u + 1u + 1u + 4u + 14u);
  EXPECT_EQ(writes.size(), reads.size() - 4u);
}

TEST(SettingRows, FourAttributesAreChangedByEditingTheFileOnly) {
  std::set<std::wstring> read;
  std::set<std::wstring> written;
  ForEachRow([&](const SettingRow& row) {
    (row.use == SettingUse::kReadOnly || row.use == SettingUse::kReadUnchecked ? read : written)
        .insert(NameOf(row));
  });
  for (const std::wstring& name : written) read.erase(name);
  EXPECT_EQ(read,
            (std::set<std::wstring>{L"PLUGIN NAME", L"POPULAR ACK_ARRAY_SHOW_ONELINE",
                                    L"POPULAR ACK_SHOW_TYPE", L"POPULAR NV_LOAD_FILE_MAX_SIZE"}));
}

TEST(SettingRows, InitialValuesComeBackAsTheyStand) {
  SvcKivClass::LiveSwitches switches;
  ForEachRow([&](const SettingRow& row) {
    if (row.initial == nullptr || row.field.form == SvcKivClass::SettingForm::kPath) return;
    SvcKivClass::SettingsMemory memory{switches};
    row.field.take(memory, row.initial);
    EXPECT_EQ(row.field.text(memory), row.initial) << QCString(NameOf(row)).ToUtf8();
  });
}

TEST(SettingRows, InitialKeysAreQtsCodes) {
  std::map<std::wstring, std::wstring> initial;
  ForEachRow([&](const SettingRow& row) {
    if (row.initial != nullptr) initial[NameOf(row)] = row.initial;
  });
  const auto expect = [&](const std::wstring& key, const wchar_t* name, int code) {
    EXPECT_EQ(initial[L"KEYBOARD." + key + L" NAME"], name);
    EXPECT_EQ(initial[L"KEYBOARD." + key + L" VALUE"], std::to_wstring(code));
  };
  expect(L"REPEAT_CMD", L"F3", Qt::Key_F3);
  expect(L"SEND_CMD", L"ENTER", Qt::Key_Return);
  expect(L"LIST_HISTORY_CMD", L"F2", Qt::Key_F2);
  expect(L"LIST_RECENT_CMD", L"CTRL+R", static_cast<int>(Qt::CTRL) | Qt::Key_R);
  expect(L"CANCEL", L"ESC", Qt::Key_Escape);
}

}  // namespace
