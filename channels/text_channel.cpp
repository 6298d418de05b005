#include "channels/text_channel.h"

#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>

#include "channels/channel_text.h"
#include "channels/channel_texts.h"
#include "platform/bounded/bounded.h"
#include "platform/bounded/pool_ptr.h"
#include "platform/os/files.h"
#include "platform/os/ini_files.h"
#include "platform/os/time_thread.h"
#include "platform/text/file_path.h"
#include "service/message/debug_trace.h"
#include "service/message/view_sender.h"

namespace SvcKivClass {
namespace {

// What the parser of the device's AT port can take at once, and how long it wants to be left alone
// then.
constexpr std::size_t kChunkChars = 400;
constexpr std::uint32_t kChunkPauseMs = 100;

constexpr std::uint32_t kIniValueChars = 1023;

constexpr std::uint32_t kRequestHeadBytes = 4;

void WriteLength(std::uint8_t* head, std::uint32_t textBytes) {
  for (std::uint32_t i = 0; i < kRequestHeadBytes; ++i) {
    head[i] = static_cast<std::uint8_t>(textBytes >> (8 * i));
  }
}

// How much of the text the next chunk takes. Where a character may be two wchar_t it is not cut
// apart: its halves could not be converted.
std::size_t NextChunkChars(const QCString& text) {
  if constexpr (sizeof(wchar_t) == 2) {
    const bool isPair = text.GetLength() > kChunkChars &&
                        (text[kChunkChars - 1] & 0xFC00) == 0xD800 &&
                        (text[kChunkChars] & 0xFC00) == 0xDC00;
    if (isPair) return kChunkChars - 1;
  }
  return kChunkChars;
}

// The text in the 8-bit code page, without a terminator, at `target`, where `roomBytes` are.
bool CopyConverted(const QCString& text, std::uint8_t* target, std::size_t roomBytes) {
  std::size_t lengthBytes = 0;
  const PoolPtr<char> converted(text.UnicodeToAnsi(&lengthBytes));
  return converted != nullptr &&
         bounded::memcpy_s(target, roomBytes, converted.get(), lengthBytes) == 0;
}

}  // namespace

std::int32_t TextChannel::Init(const ChannelServiceTable& table) {
  bounded::memcpy_s(&services_, sizeof services_, &table, sizeof table);
  return kChannelTaken;
}

bool TextChannel::IsUeConnected() const {
  return services_.isUeConnected != nullptr && services_.isUeConnected() != 0;
}

void TextChannel::PublishFiles(ChannelFiles files) {
  published_.push_back(std::make_unique<const ChannelFiles>(std::move(files)));
  files_.store(published_.back().get(), std::memory_order_release);
}

void TextChannel::SetOutputFile(const QCString& path) { PublishFiles({GetConfigPath(), path}); }

std::int32_t TextChannel::PostTextToView(const char* text) {
  const std::size_t lengthBytes = text != nullptr ? std::strlen(text) : 0;
  PoolPtr<char> payload;
  if (lengthBytes > 0) {
    const std::size_t sizeBytes = lengthBytes + 3;
    payload = PoolAllocate<char>(sizeBytes);
    if (payload == nullptr) return kChannelFailed;
    bounded::memset_s(payload.get(), sizeBytes, 0, sizeBytes);
    if (bounded::memcpy_s(payload.get(), sizeBytes, text, lengthBytes) != 0) return kChannelFailed;
  }
  Trace([&] {
    return QCString(L"[") + name_ + L"::PostTextToView]text = " +
           QCString::AnsiToUnicode(payload.get());
  });
  SendOwned(ViewKind(), payload.release());
  return kChannelTaken;
}

std::int32_t TextChannel::SaveToOutputFile(const wchar_t* text) const {
  const QCString& path = Files().outputFile;
  if (path.IsEmpty()) return kChannelNoFile;
  std::FILE* const file = CFilePathOperator::OpenFile(path, text != nullptr ? "at" : "wt");
  if (file == nullptr) return kChannelNoFile;
  const std::string bytes = QCString(text).ToUtf8();
  std::fwrite(bytes.data(), 1, bytes.size(), file);
  std::fclose(file);
  return kChannelTaken;
}

std::int32_t TextChannel::SaveLineToOutputFile(const wchar_t* text) const {
  SaveToOutputFile((QCString(text) + L"\n").c_str());
  return kChannelTaken;
}

void TextChannel::ReadIniString(const wchar_t* file, const wchar_t* section, const wchar_t* key,
                                QCString& value) {
  wchar_t found[kIniValueChars + 1];
  GetPrivateProfileStringW(section, key, value.c_str(), found, std::size(found), file);
  value = found;
}

bool TextChannel::WriteIniString(const wchar_t* file, const wchar_t* section, const wchar_t* key,
                                 const wchar_t* value) {
  SetFileAttributesW(file, FILE_ATTRIBUTE_NORMAL);
  return WritePrivateProfileStringW(section, key, value, file) != 0;
}

std::int32_t TextChannel::SendInChunks(QCString text, const ChunkForm& form) const {
  while (!text.IsEmpty()) {
    const std::size_t chunkChars = NextChunkChars(text);
    const std::int32_t sent = SendChunk(text.Left(chunkChars), form);
    if (sent != kChannelTaken) return sent;
    text = text.Mid(chunkChars);
  }
  return kChannelTaken;
}

std::int32_t TextChannel::SendChunk(const QCString& chunk, const ChunkForm& form) const {
  const auto textBytes = static_cast<std::uint32_t>(chunk.ToUtf8().size());
  const std::size_t roomBytes = std::size_t{textBytes} + form.tailBytes;
  const std::size_t sizeBytes = form.headBytes + roomBytes;
  const auto packet = PoolAllocate<std::uint8_t>(sizeBytes);
  if (packet == nullptr) return kChannelFailed;
  if (const int failed = bounded::memset_s(packet.get(), sizeBytes, 0, sizeBytes)) {
    Trace([&] { return QCString(form.traceName) + L" " + std::to_wstring(failed).c_str(); });
  }
  if (!CopyConverted(chunk, packet.get() + form.headBytes, roomBytes)) return kChannelFailed;
  if (form.fillHead != nullptr) form.fillHead(packet.get(), textBytes);
  if (!form.post(packet.get(), form.headBytes + textBytes)) {
    SaveLineToOutputFile(TextWithChunk(texts::kSendFailed, chunk).c_str());
  }
  Sleep(kChunkPauseMs);
  return kChannelTaken;
}

std::int32_t TextChannel::SendRequest(IdOfClass id, const QCString& text,
                                      std::uint32_t delay) const {
  const PostDiagDataFn post = services_.postDiagData;
  return SendInChunks(text, {.traceName = L"ParsePstReq",
                             .headBytes = kRequestHeadBytes,
                             .tailBytes = 1,
                             .fillHead = &WriteLength,
                             .post = [=](const std::uint8_t* packet, std::uint32_t lengthBytes) {
                               return post != nullptr && post(CurrentPacketClass().*id, packet,
                                                              lengthBytes, 0, delay) == 0;
                             }});
}

std::int32_t TextChannel::ShowPayload(const std::uint8_t* data, std::uint32_t lengthBytes) {
  const std::size_t sizeBytes = std::size_t{lengthBytes} + 1;
  const auto text = PoolAllocate<char>(sizeBytes);
  if (text == nullptr) return kChannelFailed;
  if (lengthBytes > 0 && bounded::memcpy_s(text.get(), sizeBytes, data, lengthBytes) != 0) {
    return kChannelFailed;
  }
  text.get()[lengthBytes] = '\0';
  return PostTextToView(text.get());
}

}  // namespace SvcKivClass
