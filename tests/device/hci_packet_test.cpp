// HCI packets from text, to text, and out of a stream of bytes.
#include "device/linux/hci_packet.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace kivtest {
namespace {

using Bytes = std::vector<uint8_t>;

struct Read {
  kiv_hci_verdict verdict;
  Bytes packet;
  bool operator==(const Read&) const = default;
};

Read Of(const std::string& text) {
  Bytes packet(KIV_HCI_MAX_SENT_BYTES);
  uint32_t length = 0;
  const kiv_hci_verdict verdict = kiv_hci_of_text(reinterpret_cast<const uint8_t*>(text.data()),
                                                  text.size(), packet.data(), &length);
  packet.resize(verdict == KIV_HCI_GOOD ? length : 0);
  return {verdict, packet};
}

std::string TextOf(const Bytes& packet) {
  std::string text(packet.size() * 3, '?');
  const uint32_t length = kiv_hci_to_text(packet.data(), static_cast<uint32_t>(packet.size()),
                                          reinterpret_cast<uint8_t*>(text.data()));
  EXPECT_EQ(length, text.size());
  return text;
}

TEST(HciPacket, IsReadFromPairsOfHexadecimalDigits) {
  const Read reset = {KIV_HCI_GOOD, {0x01, 0x03, 0x0C, 0x00}};
  for (const char* text : {"01 03 0c 00", "01 03 0C 00", "hci 01 03 0c 00", "hci_reset 01 03 0c 00",
                           "01030c00", "  01\t03 0c00\r\n", "HCI 01030C00", "-x 01 03 0c 00"}) {
    EXPECT_EQ(Of(text), reset) << text;
  }
}

TEST(HciPacket, IsOfAnyOfFiveTypes) {
  const std::vector<Bytes> packets = {{1, 0x01, 0x10, 2, 7, 8},
                                      {2, 0x40, 0x20, 3, 0, 7, 8, 9},
                                      {3, 0x40, 0x00, 1, 7},
                                      {4, 0x0E, 4, 1, 3, 0x0C, 0},
                                      {5, 0x60, 0x00, 2, 0xC0, 7, 8}};
  for (const Bytes& packet : packets) {
    EXPECT_EQ(Of(TextOf(packet)), (Read{KIV_HCI_GOOD, packet}));
    Bytes changed = packet;
    changed.push_back(0);
    EXPECT_EQ(Of(TextOf(changed)).verdict, KIV_HCI_LONG);
    for (std::size_t length = 1; length < packet.size(); ++length) {
      changed.assign(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(length));
      EXPECT_EQ(Of(TextOf(changed)).verdict, KIV_HCI_SHORT) << length;
    }
  }
}

TEST(HciPacket, IsRefusedWhenItsTextIsNone) {
  const std::vector<std::pair<std::string, kiv_hci_verdict>> rows = {
      {"", KIV_HCI_NO_BYTES},
      {"   ", KIV_HCI_NO_BYTES},
      {"hci", KIV_HCI_NO_BYTES},
      {"AT+CSQ", KIV_HCI_NO_BYTES},
      {"sh ls", KIV_HCI_NO_HEX},
      {"hci reset 01 03 0c 00", KIV_HCI_NO_HEX},
      {"01 03 0c 0", KIV_HCI_NO_HEX},
      {"01 03 0c g0", KIV_HCI_NO_HEX},
      {"01 03 0c 00 -", KIV_HCI_NO_HEX},
      {"0x01 03 0c 00", KIV_HCI_NO_HEX},
      {"1 01 03 0c 00", KIV_HCI_NO_HEX},
      {"a 01 03 0c 00", KIV_HCI_NO_HEX},
      {"01,03,0c,00", KIV_HCI_NO_HEX},
      {std::string("01 03 0c 00\0", 12), KIV_HCI_NO_HEX},
      {"01 03 0c \xc3\xa9", KIV_HCI_NO_HEX},
      {"00 03 0c 00", KIV_HCI_ODD_TYPE},
      {"06 03 0c 00", KIV_HCI_ODD_TYPE},
      {"ff", KIV_HCI_ODD_TYPE},
      {"02 00 00 ff ff", KIV_HCI_LONG},  // more than may be sent
      {"02 00 00 fc 07", KIV_HCI_LONG},
      {"02 00 00 fb 07", KIV_HCI_SHORT},
      {std::string(2 * 2049, '0'), KIV_HCI_LONG},
  };
  for (const auto& [text, verdict] : rows) {
    EXPECT_EQ(Of(text).verdict, verdict) << text.substr(0, 40);
  }
}

// All that a stream says, a line a packet, "stray" for bytes that begin none.
std::string Heard(const Bytes& bytes, std::size_t pieceBytes) {
  const auto stream = std::make_unique<kiv_hci_stream>();
  std::string all;
  for (std::size_t first = 0; first < bytes.size(); first += pieceBytes) {
    const std::size_t end = std::min(first + pieceBytes, bytes.size());
    std::size_t at = first;
    while (at < end) {
      bool whole = false;
      bool stray = false;
      const std::size_t taken =
          kiv_hci_stream_take(stream.get(), bytes.data() + at, end - at, &whole, &stray);
      EXPECT_GT(taken, 0u);
      at += taken;
      if (stray) all += "stray\n";
      if (whole) all += TextOf(Bytes(stream->packet, stream->packet + stream->used_bytes));
    }
  }
  return all;
}

TEST(HciStream, PutsPacketsTogetherFromPiecesOfAnyLength) {
  Bytes bytes;
  std::string expected;
  for (int i = 0; i < 3; ++i) {
    for (const Bytes& packet : {Bytes{4, 0x0E, 4, 1, 3, 0x0C, 0}, Bytes{4, 0x10, 0},
                                Bytes{2, 1, 0, 3, 0, 4, 4, 4}, Bytes{5, 1, 0, 1, 0x40, 9}}) {
      bytes.insert(bytes.end(), packet.begin(), packet.end());
      expected += TextOf(packet);
    }
  }
  for (std::size_t piece = 1; piece <= bytes.size(); ++piece) {
    EXPECT_EQ(Heard(bytes, piece), expected) << piece;
  }
}

TEST(HciStream, TakesTheLongestPacket) {
  Bytes packet = {2, 0, 0, 0xFF, 0xFF};
  packet.resize(5 + 65535, 0xA5);
  for (const std::size_t piece : {std::size_t{4096}, packet.size()}) {
    EXPECT_EQ(Heard(packet, piece), TextOf(packet));
  }
}

TEST(HciStream, LeavesOutWhatBeginsNoPacket) {
  EXPECT_EQ(Heard({0, 0xFF, 4, 0x10, 0, 9, 4, 0x10, 0}, 2),
            "stray\nstray\n04 10 00\nstray\n04 10 00\n");
}

}  // namespace
}  // namespace kivtest
