#include "platform/base/transfer_profile.h"

#include <gtest/gtest.h>

#include <thread>

#include "platform/bounded/pool.h"

namespace {

using Pointer = std::atomic<CTransferProfile*>;

TEST(TransferProfile, CountsBothDirections) {
  CTransferProfile profile;
  profile.IncTxSize(1, 100);
  profile.IncTxSize(2, 0xFFFFFFFF);
  profile.IncRecvSize(3, 7);
  EXPECT_EQ(3u, profile.TxCount());
  EXPECT_EQ(0x100000063u, profile.TxBytes());
  EXPECT_EQ(3u, profile.RecvCount());
  EXPECT_EQ(7u, profile.RecvBytes());
}

TEST(TransferProfile, IsInstalledFreshAndFound) {
  Pointer profile{nullptr};
  ASSERT_EQ(0u, TpfClientInstall(profile, 256, 1));
  CTransferProfile* installed = profile.load();
  ASSERT_NE(nullptr, installed);
  EXPECT_EQ(0u, installed->TxCount());
  EXPECT_EQ(installed, TpfFind(256, 1));
  EXPECT_EQ(nullptr, TpfFind(256, 2));
  EXPECT_EQ(nullptr, TpfFind(255, 1));
  EXPECT_EQ(0u, TpfClientUnInstall(profile));
  EXPECT_EQ(nullptr, profile.load());
  EXPECT_EQ(nullptr, TpfFind(256, 1));
}

TEST(TransferProfile, StaysReadableOnceUninstalled) {
  Pointer profile{nullptr};
  ASSERT_EQ(0u, TpfClientInstall(profile, 256, 1));
  CTransferProfile* old = profile.load();
  TpfClientUnInstall(profile);
  old->IncRecvSize(1, 5);
  EXPECT_EQ(5u, old->RecvBytes());
  ASSERT_EQ(0u, TpfClientInstall(profile, 256, 1));
  EXPECT_NE(old, profile.load());
  EXPECT_EQ(0u, profile.load()->RecvBytes());
  TpfClientUnInstall(profile);
}

TEST(TransferProfile, IsTheOneInstalledLast) {
  Pointer first{nullptr};
  Pointer second{nullptr};
  TpfClientInstall(first, 256, 1);
  TpfClientInstall(second, 256, 1);
  EXPECT_EQ(second.load(), TpfFind(256, 1));
  const CTransferProfile* older = first.load();
  TpfClientUnInstall(second);
  EXPECT_EQ(older, TpfFind(256, 1));
  TpfClientUnInstall(first);
}

TEST(TransferProfile, IsNoLiveBlockOfThePool) {
  const std::uint64_t before = pool::LiveBlocks();
  Pointer profile{nullptr};
  TpfClientInstall(profile, 256, 1);
  EXPECT_EQ(before, pool::LiveBlocks());
  TpfClientUnInstall(profile);
  EXPECT_EQ(before, pool::LiveBlocks());
}

TEST(TransferProfile, LeavesANullPointerAlone) {
  Pointer profile{nullptr};
  EXPECT_EQ(0u, TpfClientUnInstall(profile));
  EXPECT_EQ(nullptr, profile.load());
}

TEST(TransferProfile, Answers500AndNullWithoutMemory) {
  Pointer profile{nullptr};
  TpfClientInstall(profile, 256, 1);
  Pointer next{profile.load()};
  pool::FailNth(1);
  const std::uint32_t status = TpfClientInstall(next, 256, 9);
  pool::FailNth(0);
  EXPECT_EQ(500u, status);
  EXPECT_EQ(nullptr, next.load());
  EXPECT_EQ(nullptr, TpfFind(256, 9));
  TpfClientUnInstall(profile);
}

TEST(TransferProfile, LosesNoCountOfTwoThreads) {
  Pointer profile{nullptr};
  TpfClientInstall(profile, 256, 3);
  const auto work = [&profile] {
    for (int i = 0; i < 20000; ++i) {
      profile.load()->IncTxSize(1, 2);
      profile.load()->IncRecvSize(1, 3);
    }
  };
  std::thread other(work);
  work();
  other.join();
  EXPECT_EQ(40000u, TpfFind(256, 3)->TxCount());
  EXPECT_EQ(80000u, TpfFind(256, 3)->TxBytes());
  EXPECT_EQ(120000u, TpfFind(256, 3)->RecvBytes());
  TpfClientUnInstall(profile);
}

TEST(TransferProfile, MayBeUninstalledWhileTheLinkCounts) {
  Pointer profile{nullptr};
  std::atomic<bool> done{false};
  std::atomic<bool> counted{false};
  std::thread link([&] {
    while (!done) {
      if (CTransferProfile* current = profile.load()) {
        current->IncRecvSize(1, 1);
        counted = true;
      }
    }
  });
  for (int i = 0; i < 100; ++i) {
    TpfClientInstall(profile, 256, 4);
    TpfClientUnInstall(profile);
  }
  TpfClientInstall(profile, 256, 4);
  while (!counted) std::this_thread::yield();
  done = true;
  link.join();
  TpfClientUnInstall(profile);
  EXPECT_TRUE(counted);
}

}  // namespace
