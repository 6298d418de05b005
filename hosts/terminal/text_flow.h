// TextFlow: how texts follow one another on standard output.
//
// A channel's text comes in pieces and goes out as it is, without anything between the pieces. A
// line feed is added in two places only: where a text ends in the middle of a line, and where
// another text begins while a channel's line is still open.
//
// A sieve may leave lines of the channels out. It gets whole lines only, so with it an unfinished
// line is held back until it has its end.
//
// Threads: none of its own, one caller at a time. Owns what the channels' texts hold back.
// Errors: none. Each method answers what is to be written, in UTF-8, possibly nothing.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>

#include "hosts/terminal/channel_answer.h"
#include "hosts/terminal/piece_text.h"

namespace kiv {

// The texts of one run of the console.
class TextFlow {
 public:
  // Answers the lines that are to be shown, of whole ones.
  using Sieve = std::function<std::string(Channel channel, std::string lines)>;
  // Null: everything is shown. When no text is open (EndAll).
  void SetSieve(Sieve sieve) { sieve_ = std::move(sieve); }

  // As the channel sent it.
  std::string Piece(Channel channel, std::string_view text);
  // The channel's text has ended.
  std::string End(Channel channel);
  // So have all.
  std::string EndAll();
  // A text of its own, fit for showing; a line feed ends it.
  std::string Whole(const std::string& text);
  // A text follows that is not written here.
  std::string Break();
  // The line that was open was ended by somebody else.
  void LineWasEnded() { isLineOpen_ = false; }
  // Whether EndAll would answer anything.
  bool IsOpen() const;

 private:
  std::string Placed(Channel channel, std::string shown);
  // What the sieve leaves of it and of what was held back before.
  std::string Sifted(Channel channel, std::string text, bool isEnd);
  PieceText& Of(Channel channel) { return texts_[static_cast<std::size_t>(channel)]; }

  std::array<PieceText, kChannelCount> texts_;
  std::array<std::string, kChannelCount> unsifted_;  // the beginning of a line
  Sieve sieve_;
  bool isLineOpen_ = false;
  Channel last_ = Channel::kNone;  // whose text left the line open
};

}  // namespace kiv
