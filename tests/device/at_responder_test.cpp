// Conversations with the built-in AT responder: what a terminal sends, and all that comes back.
#include "device/linux/at_responder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kivtest {
namespace {

class Modem {
 public:
  Modem() {
    const kiv_at_identity self = {"Maker", "Model 1", "Rev 2", "123456789012345"};
    kiv_at_init(&responder_, &self, Take, &said_);
  }

  // Echo switched off, so that answers stand alone.
  static Modem Silent() {
    Modem modem;
    modem.Say("ATE0\r");
    return modem;
  }

  std::string Say(const std::string& text, std::size_t pieceBytes = 400) {
    said_.clear();
    responder_.context = &said_;  // the object may have moved
    for (std::size_t at = 0; at < text.size(); at += pieceBytes) {
      const std::string piece = text.substr(at, pieceBytes);
      kiv_at_feed(&responder_, reinterpret_cast<const uint8_t*>(piece.data()), piece.size());
    }
    return said_;
  }

 private:
  static void Take(void* context, const char* bytes, size_t lengthBytes) {
    static_cast<std::string*>(context)->append(bytes, lengthBytes);
  }

  std::string said_;
  kiv_at_responder responder_{};
};

// A line of information or a result, as it goes out with V1.
std::string Line(const std::string& text) { return "\r\n" + text + "\r\n"; }

struct Row {
  const char* line;
  std::string answer;
};

TEST(AtResponder, EchoesTheLineAndSaysOk) {
  EXPECT_EQ(Modem().Say("AT\r\n"), "AT\r\r\nOK\r\n");
  EXPECT_EQ(Modem().Say("at\r\n"), "at\r\r\nOK\r\n");
}

TEST(AtResponder, AnswersEachLineFromItsTable) {
  const std::string ok = Line("OK");
  const std::string error = Line("ERROR");
  const std::vector<Row> rows = {
      {"AT", ok},
      {"at+csq", Line("+CSQ: 20,0") + ok},
      {"AT+CGMI", Line("Maker") + ok},
      {"AT+GMI", Line("Maker") + ok},
      {"AT+CGMM", Line("Model 1") + ok},
      {"AT+CGMR", Line("Rev 2") + ok},
      {"AT+CGSN", Line("123456789012345") + ok},
      {"AT+CGMI=?", ok},
      {"ATI", Line("Maker") + Line("Model 1") + Line("Rev 2") + ok},
      {"ATI3", Line("Rev 2") + ok},
      {"ATI4", error},
      {"AT+CSQ=?", Line("+CSQ: (0-31,99),(0-7,99)") + ok},
      {"AT+CSQ?", error},
      {"AT+CFUN?", Line("+CFUN: 1") + ok},
      {"AT+CFUN=?", Line("+CFUN: (0,1,4),(0,1)") + ok},
      {"AT+CFUN=2", error},
      {"AT+CFUN=1,2", error},
      {"AT+CFUN=1,1,1", error},
      {"AT+CFUN=1,0", ok},
      {"AT+CPIN?", Line("+CPIN: READY") + ok},
      {"AT+CPIN=\"1234\"", error},
      {"AT+CREG?", Line("+CREG: 0,1") + ok},
      {"AT+CREG=3", error},
      {"AT+COPS?", Line("+COPS: 0,0,\"Kiv Bench\"") + ok},
      {"AT+CMEE?", Line("+CMEE: 0") + ok},
      {"AT+GCAP", Line("+GCAP: +CGSM") + ok},
      {"AT+NOSUCH", error},
      {"AT^NOSUCH", error},
      {"AT+", error},
      {"AT=", error},
      {"AT&", error},
      {"AT&K", error},
      {"ATB", error},
      {"ATE2", error},
      {"ATE99999999999999999999", error},
      {"AT+CFUN=99999999999999999999", error},
      {"AT+CFUN=one", error},
      {"AT+CFUN?1", error},
      {"ATD123;", Line("NO CARRIER")},
      {"ATA", Line("NO CARRIER")},
      {"ATH", ok},
      {"AT ; ;", ok},
      {"  AT + C S Q  ", Line("+CSQ: 20,0") + ok},
      {"noise AT+CSQ", Line("+CSQ: 20,0") + ok},
      {"aAT", ok},
      {"no command", ""},
      {"", ""},
  };
  for (const Row& row : rows) {
    Modem modem = Modem::Silent();
    EXPECT_EQ(modem.Say(std::string(row.line) + "\r\n"), row.answer) << row.line;
  }
}

TEST(AtResponder, RunsTheCommandsOfOneLineUntilOneFails) {
  Modem modem = Modem::Silent();
  EXPECT_EQ(
      modem.Say("ATI1+CSQ;+CREG?;+CFUN?\r"),
      Line("Maker") + Line("+CSQ: 20,0") + Line("+CREG: 0,1") + Line("+CFUN: 1") + Line("OK"));
  EXPECT_EQ(modem.Say("AT+CSQ;+CFUN=7;+CFUN=4\r"), Line("+CSQ: 20,0") + Line("ERROR"));
  EXPECT_EQ(modem.Say("AT+CFUN?\r"), Line("+CFUN: 1") + Line("OK"));
}

TEST(AtResponder, AnswersTheSameInPiecesOfAnyLength) {
  const std::string line = "AT+CSCS=\"UTF-8\";+CSCS?;E1\r\nAT+COPS=0,2;+COPS?\r\n";
  const std::string whole = Modem().Say(line);
  for (std::size_t piece = 1; piece < line.size(); ++piece) {
    EXPECT_EQ(Modem().Say(line, piece), whole) << piece;
  }
}

TEST(AtResponder, KeepsARegisterAndShowsItInThreeDigits) {
  Modem modem = Modem::Silent();
  EXPECT_EQ(modem.Say("ATS0?\r"), Line("000") + Line("OK"));
  EXPECT_EQ(modem.Say("ATS0=5S7=30\r"), Line("OK"));
  EXPECT_EQ(modem.Say("ATS0?S7?\r"), Line("005") + Line("030") + Line("OK"));
  for (const char* wrong : {"ATS0", "ATS", "ATS0=256", "ATS1=1", "ATS13?", "ATS999999?", "ATS=1",
                            "ATS3=128", "ATS6=11"}) {
    EXPECT_EQ(modem.Say(std::string(wrong) + "\r"), Line("ERROR")) << wrong;
  }
}

TEST(AtResponder, EndsLinesAtTheCharacterOfS3AndEditsWithS5) {
  Modem modem = Modem::Silent();
  EXPECT_EQ(modem.Say("ATS3=33\r"), "!\nOK!\n");
  EXPECT_EQ(modem.Say("AT\r\n+CSQ!"), "!\n+CSQ: 20,0!\n!\nOK!\n");
  EXPECT_EQ(modem.Say("ATS3=13!"), Line("OK"));
  EXPECT_EQ(modem.Say("AT+CSX\bQ\r"), Line("+CSQ: 20,0") + Line("OK"));
  EXPECT_EQ(modem.Say("AT\b\b\b\r"), Line("OK"));
  EXPECT_EQ(modem.Say("ATS5=46\r"), Line("OK"));
  EXPECT_EQ(modem.Say("AT+CSX.Q\r"), Line("+CSQ: 20,0") + Line("OK"));
}

TEST(AtResponder, SpeaksInNumbersOrNotAtAll) {
  Modem modem = Modem::Silent();
  EXPECT_EQ(modem.Say("ATV0\r"), "0\r");
  EXPECT_EQ(modem.Say("AT+CSQ\r"), "+CSQ: 20,0\r\n0\r");
  EXPECT_EQ(modem.Say("AT+NONE\r"), "4\r");
  EXPECT_EQ(modem.Say("ATA\r"), "3\r");
  EXPECT_EQ(modem.Say("ATV1Q1\r"), "");
  EXPECT_EQ(modem.Say("AT+CSQ\r"), Line("+CSQ: 20,0"));
  EXPECT_EQ(modem.Say("ATQ0\r"), Line("OK"));
}

TEST(AtResponder, TellsErrorsAsCmeeSays) {
  Modem modem = Modem::Silent();
  EXPECT_EQ(modem.Say("AT+CMEE=1;+CFUN=9\r"), Line("+CME ERROR: 50"));
  EXPECT_EQ(modem.Say("AT+CMEE=2;+CPIN=\"1\"\r"), Line("+CME ERROR: operation not allowed"));
  EXPECT_EQ(modem.Say("AT+CSQ?\r"), Line("+CME ERROR: operation not supported"));
  EXPECT_EQ(modem.Say("AT+CPIN=\"123456789\"\r"), Line("+CME ERROR: text string too long"));
  EXPECT_EQ(modem.Say("AT+NONE\r"), Line("ERROR"));
}

TEST(AtResponder, LosesTheNetworkWithTheRadio) {
  Modem modem = Modem::Silent();
  EXPECT_EQ(modem.Say("AT+CFUN=4;+CREG?;+CSQ;+COPS?\r"),
            Line("+CREG: 0,0") + Line("+CSQ: 99,99") + Line("+COPS: 0") + Line("OK"));
  EXPECT_EQ(modem.Say("AT+CFUN=1;+CREG=2;+CREG?\r"), Line("+CREG: 2,1") + Line("OK"));
}

TEST(AtResponder, ReadsStringsWithSemicolonsBlanksAndEscapes) {
  Modem modem = Modem::Silent();
  EXPECT_EQ(modem.Say("AT+CMEE=2;+CSCS=\"GSM\";+CSCS?\r"), Line("+CSCS: \"GSM\"") + Line("OK"));
  EXPECT_EQ(modem.Say("AT+CSCS=\"\\47SM\"\r"), Line("OK"));
  for (const char* wrong : {"\"gsm\"", "\"GSM;x\"", "\"G SM\"", "\"GSM", "GSM", "\"G\\4\"",
                            "\"G\\00\"", "\"GSM\"x", "\"GSM\",1", ""}) {
    EXPECT_EQ(modem.Say(std::string("AT+CSCS=") + wrong + "\r"),
              Line("+CME ERROR: incorrect parameters"))
        << wrong;
  }
  EXPECT_EQ(modem.Say("AT+CSCS?\r"), Line("+CSCS: \"GSM\"") + Line("OK"));
}

TEST(AtResponder, ForgetsWithZAndWithFactory) {
  Modem modem = Modem::Silent();
  EXPECT_EQ(modem.Say("AT+CMEE=2;S0=4\r"), Line("OK"));
  EXPECT_EQ(modem.Say("AT&W+CMEE=1\r"), Line("OK"));
  EXPECT_EQ(modem.Say("ATZ+CSQ\r"), Line("OK"));  // what stands behind Z is left out
  EXPECT_EQ(modem.Say("AT+CMEE?;S0?\r"), Line("+CMEE: 2") + Line("004") + Line("OK"));
  EXPECT_EQ(modem.Say("AT&FE0+CMEE?;S0?\r"), Line("+CMEE: 0") + Line("000") + Line("OK"));
  EXPECT_EQ(modem.Say("AT&V\r"),
            Line("E0 Q0 V1 X4 L0 M0 &C1 &D2") +
                Line("S00:000 S03:013 S04:010 S05:008 S06:002 S07:050 S08:002 S10:014 S12:050") +
                Line("OK"));
}

TEST(AtResponder, RepeatsTheLastLineWithoutALineEnd) {
  Modem modem = Modem::Silent();
  EXPECT_EQ(modem.Say("A/"), Line("OK"));  // ATE0 once more
  EXPECT_EQ(modem.Say("AT+CSQ\r\na/"),
            Line("+CSQ: 20,0") + Line("OK") + Line("+CSQ: 20,0") + Line("OK"));
}

TEST(AtResponder, AnswersAFloodWithoutAnEndWithOneError) {
  Modem modem = Modem::Silent();
  EXPECT_EQ(modem.Say("AT" + std::string(100000, '+')), "");
  EXPECT_EQ(modem.Say("\r"), Line("ERROR"));
  EXPECT_EQ(modem.Say("AT" + std::string(KIV_AT_LINE_BYTES, ';') + "\r"), Line("OK"));
  EXPECT_EQ(modem.Say("AT" + std::string(KIV_AT_LINE_BYTES + 1, ';') + "\r"), Line("ERROR"));
}

TEST(AtResponder, ListsNothingThatItDoesNotKnow) {
  Modem modem = Modem::Silent();
  const std::string list = modem.Say("AT+CLAC\r");
  int count = 0;
  for (std::size_t at = list.find("AT+"); at != std::string::npos; at = list.find("AT+", at + 1)) {
    const std::string name = list.substr(at, list.find('\r', at) - at);
    const std::string answer = modem.Say(name + "=?\r");
    EXPECT_EQ(answer.substr(answer.size() - 6), "\r\nOK\r\n") << name;
    ++count;
  }
  EXPECT_EQ(count, 29);
}

}  // namespace
}  // namespace kivtest
