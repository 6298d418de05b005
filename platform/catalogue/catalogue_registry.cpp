#include "platform/catalogue/catalogue_registry.h"

#include <atomic>
#include <map>
#include <mutex>
#include <new>
#include <vector>

#include "platform/base/bench_setup.h"
#include "platform/base/result_codes.h"
#include "platform/os/file_stamp.h"
#include "platform/os/paths.h"

namespace catalogue_registry {
namespace {

struct CurrentRecord {
  QCString path;
  std::shared_ptr<const Catalogue> catalogue;
};

struct OpenFile {
  os::FileStamp stamp;
  std::weak_ptr<const Catalogue> catalogue;
};

// Never destroyed: codecs of other threads may run until the process has ended.
struct Registry {
  std::mutex mutex;
  std::map<std::string, OpenFile> files;  // by mapped path
  std::vector<std::unique_ptr<const CurrentRecord>> records;
  std::atomic<const CurrentRecord*> current{nullptr};
};

Registry& TheRegistry() {
  static Registry& registry = *new Registry;
  return registry;
}

void MakeCurrent(Registry& registry, const QCString& path,
                 const std::shared_ptr<const Catalogue>& catalogue) {
  const CurrentRecord* current = registry.current.load(std::memory_order_relaxed);
  if (current != nullptr && current->catalogue == catalogue && current->path == path) return;
  registry.records.push_back(std::make_unique<const CurrentRecord>(CurrentRecord{path, catalogue}));
  registry.current.store(registry.records.back().get(), std::memory_order_release);
}

std::uint32_t OpenLocked(Registry& registry, const std::string& mappedPath,
                         std::shared_ptr<const Catalogue>& opened) {
  // The stamp is taken before the file is opened. A file that is replaced in between has another
  // stamp the next time, and is then read again.
  os::FileStamp stamp;
  const bool stamped = os::StampOf(mappedPath, stamp) == 0;
  OpenFile& file = registry.files[mappedPath];
  if (stamped && file.stamp == stamp) opened = file.catalogue.lock();
  if (opened != nullptr) return result::kOk;
  const std::uint32_t status = Catalogue::Open(mappedPath, opened);
  file = {stamp, opened};
  return status;
}

}  // namespace

std::uint32_t Open(const QCString& path, bool asCurrent, std::shared_ptr<const Catalogue>& opened) {
  opened.reset();
  try {
    Registry& registry = TheRegistry();
    const std::string mappedPath = os::MapPath(path.view());
    const std::lock_guard lock(registry.mutex);
    const std::uint32_t status = OpenLocked(registry, mappedPath, opened);
    if (status == 0 && asCurrent) MakeCurrent(registry, path, opened);
    return status;
  } catch (const std::bad_alloc&) {
    return result::kNoMemory;
  }
}

std::shared_ptr<const Catalogue> Current(const wchar_t* path) {
  const CurrentRecord* current = TheRegistry().current.load(std::memory_order_acquire);
  if (current == nullptr) return nullptr;
  if (path != nullptr && !(current->path == path)) return nullptr;
  return current->catalogue;
}

std::uint32_t OpenCurrent(std::shared_ptr<const Catalogue>& opened) {
  opened = Current();
  if (opened != nullptr) return result::kOk;
  return Open(bench::GetSetup().catalogue, true, opened);
}

std::uint32_t OpenFor(const wchar_t* path, std::shared_ptr<const Catalogue>& opened) {
  const bool wantsCurrent = path == nullptr || *path == L'\0';
  opened = Current(wantsCurrent ? nullptr : path);
  if (opened != nullptr) return result::kOk;
  return wantsCurrent ? OpenCurrent(opened) : Open(path, false, opened);
}

}  // namespace catalogue_registry
