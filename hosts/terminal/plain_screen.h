// PlainScreen: the screen of a pipe, of a file, and of a terminal that can do nothing but write:
// the terminal, if there is one, edits the line by itself.
//
// Threads: the main thread. Errors: as Screen.
#pragma once

#include <string_view>

#include "hosts/terminal/screen.h"

namespace kiv {

class PlainScreen final : public Screen {
 public:
  // `canErase`: the terminal can, so that a text may take the prompt's place.
  PlainScreen(StopRequests& stops, bool canErase) : Screen(stops), canErase_(canErase) {}

  void Write(std::string_view bytes) override;
  void Notify(std::string_view text) override;
  bool HasBlock() const override { return canErase_; }
  void Block(const std::vector<BlockRow>& rows) override;
  void ShowPrompt() override;
  void Typed(std::string_view bytes) override;
  void EndOfInput() override;
  bool NextLine(LineSource::Line& line) override { return source_.Next(line); }
  void DropTyped() override;
  bool IsEchoOfTerminal() const override { return true; }

 private:
  void HidePrompt() override;

  const bool canErase_;
  LineSource source_;
};

}  // namespace kiv
