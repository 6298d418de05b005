// FlashLoad: a file of this machine on its way to the device in chunks of 2048 bytes, and where the
// load stands.
//
// A load is open from the moment its file was opened until its last chunk is confirmed or something
// failed; as long as it is, one chunk waits for its confirmation. The file is kept open and locked
// meanwhile, and watched: what is read after somebody changed it never goes out.
//
// Threads: the controller's. Owns the file handle.
// Errors: the results below, with the system's last error beside them where there is one.
#pragma once

#include <array>
#include <cstdint>

#include "platform/os/file_watch.h"
#include "platform/os/files.h"
#include "platform/text/qc_string.h"

namespace SvcKivClass {

// What opening came to.
enum class LoadOpening {
  kOpen,
  kNotOpened,  // no regular file, no right to read it, or in use
  kRefused,    // above the maximum or beyond what can be counted, or of unknown size
};

// What reading a chunk came to; the load is open after kRead only.
enum class ChunkReading { kRead, kNotPositioned, kNotRead, kChanged };

// One load at a time.
class FlashLoad {
 public:
  static constexpr std::uint32_t kChunkBytes = 2048;
  static constexpr std::uint32_t kMaxChunks = 65535;  // the count is a 16-bit field

  FlashLoad() = default;
  ~FlashLoad() { Close(); }
  FlashLoad(const FlashLoad&) = delete;
  FlashLoad& operator=(const FlashLoad&) = delete;

  bool IsOpen() const noexcept { return file_ != INVALID_HANDLE_VALUE; }
  // For a load that is not open. Afterwards the index is 0; nothing stays open but after kOpen.
  LoadOpening Open(const QCString& path, std::uint32_t maxSizeBytes);
  // Reads a chunk into Chunk(). Its length is that of a whole chunk but for the last one; an empty
  // file has no last one, so its first is asked for whole and comes short.
  ChunkReading Read(std::uint16_t index);
  void Close() noexcept;

  // The system's last error after a result that is not kOpen or kRead.
  std::uint32_t Error() const noexcept { return error_; }
  // After a result of Read that is not kRead: whether the file is not what was opened any more.
  bool HasChanged() const noexcept { return hasChanged_; }

  const std::uint8_t* Chunk() const noexcept { return buffer_.data(); }
  std::uint32_t LengthBytesOf(std::uint16_t index) const noexcept;
  std::uint16_t Index() const noexcept { return index_; }
  std::uint16_t Count() const noexcept { return count_; }
  std::uint64_t SizeBytes() const noexcept { return sizeBytes_; }
  bool IsAtLastChunk() const noexcept { return IsLast(index_); }
  void Advance() noexcept { ++index_; }

 private:
  bool ReadSize();
  bool IsLast(std::uint16_t index) const noexcept { return index + 1u == count_; }
  LoadOpening FailOpening(LoadOpening result);
  ChunkReading FailReading(ChunkReading result);

  HANDLE file_ = INVALID_HANDLE_VALUE;
  std::uint16_t index_ = 0;
  std::uint16_t count_ = 0;
  std::uint64_t sizeBytes_ = 0;
  std::uint32_t error_ = 0;
  bool hasChanged_ = false;
  os::FileWatch watch_;
  std::array<std::uint8_t, kChunkBytes + 1> buffer_{};  // with a spare zero byte
};

}  // namespace SvcKivClass
