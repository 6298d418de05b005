// The console's own texts, in one place. They go to standard error and begin with "kiv: ", so they
// can be told from what the module answers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hosts/terminal/console_settings.h"
#include "platform/devlink/link_observer.h"

namespace kiv {

// "kiv: connected to NAME (variant N, product N) over ENDPOINT".
std::string ConnectedText(const devlink::PeerInfo& peer, const std::string& endpoint);
std::string DisconnectedText(const std::string& reason);
// A batch whose link did not come up.
std::string NotConnectedText(const std::string& endpoint, std::uint32_t waitMs,
                             const std::string& reason);
// A file of lines, or standard input.
std::string UnreadableText(const std::string& name, const std::string& reason);
std::string NoAnswerText(const std::string& line, std::uint32_t waitMs);
// A line that a text channel took without a word and without a post: no device, or another reason.
std::string LineNotConnectedText(const std::string& line);
// The confirmation of a text channel's post, which the module swallows.
std::string RefusedText(const std::string& line, std::uint32_t result);
std::string NothingSentText(const std::string& line);
// A text channel sent the line's first word alone, because it is too long a word.
std::string RestLostText(const std::string& line);
// The answer that came may be that to a line of before the catalogue was read again.
std::string UnclearAnswerText(const std::string& line);
// As notices repeat what was typed: what is long is cut.
std::string Cut(const std::string& typed);
std::string LinkLostText(const std::string& line);
std::string LineTooLongText(std::size_t number);
// A catalogue that gave no commands, with the status of the attempt to read it.
std::string NoCommandsText(const std::string& catalogue, std::uint32_t status);
// The settings file cannot be written just now.
std::string SettingsNotSavedText();
// What the settings have to say, in the module's words.
std::string SettingsNoticeText(const std::string& notice);
// A command that sends nothing by itself.
std::string NoIndicationText(const std::string& name);
std::string BadPatternText(const std::string& expression, const std::string& problem);
// The file that what is shown is saved to.
std::string LogNotWrittenText(const std::string& path, int error);
std::string LogIncompleteText(const std::string& path);
std::string UnknownWordText(const std::string& word);
// A word of the console's own that stands alone was given arguments.
std::string NoArgumentsText(const std::string& word);
std::string NoSuchCommandText(const std::string& name);
// Names that a wrong word may have meant; at least one.
std::string NearestText(const std::vector<std::string>& names);
// A typed line, or a part of it, with the mark below it.
std::string PlaceText(const std::string& line, const std::string& mark);
// :set with a name that none has, that several have, or with a value that is not allowed.
std::string NoSuchSettingText(const std::string& name);
std::string AmbiguousSettingText(const std::string& name, const std::vector<std::string>& names);
std::string WrongValueText(const std::string& name, const std::string& allowed,
                           const std::string& value);
// There is no settings file that could be read.
std::string NoSettingsText();
// The document has no place for the value.
std::string NotWrittenText();
std::string NothingFoundText(const std::string& words);
std::string MoreFoundText(std::size_t shown, std::size_t found);

extern const char kPrompt[];
// The prompt that the settings say; may be empty.
std::string PromptText(const ConsoleSettings& settings);
// The title that the user gave the window; empty: none.
std::string TitleText(const ConsoleSettings& settings);

}  // namespace kiv
