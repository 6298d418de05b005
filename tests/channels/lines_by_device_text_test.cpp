// Typed lines and received packets through the controller with the module's own four channels,
// under every variant and product: what is posted and in which order, what is left in the reply,
// and what the view gets.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "command/built_in_channels.h"
#include "platform/base/version_query.h"
#include "tests/fakes/module_bench.h"

namespace {

using fake::Post;
using fake::PostKind;
using kivtest::ModuleBench;
using PostList = std::vector<Post>;
using ByteList = std::vector<std::uint8_t>;

ByteList Bytes(const std::string& text) { return ByteList(text.begin(), text.end()); }
std::string LengthOf(std::size_t length) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(length >> shift & 0xFF);
  return bytes;
}

// One device and what its channels make of a text.
struct Device {
  std::int64_t variant;
  std::int64_t product;

  bool Raw() const { return product == 38; }
  bool Hci() const { return variant == 246; }
  bool TakesAll() const { return Raw() || Hci(); }
  std::uint32_t Id(std::uint32_t of249, std::uint32_t ofOthers) const {
    return variant == 249 ? of249 : ofOthers;
  }
  Post At(const std::string& text, std::uint32_t delay = 0) const {
    return {PostKind::kCmd, Id(0x705, 0x500D), Bytes(LengthOf(text.size()) + text), 0, 0, delay};
  }
  Post Shell(const std::string& text, std::uint32_t delay = 0) const {
    return {PostKind::kCmd, Id(0x805, 0x500E), Bytes(LengthOf(text.size()) + text), 0, 0, delay};
  }
  static Post RawText(const std::string& text) {
    return {.kind = PostKind::kRaw, .body = Bytes(text)};
  }
  static Post HciFrame(const std::string& text) {
    const std::string head = {0x10, 0, static_cast<char>(text.size() + 9), 0, 0, 0};
    return {.kind = PostKind::kSdt, .cmdId = 0x7E0C, .body = Bytes(head + text)};
  }
};
constexpr Device kDevices[] = {{0, 0},   {0, 38},   {246, 0}, {246, 38},
                               {248, 0}, {248, 38}, {249, 0}, {249, 38}};

class LinesByDevice : public testing::Test {
 protected:
  LinesByDevice() : bench_({.channels = SvcKivClass::BuiltInChannels()}) {}
  ~LinesByDevice() override {
    bench_.Run(L"ctsftl 0");
    version_query::NoteDevice(-1, -1);
  }

  void ForEveryDevice(const std::function<void(const Device&)>& run) {
    for (const Device& device : kDevices) {
      SCOPED_TRACE(std::to_string(device.variant) + " " + std::to_string(device.product));
      version_query::NoteDevice(device.variant, device.product);
      run(device);
    }
  }
  // The posts of one line; `reply` gets what it left.
  PostList Run(const wchar_t* line, std::wstring* reply) {
    fake::ResetSeam();
    *reply = bench_.Run(line);
    return fake::Posts();
  }
  // What the view got for a packet of this id: kind and text.
  std::vector<std::pair<int, std::wstring>> Shown(std::uint32_t id, const std::string& body) {
    const std::size_t before = bench_.Messages().All().size();
    fake::DeliverCnf(id, Bytes(body));
    const std::vector<kivtest::Message> all = bench_.Messages().All();
    std::vector<std::pair<int, std::wstring>> shown;
    for (std::size_t i = before; i < all.size(); ++i) shown.emplace_back(all[i].kind, all[i].text);
    return shown;
  }

  ModuleBench bench_;
};

// What a line becomes at AT and at the request path of the shell, and what no channel's reply is.
struct LineRow {
  const wchar_t* line;
  const char* raw;  // on product 38
  const char* hci;  // on variant 246; null: nothing is sent
  const char* at = nullptr;
  std::uint32_t atDelay = 0;
  const char* shell = nullptr;
  std::uint32_t shellDelay = 0;
  bool taken = false;              // where neither raw shell nor HCI take everything
  const wchar_t* reply = nullptr;  // where nothing took it; null: not compared here
};

