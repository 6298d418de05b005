// Frames of the link byte by byte and bit by bit, as docs/wire-format.md words them: the tests' own
// second reading, slow on purpose and sharing nothing with the platform.
//
// Threads: values; one object for one thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace linktest {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::uint8_t kHello = 1, kRequest = 2, kCnf = 3, kInd = 4, kSdt = 5, kRaw = 6,
                              kKeepAlive = 7;

struct NaiveFrame {
  std::uint8_t version = 1;
  std::uint8_t kind = kCnf;
  std::uint8_t flags = 0;
  std::uint32_t id = 0;
  std::uint16_t tag = 0;
  std::uint16_t word16 = 0;
  std::uint32_t word32 = 0;
  std::uint32_t result = 0;
  std::uint32_t sequence = 0;
  std::uint32_t length = 0;
  std::uint32_t offset = 0;
  Bytes payload;

  friend bool operator==(const NaiveFrame&, const NaiveFrame&) = default;
};

// A frame whose body length is that of its payload.
NaiveFrame Whole(NaiveFrame frame);

std::uint32_t NaiveCrc(const Bytes& bytes);
// Content (head and payload) without FCS.
Bytes NaiveContent(const NaiveFrame& frame);
// FCS behind it, escaped, between two flags.
Bytes NaiveLine(const Bytes& content);
Bytes NaiveLine(const NaiveFrame& frame);

// What a receiver makes of bytes of the line.
class NaiveDeframer {
 public:
  void Take(std::uint8_t byte);
  void Take(const Bytes& bytes);

  std::vector<Bytes> contents;  // FCS checked and left out
  std::uint64_t damaged = 0;
  std::uint64_t stray = 0;

 private:
  void Close();
  bool hunting_ = true;
  bool escaped_ = false;
  bool tooLong_ = false;
  Bytes open_;
};

NaiveFrame NaiveParse(const Bytes& content);

// "01 02 FF" to bytes; line ends and blanks separate.
Bytes FromHex(const std::string& text);

void Append(Bytes& to, const Bytes& more);
inline Bytes operator+(Bytes left, const Bytes& right) {
  Append(left, right);
  return left;
}

}  // namespace linktest
