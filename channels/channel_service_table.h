// ChannelServiceTable: what the command controller offers to every text channel, and the entries
// that a channel gives back. Copied whole, by value; a null entry means that the service is not
// there.
//
// The entries take no context argument: hosts' tools and channels share this layout of 24 pointers.
//
// Threads: a table does not change once it was handed out.
#pragma once

#include <cstdint>

namespace SvcKivClass {

using IsUeConnectedFn = std::int32_t (*)();
// Command id, buffer, length in bytes, a 16-bit value, delay; 0 on success.
using PostDiagDataFn = std::uint32_t (*)(std::uint32_t, const void*, std::uint32_t, std::uint16_t,
                                         std::uint32_t);
// Command id, buffer, length in bytes; 0 on success.
using PostHciDataFn = std::uint32_t (*)(std::uint32_t, const void*, std::uint32_t);
// Buffer, length in bytes; 0 on success.
using PostRawTextFn = std::uint32_t (*)(const void*, std::uint32_t);

// What the controller offers; entries that are not named stay null.
struct ChannelServiceTable {
  IsUeConnectedFn isUeConnected;  // 0
  PostDiagDataFn postDiagData;    // 1
  PostHciDataFn postHciData;      // 2
  void* empty3;                   // 3
  PostRawTextFn postRawText;      // 4
  void* controller;               // 5
  void* application;              // 6
  void* empty[17];                // 7 to 23
};
static_assert(sizeof(ChannelServiceTable) == 24 * sizeof(void*), "24 pointer-sized entries");

// Results of the channel entries.
inline constexpr std::int32_t kChannelTaken = 0;
inline constexpr std::int32_t kChannelNotMine = 50;
inline constexpr std::int32_t kChannelNoFile = 53;
inline constexpr std::int32_t kChannelFailed = -1;

// What the controller's three lists hold, in the order test-case, AT, shell, HCI.
using ChannelInitFn = std::int32_t (*)(const ChannelServiceTable&);
using ChannelCommandFn = std::int32_t (*)(const wchar_t* word, const wchar_t* rest);
// `ignored` is one pointer-sized value that channels do not look at.
using ChannelResponseFn = std::int32_t (*)(std::uint32_t cmdId, const void* ignored,
                                           const std::uint8_t* data, std::uint32_t lengthBytes);

// One channel's three entries. A controller is made with a list of these.
struct ChannelEntries {
  ChannelInitFn init;
  ChannelCommandFn command;
  ChannelResponseFn response;
};

}  // namespace SvcKivClass
