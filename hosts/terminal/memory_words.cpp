#include "hosts/terminal/memory_words.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "hosts/terminal/command_words.h"
#include "hosts/terminal/console_texts.h"
#include "hosts/terminal/key_table.h"
#include "hosts/terminal/memory_arguments.h"
#include "hosts/terminal/memory_texts.h"
#include "hosts/terminal/typed_record.h"
#include "platform/base/result_codes.h"
#include "platform/os/utf8.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr int kMostNested = 8;  // lines that bring lines; people have no more than two

// What `ask` answers on the facade's thread; unset when the user does not want to wait, and the
// closure may then still run: it keeps what it fills.
template <class Answer>
std::optional<Answer> AskFacade(ConsoleContext& context,
                                std::function<Answer(FacadeThread& here)> ask) {
  auto answer = std::make_shared<Answer>();
  ViewEvent reply;
  const auto question = [answer, ask = std::move(ask)](FacadeThread& here, ViewEvent&) {
    *answer = ask(here);
  };
  if (!context.runner.Ask(question, reply)) return std::nullopt;
  return std::move(*answer);
}

using Lines = std::vector<std::wstring>;

std::optional<Lines> HistoryLines(ConsoleContext& context) {
  return AskFacade<Lines>(context, [](FacadeThread& here) {
    Lines lines;
    if (here.Settings() == nullptr) return lines;
    for (const std::wstring& line : here.Settings()->Lines()) lines.push_back(AsTyped(line));
    return lines;
  });
}

std::optional<std::wstring> LastLine(ConsoleContext& context) {
  return AskFacade<std::wstring>(context, [](FacadeThread& here) {
    return here.Settings() == nullptr ? std::wstring() : AsTyped(here.Settings()->LastLine());
  });
}

// As the settings have them now, which the drawing thread's own copy may lag.
std::optional<KeptCommands> KeptNow(ConsoleContext& context) {
  return AskFacade<KeptCommands>(context, [](FacadeThread& here) {
    return here.Settings() == nullptr ? KeptCommands() : here.Settings()->Commands().All();
  });
}

// What became of a change, and where; the drawing thread hears of it.
struct Changed {
  Kept kept = Kept::kNoSettings;
  std::size_t number = 0;
};

std::optional<Changed> Change(ConsoleContext& context,
                              std::function<Changed(CommandMemory memory)> change) {
  return AskFacade<Changed>(context, [change = std::move(change)](FacadeThread& here) {
    if (here.Settings() == nullptr) return Changed();
    const Changed changed = change(here.Settings()->Commands());
    here.PushKept();
    return changed;
  });
}

// Says what went wrong with a change; its status.
int Told(ConsoleContext& context, Kept kept) {
  const std::string text = NotKeptText(kept);
  if (text.empty()) return kDone;
  context.display.Notice(text);
  return kCommandFailed;
}

int Refuse(ConsoleContext& context, const std::string& text) {
  context.display.Notice(text);
  return kCommandFailed;
}

// Runs a line that nobody typed as if somebody had.
int RunBrought(ConsoleContext& context, const std::wstring& line) {
  const std::string shown = ShownLine(line);
  if (context.nestedLines == kMostNested) return Refuse(context, RunsItselfText(shown));
  if (context.isTyped) context.display.Brought(os::WideToUtf8(line), shown);
  ++context.nestedLines;
  const int status = RunTypedLine(context, line);
  --context.nestedLines;
  return status;
}

// A line that was kept, with its number or key in front.
int AnswerKept(ConsoleContext& context, const std::string& place, const std::wstring& line) {
  context.display.Answer(place + "  " + ShownLine(line) + "\n");
  if (!ComesBackUnchanged(RecordOf(line))) context.display.Notice(ComesBackChangedText());
  return kDone;
}

int AddFavourite(ConsoleContext& context, std::wstring_view typed) {
  std::wstring line(typed);
  if (line.empty()) {
    const std::optional<std::wstring> last = LastLine(context);
    if (!last) return kInterrupted;
    if (last->empty()) return Refuse(context, NothingTypedText());
    line = *last;
  }
  const std::optional<Changed> changed = Change(context, [line](CommandMemory memory) {
    Changed added;
    added.kept = memory.AddFavourite(line, added.number);
    return added;
  });
  if (!changed) return kInterrupted;
  if (changed->kept == Kept::kAlready) {
    return Refuse(context, FavouriteIsThereText(changed->number));
  }
  const int status = Told(context, changed->kept);
  return status != kDone ? status : AnswerKept(context, std::to_string(changed->number), line);
}

int ListFavourites(ConsoleContext& context, std::wstring_view) {
  const std::optional<KeptCommands> kept = KeptNow(context);
  if (!kept) return kInterrupted;
  context.display.Answer(NumberedRows(kept->favourites, HistoryChoice(kept->favourites, {})));
  return kDone;
}

