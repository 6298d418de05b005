#include "hosts/terminal/console_texts.h"

#include <cerrno>

#include "hosts/terminal/line_source.h"
#include "hosts/terminal/long_word.h"
#include "platform/base/result_codes.h"
#include "platform/os/error_text.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

// Of a line or word that was typed; what is longer would push the notice's own words off the
// screen.
constexpr std::size_t kQuotedBytes = 160;

std::string Quoted(const std::string& typed) { return "'" + Cut(typed) + "'"; }

std::string Alternatives(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i != 0) text += i + 1 == names.size() ? " or " : ", ";
    text += names[i];
  }
  return text;
}

}  // namespace

// UTF-8, never cut inside a character.
std::string Cut(const std::string& typed) {
  if (typed.size() <= kQuotedBytes) return typed;
  std::size_t end = kQuotedBytes;
  while (end > 0 && (static_cast<unsigned char>(typed[end]) & 0xC0) == 0x80) --end;
  return typed.substr(0, end) + "...";
}

const char kPrompt[] = "kiv> ";

std::string PromptText(const ConsoleSettings& settings) {
  const wchar_t prompt = settings.values.prompt;
  if (prompt == 0) return "";
  return "kiv" + ShownLine(std::wstring_view(&prompt, 1)) + " ";
}

// A window is not renamed for somebody who never named one.
std::string TitleText(const ConsoleSettings& settings) {
  constexpr std::wstring_view kFirstTitle = L"Kiv";
  const std::wstring_view title = settings.values.title;
  return title == kFirstTitle ? std::string() : ShownLine(title);
}

std::string ConnectedText(const devlink::PeerInfo& peer, const std::string& endpoint) {
  return "kiv: connected to " + (peer.agentName.empty() ? "a device" : ShownLine(peer.agentName)) +
         " (variant " + std::to_string(peer.variant) + ", product " + std::to_string(peer.product) +
         ") over " + endpoint + "\n";
}

std::string DisconnectedText(const std::string& reason) {
  return "kiv: not connected" + (reason.empty() ? "" : ": " + reason) + "\n";
}

std::string NotConnectedText(const std::string& endpoint, std::uint32_t waitMs,
                             const std::string& reason) {
  return "kiv: no device at " + endpoint + " within " + std::to_string(waitMs) + " ms" +
         (reason.empty() ? "" : ": " + reason) + "; no line was run\n";
}

std::string UnreadableText(const std::string& name, const std::string& reason) {
  return "kiv: cannot read " + name + ": " + reason + "\n";
}

std::string NoAnswerText(const std::string& line, std::uint32_t waitMs) {
  return "kiv: no answer to " + Quoted(line) + " within " + std::to_string(waitMs) + " ms\n";
}

std::string LineNotConnectedText(const std::string& line) {
  return "kiv: not connected; " + Quoted(line) + " was not sent\n";
}

std::string RefusedText(const std::string& line, std::uint32_t result) {
  return "kiv: the device refused " + Quoted(line) + ": " + ShownText(result::Text(result).view()) +
         "\n";
}

std::string NothingSentText(const std::string& line) {
  return "kiv: nothing was sent for " + Quoted(line) + "\n";
}

std::string UnclearAnswerText(const std::string& line) {
  return "kiv: what answered " + Quoted(line) + " may be the answer to a line before the reload\n";
}

std::string RestLostText(const std::string& line) {
  return "kiv: the first word of " + Quoted(line) + " has more than " +
         std::to_string(kLongestWordChars) + " characters; what stands behind it was not sent\n";
}

std::string LinkLostText(const std::string& line) {
  return "kiv: the link was lost before " + Quoted(line) + " was answered\n";
}

std::string LineTooLongText(std::size_t number) {
  return "kiv: line " + std::to_string(number) + " is longer than " +
         std::to_string(LineSource::kLimitBytes) + " bytes; it was not run\n";
}

std::string NoCommandsText(const std::string& catalogue, std::uint32_t status) {
  return "kiv: warning: no commands from the catalogue " + catalogue +
         (status == result::kOk ? "" : ": " + ShownText(result::Text(status).view())) + "\n";
}

std::string SettingsNotSavedText() {
  return "kiv: the settings, with the history, could not be saved\n";
}

std::string SettingsNoticeText(const std::string& notice) { return "kiv: " + notice + "\n"; }

std::string NoIndicationText(const std::string& name) {
  return "kiv: '" + name + "' has no indications\n";
}

std::string BadPatternText(const std::string& expression, const std::string& problem) {
  return "kiv: " + Quoted(expression) + " cannot be looked for: " + problem + "\n";
}

std::string LogNotWrittenText(const std::string& path, int error) {
  return "kiv: the log " + ShownLine(path) + " cannot be written: " +
         (error == EINVAL ? "it is no regular file" : os::ErrorText(error)) + "\n";
}

std::string LogIncompleteText(const std::string& path) {
  return "kiv: the log " + ShownLine(path) +
         " is written again; part of what was shown is missing\n";
}

std::string UnknownWordText(const std::string& word) {
  return "kiv: " + Quoted(word) + " is none of the console's own words; :help lists them\n";
}

std::string NoArgumentsText(const std::string& word) {
  return "kiv: " + Quoted(word) + " takes no arguments\n";
}

std::string NoSuchCommandText(const std::string& name) {
  return "kiv: no command '" + name + "' in the catalogue\n";
}

std::string NearestText(const std::vector<std::string>& names) {
  return "kiv: did you mean " + Alternatives(names) + "?\n";
}

std::string PlaceText(const std::string& line, const std::string& mark) {
  return "kiv: " + line + "\nkiv: " + mark + "\n";
}

std::string NoSuchSettingText(const std::string& name) {
  return "kiv: no setting " + Quoted(name) + "; :set lists them\n";
}

std::string AmbiguousSettingText(const std::string& name, const std::vector<std::string>& names) {
  return "kiv: " + Quoted(name) + " may be " + Alternatives(names) + "\n";
}

std::string WrongValueText(const std::string& name, const std::string& allowed,
                           const std::string& value) {
  return "kiv: " + Cut(name) + " takes " + allowed + ", not " + Quoted(value) + "\n";
}

std::string NoSettingsText() { return "kiv: there are no settings: their file cannot be read\n"; }

std::string NotWrittenText() { return "kiv: the settings file cannot hold this value\n"; }

std::string NothingFoundText(const std::string& words) {
  return "kiv: no command has '" + words + "' in name or description\n";
}

std::string MoreFoundText(std::size_t shown, std::size_t found) {
  return "kiv: " + std::to_string(shown) + " of " + std::to_string(found) +
         " commands shown; more words find fewer\n";
}

}  // namespace kiv
