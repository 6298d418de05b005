#include "tests/platform/devlink/naive_frames.h"

#include <sstream>

namespace linktest {

namespace {

void Put(Bytes& to, std::uint32_t value, int count) {
  for (int i = 0; i < count; ++i) to.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

std::uint32_t Get(const Bytes& from, std::size_t at, int count) {
  std::uint32_t value = 0;
  for (int i = 0; i < count; ++i) value |= std::uint32_t{from.at(at + i)} << (8 * i);
  return value;
}

}  // namespace

NaiveFrame Whole(NaiveFrame frame) {
  frame.length = static_cast<std::uint32_t>(frame.payload.size());
  return frame;
}

std::uint32_t NaiveCrc(const Bytes& bytes) {
  std::uint32_t crc = 0xFFFFFFFFu;
  for (const std::uint8_t byte : bytes) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320u : 0);
  }
  return ~crc;
}

Bytes NaiveContent(const NaiveFrame& frame) {
  Bytes content = {frame.version, frame.kind, frame.flags, 0};
  Put(content, frame.id, 4);
  Put(content, frame.tag, 2);
  Put(content, frame.word16, 2);
  Put(content, frame.word32, 4);
  Put(content, frame.result, 4);
  Put(content, frame.sequence, 4);
  Put(content, frame.length, 4);
  Put(content, frame.offset, 4);
  Append(content, frame.payload);
  return content;
}

Bytes NaiveLine(const Bytes& content) {
  Bytes all = content;
  Put(all, NaiveCrc(content), 4);
  Bytes line = {0x7E};
  for (const std::uint8_t byte : all) {
    if (byte == 0x7E || byte == 0x7D) {
      line.push_back(0x7D);
      line.push_back(byte ^ 0x20);
    } else {
      line.push_back(byte);
    }
  }
  line.push_back(0x7E);
  return line;
}

Bytes NaiveLine(const NaiveFrame& frame) { return NaiveLine(NaiveContent(frame)); }

void NaiveDeframer::Take(const Bytes& bytes) {
  for (const std::uint8_t byte : bytes) Take(byte);
}

void NaiveDeframer::Take(std::uint8_t byte) {
  if (byte == 0x7E) {
    if (!hunting_) Close();
    hunting_ = escaped_ = tooLong_ = false;
    open_.clear();
  } else if (!hunting_ && byte == 0x7D && !escaped_) {
    escaped_ = true;
  } else if (!hunting_) {
    if (open_.size() < 65536) {
      open_.push_back(escaped_ ? byte ^ 0x20 : byte);
    } else {
      tooLong_ = true;
    }
    escaped_ = false;
  }
}

void NaiveDeframer::Close() {
  if (escaped_ || tooLong_) {
    ++damaged;
  } else if (!open_.empty() && open_.size() < 36) {
    ++stray;
  } else if (!open_.empty()) {
    const Bytes content(open_.begin(), open_.end() - 4);
    if (NaiveCrc(content) == Get(open_, open_.size() - 4, 4)) {
      contents.push_back(content);
    } else {
      ++damaged;
    }
  }
}

NaiveFrame NaiveParse(const Bytes& content) {
  NaiveFrame frame;
  frame.version = content.at(0);
  frame.kind = content.at(1);
  frame.flags = content.at(2);
  frame.id = Get(content, 4, 4);
  frame.tag = static_cast<std::uint16_t>(Get(content, 8, 2));
  frame.word16 = static_cast<std::uint16_t>(Get(content, 10, 2));
  frame.word32 = Get(content, 12, 4);
  frame.result = Get(content, 16, 4);
  frame.sequence = Get(content, 20, 4);
  frame.length = Get(content, 24, 4);
  frame.offset = Get(content, 28, 4);
  frame.payload.assign(content.begin() + 32, content.end());
  return frame;
}

Bytes FromHex(const std::string& text) {
  Bytes bytes;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(word, nullptr, 16)));
  }
  return bytes;
}

void Append(Bytes& to, const Bytes& more) { to.insert(to.end(), more.begin(), more.end()); }

}  // namespace linktest
