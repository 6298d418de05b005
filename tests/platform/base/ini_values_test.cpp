#include "platform/base/ini_values.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/base/decimal.h"
#include "tests/platform/base/fresh_setup.h"

namespace {

class IniValues : public kivtest::FreshSetup {
 protected:
  void WritePlatformIni(std::string_view content) {
    WriteInHome(".config/kiv/platform.ini", content);
  }
};

TEST_F(IniValues, ComeFromTheShippedFileByDefault) {
  EXPECT_EQ(1u, GetIniUint32(L"plc", L"VER", 0));
  EXPECT_EQ(L"1", GetIniString(L"plc", L"VER", L"none").str());
}

TEST_F(IniValues, ComeFromTheUsersFileAlone) {
  WritePlatformIni("[PLC]\nver=7\nname=\"two words\"\n");
  EXPECT_EQ(7u, GetIniUint32(L"plc", L"VER", 0));
  EXPECT_EQ(L"two words", GetIniString(L"plc", L"name", L"none").str());
  WritePlatformIni("[other]\nx=1\n");
  EXPECT_EQ(5u, GetIniUint32(L"plc", L"VER", 5));
}

TEST_F(IniValues, AnswerTheFallbackForWhatIsNotThere) {
  EXPECT_EQ(9u, GetIniUint32(L"plc", L"nothing", 9));
  EXPECT_EQ(9u, GetIniUint32(L"nothing", L"VER", 9));
  EXPECT_EQ(9u, GetIniUint32(nullptr, L"VER", 9));
  EXPECT_EQ(L"none", GetIniString(L"plc", nullptr, L"none").str());
}

TEST_F(IniValues, AnswerAnEmptyTextThatIsThere) {
  WritePlatformIni("[s]\nk=\n");
  EXPECT_EQ(L"", GetIniString(L"s", L"k", L"none").str());
  EXPECT_EQ(3u, GetIniUint32(L"s", L"k", 3));
}

struct LeadingRow {
  const char* text;
  std::optional<std::uint32_t> value;
};

TEST_F(IniValues, AreReadAsDecimalsUpToTheFirstOtherCharacter) {
  const LeadingRow rows[] = {
      {"0", 0},
      {"12", 12},
      {"12abc", 12},
      {"+3", 3},
      {"007", 7},
      {"0x10", 0},
      {"-1", 4294967295u},
      {"-", std::nullopt},
      {"abc", std::nullopt},
      {"", std::nullopt},
      {"+-1", std::nullopt},
      {"4294967295", 4294967295u},
      {"4294967296", 4294967295u},
      {"1 2", 1},
  };
  for (const LeadingRow& row : rows) {
    EXPECT_EQ(row.value, ParseLeadingDecimal(row.text)) << row.text;
    WritePlatformIni("[s]\nk= " + std::string(row.text) + "\n");
    EXPECT_EQ(row.value.value_or(77), GetIniUint32(L"s", L"k", 77)) << row.text;
  }
}

TEST(Decimal, IsTheWholeTextWhereNothingMayFollow) {
  const LeadingRow rows[] = {
      {"0", 0},
      {" 12\t", 12},
      {"4294967295", 4294967295u},
      {"4294967296", std::nullopt},
      {"12abc", std::nullopt},
      {"-1", std::nullopt},
      {"+1", std::nullopt},
      {"", std::nullopt},
      {" ", std::nullopt},
      {"1 2", std::nullopt},
  };
  for (const LeadingRow& row : rows) EXPECT_EQ(row.value, ParseDecimal(row.text)) << row.text;
}

}  // namespace
