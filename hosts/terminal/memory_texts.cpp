#include "hosts/terminal/memory_texts.h"

#include <algorithm>
#include <iterator>

#include "hosts/terminal/console_texts.h"
#include "platform/base/result_codes.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

// What a result code of an import or export means; kOk ends each list.
struct ResultText {
  std::uint32_t status;
  const char* text;
};

constexpr ResultText kImportTexts[] = {
    {result::kNoDocument, "the settings are not open"},
    {result::kGroupMissing, "it lacks what was asked for; what stands before that was imported"},
    {result::kInstanceMissing,
     "it is no settings file that can be read, or has nothing for this session and instance"},
    {result::kBadKeys,
     "the keys are as they were: in the file three need names of their own, ENTER must send and "
     "ESC cancel"},
    {result::kSaveFailed, "imported, but the settings could not be saved"},
    {result::kOk, ""},
};

constexpr ResultText kExportTexts[] = {
    {result::kNoDocument, "the settings are not open"},
    {result::kInstanceMissing, "the settings have nothing of this session and instance"},
    {result::kSaveFailed,
     "it could not be written, or is the settings file itself or one that is kept beside it"},
    {result::kOk, ""},
};

// The send and cancel keys are looked at when the other three are taken.
constexpr char kThreeKeysTaken[] =
    "its keys that repeat and list were taken, and nothing else: ENTER must send there and ESC "
    "cancel";

std::string TextOf(const ResultText* row, std::uint32_t status) {
  while (row->status != status && row->status != result::kOk) ++row;
  return row->status == status ? row->text : ShownText(result::Text(status).view());
}

}  // namespace

std::string UsageText(std::string_view word, std::string_view arguments) {
  return "kiv: " + std::string(word) + " takes " + std::string(arguments) + "\n";
}

std::string NotKeptText(Kept kept) {
  switch (kept) {
    case Kept::kTooLong:
      return "kiv: not kept: a first word of more than 80 characters, or more than 16384 behind "
             "it\n";
    case Kept::kNoSettings:
      return "kiv: not kept: the settings are not open\n";
    case Kept::kNotSaved:
      return SettingsNotSavedText();
    case Kept::kYes:
    case Kept::kAlready:
    case Kept::kNotThere:
      break;
  }
  return {};
}

std::string ComesBackChangedText() {
  return "kiv: \\n, %(% and %)% in it will be a line feed, < and > in the next run\n";
}

std::string NoSuchLineText(std::size_t number) {
  return "kiv: no line " + std::to_string(number) + " in the history; :history lists them\n";
}

std::string NothingTypedText() { return "kiv: no line was typed yet\n"; }

std::string NoSuchFavouriteText(const std::string& which) {
  return "kiv: no favourite '" + Cut(which) + "'; :fav list shows them\n";
}

std::string FavouriteIsThereText(std::size_t number) {
  return "kiv: that is favourite " + std::to_string(number) + " already\n";
}

std::string SeveralFavouritesText(const std::string& name,
                                  const std::vector<std::size_t>& numbers) {
  std::string text = "kiv: several favourites begin with '" + Cut(name) + "':";
  for (const std::size_t number : numbers) {
    text += (number == numbers.front() ? " " : ", ") + std::to_string(number);
  }
  return text + "; give the number\n";
}

std::string KeyNotSetText(std::size_t number) {
  const std::string digits = std::to_string(number);
  return "kiv: F" + digits + " is not set; :key " + digits + " LINE sets it\n";
}

std::string KeyTakenText(std::size_t number, const std::string& use) {
  const std::string digits = std::to_string(number);
  return "kiv: without it F" + digits + " " + use + "; :key rm " + digits + " brings that back\n";
}

std::string RunsItselfText(const std::string& line) {
  return "kiv: '" + Cut(line) + "' was not run: it runs itself\n";
}

std::string ImportText(const Imported& imported, const std::string& path) {
  const std::uint32_t status = imported.status;
  if (status == result::kOk) return "kiv: imported from " + path + "\n";
  const bool isPart = status == result::kBadKeys && imported.keysMoved;
  return "kiv: " + path + ": " + (isPart ? kThreeKeysTaken : TextOf(kImportTexts, status)) + "\n";
}

std::string ExportText(std::uint32_t status, const std::string& path) {
  if (status == result::kOk) return "kiv: exported to " + path + "\n";
  return "kiv: " + path + ": " + TextOf(kExportTexts, status) + "\n";
}

}  // namespace kiv
