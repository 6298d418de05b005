#include "hosts/terminal/console_options.h"

#include <QCommandLineParser>
#include <QLatin1String>
#include <algorithm>

#include "kiv_version.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

struct OptionRow {
  const char* name;
  const char* shortName;  // null: none
  const char* valueName;  // null: a flag
  const char* help;
};

constexpr OptionRow kOptions[] = {
    {"command", "c", "LINE", "Run LINE and end; may be given several times."},
    {"file", "f", "FILE", "Run the lines of FILE (behind those of -c) and end."},
    {"link", "l", "ENDPOINT",
     "The device: exec:PROGRAM ARG..., unix:PATH, tcp:HOST:PORT[?token-file=FILE] or\n"
     "                          serial:PATH[?baud=N]. Default: the agent as a child process."},
    {"catalogue", nullptr, "FILE", "Compiled command catalogue. Default: the shipped one."},
    {"config-dir", nullptr, "DIR", "Configuration directory. Default: ~/.config/kiv."},
    {"wait", "w", "MS",
     "How long to wait for the link and for each answer. Default: POSTCMD_TIMEOUT of\n"
     "                          the settings, at first 5000."},
    {"settle", nullptr, "MS",
     "Silence that ends an answer which has no end of its own, such as a controller's.\n"
     "                          Default: 300."},
    {"variant", nullptr, "N", "Protocol variant code, instead of what the device says."},
    {"product", nullptr, "N", "Product version code, instead of what the device says."},
    {"verify", nullptr, nullptr,
     "After ldnv, ask the device what it has stored and compare it with the file."},
    {"verbose", nullptr, nullptr, "In a batch, show every confirmation of ldnv."},
    {"color", nullptr, "WHEN",
     "Colours on standard output: auto (on a terminal that has them, without NO_COLOR),\n"
     "                          always or never. Default: auto."},
    {"debug", nullptr, nullptr,
     "Write the debug log to kiv-debug.log in the configuration directory."},
    {"version", nullptr, nullptr, "Print the version and end."},
    {"help", "h", nullptr, "Print this help and end."},
};

void AddOptions(QCommandLineParser& parser) {
  for (const OptionRow& row : kOptions) {
    QStringList names;
    if (row.shortName != nullptr) names << QLatin1String(row.shortName);
    names << QLatin1String(row.name);
    parser.addOption(QCommandLineOption(
        names, QString(), row.valueName != nullptr ? QLatin1String(row.valueName) : QString()));
  }
}

// "  -c, --command LINE", the way people know it.
std::string OptionHead(const OptionRow& row) {
  std::string head =
      row.shortName != nullptr ? "  -" + std::string(row.shortName) + ", " : "      ";
  head += "--" + std::string(row.name);
  if (row.valueName != nullptr) head += " " + std::string(row.valueName);
  return head;
}

std::string HelpText() {
  constexpr std::size_t kHeadChars = 26;
  std::string text = "Usage: kiv [options]\nText console for device diagnostics.\n\nOptions:\n";
  for (const OptionRow& row : kOptions) {
    std::string head = OptionHead(row);
    head.resize(std::max(head.size() + 1, kHeadChars), ' ');
    text += head + row.help + "\n";
  }
  return text +
         "\n"
         "Without -c and -f the lines are read from standard input. On a terminal, type help for "
         "the\n"
         "commands of the device and :help for the console's own words.\n"
         "\n"
         "Ends with 0 when every line was answered with success, 1 when a command failed, 2 for "
         "wrong\n"
         "usage, 3 when an answer did not come in time, 4 when the device was not connected.\n";
}

std::optional<QCString> TextOf(const QCommandLineParser& parser, const char* name) {
  if (!parser.isSet(QLatin1String(name))) return std::nullopt;
  return QCString::FromUtf8(parser.value(QLatin1String(name)).toStdString());
}

// A path that is not UTF-8 would name another file: what is no text came in as U+FFFD.
const char* NotUtf8(const QCommandLineParser& parser) {
  for (const char* name : {"link", "catalogue", "config-dir", "file"}) {
    if (parser.value(QLatin1String(name)).contains(QChar(QChar::ReplacementCharacter))) return name;
  }
  return nullptr;
}