// The one that `which` means, with its number; has said what is wrong when there is none.
int FindFavourite(ConsoleContext& context, std::wstring_view which, std::size_t& number,
                  std::wstring& line) {
  const std::optional<KeptCommands> kept = KeptNow(context);
  if (!kept) return kInterrupted;
  const std::vector<std::size_t> meant = FavouritesMeant(kept->favourites, which);
  if (meant.empty()) return Refuse(context, NoSuchFavouriteText(ShownLine(which)));
  if (meant.size() > 1) return Refuse(context, SeveralFavouritesText(ShownLine(which), meant));
  number = meant.front();
  line = kept->favourites[number - 1];
  return kDone;
}

int RunFavourite(ConsoleContext& context, std::wstring_view which) {
  std::size_t number = 0;
  std::wstring line;
  const int status = FindFavourite(context, which, number, line);
  return status != kDone ? status : RunBrought(context, line);
}

int RemoveFavourite(ConsoleContext& context, std::wstring_view which) {
  std::size_t number = 0;
  std::wstring line;
  const int status = FindFavourite(context, which, number, line);
  if (status != kDone) return status;
  const std::optional<Changed> changed = Change(context, [number](CommandMemory memory) {
    return Changed{memory.RemoveFavourite(number), number};
  });
  return changed ? Told(context, changed->kept) : kInterrupted;
}

std::string KeyRow(const ConsoleContext& context, const KeptCommands& kept, std::size_t number) {
  std::string row = "F" + std::to_string(number);
  row.resize(5, ' ');
  const std::wstring& line = kept.shortcuts[number - 1];
  if (!line.empty()) return row + ShownLine(line) + "\n";
  const std::string use = UseOfFreeKey(context.pump.News().settings->keys, number);
  return row + (use.empty() ? "(not set)" : "(not set; " + use + ")") + "\n";
}

int ListKeys(ConsoleContext& context, std::size_t first, std::size_t last) {
  const std::optional<KeptCommands> kept = KeptNow(context);
  if (!kept) return kInterrupted;
  std::string rows;
  for (std::size_t number = first; number <= last; ++number) {
    rows += KeyRow(context, *kept, number);
  }
  context.display.Answer(rows);
  return kDone;
}

int SetKey(ConsoleContext& context, std::size_t number, const std::wstring& line) {
  const std::optional<Changed> changed = Change(context, [number, line](CommandMemory memory) {
    return Changed{memory.SetShortcut(number, line), number};
  });
  if (!changed) return kInterrupted;
  const int status = Told(context, changed->kept);
  if (status != kDone || line.empty()) return status;
  AnswerKept(context, "F" + std::to_string(number), line);
  const std::string use = UseOfFreeKey(context.pump.News().settings->keys, number);
  if (!use.empty()) context.display.Notice(KeyTakenText(number, use));
  return kDone;
}

int RunKey(ConsoleContext& context, std::size_t number) {
  const std::optional<KeptCommands> kept = KeptNow(context);
  if (!kept) return kInterrupted;
  const std::wstring& line = kept->shortcuts[number - 1];
  return line.empty() ? Refuse(context, KeyNotSetText(number)) : RunBrought(context, line);
}

struct FavouriteVerb {
  std::wstring_view name;
  bool takesArguments;  // and needs them, but for add
  int (*run)(ConsoleContext& context, std::wstring_view arguments);
};

constexpr std::wstring_view kAdd = L"add";
constexpr FavouriteVerb kFavouriteVerbs[] = {
    {kAdd, true, AddFavourite},     {L"", false, ListFavourites}, {L"list", false, ListFavourites},
    {L"rm", true, RemoveFavourite}, {L"run", true, RunFavourite},
};

// What an import and an export have in common.
template <class Text, class Carry>
int CarrySettings(ConsoleContext& context, std::wstring_view arguments, const char* word, Text text,
                  Carry carry) {
  const CarriedFile file(arguments);
  if (file.path.empty()) return Refuse(context, UsageText(word, kCarryArguments));
  const std::optional<Imported> carried = AskFacade<Imported>(
      context, [carry, path = std::wstring(file.path), groups = file.groups](FacadeThread& here) {
        if (here.Settings() == nullptr) return Imported{result::kNoDocument};
        return Imported{carry(here, path, groups)};
      });
  if (!carried) return kInterrupted;
  context.display.Notice(text(*carried, ShownLine(file.path)));
  return carried->status == result::kOk ? kDone : kCommandFailed;
}

}  // namespace

int ShowHistory(ConsoleContext& context, std::wstring_view arguments) {
  const std::optional<Lines> lines = HistoryLines(context);
  if (!lines) return kInterrupted;
  context.display.Answer(NumberedRows(*lines, HistoryChoice(*lines, arguments)));
  return kDone;
}

int RunAgain(ConsoleContext& context, std::wstring_view arguments) {
  if (arguments.empty()) {
    const std::optional<std::wstring> last = LastLine(context);
    if (!last) return kInterrupted;
    return last->empty() ? Refuse(context, NothingTypedText()) : RunBrought(context, *last);
  }
  const std::optional<std::size_t> number = NumberOf(arguments);
  if (!number) return Refuse(context, UsageText(":again", "[N]"));
  const std::optional<Lines> lines = HistoryLines(context);
  if (!lines) return kInterrupted;
  if (*number == 0 || *number > lines->size()) return Refuse(context, NoSuchLineText(*number));
  return RunBrought(context, (*lines)[*number - 1]);
}

