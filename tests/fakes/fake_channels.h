// Text channels for tests: each records what it is offered and answers what the test says.
//
// Entries are plain functions, so a channel's state is static: FakeChannel<0>, FakeChannel<1>, ...
// are different channels. Reset them all at the start of a test (ModuleBench does).
//
// Threads: the records may be written and read from any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "channels/channel_service_table.h"

namespace fake {

// What a channel saw; a word and a rest, or a packet.
struct ChannelState {
  std::mutex mutex;  // the records
  std::vector<SvcKivClass::ChannelServiceTable> tables;
  std::vector<std::pair<std::wstring, std::wstring>> lines;
  std::vector<std::pair<std::uint32_t, std::vector<std::uint8_t>>> packets;
  std::int32_t initAnswer = 0;
  std::int32_t commandAnswer = SvcKivClass::kChannelNotMine;
  std::int32_t responseAnswer = SvcKivClass::kChannelNotMine;
  std::function<void(const wchar_t* word, const wchar_t* rest)> onLine;
};

// Order over all channels: "0:init", "1:line", "2:packet".
struct ChannelOrder {
  std::mutex mutex;
  std::vector<std::string> events;

  static ChannelOrder& Get() {
    static ChannelOrder order;
    return order;
  }
  void Add(int channel, const char* event) {
    std::lock_guard lock(mutex);
    events.push_back(std::to_string(channel) + ":" + event);
  }
  std::vector<std::string> Events() {
    std::lock_guard lock(mutex);
    return events;
  }
};

template <int N>
struct FakeChannel {
  static ChannelState& State() {
    static ChannelState state;
    return state;
  }

  static std::int32_t Init(const SvcKivClass::ChannelServiceTable& table) {
    ChannelOrder::Get().Add(N, "init");
    std::lock_guard lock(State().mutex);
    State().tables.push_back(table);
    return State().initAnswer;
  }

  static std::int32_t Command(const wchar_t* word, const wchar_t* rest) {
    ChannelOrder::Get().Add(N, "line");
    {
      std::lock_guard lock(State().mutex);
      State().lines.emplace_back(word, rest);
    }
    if (State().onLine) State().onLine(word, rest);
    return State().commandAnswer;
  }

  static std::int32_t Response(std::uint32_t cmdId, const void*, const std::uint8_t* data,
                               std::uint32_t lengthBytes) {
    ChannelOrder::Get().Add(N, "packet");
    std::lock_guard lock(State().mutex);
    State().packets.emplace_back(cmdId, data == nullptr
                                            ? std::vector<std::uint8_t>()
                                            : std::vector<std::uint8_t>(data, data + lengthBytes));
    return State().responseAnswer;
  }

  static SvcKivClass::ChannelEntries Entries() { return {&Init, &Command, &Response}; }

  static void Reset() {
    ChannelState& state = State();
    std::lock_guard lock(state.mutex);
    state.tables.clear();
    state.lines.clear();
    state.packets.clear();
    state.initAnswer = 0;
    state.commandAnswer = SvcKivClass::kChannelNotMine;
    state.responseAnswer = SvcKivClass::kChannelNotMine;
    state.onLine = nullptr;
  }
};

inline void ResetChannels() {
  FakeChannel<0>::Reset();
  FakeChannel<1>::Reset();
  FakeChannel<2>::Reset();
  FakeChannel<3>::Reset();
  std::lock_guard lock(ChannelOrder::Get().mutex);
  ChannelOrder::Get().events.clear();
}

inline std::vector<SvcKivClass::ChannelEntries> FourChannels() {
  return {FakeChannel<0>::Entries(), FakeChannel<1>::Entries(), FakeChannel<2>::Entries(),
          FakeChannel<3>::Entries()};
}

}  // namespace fake
