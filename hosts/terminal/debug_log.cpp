#include "hosts/terminal/debug_log.h"

#include <QLoggingCategory>
#include <QString>
#include <cstdio>
#include <mutex>
#include <string>

#include "platform/base/ini_values.h"
#include "platform/os/safe_file.h"
#include "platform/os/utf8.h"
#include "platform/text/file_path.h"

namespace kiv {
namespace {

std::mutex logMutex;
std::FILE* logFile = nullptr;

void WriteTrace(QtMsgType, const QMessageLogContext& context, const QString& message) {
  const std::string line = std::string(context.category != nullptr ? context.category : "default") +
                           ": " + message.toStdString() + "\n";
  const std::lock_guard lock(logMutex);
  if (logFile == nullptr) return;
  std::fwrite(line.data(), 1, line.size(), logFile);
  std::fflush(logFile);
}

}  // namespace

void InstallDebugLog(bool enabled) {
  if (enabled) {
    const QCString directory = CAppPrefs::GetConfigDir();
    os::MakeDirectories(os::WideToUtf8(directory.view()));
    logFile = CFilePathOperator::OpenFile(directory + L"/kiv-debug.log", "at");
  } else {
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
  }
  qInstallMessageHandler(WriteTrace);
}

}  // namespace kiv
