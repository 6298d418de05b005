// What a TCP connection begins with, as docs/wire-format.md shows it.
#include "device/linux/token.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/tree_paths.h"

namespace kivtest {
namespace {

// The example of the page: what a host with the token `correct-horse-battery` sends.
std::vector<uint8_t> Example() {
  std::ifstream file(std::string(SourceDir()) + "/docs/wire-format.md");
  std::vector<uint8_t> bytes;
  bool inside = false;
  for (std::string word; file >> word;) {
    if (inside && word == "```") break;
    if (inside) bytes.push_back(static_cast<uint8_t>(std::stoul(word, nullptr, 16)));
    if (word == "```token") inside = true;
  }
  return bytes;
}

kiv_token TokenOf(const char* text) {
  kiv_token token{};
  token.length_bytes = static_cast<uint8_t>(std::strlen(text));
  std::memcpy(token.bytes, text, token.length_bytes);
  return token;
}

kiv_token_verdict Show(const kiv_token& token, const std::vector<uint8_t>& bytes,
                       std::size_t pieceBytes) {
  kiv_token_check check{};
  kiv_token_verdict verdict = KIV_TOKEN_UNDECIDED;
  for (std::size_t at = 0; at < bytes.size() && verdict == KIV_TOKEN_UNDECIDED;) {
    std::size_t piece = std::min(pieceBytes, bytes.size() - at);
    piece = std::min<std::size_t>(piece, kiv_token_wanted_bytes(&check));
    EXPECT_GT(piece, 0u);
    verdict = kiv_token_take(&check, &token, bytes.data() + at, static_cast<uint32_t>(piece));
    at += piece;
  }
  return verdict;
}

TEST(Token, OfTheWirePageIsRightInPiecesOfAnyLength) {
  const std::vector<uint8_t> example = Example();
  ASSERT_EQ(example.size(), 30u);
  const kiv_token token = TokenOf("correct-horse-battery");
  for (std::size_t piece = 1; piece <= example.size(); ++piece) {
    EXPECT_EQ(Show(token, example, piece), KIV_TOKEN_RIGHT) << piece;
  }
}

TEST(Token, IsUndecidedUntilItsLastByte) {
  const kiv_token token = TokenOf("correct-horse-battery");
  std::vector<uint8_t> bytes = Example();
  while (!bytes.empty()) {
    bytes.pop_back();
    EXPECT_EQ(Show(token, bytes, 1), KIV_TOKEN_UNDECIDED) << bytes.size();
  }
}

TEST(Token, IsWrongWhicheverByteOrBitDiffers) {
  const kiv_token token = TokenOf("correct-horse-battery");
  const std::vector<uint8_t> example = Example();
  for (std::size_t at = 0; at < example.size(); ++at) {
    for (int bit = 0; bit < 8; ++bit) {
      std::vector<uint8_t> bytes = example;
      bytes[at] = static_cast<uint8_t>(bytes[at] ^ (1 << bit));
      bytes.resize(bytes.size() + 64, 'x');  // as far as a longer one would be read
      EXPECT_EQ(Show(token, bytes, 100), KIV_TOKEN_WRONG) << at << " " << bit;
    }
  }
}

TEST(Token, OfAnotherLengthIsWrongEvenWhereTheRestIsZeros) {
  std::vector<uint8_t> bytes = Example();
  bytes[8] = 22;
  bytes.push_back(0);
  EXPECT_EQ(Show(TokenOf("correct-horse-battery"), bytes, 100), KIV_TOKEN_WRONG);
  bytes = Example();
  bytes[8] = 16;
  EXPECT_EQ(Show(TokenOf("correct-horse-battery"), bytes, 100), KIV_TOKEN_WRONG);
  EXPECT_EQ(Show(TokenOf("correct-horse-ba"), bytes, 100), KIV_TOKEN_RIGHT);
}

}  // namespace
}  // namespace kivtest
