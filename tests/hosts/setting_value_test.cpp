// Values of settings as they are typed and shown: what is shown gives the same value again.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "hosts/terminal/setting_completion.h"
#include "hosts/terminal/setting_table.h"
#include "hosts/terminal/setting_value.h"
#include "platform/os/utf8.h"
#include "platform/text/shown_text.h"

namespace {

using kiv::ParseSetting;
using kiv::SettingKind;
using kiv::SettingRow;
using kiv::ShownSetting;

const SettingRow& Row(const wchar_t* name) {
  const auto found = kiv::FindSettings(name);
  EXPECT_EQ(found.size(), 1u) << os::WideToUtf8(name);
  return *found.front().row;
}

std::optional<std::wstring> Parsed(const wchar_t* name, const std::wstring& typed) {
  return ParseSetting(Row(name), typed);
}

// Shown, and typed again.
std::optional<std::wstring> Again(const SettingRow& row, const std::wstring& text) {
  const std::string shown = ShownSetting(row, text);
  EXPECT_EQ(shown, ShownLine(shown)) << shown;
  return ParseSetting(row, os::Utf8ToWide(shown));
}

template <typename Look>
void ForEachRow(const Look& look) {
  for (const kiv::SettingGroup& group : kiv::SettingGroups()) {
    for (const SettingRow& row : group.rows) look(row);
  }
}

TEST(SettingValue, ASwitchIsZeroOrOne) {
  EXPECT_EQ(Parsed(L"WORD_WRAP", L"0"), L"0");
  EXPECT_EQ(Parsed(L"WORD_WRAP", L"1"), L"1");
  EXPECT_EQ(Parsed(L"WORD_WRAP", L"on"), L"1");
  EXPECT_EQ(Parsed(L"WORD_WRAP", L"off"), L"0");
  for (const wchar_t* typed : {L"2", L"-1", L"", L"yes", L"1 ", L"0x", L"1.0", L"\"1\""}) {
    EXPECT_EQ(Parsed(L"WORD_WRAP", typed), std::nullopt) << os::WideToUtf8(typed);
  }
}

TEST(SettingValue, NumbersHaveTheLimitsOfTheirRow) {
  EXPECT_EQ(Parsed(L"POSTCMD_TIMEOUT", L"4294967295"), L"4294967295");
  EXPECT_EQ(Parsed(L"POSTCMD_TIMEOUT", L"0xffffffff"), L"4294967295");
  EXPECT_EQ(Parsed(L"POSTCMD_TIMEOUT", L"4294967296"), std::nullopt);
  EXPECT_EQ(Parsed(L"POSTCMD_TIMEOUT", L"-1"), std::nullopt);
  EXPECT_EQ(Parsed(L"EDIT_MAXLINE_NUMBER", L"2147483647"), L"2147483647");
  EXPECT_EQ(Parsed(L"EDIT_MAXLINE_NUMBER", L"2147483648"), std::nullopt);
  EXPECT_EQ(Parsed(L"FONT_SIZE", L"010"), L"10");
  EXPECT_EQ(Parsed(L"FONT_SIZE", L"+12"), L"12");
  EXPECT_EQ(Parsed(L"FONT_SIZE", L"0"), std::nullopt);
  EXPECT_EQ(Parsed(L"FONT_SIZE", L"1001"), std::nullopt);
  for (const std::wstring typed :
       {L"", L"-", L"+", L"0x", L"12a", L"1 2", L"--1", L"0x1g", L"\u0661",
        L"99999999999999999999999999999999999999", L"0x99999999999999999999999999"}) {
    EXPECT_EQ(Parsed(L"EDIT_MAXLINE_NUMBER", typed), std::nullopt) << os::WideToUtf8(typed);
  }
}

TEST(SettingValue, ColoursAreTypedRedFirst) {
  EXPECT_EQ(Parsed(L"HILITE_LINE.TEXT", L"#ff8000"), std::to_wstring(0x0080ff));
  EXPECT_EQ(Parsed(L"HILITE_LINE.TEXT", L"#FF8000"), std::to_wstring(0x0080ff));
  EXPECT_EQ(Parsed(L"HILITE_LINE.TEXT", L"0x0080ff"), std::to_wstring(0x0080ff));
  EXPECT_EQ(Parsed(L"HILITE_LINE.TEXT", L"-5"), L"-5");
  EXPECT_EQ(Parsed(L"HILITE_LINE.TEXT", L"0xffffffff"), L"-1");
  EXPECT_EQ(ShownSetting(Row(L"HILITE_LINE.TEXT"), std::to_wstring(0x0080ff)), "#ff8000");
  EXPECT_EQ(ShownSetting(Row(L"HILITE_LINE.TEXT"), L"-5"), "-5");
  EXPECT_EQ(ShownSetting(Row(L"HILITE_LINE.TEXT"), L"16777216"), "16777216");
  for (const wchar_t* typed : {L"#", L"#fff", L"#ff80000", L"#gg0000", L"red", L"0x100000000",
                               L"#-12345", L"-2147483649"}) {
    EXPECT_EQ(Parsed(L"HILITE_LINE.TEXT", typed), std::nullopt) << os::WideToUtf8(typed);
  }
}

TEST(SettingValue, KeysAreTypedByName) {
  EXPECT_EQ(Parsed(L"REPEAT_CMD.NAME", L"ctrl+shift+f5"), L"CTRL+SHIFT+F5");
  EXPECT_EQ(Parsed(L"REPEAT_CMD.NAME", L"nokey"), std::nullopt);
  EXPECT_EQ(Parsed(L"REPEAT_CMD.VALUE", L"F3"), L"16777266");
  EXPECT_EQ(Parsed(L"REPEAT_CMD.VALUE", L"16777266"), L"16777266");
  EXPECT_EQ(Parsed(L"REPEAT_CMD.VALUE", L"7"), L"7");
  EXPECT_EQ(Parsed(L"REPEAT_CMD.VALUE", L"nokey"), std::nullopt);
}

TEST(SettingValue, TextsAreTypedAsTheyAreOrInQuotationMarks) {
  EXPECT_EQ(Parsed(L"TITLE", L"my bench"), L"my bench");
  EXPECT_EQ(Parsed(L"TITLE", L"say \"x\\n\""), L"say \"x\\n\"");
  EXPECT_EQ(Parsed(L"TITLE", L"\"\""), L"");
  EXPECT_EQ(Parsed(L"TITLE", L"\" a\\t\\n\\\"\\\\\\x1b\\u202e\""), L" a\t\n\"\\\x1b\u202e");
  EXPECT_EQ(Parsed(L"TITLE", std::wstring(256, L't')), std::wstring(256, L't'));
  EXPECT_EQ(Parsed(L"TITLE", std::wstring(257, L't')), std::nullopt);
  EXPECT_EQ(Parsed(L"PLUGIN.NAME", std::wstring(5000, L't')), std::wstring(5000, L't'));
  for (const wchar_t* typed : {L"\"", L"\"a", L"\"a\" b", L"\"\\\"", L"\"\\", L"\"\\q\"",
                               L"\"\\x1\"", L"\"\\x00\"", L"\"\\u12\"", L"\"\\u12g4\""}) {
    EXPECT_EQ(Parsed(L"TITLE", typed), std::nullopt) << os::WideToUtf8(typed);
  }
}

TEST(SettingValue, APromptIsOneCharacterOrNone) {
  EXPECT_EQ(Parsed(L"PROMPT", L"$"), L"$");
  EXPECT_EQ(Parsed(L"PROMPT", L"\"\""), L"");
  EXPECT_EQ(Parsed(L"PROMPT", L"\" \""), L" ");
  EXPECT_EQ(Parsed(L"PROMPT", L"\"\\\"\""), L"\"");
  EXPECT_EQ(Parsed(L"PROMPT", L"\\"), L"\\");
  EXPECT_EQ(Parsed(L"PROMPT", L"ab"), std::nullopt);
}

// What the document may hold, whoever wrote it: every unit of 16 bits, and more.
TEST(SettingValue, EveryTextThatIsShownGivesItselfAgain) {
  const SettingRow& prompt = Row(L"PROMPT");
  for (std::uint32_t unit = 1; unit <= 0xFFFF; ++unit) {
    const std::wstring text(1, static_cast<wchar_t>(unit));
    ASSERT_EQ(Again(prompt, text), text) << unit;
  }
  const SettingRow& title = Row(L"TITLE");
  std::mt19937 random(3);
  for (int round = 0; round < 2000; ++round) {
    std::wstring text;
    const std::size_t length = random() % 256;
    for (std::size_t i = 0; i < length; ++i) {
      const auto unit = static_cast<wchar_t>(random() >> random() % 32);
      if (unit != 0) text += unit;
    }
    ASSERT_EQ(Again(title, text), text);
  }
}

TEST(SettingValue, EveryNumberThatIsShownGivesItselfAgain) {
  ForEachRow([](const SettingRow& row) {
    if (row.kind == SettingKind::kText || row.kind == SettingKind::kCharacter ||
        row.kind == SettingKind::kKeyName) {
      return;
    }
    for (const std::int64_t value : {row.least, row.least + 1, row.most - 1, row.most}) {
      const std::wstring text = std::to_wstring(value);
      EXPECT_EQ(Again(row, text), text) << os::WideToUtf8(kiv::SettingName(row));
    }
    for (const std::int64_t value : {row.least - 1, row.most + 1}) {
      // A colour beyond the signed numbers is one of the negative ones.
      if (row.kind == SettingKind::kColour && value > 0) continue;
      EXPECT_EQ(ParseSetting(row, std::to_wstring(value)), std::nullopt)
          << os::WideToUtf8(kiv::SettingName(row));
    }
  });
}

TEST(SettingValue, WhatIsListedAsAllowedIs) {
  ForEachRow([](const SettingRow& row) {
    EXPECT_NE(kiv::AllowedText(row), "");
    for (const std::wstring& value : kiv::AllowedValues(row)) {
      EXPECT_TRUE(ParseSetting(row, value)) << os::WideToUtf8(value);
    }
  });
}

TEST(SettingTable, EachRowIsFoundByItsShortNameInAnyCase) {
  std::set<std::wstring> names;
  ForEachRow([&names](const SettingRow& row) {
    const std::wstring name = kiv::SettingName(row);
    EXPECT_TRUE(names.insert(name).second) << os::WideToUtf8(name);
    std::wstring small = name;
    for (wchar_t& ch : small) {
      if (ch >= L'A' && ch <= L'Z') ch = static_cast<wchar_t>(ch + 32);
    }
    const std::wstring full = std::wstring(row.element) + L"." + row.attribute;
    for (const std::wstring& typed : {name, small, full}) {
      const auto found = kiv::FindSettings(typed);
      ASSERT_EQ(found.size(), 1u) << os::WideToUtf8(typed);
      EXPECT_EQ(found.front().row, &row);
    }
    // No key as a whole has the name of a setting.
    EXPECT_TRUE(kiv::FindKey(name).empty());
  });
  for (const std::wstring& name : kiv::SettingNames()) {
    EXPECT_EQ(kiv::FindSettings(name).size() + kiv::FindKey(name).size(),
              kiv::FindKey(name).empty() ? 1u : 2u);
  }
}

TEST(SettingTable, AKeyAsAWholeIsItsNameAndItsCode) {
  const auto key = kiv::FindKey(L"repeat_cmd");
  ASSERT_EQ(key.size(), 2u);
  EXPECT_EQ(key[0].row->kind, SettingKind::kKeyName);
  EXPECT_EQ(key[1].row->kind, SettingKind::kKeyCode);
  EXPECT_TRUE(kiv::FindKey(L"KEYBOARD").empty());
  EXPECT_TRUE(kiv::FindKey(L"PLUGIN").empty());
}

TEST(SettingTable, FindsNothingByAPartOfAName) {
  EXPECT_TRUE(kiv::FindSettings(L"").empty());
  EXPECT_TRUE(kiv::FindSettings(L"ROMPT").empty());
  EXPECT_TRUE(kiv::FindSettings(L".PROMPT").empty());
  EXPECT_TRUE(kiv::FindSettings(L"POPULAR.").empty());
  EXPECT_GT(kiv::FindSettings(L"NAME").size(), 1u);
}

TEST(SettingCompletion, OffersNamesInAnyCase) {
  const auto offered = [](const wchar_t* typed) { return kiv::SettingCompletions({}, typed); };
  using Names = std::vector<std::wstring>;
  EXPECT_EQ(offered(L"PRO"), Names{L"PROMPT"});
  EXPECT_EQ(offered(L"hex"), Names{L"HEXADECIMAL"});
  EXPECT_EQ(offered(L"repeat"), (Names{L"REPEAT_CMD", L"REPEAT_CMD.NAME", L"REPEAT_CMD.VALUE"}));
  EXPECT_EQ(offered(L"popular.pr"), Names{L"POPULAR.PROMPT"});
  EXPECT_EQ(offered(L"COLOR.GEN"), (Names{L"COLOR.GENERAL.TEXT", L"COLOR.GENERAL.BACKGROUND"}));
  EXPECT_EQ(offered(L"nothing"), Names());
  EXPECT_EQ(offered(L""), kiv::SettingNames());
}

TEST(SettingCompletion, OffersTheValuesOfWhatIsNamed) {
  kiv::ConsoleSettings settings;
  settings.values.fontSize = 12;
  settings.values.general.text = 0x0080ff;
  const auto offered = [&settings](const wchar_t* typed) {
    return kiv::SettingCompletions(settings, typed);
  };
  using Values = std::vector<std::wstring>;
  EXPECT_EQ(offered(L"word_wrap "), (Values{L"0", L"1", L"off", L"on"}));
  EXPECT_EQ(offered(L"word_wrap o"), (Values{L"off", L"on"}));
  EXPECT_EQ(offered(L"word_wrap 2"), Values());
  EXPECT_EQ(offered(L"FONT_SIZE "), Values{L"12"});
  EXPECT_EQ(offered(L"GENERAL.TEXT #"), Values{L"#ff8000"});
  EXPECT_EQ(offered(L"REPEAT_CMD pg"), (Values{L"PGUP", L"PGDOWN"}));
  EXPECT_EQ(offered(L"REPEAT_CMD.NAME f3"),
            Values({L"F3", L"F30", L"F31", L"F32", L"F33", L"F34", L"F35"}));
  EXPECT_EQ(offered(L"TITLE a b"), Values());
  EXPECT_EQ(offered(L"nothing "), Values());
  std::wstring title = L"two words";
  std::copy(title.begin(), title.end(), settings.values.title);
  EXPECT_EQ(offered(L"TITLE "), Values());
}

}  // namespace
