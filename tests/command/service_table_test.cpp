// The service table that channels are given: its shape, and what its entries do.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "command/service_entries.h"
#include "tests/fakes/module_bench.h"

namespace {

using kivtest::ModuleBench;
using SvcKivClass::ChannelServiceTable;

ChannelServiceTable Table() { return fake::FakeChannel<0>::State().tables.at(0); }

std::vector<void*> Entries(const ChannelServiceTable& table) {
  std::vector<void*> entries(24);
  std::memcpy(entries.data(), &table, sizeof table);
  return entries;
}

TEST(ServiceTable, HasTwentyFourEntriesOfWhichSixAreFilled) {
  ModuleBench bench({.channels = fake::FourChannels()});
  const std::vector<void*> entries = Entries(Table());
  for (std::size_t i = 0; i < entries.size(); ++i) {
    SCOPED_TRACE(i);
    const bool filled = i == 0 || i == 1 || i == 2 || i == 4 || i == 5 || i == 6;
    EXPECT_EQ(entries[i] != nullptr, filled);
  }
  EXPECT_EQ(Table().controller, &bench.Controller());
  EXPECT_EQ(Table().application, &bench.App());
}

TEST(ServiceTable, TellsWhetherADeviceIsConnected) {
  ModuleBench bench({.channels = fake::FourChannels()});
  EXPECT_NE(Table().isUeConnected(), 0);
  bench.App().SetUEConnectStatus(0);
  EXPECT_EQ(Table().isUeConnected(), 0);
  bench.App().SetUEConnectStatus(-1);
  EXPECT_NE(Table().isUeConnected(), 0);
}

TEST(ServiceTable, PostsADiagnosticCommandWithValueAndDelay) {
  ModuleBench bench({.channels = fake::FourChannels()});
  EXPECT_EQ(Table().postDiagData(0x500D, "abc", 3, 7, 200), 0u);
  const std::vector<fake::Post> expected = {
      {fake::PostKind::kCmd, 0x500D, {'a', 'b', 'c'}, 7, 0, 200}};
  EXPECT_EQ(fake::Posts(), expected);
}

TEST(ServiceTable, PostsADiagnosticCommandWithoutAskingForAConnection) {
  ModuleBench bench({.channels = fake::FourChannels(), .connected = false});
  EXPECT_EQ(Table().postDiagData(0x500D, "abc", 3, 0, 0), 0u);
  EXPECT_EQ(fake::Posts().size(), 1u);
  EXPECT_EQ(bench.Link().TransferProfile().load()->TxCount(), 0u);
}

TEST(ServiceTable, PostsFramesAndRawText) {
  ModuleBench bench({.channels = fake::FourChannels()});
  EXPECT_EQ(Table().postHciData(9, "hi", 2), 0u);
  EXPECT_EQ(Table().postRawText("ls\r\n", 4), 0u);
  const std::vector<fake::Post> expected = {
      {fake::PostKind::kSdt, 9, {'h', 'i'}, 0, 0, 0},
      {fake::PostKind::kRaw, 0, {'l', 's', '\r', '\n'}, 0, 0, 0}};
  EXPECT_EQ(fake::Posts(), expected);
}

TEST(ServiceTable, PassesTheStatusOfAPostOn) {
  ModuleBench bench({.channels = fake::FourChannels()});
  fake::SetPostStatus(77);
  EXPECT_EQ(Table().postDiagData(1, "x", 1, 0, 0), 77u);
  EXPECT_EQ(Table().postHciData(1, "x", 1), 77u);
  EXPECT_EQ(Table().postRawText("x", 1), 77u);
}

TEST(ServiceTable, AnswersSuccessForDiagnosticPostsAloneWithoutALinkClient) {
  ModuleBench bench({.channels = fake::FourChannels()});
  const ChannelServiceTable table = Table();
  bench.App().Stop();
  EXPECT_EQ(table.postDiagData(1, "x", 1, 0, 0), 0u);
  EXPECT_EQ(table.postHciData(1, "x", 1), 502u);
  EXPECT_EQ(table.postRawText("x", 1), 502u);
  EXPECT_EQ(fake::Posts(), std::vector<fake::Post>());
}

TEST(ServiceTable, StaysSafeWhenTheApplicationObjectIsGone) {
  ChannelServiceTable table{};
  {
    ModuleBench bench({.channels = fake::FourChannels()});
    table = Table();
  }
  EXPECT_EQ(table.isUeConnected(), 0);
  EXPECT_EQ(table.postDiagData(1, "x", 1, 0, 0), 0u);
  EXPECT_EQ(table.postHciData(1, "x", 1), 502u);
  EXPECT_EQ(table.postRawText("x", 1), 502u);
}

}  // namespace