const LineRow kLines[] = {
    {.line = L"AT+CSQ", .raw = "AT+CSQ", .hci = "AT+CSQ", .at = "AT+CSQ\r\n", .taken = true},
    {.line = L"  at  ", .raw = "at", .hci = "at", .at = "at\r\n", .taken = true},
    {.line = L"AT+X -d 5",
     .raw = "AT+X -d 5",
     .hci = "AT+X -d 5",
     .at = "at+x\r\n",
     .atDelay = 5,
     .taken = true},
    {.line = L"ATI", .raw = "ATI", .hci = "ATI", .reply = L"Command 'ATI' is not exist\n"},
    {.line = L"sh ls -l", .raw = "sh ls -l", .hci = "sh ls -l", .shell = "ls -l", .taken = true},
    {.line = L"Show at+x", .raw = "Show at+x", .hci = "Show at+x", .shell = "at+x", .taken = true},
    {.line = L"sh ls -d 5",
     .raw = "sh ls",
     .hci = "sh ls -d 5",
     .shell = "ls",
     .shellDelay = 5,
     .taken = true},
    {.line = L"sh", .raw = "sh", .hci = "sh", .taken = true},
    {.line = L"", .raw = "", .hci = nullptr, .reply = L""},
    {.line = L"   \n", .raw = "", .hci = nullptr, .reply = L""},
    {.line = L"nonsense x",
     .raw = "nonsense x",
     .hci = "nonsense x",
     .reply = L"Command 'nonsense' is not exist\n"},
    {.line = L"HELP", .raw = "HELP", .hci = "HELP", .reply = L"Command 'HELP' is not exist\n"},
    {.line = L"hci 01 03 0c 00",
     .raw = "hci 01 03 0c 00",
     .hci = "hci 01 03 0c 00",
     .reply = L"Command 'hci' is not exist\n"},
    {.line = L"CtsFtl", .raw = "CtsFtl", .hci = "CtsFtl", .taken = true},
    {.line = L"ctscfg /no/such/place",
     .raw = "ctscfg /no/such/place",
     .hci = "ctscfg /no/such/place",
     .taken = true},
};

TEST_F(LinesByDevice, ArePostedByEachChannelThatTakesThemInTheirOrder) {
  for (const LineRow& row : kLines) {
    SCOPED_TRACE(QCString(row.line).ToUtf8());
    ForEveryDevice([&](const Device& device) {
      PostList expected;
      if (row.at != nullptr) expected.push_back(device.At(row.at, row.atDelay));
      if (device.Raw()) {
        expected.push_back(Device::RawText(std::string(row.raw) + "\r\n"));
      } else if (row.shell != nullptr) {
        expected.push_back(device.Shell(row.shell, row.shellDelay));
      }
      if (device.Hci() && row.hci != nullptr) expected.push_back(Device::HciFrame(row.hci));
      std::wstring reply;
      EXPECT_EQ(Run(row.line, &reply), expected);
      if (row.taken || device.TakesAll()) {
        EXPECT_EQ(reply, ModuleBench::kUntouched);
      } else {
        EXPECT_EQ(reply, row.reply);
      }
    });
  }
}

TEST_F(LinesByDevice, ArePostedWithoutADeviceOnTheRawPathAlone) {
  bench_.App().SetUEConnectStatus(0);
  for (const LineRow& row : kLines) {
    SCOPED_TRACE(QCString(row.line).ToUtf8());
    ForEveryDevice([&](const Device& device) {
      PostList expected;
      if (device.Raw()) expected.push_back(Device::RawText(std::string(row.raw) + "\r\n"));
      const std::size_t before = bench_.Messages().All().size();
      std::wstring reply;
      EXPECT_EQ(Run(row.line, &reply), expected);
      if (row.taken || device.TakesAll()) {
        EXPECT_EQ(reply, ModuleBench::kUntouched) << "and nobody says why";
      } else {
        EXPECT_EQ(reply, row.reply);
      }
      const bool cts = row.line[0] == L'C' || row.line[0] == L'c';
      EXPECT_EQ(bench_.Messages().All().size() > before, cts) << "the view hears test cases only";
    });
  }
}

TEST_F(LinesByDevice, OfTheCatalogueReachItOnlyWhereNoChannelTakesEverything) {
  ForEveryDevice([&](const Device& device) {
    std::wstring reply;
    const PostList posts = Run(L"set_values 7,8,9", &reply);
    if (!device.TakesAll()) {
      ASSERT_EQ(posts.size(), 1u);
      EXPECT_EQ(posts[0].body, (ByteList{7, 8, 0, 9, 0, 0, 0}));
      EXPECT_NE(reply, ModuleBench::kUntouched);
      Run(L"help", &reply);
      EXPECT_EQ(reply.rfind(L"help  Querying All Commands\n?  Querying All Commands\n", 0), 0u);
      return;
    }
    PostList expected;
    if (device.Raw()) expected.push_back(Device::RawText("set_values 7,8,9\r\n"));
    if (device.Hci()) expected.push_back(Device::HciFrame("set_values 7,8,9"));
    EXPECT_EQ(posts, expected);
    EXPECT_EQ(reply, ModuleBench::kUntouched);
    Run(L"help", &reply);
    EXPECT_EQ(reply, ModuleBench::kUntouched);
  });
}