int Favourites(ConsoleContext& context, std::wstring_view arguments) {
  const FirstWordOf typed(arguments);
  for (const FavouriteVerb& verb : kFavouriteVerbs) {
    const bool fits =
        verb.takesArguments ? !typed.rest.empty() || verb.name == kAdd : typed.rest.empty();
    if (typed.word == verb.name && fits) return verb.run(context, typed.rest);
  }
  return Refuse(context, UsageText(":fav", kFavouriteArguments));
}

int ShortcutKeys(ConsoleContext& context, std::wstring_view arguments) {
  const FirstWordOf typed(arguments);
  if (typed.word.empty()) return ListKeys(context, 1, SvcKivSpace::kShortcutCommands);
  if (const std::optional<std::size_t> number = KeyNumberOf(typed.word)) {
    return typed.rest.empty() ? ListKeys(context, *number, *number)
                              : SetKey(context, *number, std::wstring(typed.rest));
  }
  const std::optional<std::size_t> number = KeyNumberOf(typed.rest);
  if (number && typed.word == L"run") return RunKey(context, *number);
  if (number && typed.word == L"rm") return SetKey(context, *number, {});
  return Refuse(context, UsageText(":key", kKeyArguments));
}

int ImportSettings(ConsoleContext& context, std::wstring_view arguments) {
  return CarrySettings(
      context, arguments, ":import", ImportText,
      [](FacadeThread& here, const std::wstring& path, const CarriedGroups& groups) {
        const Imported imported = here.Settings()->Commands().Import(path, groups);
        here.SettingsChanged(imported.status != result::kSaveFailed);
        here.PushKept();
        return imported;
      });
}

int ExportSettings(ConsoleContext& context, std::wstring_view arguments) {
  return CarrySettings(
      context, arguments, ":export",
      [](const Imported& exported, const std::string& path) {
        return ExportText(exported.status, path);
      },
      [](FacadeThread& here, const std::wstring& path, const CarriedGroups& groups) {
        return here.Settings()->Commands().Export(path, groups);
      });
}

namespace {

// Of the directory that `typed` names, those that go on as it does; directories end with a slash.
std::vector<std::wstring> FileChoices(std::wstring_view typed) {
  const std::size_t slash = typed.rfind(L'/');
  const std::wstring folder(typed.substr(0, slash == typed.npos ? 0 : slash + 1));
  const std::wstring_view name = typed.substr(folder.size());
  std::vector<std::wstring> choices;
  std::error_code error;
  std::filesystem::directory_iterator at(folder.empty() ? "." : os::WideToUtf8(folder), error);
  for (; !error && at != std::filesystem::directory_iterator(); at.increment(error)) {
    std::wstring file = os::Utf8ToWide(at->path().filename().string());
    if (!file.starts_with(name) || (name.empty() && file.starts_with(L'.'))) continue;
    std::error_code ignored;
    if (at->is_directory(ignored)) file += L'/';
    choices.push_back(folder + file);
  }
  std::sort(choices.begin(), choices.end());
  return choices;
}

std::wstring_view LastArgument(std::wstring_view arguments) {
  const std::size_t blank = arguments.find_last_of(L" \t");
  return blank == arguments.npos ? arguments : arguments.substr(blank + 1);
}

// The name of a command, where the word in front of it takes a line.
std::vector<std::wstring> LineChoices(ConsoleContext& context, std::wstring_view line) {
  if (line.find_first_of(L" \t") != line.npos) return {};
  return CompleteCommandName(context, line);
}

}  // namespace

std::vector<std::wstring> CompleteFavourites(ConsoleContext& context, std::wstring_view arguments) {
  const FirstWordOf typed(arguments);
  if (typed.word == kAdd && typed.word.size() < arguments.size()) {
    return LineChoices(context, typed.rest);
  }
  // The user may not want them to be offered.
  const ConsoleNews& news = context.pump.News();
  return FavouriteChoices(news.settings->values.favouritesOn != 0 ? news.kept->favourites : Lines(),
                          arguments);
}

std::vector<std::wstring> CompleteShortcutKeys(ConsoleContext& context,
                                               std::wstring_view arguments) {
  const FirstWordOf typed(arguments);
  if (KeyNumberOf(typed.word) && typed.word.size() < arguments.size()) {
    return LineChoices(context, typed.rest);
  }
  return ShortcutKeyChoices(arguments);
}

std::vector<std::wstring> CompleteSettingsFile(ConsoleContext&, std::wstring_view arguments) {
  std::vector<std::wstring> choices = GroupChoices(arguments);
  for (std::wstring& file : FileChoices(LastArgument(arguments))) {
    choices.push_back(std::move(file));
  }
  return choices;
}

}  // namespace kiv
