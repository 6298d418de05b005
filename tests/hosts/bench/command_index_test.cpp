// Commands found by the beginning of their names, by resemblance and by words.
#include "hosts/bench/command_index.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hosts/bench/edit_distance.h"
#include "platform/os/utf8.h"
#include "tests/platform/catalogue/catalogue_fixture.h"
#include "tests/support/tree_paths.h"

using hostbench::CommandIndex;
using hostbench::EditDistance;
using hostbench::MatchKind;

namespace {

CmdInfo Command(const std::string& name, const std::string& text = "",
                const std::string& group = "", std::uint32_t id = 1) {
  return CmdInfo::Make(id, QCString::FromUtf8(name), QCString::FromUtf8(text),
                       QCString::FromUtf8(group), 0, 0);
}

CommandIndex Sample() {
  return CommandIndex({
      Command("sys_info", "What does not change while the board is up", "system"),
      Command("sys_reset", "starts the board again", "system"),
      Command("mem_info", "Memory of the board", "system"),
      Command("Sys_trace", "a trace of calls", "debug"),
      Command("net_stats", "counters of the interfaces", "network"),
      Command("ind_start", "begins indications", "indications"),
      Command("ind_stop", "ends indications", "indications"),
      Command("reset_sysclock", "", "system"),
  });
}

std::string NameOf(const CommandIndex& index, std::uint32_t at) {
  return os::WideToUtf8(index.At(at).GetName());
}

std::string Names(const CommandIndex& index, const std::vector<std::uint32_t>& found) {
  std::string names;
  for (const std::uint32_t at : found) names += (names.empty() ? "" : " ") + NameOf(index, at);
  return names;
}

// Names with a letter for how each was found.
std::string Completed(const CommandIndex& index, const wchar_t* word, std::size_t limit = 100) {
  std::string names;
  for (const hostbench::CommandMatch& match : index.Complete(word, limit).rows) {
    names += (names.empty() ? "" : " ") + NameOf(index, match.index) + ":" +
             "pcfd"[static_cast<int>(match.kind)];
  }
  return names;
}

TEST(CommandIndex, CompletesByTheBeginningOfNamesFirst) {
  const CommandIndex index = Sample();
  EXPECT_EQ(Completed(index, L"ind_"), "ind_start:p ind_stop:p");
  EXPECT_EQ(Completed(index, L"ind_start"), "ind_start:p");
}

TEST(CommandIndex, TakesAnotherCaseForLess) {
  const CommandIndex index = Sample();
  EXPECT_EQ(Completed(index, L"sys_"), "sys_info:p sys_reset:p Sys_trace:c");
  EXPECT_EQ(Completed(index, L"Sys_"), "Sys_trace:p sys_info:c sys_reset:c");
}

TEST(CommandIndex, CompletesByResemblanceThenByDescription) {
  const CommandIndex index = Sample();
  EXPECT_EQ(Completed(index, L"info"), "mem_info:f sys_info:f");
  EXPECT_EQ(Completed(index, L"counters"), "net_stats:d");
  EXPECT_EQ(Completed(index, L"MEMORY"), "mem_info:d");
  EXPECT_EQ(Completed(index, L"reset"), "reset_sysclock:p sys_reset:f");
  EXPECT_EQ(Completed(index, L"qqq"), "");
}

TEST(CommandIndex, GivesNoMoreRowsThanAskedForAndCountsAll) {
  const CommandIndex index = Sample();
  EXPECT_EQ(Completed(index, L"", 3), "Sys_trace:p ind_start:p ind_stop:p");
  EXPECT_EQ(index.Complete(L"", 3).prefixCount, 8u);
  EXPECT_EQ(index.Complete(L"sys_", 1).rows.size(), 1u);
  EXPECT_EQ(index.Complete(L"sys_", 1).prefixCount, 2u);
  EXPECT_EQ(index.Complete(L"zzz", 0).rows.size(), 0u);
}

TEST(CommandIndex, KnowsWhatNamesHaveInCommon) {
  const CommandIndex index = Sample();
  EXPECT_EQ(index.CommonPrefix(L"i"), L"ind_st");
  EXPECT_EQ(index.CommonPrefix(L"mem"), L"mem_info");
  EXPECT_EQ(index.CommonPrefix(L"q"), L"");
}

TEST(CommandIndex, FindsExactNamesOnly) {
  const CommandIndex index = Sample();
  EXPECT_EQ(NameOf(index, index.IndexOf(L"mem_info")), "mem_info");
  EXPECT_EQ(index.IndexOf(L"mem_inf"), CommandIndex::kNone);
  EXPECT_EQ(index.IndexOf(L"MEM_INFO"), CommandIndex::kNone);
  EXPECT_EQ(index.IndexOf(L""), CommandIndex::kNone);
}

TEST(CommandIndex, OfTwoCommandsWithOneNameTheFirstCounts) {
  const CommandIndex index({Command("twin", "one", "", 7), Command("twin", "two", "", 8)});
  EXPECT_EQ(index.At(index.IndexOf(L"twin")).GetId(), 7u);
  EXPECT_EQ(Completed(index, L"tw"), "twin:p");
  EXPECT_EQ(Names(index, index.Find(L"two", 10)), "");
}

TEST(CommandIndex, NamesWhatIsASlipAway) {
  const CommandIndex index = Sample();
  EXPECT_EQ(Names(index, index.Nearest(L"sys_inof", 5)), "sys_info");
  EXPECT_EQ(Names(index, index.Nearest(L"sy_info", 5)), "sys_info");
  EXPECT_EQ(Names(index, index.Nearest(L"mem__info", 5)), "mem_info");
  EXPECT_EQ(Names(index, index.Nearest(L"SYS_INFO", 5)), "sys_info");
  EXPECT_EQ(Names(index, index.Nearest(L"ind_stp", 5)), "ind_stop");
  EXPECT_EQ(Names(index, index.Nearest(L"ind_stapt", 5)), "ind_start ind_stop");
  EXPECT_EQ(Names(index, index.Nearest(L"ind_stapt", 1)), "ind_start");
}

TEST(CommandIndex, NamesNothingWhenNothingIsNear) {
  const CommandIndex index = Sample();
  EXPECT_EQ(Names(index, index.Nearest(L"frobnicate", 5)), "");
  EXPECT_EQ(Names(index, index.Nearest(L"", 5)), "");
  EXPECT_EQ(Names(index, index.Nearest(L"x", 5)), "");
}

TEST(CommandIndex, FindsCommandsThatHaveAllWords) {
  const CommandIndex index = Sample();
  EXPECT_EQ(Names(index, index.Find(L"board", 10)), "mem_info sys_info sys_reset");
  EXPECT_EQ(Names(index, index.Find(L"  Board   MEM ", 10)), "mem_info");
  EXPECT_EQ(Names(index, index.Find(L"reset", 10)), "reset_sysclock sys_reset");
  EXPECT_EQ(Names(index, index.Find(L"system start", 10)), "sys_reset");
  EXPECT_EQ(Names(index, index.Find(L"board nothing", 10)), "");
  EXPECT_EQ(Names(index, index.Find(L"  ", 10)), "");
}

TEST(CommandIndex, PutsNamesThatHaveTheWordsFirst) {
  const CommandIndex index(
      {Command("a_thing", "knows a clock"), Command("z_clock"), Command("b_thing", "the clock")});
  EXPECT_EQ(Names(index, index.Find(L"clock", 10)), "z_clock a_thing b_thing");
  std::size_t total = 0;
  EXPECT_EQ(Names(index, index.Find(L"clock", 1, &total)), "z_clock");
  EXPECT_EQ(total, 3u);
}

TEST(CommandIndex, FindsWordsOfOtherAlphabetsInAnyCase) {
  const CommandIndex index(
      {Command("t1", "\u0422\u0435\u043c\u043f\u0435\u0440\u0430\u0442\u0443\u0440\u0430"),
       Command("t2", "\u6e29\u5ea6")});
  EXPECT_EQ(Names(index, index.Find(L"\u0442\u0435\u043c\u043f", 10)), "t1");
  EXPECT_EQ(Names(index, index.Find(L"\u5ea6", 10)), "t2");
}

TEST(CommandIndex, OfNoCommandsFindsNothing) {
  const CommandIndex index({});
  EXPECT_EQ(index.Complete(L"", 10).rows.size(), 0u);
  EXPECT_EQ(index.Complete(L"a", 10).rows.size(), 0u);
  EXPECT_TRUE(index.Nearest(L"abc", 10).empty());
  EXPECT_TRUE(index.Find(L"abc", 10).empty());
}

TEST(ReadCommands, GivesWhatTheModuleWouldTake) {
  kivtest::TempFolder folder;
  kivtest::ModelMaker maker;
  maker.Structure("req").Scalar("a", catalogue::Scalar::kU8).End();
  maker.Command(2, "beta", 0);
  maker.Command(1, "alpha", -1, 0);
  maker.Command(3, "hidden", 0).listed = false;
  kivtest::WriteBytes(folder.File("c.kcat"), maker.Bytes());
  std::vector<CmdInfo> commands;
  ASSERT_EQ(hostbench::ReadCommands(QCString::FromUtf8(folder.File("c.kcat")), commands), 0u);
  const CommandIndex index(std::move(commands));
  EXPECT_EQ(Completed(index, L""), "alpha:p beta:p");
}

TEST(ReadCommands, AnswersTheStatusOfACatalogueThatIsNotThere) {
  std::vector<CmdInfo> commands = {Command("old")};
  EXPECT_EQ(hostbench::ReadCommands(L"/nowhere/c.kcat", commands), 51u);
  EXPECT_TRUE(commands.empty());
}

TEST(CommandIndexLater, HasTheCataloguesCommandsAndTheHostsOwnWords) {
  const std::string path = std::string(kivtest::BuildDir()) + "/share/kiv/board.kcat";
  hostbench::CommandIndexLater later(QCString::FromUtf8(path), {Command("help", "lists them")});
  const auto index = later.Get();
  ASSERT_NE(index, nullptr);
  EXPECT_TRUE(later.IsReady());
  EXPECT_NE(index->IndexOf(L"sys_info"), CommandIndex::kNone);
  EXPECT_NE(index->IndexOf(L"help"), CommandIndex::kNone);
  EXPECT_EQ(later.Get(), index);
}

TEST(CommandIndexLater, HasTheHostsOwnWordsWithoutACatalogue) {
  hostbench::CommandIndexLater later(L"/nowhere/c.kcat", {Command("help")});
  EXPECT_EQ(later.Get()->Count(), 1u);
}

// Every distance by trying all ways, for comparison.
std::size_t SlowDistance(const std::string& a, const std::string& b, std::size_t i, std::size_t j) {
  if (i == a.size()) return b.size() - j;
  if (j == b.size()) return a.size() - i;
  if (a[i] == b[j]) return SlowDistance(a, b, i + 1, j + 1);
  std::size_t best = 1 + std::min({SlowDistance(a, b, i + 1, j), SlowDistance(a, b, i, j + 1),
                                   SlowDistance(a, b, i + 1, j + 1)});
  if (i + 1 < a.size() && j + 1 < b.size() && a[i] == b[j + 1] && a[i + 1] == b[j]) {
    best = std::min(best, 1 + SlowDistance(a, b, i + 2, j + 2));
  }
  return best;
}

TEST(EditDistance, IsTheFewestSlipsWithinItsBound) {
  std::vector<std::string> words = {""};
  for (std::size_t i = 0; words[i].size() < 4; ++i) {
    for (const char ch : {'a', 'b', 'c'}) words.push_back(words[i] + ch);
  }
  for (const std::string& a : words) {
    for (const std::string& b : words) {
      const std::size_t slips = SlowDistance(a, b, 0, 0);
      for (const std::size_t most : {1u, 2u, 3u}) {
        ASSERT_EQ(EditDistance(a, b, most), std::min(slips, most + 1)) << a << " " << b;
      }
    }
  }
}

TEST(EditDistance, CountsLettersThatChangedPlacesOnce) {
  EXPECT_EQ(EditDistance("sys_inof", "sys_info", 3), 1u);
  EXPECT_EQ(EditDistance("yss_inof", "sys_info", 3), 2u);
}

}  // namespace
