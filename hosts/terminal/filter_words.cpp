#include "hosts/terminal/filter_words.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>

#include "hosts/terminal/command_help.h"
#include "hosts/terminal/command_words.h"
#include "hosts/terminal/console_texts.h"
#include "hosts/terminal/shown_filter.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr std::wstring_view kBlanks = L" \t";
constexpr std::wstring_view kOn = L"on";
constexpr std::wstring_view kOff = L"off";

struct ChannelRow {
  const wchar_t* name;
  ShownKind kind;
};
constexpr ChannelRow kChannels[] = {
    {L"at", ShownKind::kAt},
    {L"shell", ShownKind::kShell},
    {L"hci", ShownKind::kController},
    {L"cts", ShownKind::kTestCase},
};

const ChannelRow* FindChannel(std::wstring_view name) {
  const auto row = std::find_if(std::begin(kChannels), std::end(kChannels),
                                [name](const ChannelRow& each) { return name == each.name; });
  return row != std::end(kChannels) ? row : nullptr;
}

std::vector<std::wstring_view> WordsOf(std::wstring_view arguments) {
  std::vector<std::wstring_view> words;
  while (!arguments.empty()) {
    const std::size_t begin = std::min(arguments.find_first_not_of(kBlanks), arguments.size());
    arguments.remove_prefix(begin);
    const std::wstring_view word = arguments.substr(0, arguments.find_first_of(kBlanks));
    if (!word.empty()) words.push_back(word);
    arguments.remove_prefix(word.size());
  }
  return words;
}

// Names in a row, or what stands for none.
std::string Joined(const std::vector<std::string>& names, const char* none) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text.empty() ? none : text;
}

std::string NameOf(ConsoleContext& context, std::uint32_t cmdId) {
  const hostbench::CommandIndex& commands = context.help.Guide().Commands();
  for (std::uint32_t i = 0; i < commands.Count(); ++i) {
    if (commands.At(i).GetId() == cmdId) return ShownLine(commands.At(i).GetName());
  }
  return cmdId == 0 ? "unknown" : ShownLine(hostbench::CommandIdText(cmdId));
}

std::vector<std::string> NamesOf(ConsoleContext& context, const std::set<std::uint32_t>& ids) {
  std::vector<std::string> names;
  for (const std::uint32_t id : ids) names.push_back(NameOf(context, id));
  return names;
}

// The command whose indications are meant; tells why there is none.
std::optional<std::uint32_t> IndicationOf(ConsoleContext& context, std::wstring_view name) {
  const hostbench::CommandIndex& commands = context.help.Guide().Commands();
  const std::uint32_t index = commands.IndexOf(name);
  if (index == hostbench::CommandIndex::kNone) {
    context.display.Notice(NoSuchCommandText(ShownLine(name)));
    return std::nullopt;
  }
  if (commands.At(index).GetIndKind() == 0) {
    context.display.Notice(NoIndicationText(ShownLine(name)));
    return std::nullopt;
  }
  return commands.At(index).GetId();
}

// What the names mean; nothing, and told why, when one of them means nothing.
struct Meant {
  std::vector<std::uint32_t> ids;
  std::vector<ShownKind> channels;
};
std::optional<Meant> MeantBy(ConsoleContext& context, const std::vector<std::wstring_view>& names,
                             bool withChannels) {
  Meant meant;
  for (const std::wstring_view name : names) {
    const ChannelRow* const channel = withChannels ? FindChannel(name) : nullptr;
    if (channel != nullptr) {
      meant.channels.push_back(channel->kind);
    } else if (const auto id = IndicationOf(context, name)) {
      meant.ids.push_back(*id);
    } else {
      return std::nullopt;
    }
  }
  return meant;
}

std::string HiddenIndications(ConsoleContext& context) {
  std::vector<std::string> counts;
  for (const auto& [id, count] : context.display.Filter().HiddenIndications()) {
    counts.push_back(NameOf(context, id) + " " + std::to_string(count));
  }
  return "indications hidden so far: " + Joined(counts, "none") + "\n";
}

void ShowIndicationState(ConsoleContext& context) {
  const ShownFilter& filter = context.display.Filter();
  std::string text = "indications: ";
  switch (filter.GetIndications()) {
    case ShownFilter::Indications::kAll:
      text += "all are shown\n";
      break;
    case ShownFilter::Indications::kNone:
      text += "none is shown\n";
      break;
    case ShownFilter::Indications::kNamed:
      text += "only " + Joined(NamesOf(context, filter.Named()), "none") + "\n";
      break;
  }
  if (context.pump.News().settings->indicationsEnabled == 0) {
    text += "the settings (ENABLE_IND_CMD) drop them before, but for a while behind a command\n";
  }
  context.display.Answer(text + HiddenIndications(context));
}

