// Files beneath one folder: never outside it, old or new but never half, whatever fails.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "device/core/result_codes.h"
#include "device/linux/beneath.h"
#include "device/linux/nv_store.h"
#include "tests/device/failing_calls.h"
#include "tests/device/line_recorder.h"

namespace kivtest {
namespace {

namespace fs = std::filesystem;

class StoredFiles : public testing::Test {
 protected:
  StoredFiles() {
    std::string name = testing::TempDir() + "kivagent-XXXXXX";
    root_ = mkdtemp(name.data());
    fs::create_directories(root_ / "in" / "sub");
    std::ofstream(root_ / "outside") << "outside";
    std::ofstream(root_ / "in" / "sub" / "file") << "inside";
    fs::create_symlink("../outside", root_ / "in" / "link");
    fs::create_directory_symlink("..", root_ / "in" / "up");
    fs::create_directory_symlink("sub", root_ / "in" / "around");
    folder_ = open((root_ / "in").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  }
  ~StoredFiles() override {
    close(folder_);
    fs::remove_all(root_);
  }

  std::string ContentOf(const std::string& name) const {
    std::ifstream file(root_ / "in" / name);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  fs::path root_;
  int folder_ = -1;
};

TEST_F(StoredFiles, AreOpenedBeneathTheFolderOnly) {
  const std::string absolute = (root_ / "outside").string();
  const struct {
    std::string name;
    bool opens;
  } rows[] = {{"sub/file", true},
              {"sub", true},
              {"../outside", false},
              {"sub/../../outside", false},
              {absolute, false},
              {"link", false},
              {"up/outside", false},
              {"around/file", false},
              {"", false},
              {"sub/none", false},
              {std::string(300, 'x'), false}};
  for (const auto& row : rows) {
    for (const auto openIt : {kiv_beneath_open, kiv_beneath_open_by_steps}) {
      const int file = openIt(folder_, row.name.c_str(), O_RDONLY, 0);
      EXPECT_EQ(file >= 0, row.opens) << row.name;
      if (file >= 0) close(file);
    }
  }
}

TEST_F(StoredFiles, AreReplacedOnlyUnderPlainNames) {
  const uint8_t bytes[] = {1};
  for (const char* name : {"../outside", "sub/file", "..", ".", ""}) {
    EXPECT_LT(kiv_beneath_replace(folder_, name, bytes, 1), 0) << name;
  }
  EXPECT_EQ(ContentOf("../outside"), "outside");
}

TEST_F(StoredFiles, OfMoreThanTheRoomAreRefused) {
  uint8_t room[6];
  EXPECT_EQ(kiv_beneath_read(folder_, "sub/file", room, 6), 6);
  EXPECT_EQ(kiv_beneath_read(folder_, "sub/file", room, 5), -EFBIG);
  EXPECT_EQ(kiv_beneath_read(folder_, "sub", room, 5), -EINVAL);
}

TEST_F(StoredFiles, AreOldOrNewWhicheverCallFails) {
  const std::string older = "older";
  const std::string newer = "newer content";
  for (int nth = 1;; ++nth) {
    ASSERT_EQ(kiv_beneath_replace(folder_, "item", reinterpret_cast<const uint8_t*>(older.data()),
                                  static_cast<uint32_t>(older.size())),
              0);
    int result = 0;
    bool happened = false;
    {
      const FailingCall failing(FailingCall::Kind::kFile, nth);
      result = kiv_beneath_replace(folder_, "item", reinterpret_cast<const uint8_t*>(newer.data()),
                                   static_cast<uint32_t>(newer.size()));
      happened = failing.Happened();
    }
    const std::string content = ContentOf("item");
    EXPECT_EQ(result == 0, !happened) << nth;
    EXPECT_TRUE(content == newer || (happened && content == older)) << nth << content;
    EXPECT_FALSE(fs::exists(root_ / "in" / "item.tmp")) << nth;
    if (!happened) break;
    ASSERT_LT(nth, 20);
  }
}

TEST_F(StoredFiles, ReplaceWhatAKilledAgentLeft) {
  std::ofstream(root_ / "in" / "item.tmp") << "half";
  const uint8_t bytes[] = {'n', 'e', 'w'};
  EXPECT_EQ(kiv_beneath_replace(folder_, "item", bytes, sizeof bytes), 0);
  EXPECT_EQ(ContentOf("item"), "new");
}

class NvStore : public StoredFiles {
 protected:
  NvStore() : data_((root_ / "data").string()) { kiv_nv_init(&store_, data_.c_str()); }
  ~NvStore() override { kiv_nv_destroy(&store_); }

  uint32_t Read(uint32_t item, Bytes* out) {
    out->assign(KIV_NV_MAX_ITEM_BYTES, 0);
    uint32_t lengthBytes = 0;
    const uint32_t result =
        kiv_nv_read(&store_, item, out->data(), static_cast<uint32_t>(out->size()), &lengthBytes);
    out->resize(lengthBytes);
    return result;
  }
  uint32_t Write(uint32_t item, const Bytes& bytes) {
    return kiv_nv_write(&store_, item, bytes.data(), static_cast<uint32_t>(bytes.size()));
  }

  std::string data_;
  kiv_nv_store store_{};
};

TEST_F(NvStore, TakesItemsUpToItsLimit) {
  Bytes read;
  const Bytes largest(KIV_NV_MAX_ITEM_BYTES, 7);
  EXPECT_EQ(Write(1, largest), 0u);
  EXPECT_EQ(Read(1, &read), 0u);
  EXPECT_EQ(read, largest);
  EXPECT_EQ(Write(1, Bytes(KIV_NV_MAX_ITEM_BYTES + 1)), uint32_t{KIV_RESULT_BAD_VALUE});
  uint32_t lengthBytes = 0;
  EXPECT_EQ(kiv_nv_read(&store_, 1, read.data(), 10, &lengthBytes),
            uint32_t{KIV_RESULT_STORAGE_FAILED});
}

TEST_F(NvStore, SaysWhenItIsFullAndStillReplaces) {
  EXPECT_EQ(Write(1, {1}), 0u);
  for (uint32_t i = 0; i < KIV_NV_MAX_ITEMS - 1; ++i) {
    std::ofstream(fs::path(data_) / "nv" / ("other" + std::to_string(i)));
  }
  EXPECT_EQ(Write(2, {2}), uint32_t{KIV_RESULT_STORAGE_FULL});
  EXPECT_EQ(Write(1, {3}), 0u);
  Bytes read;
  EXPECT_EQ(Read(1, &read), 0u);
  EXPECT_EQ(read, Bytes{3});
}

TEST_F(NvStore, AnswersOldOrNewWhicheverCallFails) {
  Bytes read;
  for (int nth = 1;; ++nth) {
    ASSERT_EQ(Write(9, {1, 1}), 0u);
    uint32_t result = 0;
    bool happened = false;
    {
      const FailingCall failing(FailingCall::Kind::kFile, nth);
      result = Write(9, {2, 2, 2});
      happened = failing.Happened();
    }
    EXPECT_EQ(result, happened ? uint32_t{KIV_RESULT_STORAGE_FAILED} : 0u) << nth;
    ASSERT_EQ(Read(9, &read), 0u);
    EXPECT_TRUE(read == (Bytes{2, 2, 2}) || (happened && read == (Bytes{1, 1}))) << nth;
    if (!happened) break;
    ASSERT_LT(nth, 20);
  }
}

}  // namespace
}  // namespace kivtest
