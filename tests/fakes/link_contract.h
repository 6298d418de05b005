// What every device link keeps, the recording fake and the real one: one suite, run over both.
//
// A side is a class with:
//   void Start(CLinkClient&)       connects the client; returns when posts are accepted
//   void Echo()                    the device confirms its last request with the same words and
//   body void SendInd(id, body)         the device sends an indication LastRequest() the device's
//   view of the last request: id, body, tag, word16, word
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/devlink/link_client.h"

namespace linkcontract {

using Body = std::vector<std::uint8_t>;

// What travels, either way.
struct Item {
  std::uint32_t cmdId = 0;
  std::uint32_t resultCode = 0;
  bool isInd = false;
  Body body = {};
  std::uint16_t tag = 0;
  std::uint16_t word16 = 0;
  std::uint32_t word = 0;

  bool operator==(const Item&) const = default;
};

// A client that keeps what it is handed.
class Client : public CLinkClientDiagCmd {
 public:
  Client() : CLinkClientDiagCmd(0, L"Kiv 1") {}
  ~Client() override { End(); }

  void End() {
    StopConnect(256, 1, 8191);
    Shutdown(200, 1);
  }
  // The packets so far, once there are `count`; those that came in time otherwise.
  std::vector<Item> WaitFor(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::seconds(20), [&] { return items_.size() >= count; });
    return items_;
  }

 protected:
  std::int32_t ReceiveCmd(const ReceivedPacket* records, std::uint32_t count) override {
    std::lock_guard lock(mutex_);
    for (std::uint32_t i = 0; i < count; ++i) {
      const ReceivedPacket& from = records[i];
      Body body(from.body, from.body + from.bodyLengthBytes);
      items_.push_back({from.cmdId, from.resultCode, from.isInd != 0, std::move(body), from.tag,
                        from.word16, from.word});
    }
    changed_.notify_all();
    return 0;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Item> items_;
};

template <typename Side>
class LinkContract : public testing::Test {
 protected:
  void Connect() {
    client_.InstallClient(256, 1);
    side_.Start(client_);
  }

  Side side_;
  Client client_;
};

TYPED_TEST_SUITE_P(LinkContract);

TYPED_TEST_P(LinkContract, KeepsTheNameOfTheClient) {
  EXPECT_EQ(this->client_.GetName(), L"Kiv 1");
}

TYPED_TEST_P(LinkContract, AnswersThatTheLinkIsDownBeforeItIsConnected) {
  EXPECT_EQ(this->client_.PostCmd(1, "x", 1, 0, 0, 0), 3207u);
  EXPECT_EQ(this->client_.PostRawData("x", 1), 3207u);
  EXPECT_EQ(this->client_.PostSdtFrame(1, "x", 1), 3207u);
}

TYPED_TEST_P(LinkContract, AnswersThatTheLinkIsDownAfterItWasStopped) {
  this->Connect();
  EXPECT_EQ(this->client_.PostCmd(1, "x", 1, 0, 0, 0), 0u);
  this->client_.End();
  EXPECT_EQ(this->client_.PostCmd(1, "x", 1, 0, 0, 0), 3207u);
}

TYPED_TEST_P(LinkContract, MayBeEndedTwiceAndWithoutHavingBegun) {
  this->client_.End();
  this->client_.End();
}

TYPED_TEST_P(LinkContract, CarriesEveryWordOfARequestAndOfItsConfirmation) {
  this->Connect();
  EXPECT_EQ(this->client_.PostCmd(0x12345678, "\x7E\x7D\x00", 3, 0xBEEF, 0xCAFE, 0xDEADBEEF), 0u);
  const Item expected = {0x12345678, 0, false, {0x7E, 0x7D, 0}, 0xBEEF, 0xCAFE, 0xDEADBEEF};
  EXPECT_EQ(this->side_.LastRequest(), expected);
  this->side_.Echo();
  EXPECT_EQ(this->client_.WaitFor(1), std::vector<Item>{expected});
}

TYPED_TEST_P(LinkContract, CopiesTheBufferBeforeThePostReturns) {
  this->Connect();
  auto buffer = std::make_unique<Body>(1000, std::uint8_t{1});
  EXPECT_EQ(this->client_.PostCmd(5, buffer->data(), 1000, 0, 0, 0), 0u);
  std::fill(buffer->begin(), buffer->end(), std::uint8_t{2});
  buffer.reset();
  EXPECT_EQ(this->side_.LastRequest().body, Body(1000, 1));
}

TYPED_TEST_P(LinkContract, TakesANullBodyOfLengthZero) {
  this->Connect();
  EXPECT_EQ(this->client_.PostCmd(5, nullptr, 0, 1, 0, 0), 0u);
  const Item expected = {.cmdId = 5, .tag = 1};
  EXPECT_EQ(this->side_.LastRequest(), expected);
  this->side_.Echo();
  EXPECT_EQ(this->client_.WaitFor(1), std::vector<Item>{expected});
}

TYPED_TEST_P(LinkContract, HandsIndicationsOverInTheirOrder) {
  this->Connect();
  std::vector<Item> expected;
  for (std::uint8_t i = 0; i < 50; ++i) {
    this->side_.SendInd(0x2000u + i, {i, 0x7E});
    expected.push_back({.cmdId = 0x2000u + i, .isInd = true, .body = {i, 0x7E}});
  }
  EXPECT_EQ(this->client_.WaitFor(expected.size()), expected);
}

TYPED_TEST_P(LinkContract, HandsNothingOverAfterItsEnd) {
  this->Connect();
  this->side_.SendInd(1, {1});
  EXPECT_EQ(this->client_.WaitFor(1).size(), 1u);
  this->client_.End();
  this->side_.SendInd(2, {2});
  EXPECT_EQ(this->client_.WaitFor(0).size(), 1u);
}

TYPED_TEST_P(LinkContract, HasATextForEveryResultCode) {
  EXPECT_EQ(this->client_.GetResultCodeString(0), L"ok");
  EXPECT_EQ(this->client_.GetResultCodeString(22), L"too long");
  EXPECT_EQ(this->client_.GetResultCodeString(987654), L"result 987654");
  EXPECT_FALSE(this->client_.GetErrorString(3207).IsEmpty());
}

REGISTER_TYPED_TEST_SUITE_P(LinkContract, KeepsTheNameOfTheClient,
                            AnswersThatTheLinkIsDownBeforeItIsConnected,
                            AnswersThatTheLinkIsDownAfterItWasStopped,
                            MayBeEndedTwiceAndWithoutHavingBegun,
                            CarriesEveryWordOfARequestAndOfItsConfirmation,
                            CopiesTheBufferBeforeThePostReturns, TakesANullBodyOfLengthZero,
                            HandsIndicationsOverInTheirOrder, HandsNothingOverAfterItsEnd,
                            HasATextForEveryResultCode);

}  // namespace linkcontract
