// Names of keys and Qt's codes, both ways.
#include <gtest/gtest.h>

#include <QtCore/qnamespace.h>

#include <cwchar>
#include <set>
#include <string>

#include "hosts/bench/key_name.h"

namespace {

using hostbench::KeyCodeOf;
using hostbench::KeyNameOf;

TEST(KeyName, GivesQtsCodes) {
  EXPECT_EQ(KeyCodeOf(L"ENTER"), Qt::Key_Return);
  EXPECT_EQ(KeyCodeOf(L"esc"), Qt::Key_Escape);
  EXPECT_EQ(KeyCodeOf(L"F10"), Qt::Key_F10);
  EXPECT_EQ(KeyCodeOf(L"Ctrl+r"), static_cast<int>(Qt::CTRL) | Qt::Key_R);
  EXPECT_EQ(KeyCodeOf(L"SHIFT+CTRL+F5"), static_cast<int>(Qt::SHIFT | Qt::CTRL) | Qt::Key_F5);
  EXPECT_EQ(KeyCodeOf(L"+"), Qt::Key_Plus);
  EXPECT_EQ(KeyCodeOf(L"ALT++"), static_cast<int>(Qt::ALT) | Qt::Key_Plus);
}

TEST(KeyName, RefusesWhatIsNoKey) {
  for (const wchar_t* name :
       {L"", L" ", L"F0", L"F01", L"F36", L"F1x", L"ENTERX", L"CTRL+", L"+R", L"CTRL+CTRL+R",
        L"HYPER+R", L"CTRL R", L" F2", L"\u00e4", L"\u0131", L"\x1b"}) {
    EXPECT_EQ(KeyCodeOf(name), std::nullopt) << std::string(name, name + std::wcslen(name));
  }
}

TEST(KeyName, NamesEachCodeAsItIsTyped) {
  std::set<std::wstring> keys;
  for (const std::wstring& key : hostbench::NamedKeys()) keys.insert(key);
  for (wchar_t ch = L'!'; ch <= L'`'; ++ch) keys.insert(std::wstring(1, ch));
  for (const std::wstring& key : keys) {
    for (int bits = 0; bits < 16; ++bits) {
      std::wstring name;
      if ((bits & 1) != 0) name += L"CTRL+";
      if ((bits & 2) != 0) name += L"ALT+";
      if ((bits & 4) != 0) name += L"SHIFT+";
      if ((bits & 8) != 0) name += L"META+";
      name += key;
      const auto code = KeyCodeOf(name);
      ASSERT_TRUE(code) << std::string(name.begin(), name.end());
      EXPECT_EQ(KeyNameOf(*code), name);
    }
  }
}

TEST(KeyName, HasNoneForOtherCodes) {
  for (const int code : {0, 0x20000000, 0x61, 0x7f, -1, 0x01000000 + 0x00ffff}) {
    EXPECT_EQ(KeyNameOf(code), L"") << code;
  }
}

}  // namespace