void ShowMuted(ConsoleContext& context) {
  const ShownFilter& filter = context.display.Filter();
  std::vector<std::string> muted = NamesOf(context, filter.MutedIds());
  std::vector<std::string> hidden;
  for (const ChannelRow& row : kChannels) {
    const std::string name = ShownLine(row.name);
    if (filter.IsMuted(row.kind)) muted.push_back(name);
    const std::uint64_t lines = filter.HiddenLines(row.kind);
    if (lines > 0) hidden.push_back(name + " " + std::to_string(lines));
  }
  context.display.Answer("muted: " + Joined(muted, "nothing") + "\nlines hidden so far: " +
                         Joined(hidden, "none") + "\n" + HiddenIndications(context));
}

void ShowPattern(ConsoleContext& context) {
  const ShownFilter& filter = context.display.Filter();
  const LinePattern* const pattern = filter.Pattern();
  std::string text =
      pattern != nullptr ? "only lines with " + pattern->Text() + "\n" : "all lines are shown\n";
  text += "lines hidden so far: " + std::to_string(filter.HiddenByPattern()) + "\n";
  if (pattern != nullptr && pattern->GivenUp() > 0) {
    text += "lines shown because looking through them took too long: " +
            std::to_string(pattern->GivenUp()) + "\n";
  }
  context.display.Answer(text);
}

void UnmuteEverything(ConsoleContext& context) {
  context.display.ChangeFilter([](ShownFilter& filter) { filter.UnmuteAll(); });
}

}  // namespace

int FilterIndications(ConsoleContext& context, std::wstring_view arguments) {
  if (arguments.empty()) {
    ShowIndicationState(context);
    return kDone;
  }
  if (arguments == kOn || arguments == kOff) {
    context.display.ChangeFilter(
        [&](ShownFilter& filter) { filter.ShowIndications(arguments == kOn); });
    return kDone;
  }
  const auto meant = MeantBy(context, WordsOf(arguments), false);
  if (!meant) return kCommandFailed;
  context.display.ChangeFilter([&meant](ShownFilter& filter) {
    for (const std::uint32_t id : meant->ids) filter.ShowOnly(id);
  });
  return kDone;
}

int Mute(ConsoleContext& context, std::wstring_view arguments) {
  if (arguments.empty()) {
    ShowMuted(context);
    return kDone;
  }
  if (arguments == kOff) {
    UnmuteEverything(context);
    return kDone;
  }
  const auto meant = MeantBy(context, WordsOf(arguments), true);
  if (!meant) return kCommandFailed;
  context.display.ChangeFilter([&meant](ShownFilter& filter) {
    for (const std::uint32_t id : meant->ids) filter.Mute(id);
    for (const ShownKind channel : meant->channels) filter.Mute(channel);
  });
  return kDone;
}

int Unmute(ConsoleContext& context, std::wstring_view arguments) {
  if (arguments.empty()) {
    UnmuteEverything(context);
    return kDone;
  }
  const auto meant = MeantBy(context, WordsOf(arguments), true);
  if (!meant) return kCommandFailed;
  context.display.ChangeFilter([&meant](ShownFilter& filter) {
    for (const std::uint32_t id : meant->ids) filter.Unmute(id);
    for (const ShownKind channel : meant->channels) filter.Unmute(channel);
  });
  return kDone;
}

int FilterLines(ConsoleContext& context, std::wstring_view arguments) {
  if (arguments.empty()) {
    ShowPattern(context);
    return kDone;
  }
  std::unique_ptr<LinePattern> pattern;
  if (arguments != kOff) {
    std::string problem;
    pattern = LinePattern::Make(arguments, problem);
    if (pattern == nullptr) {
      context.display.Notice(BadPatternText(ShownLine(arguments), problem));
      return kCommandFailed;
    }
  }
  context.display.ChangeFilter(
      [&pattern](ShownFilter& filter) { filter.SetPattern(std::move(pattern)); });
  return kDone;
}

std::vector<std::wstring> CompleteIndications(ConsoleContext& context,
                                              std::wstring_view arguments) {
  std::vector<std::wstring> rows;
  const std::size_t last = arguments.find_last_of(kBlanks) + 1;  // 0 without a blank
  if (last == 0) {
    for (const std::wstring_view word : {kOn, kOff}) {
      if (word.starts_with(arguments)) rows.emplace_back(word);
    }
  }
  const hostbench::CommandIndex& commands = context.help.Guide().Commands();
  for (std::wstring& name : CompleteCommandName(context, arguments.substr(last))) {
    const std::uint32_t index = commands.IndexOf(name);
    if (index != hostbench::CommandIndex::kNone && commands.At(index).GetIndKind() != 0) {
      rows.push_back(std::move(name));
    }
  }
  return rows;
}

std::vector<std::wstring> CompleteMuted(ConsoleContext& context, std::wstring_view arguments) {
  std::vector<std::wstring> rows = CompleteIndications(context, arguments);
  std::erase(rows, kOn);
  const std::size_t last = arguments.find_last_of(kBlanks) + 1;
  for (const ChannelRow& row : kChannels) {
    if (std::wstring_view(row.name).starts_with(arguments.substr(last))) {
      rows.emplace_back(row.name);
    }
  }
  return rows;
}

}  // namespace kiv