constexpr std::uint32_t kLongestMs = 4294967295;
constexpr std::uint32_t kHighestCode = 65535;  // variant and product codes have 16 bits

// False when the option is there and is none of the three.
bool ReadColour(const QCommandLineParser& parser, ColourChoice& choice, std::string& output) {
  if (!parser.isSet(QStringLiteral("color"))) return true;
  const std::string value = parser.value(QStringLiteral("color")).toStdString();
  const std::optional<ColourChoice> given = ColourChoiceOf(value);
  choice = given.value_or(choice);
  if (!given) {
    output = "kiv: --color wants auto, always or never, not '" + ShownLine(value) + "'\n";
  }
  return given.has_value();
}

// False when the option is there and is not a number of 0 to `highest`.
bool NumberOf(const QCommandLineParser& parser, const char* name, std::uint32_t highest,
              std::optional<std::uint32_t>& number, std::string& output) {
  if (!parser.isSet(QLatin1String(name))) return true;
  bool good = false;
  const QString value = parser.value(QLatin1String(name));
  number = value.toUInt(&good, 10);
  if (good && *number <= highest) return true;
  output = "kiv: --" + std::string(name) + " wants a number from 0 to " + std::to_string(highest) +
           ", not '" + ShownLine(value.toStdString()) + "'\n";
  return false;
}

}  // namespace

std::optional<int> ReadOptions(const QStringList& arguments, ConsoleOptions& options,
                               std::string& output) {
  QCommandLineParser parser;
  parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsCompactedShortOptions);
  AddOptions(parser);
  const auto wrong = [&output](const std::string& reason) {
    output = "kiv: " + reason + "\nkiv: try 'kiv --help'\n";
    return kWrongUsage;
  };
  if (!parser.parse(arguments)) return wrong(ShownLine(parser.errorText().toStdString()));
  if (parser.isSet(QStringLiteral("help"))) return output = HelpText(), kDone;
  if (parser.isSet(QStringLiteral("version"))) return output = "kiv " KIV_VERSION "\n", kDone;
  if (!parser.positionalArguments().isEmpty()) {
    return wrong("unexpected argument '" +
                 ShownLine(parser.positionalArguments().first().toStdString()) +
                 "'; a line to run comes behind -c");
  }
  if (parser.values(QStringLiteral("file")).size() > 1) return wrong("--file may be given once");
  if (const char* name = NotUtf8(parser)) return wrong("--" + std::string(name) + " is not UTF-8");
  std::optional<std::uint32_t> wait;
  std::optional<std::uint32_t> settle;
  if (!NumberOf(parser, "wait", kLongestMs, wait, output) ||
      !ReadColour(parser, options.colour, output) ||
      !NumberOf(parser, "settle", kLongestMs, settle, output) ||
      !NumberOf(parser, "variant", kHighestCode, options.setup.variant, output) ||
      !NumberOf(parser, "product", kHighestCode, options.setup.product, output)) {
    return kWrongUsage;
  }
  options.waitMs = wait;
  options.settleMs = settle.value_or(options.settleMs);
  options.setup.endpoint = TextOf(parser, "link");
  // Else a script whose variable is empty would run its lines on this machine.
  if (options.setup.endpoint && options.setup.endpoint->IsEmpty()) {
    output = "kiv: --link wants an endpoint, not an empty text\n";
    return kWrongUsage;
  }
  options.setup.catalogue = TextOf(parser, "catalogue");
  options.setup.configDir = TextOf(parser, "config-dir");
  for (const QString& line : parser.values(QStringLiteral("command"))) {
    options.lines.push_back(line.toStdString());
  }
  if (parser.isSet(QStringLiteral("file"))) {
    options.file = parser.value(QStringLiteral("file")).toStdString();
  }
  options.verify = parser.isSet(QStringLiteral("verify"));
  options.verbose = parser.isSet(QStringLiteral("verbose"));
  options.debug = parser.isSet(QStringLiteral("debug"));
  return std::nullopt;
}

}  // namespace kiv
