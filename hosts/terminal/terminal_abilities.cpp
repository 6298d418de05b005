#include "hosts/terminal/terminal_abilities.h"

#include <string_view>

// Their macros have short names: nothing of ours behind them.
#include <curses.h>
#include <term.h>

namespace kiv {
namespace {

std::string_view Text(const char* capability) {
  char name[16] = {};
  std::string_view(capability).copy(name, sizeof name - 1);
  const char* const value = tigetstr(name);
  return value == nullptr || value == reinterpret_cast<char*>(-1) ? "" : value;
}

int Number(const char* capability) {
  char name[16] = {};
  std::string_view(capability).copy(name, sizeof name - 1);
  return tigetnum(name);
}

bool Flag(const char* capability) {
  char name[16] = {};
  std::string_view(capability).copy(name, sizeof name - 1);
  return tigetflag(name) > 0;
}

}  // namespace

TerminalAbilities ReadTerminalAbilities(const std::string& kind) {
  TerminalAbilities abilities;
  int status = 0;
  TERMINAL* const before = cur_term;  // of a line editor, say
  if (setupterm(kind.c_str(), 1, &status) != OK) return abilities;
  abilities.takesAnsi = Text("el").starts_with("\x1b[");
  abilities.colours = Text("setaf").starts_with("\x1b[") ? Number("colors") : 0;
  abilities.erasesInColour = Flag("bce");
  abilities.hasItalic = Text("sitm") == "\x1b[3m";
  del_curterm(set_curterm(before));
  return abilities;
}

}  // namespace kiv
