// The message object as a view sees it: names of the meta-object, the kind's meta-type, and every
// way to connect.
#include <gtest/gtest.h>

#include <QMetaMethod>
#include <QMetaType>
#include <QThread>
#include <memory>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "svckiv/svc_kiv_message.h"
#include "tests/fakes/module_bench.h"
#include "tests/fakes/wait_until.h"

namespace {

using SvcKivSpace::SvcKivMessage;
using SvcKivSpace::SvcKivMsgType;
using Got = std::vector<std::pair<int, void*>>;

static_assert(std::is_same_v<std::underlying_type_t<SvcKivMsgType>, int>);
static_assert(sizeof(SvcKivMsgType) == 4);

TEST(MessageToTheView, HasTheClassNameThatHostsAskFor) {
  SvcKivMessage message;
  EXPECT_STREQ(message.metaObject()->className(), "SvcKivSpace::SvcKivMessage");
  EXPECT_EQ(message.qt_metacast("SvcKivSpace::SvcKivMessage"), static_cast<void*>(&message));
  EXPECT_EQ(message.qt_metacast("QObject"), static_cast<void*>(static_cast<QObject*>(&message)));
  EXPECT_EQ(message.qt_metacast("SvcKivMessage"), nullptr);
  EXPECT_TRUE(message.inherits("QObject"));
}

TEST(MessageToTheView, HasItsSignalAsTheFirstAndOnlyOne) {
  const QMetaObject& meta = SvcKivMessage::staticMetaObject;
  int signalCount = 0;
  for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
    signalCount += meta.method(i).methodType() == QMetaMethod::Signal ? 1 : 0;
  }
  EXPECT_EQ(signalCount, 1);
  const QMetaMethod first = meta.method(meta.methodOffset());
  EXPECT_EQ(first.methodType(), QMetaMethod::Signal);
  EXPECT_EQ(first.methodSignature(), QByteArray("SvcHandleMessage(SvcKivMsgType,void*)"));
}

TEST(MessageToTheView, RegistersTheKindUnderTheNameThatHostsLookUp) {
  const SvcKivMessage message;
  const int id = QMetaType::type("SVC_KIV_MGS_TYPE");
  ASSERT_NE(id, static_cast<int>(QMetaType::UnknownType));
  EXPECT_STREQ(QMetaType::typeName(id), "SVC_KIV_MGS_TYPE");
  EXPECT_EQ(QMetaType::sizeOf(id), 4);
  EXPECT_EQ(QMetaType::type("SvcKivMsgType"), id);
  EXPECT_EQ(QMetaType::type("SvcKivSpace::SvcKivMsgType"), id);
}

TEST(MessageToTheView, MoreObjectsKeepTheSameName) {
  const SvcKivMessage first, second, third;
  EXPECT_STREQ(QMetaType::typeName(QMetaType::type("SvcKivMsgType")), "SVC_KIV_MGS_TYPE");
}

TEST(MessageToTheView, PassesEveryKindAndPayloadOnUnchangedInTheCallersThread) {
  SvcKivMessage message;
  Got got;
  std::thread::id thread;
  QObject::connect(
      &message, &SvcKivMessage::SvcHandleMessage, &message,
      [&](SvcKivMsgType kind, void* payload) {
        got.emplace_back(kind, payload);
        thread = std::this_thread::get_id();
      },
      Qt::DirectConnection);
  int payload = 0;
  Got expected;
  for (int kind = 0; kind <= 5; ++kind) {
    message.SVCSendMessage(static_cast<SvcKivMsgType>(kind), kind == 3 ? nullptr : &payload);
    expected.emplace_back(kind, kind == 3 ? nullptr : &payload);
    EXPECT_EQ(got, expected);  // before the call returned
  }
  std::thread::id sender;
  std::thread([&] {
    sender = std::this_thread::get_id();
    message.SVCSendMessage(SvcKivSpace::kReply, nullptr);
  }).join();
  EXPECT_EQ(thread, sender);
}

TEST(MessageToTheView, ReachesAQueuedConnectionMadeByPointer) {
  kivtest::CoreApplication();
  SvcKivMessage message;
  Got got;
  QObject::connect(
      &message, &SvcKivMessage::SvcHandleMessage, &message,
      [&](SvcKivMsgType kind, void* payload) { got.emplace_back(kind, payload); },
      Qt::QueuedConnection);
  int payload = 0;
  message.SVCSendMessage(SvcKivSpace::kTestCase, &payload);
  EXPECT_TRUE(got.empty());
  ASSERT_TRUE(kivtest::WaitUntil([&] { return !got.empty(); }));
  EXPECT_EQ(got, (Got{{3, &payload}}));
}

TEST(MessageToTheView, ReachesAQueuedConnectionMadeByName) {
  kivtest::CoreApplication();
  SvcKivMessage message, relay;
  const char* const signal = SIGNAL(SvcHandleMessage(SvcKivMsgType, void*));
  Got got;
  ASSERT_TRUE(QObject::connect(&message, signal, &relay, signal, Qt::QueuedConnection));
  QObject::connect(
      &relay, &SvcKivMessage::SvcHandleMessage, &relay,
      [&](SvcKivMsgType kind, void* payload) { got.emplace_back(kind, payload); },
      Qt::DirectConnection);
  int payload = 0;
  message.SVCSendMessage(SvcKivSpace::kShell, &payload);
  EXPECT_TRUE(got.empty());
  ASSERT_TRUE(kivtest::WaitUntil([&] { return !got.empty(); }));
  EXPECT_EQ(got, (Got{{5, &payload}}));
}

}  // namespace
