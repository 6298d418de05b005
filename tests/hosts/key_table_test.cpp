// What keys do, by the settings: shortcuts go before bindings, bindings before free keys.
#include "hosts/terminal/key_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "hosts/bench/key_name.h"

namespace {

using kiv::EditorKey;
using kiv::KeptCommands;
using SvcKivSpace::KivKeyBinding;
using SvcKivSpace::KivKeyBindings;

KivKeyBinding Key(const wchar_t* name) {
  return {hostbench::KeyCodeOf(name).value_or(0), QCString(name)};
}

// Those of a new document.
KivKeyBindings FirstBindings() {
  return {Key(L"F3"), Key(L"ENTER"), Key(L"F2"), Key(L"CTRL+R"), Key(L"ESC")};
}

// What a sequence does: a line, or a function in angle brackets; empty: nothing.
std::string Does(const std::vector<EditorKey>& table, const std::string& sequence) {
  const auto row = std::find_if(table.begin(), table.end(), [&sequence](const EditorKey& key) {
    return key.sequence == sequence;
  });
  if (row == table.end()) return {};
  return row->function != nullptr ? "<" + std::string(row->function) + ">" : row->line;
}

constexpr char kF1[] = "\x1bOP", kF2[] = "\x1bOQ", kF3[] = "\x1bOR", kF6[] = "\x1b[17~";

TEST(KeyTable, NewSettingsBindF2F3AndEsc) {
  const auto table = kiv::KeyTable(FirstBindings(), {});
  EXPECT_EQ(Does(table, kF1), ":key run 1");
  EXPECT_EQ(Does(table, kF2), ":history");
  EXPECT_EQ(Does(table, kF3), ":again");
  EXPECT_EQ(Does(table, "\x1b[21~"), ":key run 10");
  EXPECT_EQ(Does(table, "\x1b"), "<kill-whole-line>");
  EXPECT_EQ(Does(table, "\r"), "");    // sends in any case
  EXPECT_EQ(Does(table, "\x12"), "");  // searches in any case
}

TEST(KeyTable, AShortcutThatIsSetGoesBeforeABinding) {
  KeptCommands kept;
  kept.shortcuts[1] = L"sys_info";
  EXPECT_EQ(Does(kiv::KeyTable(FirstBindings(), kept), kF2), ":key run 2");
  EXPECT_EQ(Does(kiv::KeyTable(FirstBindings(), kept), kF3), ":again");
}

TEST(KeyTable, OnlyAFreeKeyYieldsToTheUsersInputrc) {
  KeptCommands kept;
  kept.shortcuts[0] = L"sys_info";
  for (const EditorKey& key : kiv::KeyTable(FirstBindings(), kept)) {
    const bool isFree = key.line.starts_with(":key run ") && key.line != ":key run 1";
    EXPECT_EQ(key.yields, isFree) << key.line;
  }
}

TEST(KeyTable, BindingsMayBeAnyKeysThatATerminalSends) {
  KivKeyBindings bindings = FirstBindings();
  bindings.listRecentCmd = Key(L"F6");
  bindings.sendCmd = Key(L"CTRL+G");
  bindings.cancel = Key(L"ALT+Q");
  const auto table = kiv::KeyTable(bindings, {});
  EXPECT_EQ(Does(table, kF6), ":history 10");
  EXPECT_EQ(Does(table, "\x07"), "<accept-line>");
  EXPECT_EQ(Does(table, "\x1bq"), "<kill-whole-line>");
  EXPECT_EQ(Does(table, "\x1b"), "");
}

TEST(KeyTable, EnterNeverDoesAnythingElseThanToSend) {
  KivKeyBindings bindings = FirstBindings();
  bindings.cancel = Key(L"ENTER");
  EXPECT_EQ(Does(kiv::KeyTable(bindings, {}), "\r"), "");
}

TEST(KeyTable, ACodeThatIsNoKeyIsLookedUpByItsName) {
  KivKeyBindings bindings = FirstBindings();
  bindings.repeatCmd = {0, QCString(L"f6")};
  EXPECT_EQ(Does(kiv::KeyTable(bindings, {}), kF6), ":again");
  bindings.repeatCmd = {Key(L"F1").value, QCString(L"F6")};
  EXPECT_EQ(Does(kiv::KeyTable(bindings, {}), kF1), ":again");
  EXPECT_EQ(Does(kiv::KeyTable(bindings, {}), kF6), ":key run 6");
  bindings.repeatCmd = {-5, QCString(L"no key")};
  EXPECT_EQ(Does(kiv::KeyTable(bindings, {}), kF1), ":key run 1");
}

TEST(KeyTable, SaysWhatAFreeKeyIsBoundTo) {
  EXPECT_EQ(kiv::UseOfFreeKey(FirstBindings(), 2), "lists the history");
  EXPECT_EQ(kiv::UseOfFreeKey(FirstBindings(), 3), "repeats the last line");
  EXPECT_EQ(kiv::UseOfFreeKey(FirstBindings(), 4), "");
}

}  // namespace
