// Values in memory and their texts: each form there and back, and where texts are cut.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "settings/setting_field.h"

namespace {

using SvcKivClass::FieldOf;
using SvcKivClass::LiveSwitches;
using SvcKivClass::SettingField;
using SvcKivClass::SettingForm;
using SvcKivClass::SettingsMemory;
using SvcKivSpace::KivKeyBinding;
using SvcKivSpace::KivKeyBindings;
using SvcKivSpace::KivLineColour;
using SvcKivSpace::KivSettings;

// What the field shows after it has taken a text.
std::wstring ThereAndBack(const SettingField& field, const std::wstring& text) {
  LiveSwitches switches;
  SettingsMemory memory{switches};
  field.take(memory, text);
  return field.text(memory).str();
}

constexpr SettingField kColour =
    FieldOf<&SettingsMemory::settings, &KivSettings::general, &KivLineColour::background>();
constexpr SettingField kTimeout =
    FieldOf<&SettingsMemory::settings, &KivSettings::postCmdTimeoutMs>();
constexpr SettingField kPrompt = FieldOf<&SettingsMemory::settings, &KivSettings::prompt>();
constexpr SettingField kFont = FieldOf<&SettingsMemory::settings, &KivSettings::fontName>();
constexpr SettingField kTitle = FieldOf<&SettingsMemory::settings, &KivSettings::title>();
constexpr SettingField kKeyName =
    FieldOf<&SettingsMemory::keys, &KivKeyBindings::cancel, &KivKeyBinding::name>();

TEST(SettingField, GivesNumbersBackInDecimal) {
  EXPECT_EQ(ThereAndBack(kColour, L"-1"), L"-1");
  EXPECT_EQ(ThereAndBack(kColour, L"16777215"), L"16777215");
  EXPECT_EQ(ThereAndBack(kTimeout, L"4294967295"), L"4294967295");
  EXPECT_EQ(ThereAndBack(kTimeout, L"-1"), L"0");
}

TEST(SettingField, KeepsTheFirstCharacterOfAPrompt) {
  EXPECT_EQ(ThereAndBack(kPrompt, L"\u2603 >"), L"\u2603");
  EXPECT_EQ(ThereAndBack(kPrompt, L""), L"");
}

TEST(SettingField, CutsTextsToTheirOwnLimit) {
  EXPECT_EQ(ThereAndBack(kFont, std::wstring(64, L'f')), std::wstring(64, L'f'));
  EXPECT_EQ(ThereAndBack(kFont, std::wstring(65, L'f')), std::wstring(64, L'f'));
  EXPECT_EQ(ThereAndBack(kTitle, std::wstring(256, L't')), std::wstring(256, L't'));
  EXPECT_EQ(ThereAndBack(kTitle, std::wstring(300, L't')), std::wstring(256, L't'));
  EXPECT_EQ(ThereAndBack(kKeyName, std::wstring(300, L'k')), std::wstring(300, L'k'));
}

TEST(SettingField, AShorterTextLeavesNothingOfTheLongerOne) {
  LiveSwitches switches;
  SettingsMemory memory{switches};
  kFont.take(memory, L"Monospace");
  kFont.take(memory, L"Mo");
  EXPECT_EQ(kFont.text(memory).str(), L"Mo");
}

TEST(SettingField, ReadsABufferThatAHostFilledToItsEndWithinItsBounds) {
  LiveSwitches switches;
  SettingsMemory memory{switches};
  std::fill(std::begin(memory.settings.fontName), std::end(memory.settings.fontName), L'x');
  EXPECT_EQ(kFont.text(memory).str(), std::wstring(65, L'x'));
}

TEST(SettingField, FormsAndLimitsFollowFromTheMember) {
  EXPECT_EQ(kColour.form, SettingForm::kInteger);
  EXPECT_EQ(kTimeout.form, SettingForm::kUnsigned);
  EXPECT_EQ(kPrompt.form, SettingForm::kCharacter);
  EXPECT_EQ(kFont.form, SettingForm::kText);
  EXPECT_EQ(kFont.limitChars, 64u);
  EXPECT_EQ(kTitle.limitChars, 256u);
  EXPECT_EQ(kKeyName.limitChars, 0u);
}

}  // namespace
