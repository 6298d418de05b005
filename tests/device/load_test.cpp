// Loads: the parts of a file in order, on a clock of the test's own, whatever call fails.
#include "device/linux/load.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "board_catalogue.h"
#include "device/core/result_codes.h"
#include "device/linux/notice.h"
#include "tests/device/failing_calls.h"
#include "tests/device/line_recorder.h"

namespace kivtest {
namespace {

namespace fs = std::filesystem;

// What an answer to a part is: its result, and with 0 its state.
struct Answer {
  uint32_t result;
  kiv_load_progress state;
  bool operator==(const Answer&) const = default;
};
void PrintTo(const Answer& answer, std::ostream* stream) {
  *stream << answer.result << " state " << answer.state;
}
constexpr Answer kReceiving{0, KIV_LOAD_RECEIVING};
constexpr Answer kStored{0, KIV_LOAD_STORED};
constexpr Answer Refused(uint32_t result) { return {result, KIV_LOAD_NONE}; }

class Load : public testing::Test {
 protected:
  Load() {
    kiv_notice_set_level(KIV_NOTICE_ERROR);  // its writes are none of the store
    std::string name = testing::TempDir() + "kivagent-load-XXXXXX";
    folder_ = mkdtemp(name.data());
    kiv_load_init(&load_);
    EXPECT_EQ(kiv_load_open(&load_, folder_.c_str(), KIV_LOAD_DEFAULT_LIMIT_BYTES), 0);
  }
  ~Load() override {
    kiv_load_close(&load_);
    kiv_notice_set_level(KIV_NOTICE_NOTICE);
    fs::remove_all(folder_);
  }

