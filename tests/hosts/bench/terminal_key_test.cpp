// What terminals send for a key.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "hosts/bench/key_name.h"
#include "hosts/bench/terminal_key.h"

namespace {

using hostbench::KeyCodeOf;
using hostbench::TerminalSequencesOf;
using Sequences = std::vector<std::string>;

Sequences Of(const wchar_t* name) { return TerminalSequencesOf(KeyCodeOf(name).value()); }

TEST(TerminalKey, AKeyComesAsEachOfTheSequencesThatTerminalsHaveForIt) {
  EXPECT_EQ(Of(L"F1"), (Sequences{"\x1bOP", "\x1b[P", "\x1b[11~", "\x1b[[A"}));
  EXPECT_EQ(Of(L"F5"), (Sequences{"\x1b[15~", "\x1b[[E"}));
  EXPECT_EQ(Of(L"F10"), Sequences{"\x1b[21~"});
  EXPECT_EQ(Of(L"F12"), Sequences{"\x1b[24~"});
  EXPECT_EQ(Of(L"UP"), (Sequences{"\x1bOA", "\x1b[A"}));
  EXPECT_EQ(Of(L"HOME"), (Sequences{"\x1bOH", "\x1b[H", "\x1b[1~", "\x1b[7~"}));
  EXPECT_EQ(Of(L"PGDOWN"), Sequences{"\x1b[6~"});
  EXPECT_EQ(Of(L"ENTER"), Sequences{"\r"});
  EXPECT_EQ(Of(L"ESC"), Sequences{"\x1b"});
  EXPECT_EQ(Of(L"SHIFT+TAB"), Sequences{"\x1b[Z"});
}

TEST(TerminalKey, ModifiersAreAFigureOfTheSequence) {
  EXPECT_EQ(Of(L"SHIFT+F1"), (Sequences{"\x1b[1;2P", "\x1b[11;2~"}));
  EXPECT_EQ(Of(L"CTRL+F5"), Sequences{"\x1b[15;5~"});
  EXPECT_EQ(Of(L"CTRL+ALT+SHIFT+UP"), Sequences{"\x1b[1;8A"});
  EXPECT_EQ(Of(L"ALT+DEL"), Sequences{"\x1b[3;3~"});
}

TEST(TerminalKey, CtrlAndAltWithACharacterAreAByteAndAnEscInFrontOfIt) {
  EXPECT_EQ(Of(L"CTRL+R"), Sequences{"\x12"});
  EXPECT_EQ(Of(L"CTRL+]"), Sequences{"\x1d"});
  EXPECT_EQ(Of(L"ALT+R"), Sequences{"\x1br"});
  EXPECT_EQ(Of(L"ALT+SHIFT+R"), Sequences{"\x1bR"});
  EXPECT_EQ(Of(L"ALT+7"), Sequences{"\x1b"
                                    "7"});
  EXPECT_EQ(Of(L"CTRL+ALT+R"), Sequences{"\x1b\x12"});
  EXPECT_EQ(Of(L"ALT+ENTER"), Sequences{"\x1b\r"});
}

TEST(TerminalKey, WhatATerminalCannotTellFromSomethingElseIsNoKeyOfIt) {
  for (const wchar_t* name :
       {L"R",           L"SHIFT+R",    L"7",      L"CTRL+7",  L"CTRL+SHIFT+R", L"META+R",
        L"META+F1",     L"CTRL+C",     L"CTRL+Z", L"CTRL+\\", L"CTRL+S",       L"CTRL+Q",
        L"CTRL+I",      L"CTRL+M",     L"CTRL+J", L"CTRL+[",  L"CTRL+@",       L"ALT+[",
        L"ALT+SHIFT+O", L"CTRL+ENTER", L"SPACE",  L"F13",     L"PAUSE"}) {
    EXPECT_EQ(Of(name), Sequences()) << KeyCodeOf(name).value();
  }
  for (const std::int32_t code : {0, -1, 0x20, 0x61, 0x7F, 0xE4, 0x01FFFFFF}) {
    EXPECT_EQ(TerminalSequencesOf(code), Sequences()) << code;
  }
}

TEST(TerminalKey, NoTwoNamedKeysShareASequence) {
  std::set<std::string> seen;
  for (const wchar_t* modifiers :
       {L"", L"CTRL+", L"ALT+", L"SHIFT+", L"CTRL+SHIFT+", L"ALT+SHIFT+"}) {
    for (const std::wstring& name : hostbench::NamedKeys()) {
      for (const std::string& sequence : Of((modifiers + name).c_str())) {
        EXPECT_TRUE(seen.insert(sequence).second) << sequence.substr(1);
      }
    }
    for (wchar_t character = L'!'; character < L'a'; ++character) {
      for (const std::string& sequence : Of((modifiers + std::wstring(1, character)).c_str())) {
        EXPECT_TRUE(seen.insert(sequence).second) << sequence.substr(1);
      }
    }
  }
}

}  // namespace
