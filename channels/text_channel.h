// TextChannel: the frame of every text channel. It holds the service table, the output file and the
// filter flag, sends a text to the device in paced pieces and hands the device's text to the view.
//
// A channel derives from it and brings only what is its own: which lines it takes, how a piece
// becomes a packet, which packets are its answers.
//
// Threads: HandleCommand and Init on the facade's thread, HandleResponse on the link's. Both see
// the files and the filter flag: the files are an immutable record behind an atomic pointer, the
// flag is an atomic; the table is for the facade's thread only. Owns every files record it ever
// published, since the link's thread may still look at an older one. Borrows the text of a call.
// Errors: the codes of channel_service_table.h: 0 taken, 50 not this channel's, 53 no output file,
// -1 no memory.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "channels/channel_service_table.h"
#include "channels/chunk_form.h"
#include "channels/packet_class.h"
#include "platform/text/qc_string.h"
#include "svckiv/svc_kiv_message.h"

namespace SvcKivClass {

// The frame; see the head of this file.
class TextChannel {
 public:
  // `name` is the channel's in debug lines ("KivAt") and outlives it.
  explicit TextChannel(const wchar_t* name) : name_(name) { PublishFiles({}); }
  virtual ~TextChannel() = default;
  TextChannel(const TextChannel&) = delete;
  TextChannel& operator=(const TextChannel&) = delete;

  // Copies the table whole; 0. Until then no service is there: no device counts as connected and
  // every send fails.
  virtual std::int32_t Init(const ChannelServiceTable& table);
  // 0 when the channel took the line, whatever became of it; 50 when it is not for it; -1 when a
  // piece found no memory, the rest is then not sent. Null is the empty text.
  virtual std::int32_t HandleCommand(const wchar_t* word, const wchar_t* rest) = 0;
  // 0 when the packet was this channel's or the filter flag claims it, 50 when it is not, -1
  // without memory (nothing is shown then).
  virtual std::int32_t HandleResponse(std::uint32_t cmdId, const void* ignored,
                                      const std::uint8_t* data, std::uint32_t lengthBytes) = 0;

  // Sends a copy of a zero-terminated 8-bit text to the view, a null payload for an empty one, as
  // a message of ViewKind(). 0, or -1 when there is no memory for the copy.
  std::int32_t PostTextToView(const char* text);
  // Appends the text to the output file as UTF-8; null truncates the file. 53 when there is no
  // output file or it cannot be opened, else 0.
  std::int32_t SaveToOutputFile(const wchar_t* text) const;
  // The text and a line feed. Always 0.
  std::int32_t SaveLineToOutputFile(const wchar_t* text) const;

  // `value` keeps its old content, at most 1023 characters of it, when the key is not there; a
  // value is cut to as many.
  static void ReadIniString(const wchar_t* file, const wchar_t* section, const wchar_t* key,
                            QCString& value);
  // Clears a write protection of the file first. False when it could not be written.
  static bool WriteIniString(const wchar_t* file, const wchar_t* section, const wchar_t* key,
                             const wchar_t* value);

  // Paths as users write them. No command of the AT, HCI and shell channels sets an output file.
  QCString GetConfigPath() const { return Files().configPath; }
  QCString GetOutputFile() const { return Files().outputFile; }
  void SetOutputFile(const QCString& path);
  // Not 0: every packet is claimed.
  std::uint32_t GetFilter() const noexcept { return filter_.load(std::memory_order_relaxed); }
  void SetFilter(std::uint32_t filter) noexcept {
    filter_.store(filter, std::memory_order_relaxed);
  }

 protected:
  // What one look at the files sees.
  struct ChannelFiles {
    QCString configPath;
    QCString outputFile;
  };

  virtual SvcKivSpace::SvcKivMsgType ViewKind() const = 0;

  const ChannelServiceTable& Services() const noexcept { return services_; }
  bool IsUeConnected() const;
  const ChannelFiles& Files() const noexcept { return *files_.load(std::memory_order_acquire); }
  void PublishFiles(ChannelFiles files);

  // Sends the text in chunks of at most 400 characters, each followed by a pause of 100 ms, also a
  // refused one, whose text goes to the output file. 0, or -1 without memory.
  std::int32_t SendInChunks(QCString text, const ChunkForm& form) const;
  // Sends the text as one chunk, whatever its length; the same pause and the same answers.
  std::int32_t SendChunk(const QCString& chunk, const ChunkForm& form) const;
  // One id of a packet class.
  using IdOfClass = std::uint32_t DIAG_CMD_ID_CONVERT_PACKET_ENCAPSULATION_CLASS::*;
  // The request packet of AT and shell: length and text, posted under `id` of the class that is the
  // device's when the chunk goes out: another device may be there since the chunk before.
  std::int32_t SendRequest(IdOfClass id, const QCString& text, std::uint32_t delay) const;
  // Shows the payload as text: 0, or -1 without memory.
  std::int32_t ShowPayload(const std::uint8_t* data, std::uint32_t lengthBytes);
  // The answer for a packet of somebody else's.
  std::int32_t AnswerOther() const noexcept {
    return GetFilter() != 0 ? kChannelTaken : kChannelNotMine;
  }

 private:
  const wchar_t* name_;
  ChannelServiceTable services_{};
  std::vector<std::unique_ptr<const ChannelFiles>> published_;
  std::atomic<const ChannelFiles*> files_{nullptr};  // the last of `published_`
  std::atomic<std::uint32_t> filter_{0};
};

// The one object of a channel: made at the first call of any of its entries and never destroyed,
// since a late packet may still reach it when the module is unloaded.
template <typename Channel>
Channel& TheChannel() {
  static auto* const channel = new Channel;
  return *channel;
}

// The three entries of that object.
template <typename Channel>
ChannelEntries EntriesOf() {
  return {[](const ChannelServiceTable& table) { return TheChannel<Channel>().Init(table); },
          [](const wchar_t* word, const wchar_t* rest) {
            return TheChannel<Channel>().HandleCommand(word, rest);
          },
          [](std::uint32_t cmdId, const void* ignored, const std::uint8_t* data,
             std::uint32_t lengthBytes) {
            return TheChannel<Channel>().HandleResponse(cmdId, ignored, data, lengthBytes);
          }};
}

}  // namespace SvcKivClass