TEST_F(LinesByDevice, HaveTheirAnswersShownUnderTheirKinds) {
  using Shows = std::vector<std::pair<int, std::wstring>>;
  ForEveryDevice([&](const Device& device) {
    EXPECT_EQ(Shown(device.Id(0x4005, 0xA011), "OK\r\n"), (Shows{{2, L"OK\r\n"}}));
    EXPECT_EQ(Shown(device.Id(0x705, 0x500D), "echo"), Shows{});
    EXPECT_EQ(Shown(device.Id(0x4105, 0xA012), "out"), (Shows{{device.Raw() ? 5 : 4, L"out"}}));
    EXPECT_EQ(Shown(device.Id(0x805, 0x500E), "echo"), Shows{});
    EXPECT_EQ(Shown(0x7E0C, "04 0e"), (Shows{{4, L"04 0e"}}));
    EXPECT_EQ(Shown(0x500C, ""), (Shows{{3, L"\nSent to UE successfully\n"}}));
    EXPECT_EQ(Shown(0xA010, "result: pass"), (Shows{{3, L"result: pass\n"}}));
    for (const auto& [kind, text] : Shown(device.Id(0xA011, 0x4005), "foreign")) {
      EXPECT_EQ(kind, 1) << "the id of another variant is no channel's";
    }
  });
}

TEST_F(LinesByDevice, AreHiddenByTheFilterWithEverythingButTestCases) {
  using Shows = std::vector<std::pair<int, std::wstring>>;
  ForEveryDevice([&](const Device& device) {
    std::wstring reply;
    Run(L"ctsftl 1", &reply);
    for (const std::uint32_t id : {device.Id(0x4005, 0xA011), device.Id(0x4105, 0xA012), 0x7E0Cu,
                                   device.Id(0x705, 0x500D), 0x12345u}) {
      EXPECT_EQ(Shown(id, "hidden"), Shows{}) << std::hex << id;
    }
    EXPECT_EQ(Shown(0x500C, ""), (Shows{{3, L"\nSent to UE successfully\n"}}));
    EXPECT_EQ(Shown(0xA010, "kept"), (Shows{{3, L"kept\n"}}));
    bench_.App().ReloadDb();
    EXPECT_EQ(Shown(0x7E0C, "hidden"), Shows{}) << "a new controller does not switch it off";
    Run(L"ctsftl 0", &reply);
    EXPECT_EQ(Shown(0x7E0C, "seen"), (Shows{{4, L"seen"}}));
  });
}

TEST_F(LinesByDevice, OfATestCaseAreSentUnderEveryDevice) {
  const std::string folder = bench_.Setup().Path("cases");
  std::filesystem::create_directories(folder + "/pbin");
  std::ofstream(folder + "/name.pcfg") << "";
  std::ofstream(folder + "/pbin/name.pcfg.rt.0") << "abc";
  ForEveryDevice([&](const Device& device) {
    std::wstring reply;
    Run((L"ctscfg " + QCString::FromUtf8(folder).str() + L" run").c_str(), &reply);
    EXPECT_EQ(reply, ModuleBench::kUntouched);
    const PostList posts = Run(L"cts name 0 -d 300", &reply);
    std::string packet = "name";
    packet.resize(72, '\0');
    packet += LengthOf(3) + "abc";
    ASSERT_FALSE(posts.empty());
    EXPECT_EQ(posts[0], (Post{PostKind::kCmd, 0x500C, Bytes(packet), 0, 0, 300}));
    PostList others(posts.begin() + 1, posts.end());
    PostList expected;
    if (device.Raw()) expected.push_back(Device::RawText("cts name 0\r\n"));
    if (device.Hci()) expected.push_back(Device::HciFrame("cts name 0 -d 300"));
    EXPECT_EQ(others, expected);
    EXPECT_EQ(reply, ModuleBench::kUntouched);
  });
}

}  // namespace
