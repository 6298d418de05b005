// Favourites and shortcut commands: what is changed is in the file, and in the next run.
#include "hosts/terminal/command_memory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "hosts/terminal/memory_texts.h"
#include "hosts/terminal/settings_keeper.h"
#include "platform/base/result_codes.h"
#include "svckiv/svc_kiv.h"
#include "tests/hosts/settings_fixture.h"

namespace {

using kiv::CarriedGroups;
using kiv::CommandMemory;
using kiv::Imported;
using kiv::ImportText;
using kiv::Kept;
using kiv::SettingsKeeper;
using SvcKivSpace::CSVCKIVConfig;
using SvcKivSpace::SvcKiv;
using Lines = std::vector<std::wstring>;

class CommandMemoryTest : public SettingsFixture {
 protected:
  // As the next run finds it, with all that a document needs.
  CommandMemory Restarted() {
    return SettingsKeeper(SettingsFixture::Restarted(), true).Commands();
  }
  std::wstring Path(const char* name) const { return QCString::FromUtf8(folder_.Path(name)).str(); }
};

TEST_F(CommandMemoryTest, FavouritesKeepTheirOrderAndComeOnce) {
  CommandMemory memory = Restarted();
  std::size_t number = 0;
  EXPECT_EQ(memory.AddFavourite(L"nv_read 7", number), Kept::kYes);
  EXPECT_EQ(number, 1u);
  EXPECT_EQ(memory.AddFavourite(L":watch sys_info every 1s", number), Kept::kYes);
  EXPECT_EQ(number, 2u);
  EXPECT_EQ(memory.AddFavourite(L"  nv_read 7", number), Kept::kAlready);
  EXPECT_EQ(number, 1u);
  EXPECT_EQ(memory.AddFavourite(L"echo {<\u2603>}", number), Kept::kYes);
  EXPECT_EQ(memory.RemoveFavourite(1), Kept::kYes);
  EXPECT_EQ(Restarted().All().favourites, (Lines{L":watch sys_info every 1s", L"echo {<\u2603>}"}));
}

TEST_F(CommandMemoryTest, WhatIsNotThereIsNotRemoved) {
  CommandMemory memory = Restarted();
  std::size_t number = 0;
  memory.AddFavourite(L"nv_read 7", number);
  EXPECT_EQ(memory.RemoveFavourite(0), Kept::kNotThere);
  EXPECT_EQ(memory.RemoveFavourite(2), Kept::kNotThere);
  EXPECT_EQ(memory.SetShortcut(0, L"x"), Kept::kNotThere);
  EXPECT_EQ(memory.SetShortcut(11, L"x"), Kept::kNotThere);
  EXPECT_EQ(memory.All().favourites, Lines{L"nv_read 7"});
}

TEST_F(CommandMemoryTest, TenShortcutsAreSetAndClearedOneByOne) {
  CommandMemory memory = Restarted();
  for (std::size_t i = 1; i <= 10; ++i) {
    EXPECT_EQ(memory.SetShortcut(i, L"line " + std::to_wstring(i)), Kept::kYes);
  }
  EXPECT_EQ(memory.SetShortcut(4, L""), Kept::kYes);
  const auto shortcuts = Restarted().All().shortcuts;
  for (std::size_t i = 1; i <= 10; ++i) {
    EXPECT_EQ(shortcuts[i - 1], i == 4 ? L"" : L"line " + std::to_wstring(i));
  }
}

TEST_F(CommandMemoryTest, WhatTheNextLoadWouldTakeOutIsNotKept) {
  CommandMemory memory = Restarted();
  std::size_t number = 0;
  for (const std::wstring& line :
       {std::wstring(81, L'w'), L"w " + std::wstring(16385, L'p'), std::wstring(L" ")}) {
    EXPECT_EQ(memory.AddFavourite(line, number), Kept::kTooLong);
    EXPECT_EQ(memory.SetShortcut(1, line), Kept::kTooLong);
  }
  EXPECT_EQ(memory.AddFavourite(std::wstring(80, L'w') + L" " + std::wstring(16384, L'p'), number),
            Kept::kYes);
  EXPECT_EQ(Restarted().All().favourites.size(), 1u);
}

TEST_F(CommandMemoryTest, WhatCannotBeSavedIsSavedWithTheNextChange) {
  CommandMemory memory = Restarted();
  std::size_t number = 0;
  std::filesystem::rename(folder_.Path("config"), folder_.Path("away"));
  folder_.Write("config", "a file where the directory should be");
  EXPECT_EQ(memory.AddFavourite(L"first", number), Kept::kNotSaved);
  EXPECT_EQ(memory.SetShortcut(1, L"first"), Kept::kNotSaved);
  std::filesystem::remove(folder_.Path("config"));
  std::filesystem::rename(folder_.Path("away"), folder_.Path("config"));
  EXPECT_EQ(memory.AddFavourite(L"second", number), Kept::kYes);
  const auto all = Restarted().All();
  EXPECT_EQ(all.favourites, (Lines{L"first", L"second"}));
  EXPECT_EQ(all.shortcuts[0], L"first");
}

TEST_F(CommandMemoryTest, WithoutSettingsNothingIsKept) {
  std::filesystem::create_directories(folder_.Path("config/kiv.xml"));  // cannot be read
  CommandMemory memory = Restarted();
  std::size_t number = 0;
  EXPECT_EQ(memory.AddFavourite(L"first", number), Kept::kNoSettings);
  EXPECT_EQ(memory.RemoveFavourite(1), Kept::kNoSettings);
  EXPECT_EQ(memory.SetShortcut(1, L"first"), Kept::kNoSettings);
  EXPECT_EQ(memory.Export(Path("out.xml"), {true, true, true}), result::kNoDocument);
  EXPECT_EQ(memory.All().favourites, Lines());
}

TEST_F(CommandMemoryTest, WhatAnImportBringsIsInTheFile) {
  CommandMemory memory = Restarted();
  std::size_t number = 0;
  memory.AddFavourite(L"nv_read 7", number);
  memory.SetShortcut(3, L"sys_info");
  EXPECT_EQ(memory.Export(Path("out.xml"), {false, true, true}), result::kOk);
  memory.RemoveFavourite(1);
  memory.SetShortcut(3, L"other");
  EXPECT_EQ(memory.Import(Path("out.xml"), {false, true, true}).status, result::kOk);
  EXPECT_EQ(memory.All().favourites, Lines{L"nv_read 7"});
  const auto all = Restarted().All();
  EXPECT_EQ(all.favourites, Lines{L"nv_read 7"});
  EXPECT_EQ(all.shortcuts[2], L"sys_info");
}

TEST_F(CommandMemoryTest, WhatAnImportBroughtBeforeItFailedIsSavedToo) {
  folder_.Write("half.xml",
                "<SourceData><SESSION ID=\"1\"><INSTANCE ID=\"1\"><DEFAULT><FAVORATE_CMD>"
                "<CMD NAME=\"one\" PARA=\"1\"/></FAVORATE_CMD></DEFAULT></INSTANCE></SESSION>"
                "</SourceData>");
  EXPECT_EQ(Restarted().Import(Path("half.xml"), {false, true, true}).status,
            result::kGroupMissing);
  EXPECT_EQ(Restarted().All().favourites, Lines{L"one 1"});
}

TEST_F(CommandMemoryTest, AnImportThatTookThreeKeysAndRefusedTheOthersSaysSo) {
  const auto written = [this](const char* name, const char* repeat, const char* send) {
    const auto key = [](const char* element, const char* bound) {
      return std::string("<") + element + " NAME=\"" + bound + "\" VALUE=\"1\"/>";
    };
    folder_.Write(name, "<SourceData><SESSION ID=\"1\"><INSTANCE ID=\"1\"><DEFAULT><KEYBOARD>" +
                            key("REPEAT_CMD", repeat) + key("SEND_CMD", send) +
                            key("LIST_HISTORY_CMD", "F2") + key("LIST_RECENT_CMD", "F6") +
                            key("CANCEL", "ESC") +
                            "</KEYBOARD></DEFAULT></INSTANCE></SESSION></SourceData>");
    return Path(name);
  };
  CommandMemory memory = Restarted();
  const Imported same = memory.Import(written("same.xml", "F2", "ENTER"), {true, true, true});
  EXPECT_EQ(ImportText(same, "same.xml"),
            "kiv: same.xml: the keys are as they were: in the file three need names of their own, "
            "ENTER must send and ESC cancel\n");
  EXPECT_EQ(SvcKiv::Start()->KeyBindings().repeatCmd.name, L"F3");
  const Imported part = memory.Import(written("part.xml", "F9", "F8"), {true, true, true});
  EXPECT_EQ(ImportText(part, "part.xml"),
            "kiv: part.xml: its keys that repeat and list were taken, and nothing else: ENTER must "
            "send there and ESC cancel\n");
  EXPECT_EQ(Restarted().All().favourites, Lines());
  EXPECT_EQ(SvcKiv::Start()->KeyBindings().repeatCmd.name, L"F9");
  EXPECT_EQ(SvcKiv::Start()->KeyBindings().sendCmd.name, L"ENTER");
}

TEST_F(CommandMemoryTest, TheLastLineIsKnownAlsoWhenItIsNotKept) {
  SvcKiv::Stop();
  CSVCKIVConfig& config = *SvcKiv::Start();
  SettingsKeeper keeper(config, true);
  EXPECT_EQ(keeper.LastLine(), L"");
  keeper.Keep(L"one 1");
  config.Settings().historyOn = 0;
  keeper.Keep(L"two 2");
  keeper.Keep(L"  ");
  EXPECT_EQ(keeper.LastLine(), L"two 2");
  EXPECT_EQ(SettingsKeeper(config, true).LastLine(), L"one 1");
}

}  // namespace
