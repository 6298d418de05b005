// LineSource: bytes as they come, cut into typed lines.
//
// A line ends with LF or CR LF; a last line without an end counts. A byte order mark in front of
// the first line is dropped. Bytes that are not UTF-8 become U+FFFD, so does NUL.
//
// Threads: one object for one thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kiv {

// Cuts bytes into lines, however they come in pieces.
class LineSource {
 public:
  // A longer line is not run; the module takes 16,463 characters at most.
  static constexpr std::size_t kLimitBytes = 1u << 20;

  // One typed line, or the news that it was too long.
  struct Line {
    std::wstring text;
    std::size_t number = 0;  // from 1
    bool tooLong = false;    // `text` is empty then
    bool isOfKey = false;    // a key stands for it: it is not on the screen
  };

  void Add(std::string_view bytes);
  // No more bytes come: the last line is handed out as it is.
  void End() { ended_ = true; }
  // The next whole line; false when there is none yet.
  bool Next(Line& line);

 private:
  void Cut(std::size_t lengthBytes, Line& line);

  std::string pending_;
  std::size_t from_ = 0;      // start of the next line in pending_
  std::size_t searched_ = 0;  // no line feed before this position
  std::size_t number_ = 0;
  bool skipping_ = false;  // inside a line that is too long
  bool ended_ = false;
};

}  // namespace kiv
