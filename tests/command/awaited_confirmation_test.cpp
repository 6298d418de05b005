#include "command/awaited_confirmation.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

using SvcKivClass::AwaitedConfirmation;
using SvcKivClass::ConfirmedPost;

TEST(AwaitedConfirmation, GivesWhatWasAwaitedOnce) {
  AwaitedConfirmation awaited;
  awaited.Await(0x2001, 7);
  EXPECT_TRUE(awaited.IsAwaited(0x2001, 7));
  EXPECT_TRUE(awaited.Note(0x2001, 7, 0xFFFFFFFF));
  EXPECT_FALSE(awaited.IsAwaited(0x2001, 7));
  EXPECT_FALSE(awaited.Note(0x2001, 7, 5));
  EXPECT_EQ(awaited.Take(), (ConfirmedPost{7, 0xFFFFFFFF}));
  EXPECT_EQ(awaited.Take(), std::nullopt);
}

TEST(AwaitedConfirmation, LeavesOthersAlone) {
  AwaitedConfirmation awaited;
  EXPECT_FALSE(awaited.Note(0, 0, 0));
  awaited.Await(0, 0);
  EXPECT_FALSE(awaited.Note(1, 0, 0));
  EXPECT_FALSE(awaited.Note(0, 1, 0));
  EXPECT_EQ(awaited.Take(), std::nullopt);
  EXPECT_TRUE(awaited.Note(0, 0, 0));
  EXPECT_EQ(awaited.Take(), (ConfirmedPost{0, 0}));
}

TEST(AwaitedConfirmation, ForgetsWhatCameBeforeANewerPost) {
  AwaitedConfirmation awaited;
  awaited.Await(1, 1);
  awaited.Note(1, 1, 0);
  awaited.Await(1, 2);
  EXPECT_EQ(awaited.Take(), std::nullopt);
  EXPECT_TRUE(awaited.Note(1, 2, 3));
  EXPECT_EQ(awaited.Take(), (ConfirmedPost{2, 3}));
  awaited.Await(1, 3);
  awaited.Note(1, 3, 0);
  awaited.Forget();
  EXPECT_EQ(awaited.Take(), std::nullopt);
  EXPECT_FALSE(awaited.IsAwaited(1, 3));
}

TEST(AwaitedConfirmation, CountsEachPostOnceWhereverTheThreadsMeet) {
  AwaitedConfirmation awaited;
  std::atomic<std::uint32_t> posted{0};
  std::atomic<bool> stop{false};
  std::thread link([&] {
    while (!stop) {
      const std::uint32_t number = posted;
      for (int i = 0; i < 3; ++i) awaited.Note(1, static_cast<std::uint16_t>(number), number);
    }
  });
  for (std::uint32_t number = 1; number <= 20'000; ++number) {
    awaited.Await(1, static_cast<std::uint16_t>(number));
    posted = number;
    if (number % 3 == 0) continue;  // sent again before the answer was looked at
    std::optional<ConfirmedPost> came;
    while (!came) {
      came = awaited.Take();
      if (!came) std::this_thread::yield();
    }
    EXPECT_EQ(came, (ConfirmedPost{static_cast<std::uint16_t>(number), number}));
    EXPECT_EQ(awaited.Take(), std::nullopt);
  }
  stop = true;
  link.join();
}

TEST(AwaitedConfirmation, WakesNobodyForOneThatIsLookedOutFor) {
  AwaitedConfirmation awaited;
  awaited.Await(1, 7, true);
  EXPECT_TRUE(awaited.IsAwaited(1, 7));
  EXPECT_FALSE(awaited.NoteWatched(2, 7, 0));
  EXPECT_FALSE(awaited.NoteWatched(1, 8, 0));
  EXPECT_TRUE(awaited.NoteWatched(1, 7, 5));
  EXPECT_FALSE(awaited.NoteWatched(1, 7, 6));
  EXPECT_FALSE(awaited.Note(1, 7, 6));
  EXPECT_TRUE(awaited.ComesSoon());
  EXPECT_EQ(awaited.Take(), (ConfirmedPost{7, 5}));
  EXPECT_FALSE(awaited.ComesSoon());
}

TEST(AwaitedConfirmation, HasNobodyLookingOutUnlessAskedTo) {
  AwaitedConfirmation awaited;
  awaited.Await(1, 7);
  EXPECT_FALSE(awaited.NoteWatched(1, 7, 0));
  EXPECT_FALSE(awaited.ComesSoon());
  awaited.Await(1, 8, true);
  awaited.Forget();
  EXPECT_FALSE(awaited.NoteWatched(1, 8, 0));
  EXPECT_FALSE(awaited.ComesSoon());
  awaited.Await(1, 9, true);
  awaited.Await(1, 10);
  EXPECT_FALSE(awaited.NoteWatched(1, 10, 0));
  EXPECT_FALSE(awaited.ComesSoon());
  EXPECT_TRUE(awaited.Note(1, 10, 0));
}

TEST(AwaitedConfirmation, LooksOutForNothingForAWhileAfterAVainLook) {
  AwaitedConfirmation awaited;
  awaited.Await(1, 1, true);
  EXPECT_FALSE(awaited.ComesSoon());
  EXPECT_FALSE(awaited.NoteWatched(1, 1, 0));
  EXPECT_TRUE(awaited.Note(1, 1, 3));
  EXPECT_EQ(awaited.Take(), (ConfirmedPost{1, 3}));
  constexpr std::uint16_t kSkipped = 64;
  for (std::uint16_t tag = 2; tag < 2 + kSkipped; ++tag) {
    awaited.Await(1, tag, true);
    EXPECT_FALSE(awaited.NoteWatched(1, tag, 0));
    EXPECT_TRUE(awaited.Note(1, tag, 0));
    EXPECT_FALSE(awaited.ComesSoon());
    EXPECT_EQ(awaited.Take(), (ConfirmedPost{tag, 0}));
  }
  awaited.Await(1, 2 + kSkipped, true);
  EXPECT_TRUE(awaited.NoteWatched(1, 2 + kSkipped, 0));
}

TEST(AwaitedConfirmation, IsToldOrTakenWheneverALookEnds) {
  AwaitedConfirmation awaited;
  std::atomic<std::uint32_t> posted{0};
  std::atomic<std::uint32_t> told{0};
  std::thread link([&] {
    for (std::uint32_t number = 1; number <= 20'000; ++number) {
      while (posted < number) std::this_thread::yield();
      const auto tag = static_cast<std::uint16_t>(number);
      if (awaited.NoteWatched(1, tag, number)) continue;
      EXPECT_TRUE(awaited.Note(1, tag, number));
      told = number;
    }
  });
  for (std::uint32_t number = 1; number <= 20'000; ++number) {
    const auto tag = static_cast<std::uint16_t>(number);
    awaited.Await(1, tag, true);
    posted = number;
    if (!awaited.ComesSoon()) {
      while (told != number) std::this_thread::yield();
    }
    EXPECT_EQ(awaited.Take(), (ConfirmedPost{tag, number}));
  }
  link.join();
}

}  // namespace