  Answer Take(const kiv_load_part& part) {
    Answer answer = Refused(0);
    answer.result = kiv_load_take(&load_, &part, nowMs_, &answer.state);
    if (answer.result != 0) answer.state = KIV_LOAD_NONE;
    return answer;
  }
  // The part of `content`, whose last part may be short.
  static kiv_load_part PartOf(const std::string& content, uint32_t index) {
    kiv_load_part part{};
    const size_t at = size_t{index} * KIV_LOAD_PART_BYTES;
    const std::string piece = content.substr(at, KIV_LOAD_PART_BYTES);
    part.index = static_cast<uint16_t>(index);
    part.count =
        static_cast<uint16_t>((content.size() + KIV_LOAD_PART_BYTES - 1) / KIV_LOAD_PART_BYTES);
    part.length_bytes = static_cast<uint16_t>(piece.size());
    std::copy(piece.begin(), piece.end(), part.bytes);
    return part;
  }
  // Sends all of it, up to the first part that is refused.
  Answer Whole(const std::string& content) {
    const uint32_t count = PartOf(content, 0).count;
    Answer answer = kReceiving;
    for (uint32_t i = 0; i < count && answer == kReceiving; ++i) answer = Take(PartOf(content, i));
    return answer;
  }
  std::string Stored() const {
    std::ifstream file(folder_ / KIV_LOAD_FILE_NAME, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  bool HasTemporary() const { return fs::exists(folder_ / KIV_LOAD_FILE_TEMPORARY); }

  fs::path folder_;
  kiv_load load_{};
  int64_t nowMs_ = 1000;
  const std::string older_ = "older";
  const std::string newer_ = std::string(KIV_LOAD_PART_BYTES, 'a') + "newer";
};

TEST_F(Load, IsOffUntilItHasAFolder) {
  kiv_load off;
  kiv_load_init(&off);
  EXPECT_FALSE(kiv_load_is_on(&off));
  const kiv_load_part part = PartOf("x", 0);
  kiv_load_progress state = KIV_LOAD_NONE;
  bool hasFile = false;
  EXPECT_EQ(kiv_load_take(&off, &part, 0, &state), uint32_t{KIV_RESULT_NOT_ENABLED});
  EXPECT_EQ(kiv_load_info(&off, &state, &hasFile), uint32_t{KIV_RESULT_NOT_ENABLED});
  EXPECT_EQ(kiv_load_next_due_ms(&off), -1);
  kiv_load_end_session(&off);
  kiv_load_close(&off);
}

TEST_F(Load, StatesAreThoseOfTheCatalogue) {
  EXPECT_EQ(int{KIV_LOAD_NONE}, int{KIV_LOAD_STATE_NONE});
  EXPECT_EQ(int{KIV_LOAD_RECEIVING}, int{KIV_LOAD_STATE_RECEIVING});
  EXPECT_EQ(int{KIV_LOAD_STORED}, int{KIV_LOAD_STATE_STORED});
  EXPECT_EQ(sizeof(kiv_ldnv_req::data), size_t{KIV_LOAD_PART_BYTES});
}

TEST_F(Load, IsNotStoredWhenAnotherFileStandsUnderTheTemporaryName) {
  ASSERT_EQ(Whole(older_), kStored);
  ASSERT_EQ(Take(PartOf(newer_, 0)), kReceiving);
  fs::rename(folder_ / KIV_LOAD_FILE_TEMPORARY, folder_ / "aside");
  std::ofstream(folder_ / KIV_LOAD_FILE_TEMPORARY) << "evil";
  EXPECT_EQ(Take(PartOf(newer_, 1)), Refused(KIV_RESULT_STORAGE_FAILED));
  EXPECT_EQ(Stored(), older_);
  EXPECT_FALSE(HasTemporary());
  EXPECT_EQ(Whole(newer_), kStored);
  EXPECT_EQ(Stored(), newer_);
}

TEST_F(Load, IsNotStoredWhenItsTemporaryFileWasTakenAway) {
  ASSERT_EQ(Take(PartOf(newer_, 0)), kReceiving);
  fs::remove(folder_ / KIV_LOAD_FILE_TEMPORARY);
  EXPECT_EQ(Take(PartOf(newer_, 1)), Refused(KIV_RESULT_STORAGE_FAILED));
  EXPECT_EQ(Stored(), "");
}

TEST_F(Load, GoesIntoAFolderThatWasMadeAnew) {
  ASSERT_EQ(Whole(older_), kStored);
  fs::remove_all(folder_);
  EXPECT_EQ(Whole(newer_), Refused(KIV_RESULT_STORAGE_FAILED));
  fs::create_directory(folder_);
  fs::permissions(folder_, fs::perms::owner_all);
  bool hasFile = true;
  kiv_load_progress state = KIV_LOAD_STORED;
  EXPECT_EQ(kiv_load_info(&load_, &state, &hasFile), 0u);
  EXPECT_FALSE(hasFile);
  EXPECT_EQ(Whole(newer_), kStored);
  EXPECT_EQ(Stored(), newer_);
}

TEST_F(Load, GoesIntoNoFolderMadeAnewThatOthersMayWriteTo) {
  fs::remove_all(folder_);
  fs::create_directory(folder_);
  fs::permissions(folder_, fs::perms::all);
  EXPECT_EQ(Whole(newer_), Refused(KIV_RESULT_STORAGE_FAILED));
  EXPECT_EQ(Stored(), "");
}

TEST_F(Load, IsForgottenTenSecondsAfterItsLastPart) {
  ASSERT_EQ(Whole(older_), kStored);
  EXPECT_EQ(kiv_load_next_due_ms(&load_), -1);
  ASSERT_EQ(Take(PartOf(newer_, 0)), kReceiving);
  EXPECT_EQ(kiv_load_next_due_ms(&load_), 11000);
  nowMs_ = 10999;
  kiv_load_expire(&load_, nowMs_);
  EXPECT_TRUE(HasTemporary());
  EXPECT_EQ(Take(PartOf(newer_, 1)), kStored);
  EXPECT_EQ(kiv_load_next_due_ms(&load_), -1);
  kiv_load_expire(&load_, 99999);
  EXPECT_EQ(Stored(), newer_);

  ASSERT_EQ(Take(PartOf(newer_, 0)), kReceiving);
  kiv_load_expire(&load_, 20999);
  EXPECT_FALSE(HasTemporary());
  EXPECT_EQ(kiv_load_next_due_ms(&load_), -1);
  EXPECT_EQ(Take(PartOf(newer_, 1)), Refused(KIV_RESULT_NO_LOAD));
  EXPECT_EQ(Stored(), newer_);
}

TEST_F(Load, LivesOnWithARepeatedPartButNotWithARefusedOne) {
  const std::string content(2 * KIV_LOAD_PART_BYTES + 1, 'c');
  ASSERT_EQ(Take(PartOf(content, 0)), kReceiving);
  ASSERT_EQ(Take(PartOf(content, 1)), kReceiving);
  nowMs_ = 9000;
  EXPECT_EQ(Take(PartOf(content, 1)), kReceiving);
  EXPECT_EQ(kiv_load_next_due_ms(&load_), 19000);
  nowMs_ = 18000;
  kiv_load_part wrong = PartOf(content, 1);
  wrong.count = 4;
  EXPECT_EQ(Take(wrong), Refused(KIV_RESULT_LOAD_COUNT));
  EXPECT_EQ(kiv_load_next_due_ms(&load_), 19000);
}

TEST_F(Load, OfTheMostPartsThereCanBeEndsWithTheLast) {
  load_.limit_bytes = KIV_LOAD_MAX_BYTES;
  kiv_load_part part{};
  part.count = 65535;
  part.length_bytes = KIV_LOAD_PART_BYTES;
  for (uint32_t i = 0; i < 65534; ++i) {
    part.index = static_cast<uint16_t>(i);
    ASSERT_EQ(Take(part), kReceiving) << i;
  }
  part.index = 65534;
  EXPECT_EQ(Take(part), kStored);
  EXPECT_EQ(fs::file_size(folder_ / KIV_LOAD_FILE_NAME), KIV_LOAD_MAX_BYTES);
  EXPECT_EQ(Take(part), kStored);  // its answer may have been lost
}

TEST_F(Load, LeavesTheOldOrTheNewFileWhicheverCallFails) {
  for (int nth = 1;; ++nth) {
    ASSERT_EQ(Whole(older_), kStored);
    Answer answer = kReceiving;
    bool happened = false;
    {
      const FailingCall failing(FailingCall::Kind::kFile, nth);
      answer = Whole(newer_);
      happened = failing.Happened();
    }
    EXPECT_EQ(answer, happened ? Refused(KIV_RESULT_STORAGE_FAILED) : kStored) << nth;
    EXPECT_TRUE(Stored() == newer_ || (happened && Stored() == older_)) << nth;
    EXPECT_FALSE(HasTemporary()) << nth;
    EXPECT_FALSE(kiv_load_is_receiving(&load_)) << nth;
    // The failed load is over; a part of it finds none.
    if (happened) {
      EXPECT_EQ(Take(PartOf(newer_, 1)), Refused(KIV_RESULT_NO_LOAD)) << nth;
    }
    if (!happened) break;
    ASSERT_LT(nth, 20);
  }
}

TEST_F(Load, IsWholeWhenEveryWriteTakesAPartOnly) {
  const ShortWrites shortWrites;
  EXPECT_EQ(Whole(newer_), kStored);
  EXPECT_EQ(Stored(), newer_);
  EXPECT_GT(shortWrites.Count(), 10u);
}

TEST_F(Load, InfoReadsAFileAgainOnlyWhenItChanged) {
  ASSERT_EQ(Whole(newer_), kStored);
  kiv_load_progress state = KIV_LOAD_NONE;
  bool hasFile = false;
  const auto readsOfInfo = [&] {
    const FailingCall counting(FailingCall::Kind::kFile, 1);
    const uint32_t result = kiv_load_info(&load_, &state, &hasFile);
    EXPECT_EQ(result == 0, !counting.Happened());
    return counting.Happened();
  };
  EXPECT_FALSE(readsOfInfo());
  EXPECT_TRUE(hasFile);
  EXPECT_EQ(state, KIV_LOAD_STORED);
  std::ofstream(folder_ / KIV_LOAD_FILE_NAME) << "by somebody else";
  EXPECT_TRUE(readsOfInfo());
  EXPECT_EQ(kiv_load_info(&load_, &state, &hasFile), 0u);
  EXPECT_EQ(load_.file.stored.status.st_size, 16);
  EXPECT_FALSE(readsOfInfo());
}

}  // namespace
}  // namespace kivtest
