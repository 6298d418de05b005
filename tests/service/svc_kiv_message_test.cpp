#include "svckiv/svc_kiv_message.h"

#include <gtest/gtest.h>

#include <QMetaMethod>
#include <QMetaType>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "tests/fakes/module_bench.h"
#include "tests/service/queued_view.h"

namespace {

using kivtest::QueuedView;
using SvcKivSpace::SvcKivMessage;
using SvcKivSpace::SvcKivMsgType;

int g_payload = 0;

TEST(SvcKivMessage, IsKnownToTheMetaSystemByItsFullName) {
  SvcKivMessage message;
  EXPECT_STREQ(message.metaObject()->className(), "SvcKivSpace::SvcKivMessage");
  EXPECT_EQ(message.qt_metacast("SvcKivSpace::SvcKivMessage"), static_cast<void*>(&message));
  EXPECT_EQ(message.qt_metacast("SvcKivMessage"), nullptr);
}

TEST(SvcKivMessage, HasOneSignalAndNothingElse) {
  const QMetaObject& meta = SvcKivMessage::staticMetaObject;
  ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 1);
  const QMetaMethod method = meta.method(meta.methodOffset());
  EXPECT_EQ(method.methodType(), QMetaMethod::Signal);
  EXPECT_EQ(method.methodSignature(), QByteArray("SvcHandleMessage(SvcKivMsgType,void*)"));
  EXPECT_EQ(meta.propertyCount(), meta.propertyOffset());
}

TEST(SvcKivMessage, RegistersItsKindAsAFourByteValueUnderTheNameThatHostsLookUp) {
  SvcKivMessage message;
  const int id = QMetaType::type("SVC_KIV_MGS_TYPE");
  ASSERT_NE(id, QMetaType::UnknownType);
  EXPECT_STREQ(QMetaType::typeName(id), "SVC_KIV_MGS_TYPE");
  EXPECT_EQ(QMetaType::sizeOf(id), 4);
  EXPECT_EQ(QMetaType::type("SvcKivMsgType"), id);
  EXPECT_EQ(QMetaType::type("SvcKivSpace::SvcKivMsgType"), id);
}

TEST(SvcKivMessage, KeepsAPayloadForItsOwnerWhereNobodyReceivesIt) {
  SvcKivMessage message;
  EXPECT_FALSE(message.SVCSendToReceiver(SvcKivSpace::kAt, &g_payload));
  void* got = nullptr;
  const auto connection = QObject::connect(&message, &SvcKivMessage::SvcHandleMessage,
                                           [&got](SvcKivMsgType, void* payload) { got = payload; });
  EXPECT_TRUE(message.SVCSendToReceiver(SvcKivSpace::kAt, &g_payload));
  EXPECT_EQ(got, &g_payload);
  EXPECT_TRUE(message.SVCSendToReceiver(SvcKivSpace::kAt, nullptr));
  EXPECT_EQ(got, nullptr);
  QObject::disconnect(connection);
  EXPECT_FALSE(message.SVCSendToReceiver(SvcKivSpace::kAt, &g_payload));
  EXPECT_EQ(got, nullptr);
}

TEST(SvcKivMessage, MayBeMadeTwiceInOneProcess) {
  SvcKivMessage first;
  const int id = QMetaType::type("SVC_KIV_MGS_TYPE");
  SvcKivMessage second;
  EXPECT_EQ(QMetaType::type("SVC_KIV_MGS_TYPE"), id);
}

TEST(SvcKivMessage, SendsEachKindOnceWithItsPayloadInTheCallersThread) {
  SvcKivMessage message;
  std::vector<std::pair<int, void*>> got;
  std::thread::id thread;
  QObject::connect(
      &message, &SvcKivMessage::SvcHandleMessage, &message,
      [&](SvcKivMsgType kind, void* payload) {
        got.emplace_back(kind, payload);
        thread = std::this_thread::get_id();
      },
      Qt::DirectConnection);
  std::thread sender([&] {
    for (int kind = 0; kind <= 5; ++kind) {
      message.SVCSendMessage(static_cast<SvcKivMsgType>(kind), kind == 3 ? nullptr : &g_payload);
    }
  });
  const std::thread::id senderId = sender.get_id();
  sender.join();
  const std::vector<std::pair<int, void*>> expected = {{0, &g_payload}, {1, &g_payload},
                                                       {2, &g_payload}, {3, nullptr},
                                                       {4, &g_payload}, {5, &g_payload}};
  EXPECT_EQ(got, expected);
  EXPECT_EQ(thread, senderId);
}

TEST(SvcKivMessage, ReachesAQueuedViewOfTheNewConnectStyle) {
  kivtest::CoreApplication();
  SvcKivMessage message;
  QueuedView view;
  ASSERT_TRUE(QObject::connect(&message, &SvcKivMessage::SvcHandleMessage, &view, &QueuedView::Take,
                               Qt::QueuedConnection));
  message.SVCSendMessage(SvcKivSpace::kAt, &g_payload);
  EXPECT_TRUE(view.got.empty());
  QCoreApplication::processEvents();
  const std::vector<std::pair<int, void*>> expected = {{2, &g_payload}};
  EXPECT_EQ(view.got, expected);
}

TEST(SvcKivMessage, ReachesAQueuedViewOfTheOldConnectStyle) {
  kivtest::CoreApplication();
  SvcKivMessage message;
  QueuedView view;
  ASSERT_TRUE(QObject::connect(&message, SIGNAL(SvcHandleMessage(SvcKivMsgType, void*)), &view,
                               SLOT(Take(SvcKivMsgType, void*)), Qt::QueuedConnection));
  message.SVCSendMessage(SvcKivSpace::kShell, nullptr);
  EXPECT_TRUE(view.got.empty());
  QCoreApplication::processEvents();
  const std::vector<std::pair<int, void*>> expected = {{5, nullptr}};
  EXPECT_EQ(view.got, expected);
}

TEST(SvcKivMessage, HasTheKindsThatHostsCountOn) {
  EXPECT_EQ(sizeof(SvcKivMsgType), 4u);
  EXPECT_EQ(SvcKivSpace::kNotice, 0);
  EXPECT_EQ(SvcKivSpace::kReply, 1);
  EXPECT_EQ(SvcKivSpace::kAt, 2);
  EXPECT_EQ(SvcKivSpace::kTestCase, 3);
  EXPECT_EQ(SvcKivSpace::kText, 4);
  EXPECT_EQ(SvcKivSpace::kShell, 5);
}

}  // namespace
