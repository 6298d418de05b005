// A typed MAC path as the 18-byte routing header.
#include "command/packet/mac_tools.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/support/hex.h"

using namespace kivtest;
using SvcKivClass::MacTools;
using SvcKivClass::RoutingHeader;

namespace {

// "status hops header" of a path.
std::string Converted(std::string_view path) {
  RoutingHeader header;
  header.fill(0xEE);
  std::uint32_t hops = 77;
  const std::uint32_t status = MacTools::PathToHeader(QCString::FromUtf8(path), header, &hops);
  return std::to_string(status) + " " + std::to_string(hops) + " " +
         ToHex(header.data(), header.size());
}

// Status alone of a path of one hop.
std::uint32_t StatusOf(std::string_view hop) {
  RoutingHeader header;
  return MacTools::PathToHeader(QCString::FromUtf8(hop), header, nullptr);
}

}  // namespace

TEST(MacTools, OneHopFillsTheFirstSixBytes) {
  EXPECT_EQ(Converted("00:11:22:33:44:55"), "0 1 001122334455000000000000000000000000");
}

TEST(MacTools, ThreeHopsFillAllEighteenBytes) {
  EXPECT_EQ(Converted("00:11:22:33:44:55->66:77:88:99:AA:BB->cc:dd:ee:ff:00:01"),
            "0 3 00112233445566778899aabbccddeeff0001");
}

TEST(MacTools, FourthHopIsRefusedWithThreeReported) {
  EXPECT_EQ(Converted("00:11:22:33:44:55->66:77:88:99:AA:BB->cc:dd:ee:ff:00:01->02:03:04:05:06:07")
                .substr(0, 5),
            "23 3 ");
}

TEST(MacTools, DigitsOfEitherCaseGiveTheSameBytes) {
  EXPECT_EQ(Converted("aA:bB:cC:dD:eE:fF"), Converted("AA:BB:CC:DD:EE:FF"));
}

TEST(MacTools, ColonsAndDashesSeparateAlsoMixed) {
  EXPECT_EQ(Converted("00-11:22-33:44-55"), Converted("00:11:22:33:44:55"));
}

TEST(MacTools, BlanksInsideAHopAreIgnored) {
  EXPECT_EQ(Converted("  0 0:11 :22:33:44: 55 -> 66:77:88:99:AA:BB "),
            "0 2 00112233445566778899aabb000000000000");
}

TEST(MacTools, TabsAreNoBlanks) { EXPECT_EQ(StatusOf("00:11:22:33:44:55\t"), 23u); }

TEST(MacTools, DashBeforeTheArrowBelongsToTheHop) {
  EXPECT_EQ(StatusOf("00:11:22:33:44:55-->00:11:22:33:44:55"), 23u);
}

TEST(MacTools, HopOfOtherLengthIsRefused) {
  EXPECT_EQ(StatusOf("00:11:22:33:44:5"), 23u);
  EXPECT_EQ(StatusOf("00:11:22:33:44:556"), 23u);
  EXPECT_EQ(StatusOf(""), 23u);
}

TEST(MacTools, EmptyHopBesideAGoodOneIsRefused) {
  EXPECT_EQ(StatusOf("->00:11:22:33:44:55"), 23u);
  EXPECT_EQ(StatusOf("00:11:22:33:44:55->"), 23u);
  EXPECT_EQ(StatusOf("00:11:22:33:44:55->->00:11:22:33:44:55"), 23u);
}

TEST(MacTools, EachWrongCharacterIsRefused) {
  const std::string good = "00:11:22:33:44:55";
  for (std::size_t i = 0; i < good.size(); ++i) {
    for (const char wrong : {'g', 'G', '/', '@', '`', '.', ';', '>'}) {
      std::string bad = good;
      bad[i] = wrong;
      EXPECT_EQ(StatusOf(bad), 23u) << bad;
    }
    std::string swapped = good;
    swapped[i] = good[i] == ':' ? '0' : ':';
    EXPECT_EQ(StatusOf(swapped), 23u) << swapped;
  }
}

TEST(MacTools, DigitsOfOtherScriptsAreRefused) {
  EXPECT_EQ(StatusOf("0\xD9\xA1:11:22:33:44:55"), 23u);  // an Arabic-Indic one
}

TEST(MacTools, HopsBeforeABadOneStayConverted) {
  EXPECT_EQ(Converted("00:11:22:33:44:55->x"), "23 1 001122334455000000000000000000000000");
}

TEST(MacTools, AllZeroHopIsAnAddressLikeAnyOther) {
  EXPECT_EQ(Converted("00:00:00:00:00:00->11:11:11:11:11:11"),
            "0 2 000000000000111111111111000000000000");
}
