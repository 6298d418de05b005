// What tests of whole texts share: the input-parameter display, a catalogue made on the spot, and
// debug traces within the seam's one sequence of calls.
//
// Threads: one test. Owns: TracesInSequence holds Qt's message handler while it lives.
#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QtGlobal>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "tests/fakes/module_bench.h"
#include "tests/fakes/platform_seam.h"
#include "tests/support/tree_paths.h"

namespace kivtest {

inline constexpr wchar_t kMac[] = L"00:11:22:33:44:55";

// What a line shows of its own parameters before the answer of the post.
inline std::wstring InputShown(const std::wstring& rows) {
  const std::wstring stars(20, L'*');
  return L"Input Parameters:\n" + stars + rows + L"\n" + stars + L"\n";
}

// "set_values 7,8,9" of the tests' catalogue: rows and body.
inline constexpr wchar_t kSevenEightNineRows[] = L".first  = 7 \n.second = 8 \n.third  = 9 \n";
inline const std::vector<std::uint8_t> kSevenEightNine = {7, 8, 0, 9, 0, 0, 0};

// Compiles a catalogue source into `directory`; the compiled file's path, empty when that failed.
inline std::string CompiledCatalogue(const std::string& directory, const std::string& source) {
  const std::string from = directory + "/own.json";
  const std::string to = directory + "/own.kcat";
  std::ofstream(from) << source;
  const QString program = QString::fromUtf8(BuildDir()) + "/bin/kivcat";
  const int status = QProcess::execute(
      program, {"build", QString::fromStdString(from), "-o", QString::fromStdString(to)});
  return status == 0 ? to : std::string();
}

// Notes each debug trace of category "default" as "trace TEXT" between the calls of the seam.
class TracesInSequence {
 public:
  TracesInSequence() : previous_(qInstallMessageHandler(&Handle)) {}
  ~TracesInSequence() { qInstallMessageHandler(previous_); }
  TracesInSequence(const TracesInSequence&) = delete;
  TracesInSequence& operator=(const TracesInSequence&) = delete;

 private:
  static void Handle(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (type == QtDebugMsg && std::string(context.category) == "default") {
      fake::Note("trace " + text.toStdString());
    } else {
      fake::Note("message " + text.toStdString());
    }
  }

  QtMessageHandler previous_;
};

}  // namespace kivtest
