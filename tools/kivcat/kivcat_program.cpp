#include "tools/kivcat/kivcat_program.h"

#include <QCommandLineParser>
#include <QStringList>
#include <cstring>
#include <vector>

#include "kiv_version.h"
#include "platform/os/safe_file.h"
#include "platform/text/shown_text.h"
#include "tools/kivcat/invocation.h"
#include "tools/kivcat/program_commands.h"

namespace kivcat {
namespace {

struct OptionRow {
  const char* letter;  // null: none
  const char* name;
  const char* valueName;  // null: takes none
};

constexpr OptionRow kOutput{"o", "output", "FILE"};
constexpr OptionRow kSource{nullptr, "source", nullptr};
constexpr OptionRow kHex{nullptr, "hex", nullptr};
constexpr OptionRow kOneLine{nullptr, "one-line", nullptr};
constexpr OptionRow kTypes{nullptr, "types", nullptr};

struct CommandRow {
  const char* word;
  const char* synopsis;
  const char* text;
  std::size_t minWords;
  std::size_t maxWords;
  std::vector<OptionRow> options;
  int (*run)(Invocation&);
};

const std::vector<CommandRow>& Commands() {
  static const std::vector<CommandRow> rows{
      {"build", "build SOURCE -o FILE", "compiles a source", 1, 1, {kOutput}, RunBuild},
      {"check", "check CATALOGUE", "tells what is wrong with a catalogue", 1, 1, {}, RunCheck},
      {"diff",
       "diff OLD NEW",
       "tells what differs between two catalogues; ends with 0 when nothing does, else with 1",
       2,
       2,
       {},
       RunDiff},
      {"show",
       "show [--source] [-o FILE] CATALOGUE [COMMAND]",
       "lists commands, or one with its structures; or writes the source",
       1,
       2,
       {kOutput, kSource},
       RunShow},
      {"header",
       "header CATALOGUE [-o FILE]",
       "writes the C header for the device side",
       1,
       1,
       {kOutput},
       RunHeader},
      {"encode",
       "encode COMPILED COMMAND [PARAMETERS]",
       "the request's body for a parameter text, in hexadecimal",
       2,
       3,
       {},
       RunEncode},
      {"decode",
       "decode [--hex] [--one-line] [--types] COMPILED COMMAND cnf|ind|req HEX",
       "a body as the console shows it",
       4,
       4,
       {kHex, kOneLine, kTypes},
       RunDecode},
  };
  return rows;
}

std::string Usage() {
  std::string text = "usage:\n";
  for (const CommandRow& row : Commands()) {
    text += "  kivcat " + std::string(row.synopsis) + "\n      " + row.text + "\n";
  }
  return text +
         "SOURCE is a catalogue in JSON, COMPILED one that kivcat build wrote, CATALOGUE either.\n";
}

int WrongUsage(Outputs& outputs, const std::string& reason) {
  outputs.errorOutput += "kivcat: " + ShownLine(reason) + "\n" + Usage();
  return 2;
}

void AddOptions(QCommandLineParser& parser, const CommandRow& row) {
  for (const OptionRow& option : row.options) {
    QStringList names;
    if (option.letter != nullptr) names << QString::fromUtf8(option.letter);
    names << QString::fromUtf8(option.name);
    parser.addOption(QCommandLineOption(
        names, QString(),
        option.valueName != nullptr ? QString::fromUtf8(option.valueName) : QString()));
  }
  // The words of a command without options may begin with a minus: "-1,2" is a parameter text.
  if (row.options.empty()) {
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
  }
}

int RunRow(const CommandRow& row, const std::vector<std::string>& arguments, Outputs& outputs) {
  QCommandLineParser parser;
  AddOptions(parser, row);
  QStringList
      list;  // the first is the name of the program, for the parser: here the command's word
  for (const std::string& argument : arguments) list << QString::fromStdString(argument);
  if (!parser.parse(list)) return WrongUsage(outputs, parser.errorText().toStdString());
  Invocation invocation{{}, {}, outputs};
  for (const QString& word : parser.positionalArguments()) {
    invocation.words.push_back(word.toStdString());
  }
  const std::size_t count = invocation.words.size();
  if (count < row.minWords || count > row.maxWords) {
    return WrongUsage(outputs, std::string("wrong number of words: kivcat ") + row.synopsis);
  }
  for (const OptionRow& option : row.options) {
    const QString name = QString::fromUtf8(option.name);
    if (parser.isSet(name)) invocation.options[option.name] = parser.value(name).toStdString();
  }
  return row.run(invocation);
}

}  // namespace

int Invocation::Fail(const std::string& reason) {
  outputs.errorOutput += "kivcat: " + ShownLine(reason) + "\n";
  return 1;
}

int Invocation::Deliver(const std::string& content) {
  if (!Has("output")) {
    outputs.output += content;
    return 0;
  }
  const std::string& path = options.at("output");
  const int error = os::WriteFileSafely(path, content);
  return error == 0 ? 0 : Fail(path + ": " + std::strerror(error));
}

int RunKivcat(const std::vector<std::string>& arguments, Outputs& outputs) {
  if (arguments.empty()) return WrongUsage(outputs, "a command is missing");
  if (arguments[0] == "--help") {
    outputs.output += Usage();
    return 0;
  }
  if (arguments[0] == "--version") {
    outputs.output += "kivcat " KIV_VERSION "\n";
    return 0;
  }
  for (const CommandRow& row : Commands()) {
    if (arguments[0] == row.word) return RunRow(row, arguments, outputs);
  }
  return WrongUsage(outputs, "there is no command \"" + arguments[0] + "\"");
}

}  // namespace kivcat
