#include "platform/base/sys_log_file.h"

#include <cstdio>
#include <memory>
#include <mutex>

#include "platform/base/bench_setup.h"
#include "platform/base/printable.h"
#include "platform/os/append_log.h"
#include "platform/os/local_time.h"
#include "platform/os/paths.h"

namespace {

constexpr std::size_t kLogLimitBytes = std::size_t{4} * 1024 * 1024;

using Observer = std::function<void(const QCString&)>;

struct ObserverSlot {
  std::mutex lock;
  std::shared_ptr<const Observer> observer;
};

ObserverSlot& Slot() {
  static auto* slot = new ObserverSlot;
  return *slot;
}

// Called outside the lock, so that an observer may log or switch itself off.
void Notify(const QCString& cut) {
  ObserverSlot& slot = Slot();
  std::shared_ptr<const Observer> observer;
  {
    const std::lock_guard<std::mutex> guard(slot.lock);
    observer = slot.observer;
  }
  if (observer != nullptr) (*observer)(cut);
}

}  // namespace

void CSysLogFile::Write(const QCString& text) {
  const QCString cut = CutToLogBuffer(text);
  Notify(cut);
  std::string line = os::LocalTimeText() + " " + Printable(cut);
  if (!line.ends_with('\n')) line += '\n';
  const std::string path = os::MapPath(bench::GetSetup().configDir.view()) + "/kiv.log";
  os::AppendLogLine(path, line, kLogLimitBytes);
}

void CSysLogFile::SetObserver(std::function<void(const QCString&)> observer) {
  std::shared_ptr<const Observer> next;
  if (observer) next = std::make_shared<const Observer>(std::move(observer));
  ObserverSlot& slot = Slot();
  const std::lock_guard<std::mutex> guard(slot.lock);
  slot.observer.swap(next);
}

void CConsolePrinter::Print(const QCString& text) {
  const std::string line = Printable(CutToLogBuffer(text));
  std::fwrite(line.data(), 1, line.size(), stderr);
}
