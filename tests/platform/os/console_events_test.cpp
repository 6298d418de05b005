#include "platform/os/console_events.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <string>

namespace {

using os::Written;

// A pipe in place of standard error; the old one is back afterwards.
class UnreadErrors : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(::pipe2(ends_, O_CLOEXEC), 0);
    ASSERT_EQ(::fcntl(ends_[0], F_SETFL, O_NONBLOCK), 0);
    kept_ = ::dup(STDERR_FILENO);
    ASSERT_EQ(::dup2(ends_[1], STDERR_FILENO), STDERR_FILENO);
  }

  void TearDown() override {
    ::dup2(kept_, STDERR_FILENO);
    ::close(kept_);
    ::close(ends_[0]);
    ::close(ends_[1]);
  }

  // Until nothing more goes into it without waiting.
  void Fill() {
    const std::string block(1024, '-');
    pollfd ready = {ends_[1], POLLOUT, 0};
    while (::poll(&ready, 1, 0) > 0) ASSERT_GT(::write(ends_[1], block.data(), block.size()), 0);
  }

  std::string ReadAll() {
    std::string all;
    char bytes[65536];
    for (ssize_t got = 0; (got = ::read(ends_[0], bytes, sizeof bytes)) > 0;) {
      all.append(bytes, static_cast<std::size_t>(got));
    }
    return all;
  }

  int ends_[2] = {-1, -1};
  int kept_ = -1;
};

TEST_F(UnreadErrors, CostANoticeItsTimeOnceAndAreToldByTheNextThatIsRead) {
  EXPECT_EQ(os::WriteErr("kiv: first\n"), Written::kAll);
  EXPECT_EQ(ReadAll(), "kiv: first\n");
  Fill();
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(os::WriteErr("kiv: waits\n"), Written::kGivenUp);
  const auto firstTook = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(firstTook, std::chrono::milliseconds(1000));
  for (int i = 0; i < 999; ++i) ASSERT_EQ(os::WriteErr("kiv: does not\n"), Written::kGivenUp);
  // A second for each would be a quarter of an hour.
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(120));
  EXPECT_EQ(ReadAll().find("kiv:"), std::string::npos);
  EXPECT_EQ(os::WriteErr("kiv: last\n"), Written::kAll);
  EXPECT_EQ(ReadAll(),
            "platform_os_test: 1000 notices were dropped, since nobody read standard error\n"
            "kiv: last\n");
  EXPECT_EQ(os::WriteErr("kiv: more\n"), Written::kAll);
  EXPECT_EQ(ReadAll(), "kiv: more\n");
}

// A long notice goes out in pieces; what follows must not look like the rest of it.
TEST_F(UnreadErrors, ThatCutANoticeEndItsLineBeforeTheNext) {
  const std::string notice = "kiv: " + std::string(200'000, 'n') + "\n";
  EXPECT_EQ(os::WriteErr(notice), Written::kGivenUp);
  EXPECT_EQ(os::WriteErr("kiv: gone\n"), Written::kGivenUp);
  const std::string begun = ReadAll();
  EXPECT_EQ(begun, notice.substr(0, begun.size()));
  EXPECT_GT(begun.size(), 0u);
  EXPECT_LT(begun.size(), notice.size());
  EXPECT_EQ(os::WriteErr("kiv: next\n"), Written::kAll);
  EXPECT_EQ(ReadAll(),
            "\nplatform_os_test: 2 notices were dropped, since nobody read standard error\n"
            "kiv: next\n");
}

TEST_F(UnreadErrors, DoNotHoldANoticeWhenTheirReaderIsGone) {
  ::signal(SIGPIPE, SIG_IGN);
  ::close(ends_[0]);
  EXPECT_EQ(os::WriteErr("kiv: x\n"), Written::kFailed);
  ::signal(SIGPIPE, SIG_DFL);
  ends_[0] = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

}  // namespace
