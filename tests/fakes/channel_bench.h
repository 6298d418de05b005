// A bench for one text channel by itself: services that record what they are asked, a view, a
// scratch configuration with an output file, and versions as a device would say them.
//
// Entries of the service table are plain functions, so the records are static; each bench begins
// with none. Pauses are noted by the seam and take no time.
//
// Threads: the test's; the view may be told on any. Owns a temporary directory.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "channels/channel_service_table.h"
#include "platform/base/version_query.h"
#include "platform/bounded/pool.h"
#include "service/message/view_sender.h"
#include "tests/fakes/module_bench.h"
#include "tests/fakes/platform_seam.h"

namespace kivtest {

using ByteList = std::vector<std::uint8_t>;

// One call of a send entry. `entry` is its number in the table.
struct ServicePost {
  int entry = 0;
  std::uint32_t cmdId = 0;
  ByteList bytes = {};
  std::uint16_t value = 0;
  std::uint32_t delay = 0;

  bool operator==(const ServicePost&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const ServicePost& post) {
  out << "entry " << post.entry << " id 0x" << std::hex << post.cmdId << std::dec << " value "
      << post.value << " delay " << post.delay << " bytes";
  for (const std::uint8_t byte : post.bytes) out << ' ' << static_cast<int>(byte);
  return out;
}

// What the recording services saw and what they answer.
struct ServiceRecord {
  std::vector<ServicePost> posts;
  std::int32_t connected = 1;
  std::set<std::size_t> refused;  // indices of posts that are answered with 9
  std::function<void()> onPost;

  static ServiceRecord& Get() {
    static ServiceRecord record;
    return record;
  }
  std::uint32_t Add(ServicePost post) {
    posts.push_back(std::move(post));
    if (onPost) onPost();
    return refused.count(posts.size() - 1) != 0 ? 9 : 0;
  }
};

inline ByteList BytesOf(const void* bytes, std::size_t lengthBytes) {
  const auto* const from = static_cast<const std::uint8_t*>(bytes);
  return ByteList(from, from + lengthBytes);
}
inline ByteList BytesOf(const std::string& text) { return BytesOf(text.data(), text.size()); }

inline SvcKivClass::ChannelServiceTable RecordingServices() {
  SvcKivClass::ChannelServiceTable table{};
  table.isUeConnected = [] { return ServiceRecord::Get().connected; };
  table.postDiagData = [](std::uint32_t cmdId, const void* bytes, std::uint32_t lengthBytes,
                          std::uint16_t value, std::uint32_t delay) {
    return ServiceRecord::Get().Add({1, cmdId, BytesOf(bytes, lengthBytes), value, delay});
  };
  table.postHciData = [](std::uint32_t cmdId, const void* bytes, std::uint32_t lengthBytes) {
    return ServiceRecord::Get().Add({2, cmdId, BytesOf(bytes, lengthBytes)});
  };
  table.postRawText = [](const void* bytes, std::uint32_t lengthBytes) {
    return ServiceRecord::Get().Add({4, 0, BytesOf(bytes, lengthBytes)});
  };
  return table;
}

// The request packet of AT and shell: the length in four bytes, then the text.
inline ByteList RequestPacket(const std::string& text) {
  ByteList packet;
  for (int i = 0; i < 4; ++i) packet.push_back(static_cast<std::uint8_t>(text.size() >> (8 * i)));
  packet.insert(packet.end(), text.begin(), text.end());
  return packet;
}

// Every test ends with no block of the pool in use.
class ChannelBench : public testing::Test {
 protected:
  ChannelBench() : ear_((Prepare(), sender_)) { SvcKivClass::SetViewSender(&sender_); }
  ~ChannelBench() override {
    SvcKivClass::SetViewSender(nullptr);
    pool::FailNth(0);
    version_query::NoteDevice(-1, -1);
    EXPECT_EQ(pool::LiveBlocks(), 0u);
  }

  static void Prepare() {
    CoreApplication();
    fake::ResetSeam();
    ServiceRecord::Get() = {};
  }

  ServiceRecord& Services() { return ServiceRecord::Get(); }
  const std::vector<ServicePost>& Posts() { return Services().posts; }
  std::vector<Message> Messages() { return ear_.All(); }
  std::vector<std::wstring> Texts() { return ear_.Texts(); }
  static std::size_t Pauses() {
    const std::vector<std::string> calls = fake::Calls();
    return static_cast<std::size_t>(std::count(calls.begin(), calls.end(), "Sleep(100)"));
  }

  std::string Path(const std::string& name) const { return setup_.Path(name); }
  QCString WidePath(const std::string& name) const { return QCString::FromUtf8(Path(name)); }
  // Empty when there is no such file.
  std::string FileText(const std::string& name) const {
    std::ifstream file(Path(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }
  void Write(const std::string& name, const std::string& content) const {
    std::ofstream(Path(name), std::ios::binary) << content;
  }

  ScratchSetup setup_;
  SvcKivSpace::SvcKivMessage sender_;
  MessageEar ear_;
};

}  // namespace kivtest
