// kiv: the terminal console. Arguments and file names are UTF-8 whatever the locale.
#include <QCoreApplication>
#include <QLoggingCategory>
#include <QStringList>
#include <clocale>
#include <cstring>
#include <string>

#include "hosts/terminal/console.h"
#include "hosts/terminal/console_options.h"
#include "hosts/terminal/debug_log.h"
#include "platform/devlink/endpoint.h"
#include "platform/os/console_events.h"
#include "platform/text/shown_text.h"

namespace {

// With fewer the event loop of the library below ends the process. The link and the settings tell
// by themselves what they could not open.
constexpr int kNeededFiles = 8;

// Qt warns on standard error in a locale that is not UTF-8, and readers of text expect one that is.
void UseUtf8Locale() {
  const char* const current = std::setlocale(LC_CTYPE, "");
  if (current == nullptr || std::strstr(current, "UTF-8") == nullptr) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    qputenv("LC_ALL", "C.UTF-8");
  }
}

}  // namespace

int main(int argc, char** argv) {
  os::FillStandardDescriptors();
  os::LetLongWritesFail();
  QStringList arguments;
  for (int i = 0; i < argc; ++i) arguments << QString::fromUtf8(argv[i]);
  UseUtf8Locale();
  kiv::ConsoleOptions options;
  std::string output;
  if (const auto status = kiv::ReadOptions(arguments, options, output)) {
    const os::Written written = *status == kiv::kDone ? os::WriteOut(output) : os::WriteErr(output);
    if (written == os::Written::kAll) return *status;
    os::WriteErr("kiv: standard output cannot be written\n");
    return kiv::kCommandFailed;
  }
  bench::SetSetup(options.setup);
  if (const std::string source = bench::SourceNotUtf8(); !source.empty()) {
    os::WriteErr("kiv: " + source + " is not UTF-8\nkiv: try 'kiv --help'\n");
    return kiv::kWrongUsage;
  }
  const std::string endpoint = bench::GetSetup().endpoint.ToUtf8();
  if (const std::string problem = devlink::EndpointProblem(endpoint); !problem.empty()) {
    os::WriteErr("kiv: " + ShownLine(problem) + "\n");
    return kiv::kWrongUsage;
  }
  if (!os::CanOpen(kNeededFiles)) {
    os::WriteErr("kiv: cannot start: too many open files\n");
    return kiv::kNotConnected;
  }
  kiv::InstallDebugLog(options.debug);
  QCoreApplication application(argc, argv);
  kiv::Console console(std::move(options));
  return console.Run();
}
