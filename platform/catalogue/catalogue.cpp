#include "platform/catalogue/catalogue.h"

#include <cerrno>
#include <new>

#include "platform/base/result_codes.h"
#include "platform/catalogue/catalogue_file.h"
#include "platform/catalogue/catalogue_schema.h"
#include "platform/catalogue/model_tree.h"

std::uint32_t Catalogue::Open(const std::string& mappedPath,
                              std::shared_ptr<const Catalogue>& opened) {
  opened.reset();
  try {
    std::shared_ptr<Catalogue> made(new Catalogue);
    const std::uint32_t status = made->OpenFile(mappedPath);
    if (status == 0) opened = std::move(made);
    return status;
  } catch (const std::bad_alloc&) {
    return result::kNoMemory;
  }
}

Catalogue::~Catalogue() {
  for (const Bucket& bucket : layouts_) {
    const LayoutRecord* record = bucket.load(std::memory_order_relaxed);
    while (record != nullptr) {
      const LayoutRecord* next = record->next;
      delete record;
      record = next;
    }
  }
}

std::uint32_t Catalogue::OpenFile(const std::string& mappedPath) {
  std::uint32_t status = catalogue::OpenCatalogueFile(mappedPath, file_, fingerprint_);
  if (status == 0) status = ReadHostWords();
  if (status == 0) status = loader_.Open(file_);
  if (status == 0) {
    status = command_.Prepare(file_,
                              "SELECT request, confirmation, indication, flags FROM command "
                              "WHERE id=? ORDER BY position LIMIT 1");
  }
  return status;
}

std::uint32_t Catalogue::ReadHostWords() { return catalogue::ReadHostWords(file_, hostWords_); }

const Catalogue::LayoutRecord* Catalogue::FindRecord(const Bucket& bucket, std::uint32_t cmdId,
                                                     BodyKind kind) const noexcept {
  const LayoutRecord* record = bucket.load(std::memory_order_acquire);
  while (record != nullptr && (record->cmdId != cmdId || record->kind != kind)) {
    record = record->next;
  }
  return record;
}

std::uint32_t Catalogue::Layout(std::uint32_t cmdId, BodyKind kind,
                                std::shared_ptr<const TreeLayout>& layout) const {
  Bucket& bucket = layouts_[(cmdId * 3 + static_cast<std::uint32_t>(kind)) % layouts_.size()];
  if (const LayoutRecord* known = FindRecord(bucket, cmdId, kind)) {
    layout = known->layout;
    return known->status;
  }
  layout.reset();
  try {
    const std::lock_guard lock(fileMutex_);
    if (const LayoutRecord* known = FindRecord(bucket, cmdId, kind)) {
      layout = known->layout;
      return known->status;
    }
    const std::uint32_t status = LoadLayout(cmdId, kind, layout);
    // Ids that are in no catalogue are not kept: a device may send any number of them.
    if (status == result::kOk || status == result::kNotSupported) {
      bucket.store(
          new LayoutRecord{cmdId, kind, status, layout, bucket.load(std::memory_order_relaxed)},
          std::memory_order_release);
    }
    return status;
  } catch (const std::bad_alloc&) {
    layout.reset();
    return result::kNoMemory;
  }
}

std::uint32_t Catalogue::LoadLayout(std::uint32_t cmdId, BodyKind kind,
                                    std::shared_ptr<const TreeLayout>& layout) const {
  std::int64_t fileId = 0;
  bool isEmpty = false;
  const std::uint32_t status = FindStructure(cmdId, kind, fileId, isEmpty);
  if (status != 0) return status;
  if (!isEmpty) return MakeLayout(fileId, layout);
  layout = MakeEmptyTreeLayout();
  return result::kOk;
}

// `isEmpty`: the command is sent without parameters.
std::uint32_t Catalogue::FindStructure(std::uint32_t cmdId, BodyKind kind, std::int64_t& fileId,
                                       bool& isEmpty) const {
  command_.BindNumber(0, cmdId);
  std::uint32_t status = command_.Step();
  if (status == 0) {
    const int column = static_cast<int>(kind);
    const bool isSendable = (command_.Number(3) & catalogue::kFlagSendable) != 0;
    const bool isNone = command_.IsNull(column);
    isEmpty = kind == BodyKind::kRequest && isNone && isSendable;
    if (isNone && !isEmpty) status = result::kNotSupported;
    fileId = command_.Number(column);
  } else if (status == SqliteStatement::kDone) {
    status = result::kNoSuchCommand;
  }
  command_.Reset();
  return status;
}

std::uint32_t Catalogue::LoadModel(std::int64_t fileId, catalogue::Model& model,
                                   std::uint32_t& index) const {
  loader_.Forget();
  const std::uint32_t status = loader_.LoadStructure(fileId, model, index);
  loader_.Forget();
  return status;
}

std::uint32_t Catalogue::MakeLayout(std::int64_t fileId,
                                    std::shared_ptr<const TreeLayout>& layout) const {
  catalogue::Model model;
  std::uint32_t index = 0;
  const std::uint32_t status = LoadModel(fileId, model, index);
  if (status == 0) layout = MakeTreeLayout(model, index);
  return status;
}

std::uint32_t Catalogue::Describe(std::uint32_t cmdId, BodyKind kind, catalogue::Model& model,
                                  std::int32_t& structure) const {
  model = {};
  structure = catalogue::Command::kNoStructure;
  try {
    const std::lock_guard lock(fileMutex_);
    std::int64_t fileId = 0;
    bool isEmpty = false;
    std::uint32_t status = FindStructure(cmdId, kind, fileId, isEmpty);
    if (status != 0 || isEmpty) return status;
    std::uint32_t index = 0;
    status = LoadModel(fileId, model, index);
    if (status == 0) structure = static_cast<std::int32_t>(index);
    return status;
  } catch (const std::bad_alloc&) {
    return result::kNoMemory;
  }
}

std::uint32_t Catalogue::Commands(std::shared_ptr<const CmdInfoStore>& commands) const {
  try {
    const std::lock_guard lock(fileMutex_);
    if (commands_ == nullptr) {
      auto store = std::make_shared<CmdInfoStore>();
      const std::uint32_t status = store->Fill(file_);
      if (status != 0) return status;
      // From here on single rows are asked for: what the walk over all of them cached is of no use.
      file_.Run("PRAGMA shrink_memory");
      commands_ = std::move(store);
    }
    commands = commands_;
    return result::kOk;
  } catch (const std::bad_alloc&) {
    return result::kNoMemory;
  }
}
