// Every text of building and posting is looked up in the user's language, before anything is put
// into it.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTranslator>
#include <string>

#include "command/packet/diag_packet.h"
#include "platform/bounded/pool.h"
#include "tests/command/packet/packet_catalogue.h"

using namespace kivtest;
using SvcKivClass::DiagPacket;
using SvcKivClass::PostFailureText;

namespace {

// Puts angle brackets around each text that is looked up.
class MarkingTranslator : public QTranslator {
 public:
  QString translate(const char* context, const char* sourceText, const char*, int) const override {
    if (std::string(context) != "QObject") return {};
    return QStringLiteral("<") + QString::fromUtf8(sourceText) + QStringLiteral(">");
  }
  bool isEmpty() const override { return false; }
};

class PacketTranslation : public PacketCatalogue {
 protected:
  void SetUp() override {
    PacketCatalogue::SetUp();
    QCoreApplication::installTranslator(&translator_);
  }
  void TearDown() override { QCoreApplication::removeTranslator(&translator_); }

  int argc_ = 1;
  char name_[5] = "test";
  char* argv_[2] = {name_, nullptr};
  QCoreApplication application_{argc_, argv_};
  MarkingTranslator translator_;
};

}  // namespace

TEST_F(PacketTranslation, UnknownCommand) {
  DiagPacket packet(kUnknown, Path());
  const std::uint32_t status = packet.QueryDefaults();
  EXPECT_EQ(ReplyOf(packet),
            "<*** Failed to find valid packet (id=0xabcd, ret=" + std::to_string(status) +
                "). Maybe the parameter is invalid or the ID does not exist. \n>");
}

TEST_F(PacketTranslation, FailuresOfTheParameters) {
  DiagPacket packet(kThree, Path());
  ASSERT_EQ(packet.QueryDefaults(), 0u);
  packet.SplitRest(L"{1");
  packet.FillParameters();
  packet.SplitRest(L"{{1}}");
  packet.FillParameters();
  EXPECT_EQ(ReplyOf(packet),
            "<*** Failed to parse the diag command parameters (1).><the last '}' is missing.\n>"
            "<*** Failed to parse the diag command parameters (2).\n>"
            "<The depth of the parameters line does not match that of the default parameters "
            "tree.\n><The index of current parameter is %d.\n>");
}

TEST_F(PacketTranslation, DisplayAndEncoding) {
  DiagPacket packet(kText, Path());
  ASSERT_EQ(packet.QueryDefaults(), 0u);
  packet.DisplayInputParams({});
  pool::FailNth(1);
  packet.Encode();
  pool::FailNth(0);
  EXPECT_EQ(ReplyOf(packet),
            "<Input Parameters:\n********************>as it was  <\n********************\n>"
            "<*** Failed to execute diag command. Build diag command packet error. ErrNum =500\n>");
}

TEST_F(PacketTranslation, ResultsOfPosts) {
  EXPECT_EQ(PostFailureText(3207).ToUtf8(),
            "<*** Failed to execute diag command. Connect UE before using any commands.\n>");
  EXPECT_EQ(PostFailureText(23).ToUtf8(),
            "<*** Failed to execute diag command. Check MAC path.\n>");
  EXPECT_EQ(PostFailureText(500).ToUtf8(), "<*** Failed to execute diag command, ret=500\n>");
  EXPECT_EQ(PostFailureText(0).ToUtf8(), "");
}
