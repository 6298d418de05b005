// The two greetings: what the host writes, what it takes for a device's.
#include "platform/devlink/greeting.h"

#include <gmock/gmock.h>

#include "tests/platform/devlink/wire_page.h"

namespace linktest {
namespace {

using devlink::HostGreeting;
using devlink::HostGreetingBody;
using devlink::ReadDeviceGreeting;

TEST(HostGreeting, IsThatOfTheWirePage) {
  HostGreeting greeting;
  greeting.name = "kiv";
  greeting.token = "s3cret";
  EXPECT_EQ(HostGreetingBody(greeting), TheWirePage().Example("hello-token").frame.payload);
}

TEST(HostGreeting, CarriesTheFingerprintInTheOrderOfItsDigits) {
  HostGreeting greeting;
  greeting.variant = 248;
  greeting.product = 38;
  greeting.catalogueFingerprint = 0x0011223344556677u;
  greeting.name = "k";
  EXPECT_EQ(HostGreetingBody(greeting),
            FromHex("4B 49 56 2D 48 4F 53 54 01 00 F8 00 26 00 00 00 00 00 00 00 08 00 11 22 33 "
                    "44 55 66 77 01 6B 00"));
}

TEST(HostGreeting, CutsALongNameBetweenCharacters) {
  HostGreeting greeting;
  for (int i = 0; i < 40; ++i) greeting.name += "\xC3\xA9x";  // 64 would cut the 22nd é
  const Bytes body = HostGreetingBody(greeting);
  EXPECT_EQ(body.at(21), 63);
  EXPECT_EQ(std::string(body.begin() + 22, body.end() - 1), greeting.name.substr(0, 63));
}

TEST(DeviceGreeting, IsReadFromTheWirePage) {
  const auto peer = ReadDeviceGreeting(TheWirePage().Example("hello-agent").frame.payload, 0);
  ASSERT_TRUE(peer);
  EXPECT_EQ(peer->agentName, "board");
  EXPECT_EQ(peer->protocolVersion, 1u);
  EXPECT_EQ(peer->variant, 248u);
  EXPECT_EQ(peer->product, 0u);
  EXPECT_EQ(peer->abilities, 0x107u);
  EXPECT_EQ(peer->catalogueFingerprint, 0x0011223344556677u);
}

Bytes Greeting(const std::string& fingerprintHex) {
  Bytes body = FromHex("4B 49 56 2D 55 4E 49 54 01 00 F8 00 00 00 00 00 07 01 00 00");
  const Bytes fingerprint = FromHex(fingerprintHex);
  body.push_back(static_cast<std::uint8_t>(fingerprint.size()));
  Append(body, fingerprint);
  Append(body, {1, 'b', 0});
  return body;
}

struct Fingerprints {
  const char* device;
  std::uint64_t own;
  bool differs;
};

TEST(DeviceGreeting, SaysWhetherTheCataloguesDiffer) {
  const Fingerprints rows[] = {
      {"00 11 22 33 44 55 66 77", 0x0011223344556677u, false},
      {"00 11 22 33 44 55 66 78", 0x0011223344556677u, true},
      {"00 11 22 33 44 55 66 77 00", 0x0011223344556677u, true},
      {"00 11", 0x0011223344556677u, true},
      {"", 0x0011223344556677u, false},
      {"00 11 22 33 44 55 66 77", 0, false},
  };
  for (const Fingerprints& row : rows) {
    const auto peer = ReadDeviceGreeting(Greeting(row.device), row.own);
    ASSERT_TRUE(peer);
    EXPECT_EQ(peer->fingerprintDiffers, row.differs) << row.device;
  }
}

TEST(DeviceGreeting, MayHaveMoreBehindTheToken) {
  Bytes body = Greeting("01");
  Append(body, {1, 2, 3});
  EXPECT_TRUE(ReadDeviceGreeting(body, 0));
}

TEST(DeviceGreeting, IsNoneWhenItEndsBeforeItsLastField) {
  const Bytes body = Greeting("00 11 22");
  for (std::size_t length = 0; length < body.size(); ++length) {
    EXPECT_FALSE(
        ReadDeviceGreeting(Bytes(body.begin(), body.begin() + static_cast<long>(length)), 0))
        << length;
  }
}

TEST(DeviceGreeting, IsNoneWithAnotherTextOrALengthAboveItsLimit) {
  Bytes host = Greeting("");
  std::copy_n("KIV-HOST", 8, host.begin());  // a line that sends back what it is sent
  EXPECT_FALSE(ReadDeviceGreeting(host, 0));
  for (const std::size_t at : {20u, 21u, 23u}) {
    Bytes body = Greeting("");
    body.at(at) = 65;
    body.insert(body.end(), 200, 'x');
    EXPECT_FALSE(ReadDeviceGreeting(body, 0)) << at;
  }
}

}  // namespace
}  // namespace linktest
