// Catalogue: one compiled catalogue file, open. Layouts are read when they are first asked for and
// kept; from then on they are found without a lock and without the file.
//
// Threads: any. What needs the file takes the catalogue's own lock; a layout that was asked for
// before is found in records published through atomics, which are kept as long as the catalogue.
// Owns the file's connection, the layouts and the enumeration.
// Errors: statuses of result_codes.h: 1 the command has no structure of that kind, 51 no such file,
// 500 no memory, 520 damaged, 521 no such command.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/catalogue/catalogue_model.h"
#include "platform/catalogue/cmd_info_store.h"
#include "platform/catalogue/sqlite_file.h"
#include "platform/catalogue/structure_loader.h"
#include "platform/catalogue/tree_layout.h"

enum class BodyKind : std::uint8_t { kRequest, kConfirmation, kIndication };

// A compiled catalogue in memory, immutable once loaded and shared by codecs and databases.
class Catalogue {
 public:
  // Opens and checks the file's tables. `opened` is null on failure.
  static std::uint32_t Open(const std::string& mappedPath,
                            std::shared_ptr<const Catalogue>& opened);
  ~Catalogue();
  Catalogue(const Catalogue&) = delete;
  Catalogue& operator=(const Catalogue&) = delete;

  std::uint64_t Fingerprint() const noexcept { return fingerprint_; }

  // The layout lives as long as somebody holds it. Null on failure.
  std::uint32_t Layout(std::uint32_t cmdId, BodyKind kind,
                       std::shared_ptr<const TreeLayout>& layout) const;
  // The structure itself as the file describes it, with all that it refers to; its index in
  // `model`, Command::kNoStructure for a request without parameters. Read anew each time.
  std::uint32_t Describe(std::uint32_t cmdId, BodyKind kind, catalogue::Model& model,
                         std::int32_t& structure) const;
  // All commands; read once.
  std::uint32_t Commands(std::shared_ptr<const CmdInfoStore>& commands) const;
  // Words of the host's system, in order.
  const std::vector<std::string>& HostWords() const noexcept { return hostWords_; }

 private:
  // What is known of one body of one command. Never changed once published.
  struct LayoutRecord {
    std::uint32_t cmdId;
    BodyKind kind;
    std::uint32_t status;
    std::shared_ptr<const TreeLayout> layout;
    const LayoutRecord* next;
  };
  using Bucket = std::atomic<const LayoutRecord*>;

  Catalogue() = default;
  std::uint32_t OpenFile(const std::string& mappedPath);
  std::uint32_t ReadHostWords();
  const LayoutRecord* FindRecord(const Bucket& bucket, std::uint32_t cmdId,
                                 BodyKind kind) const noexcept;
  std::uint32_t LoadLayout(std::uint32_t cmdId, BodyKind kind,
                           std::shared_ptr<const TreeLayout>& layout) const;
  std::uint32_t FindStructure(std::uint32_t cmdId, BodyKind kind, std::int64_t& fileId,
                              bool& isEmpty) const;
  std::uint32_t LoadModel(std::int64_t fileId, catalogue::Model& model, std::uint32_t& index) const;
  std::uint32_t MakeLayout(std::int64_t fileId, std::shared_ptr<const TreeLayout>& layout) const;

  std::uint64_t fingerprint_ = 0;
  std::vector<std::string> hostWords_;

  mutable std::mutex fileMutex_;  // guards the file, its statements and the enumeration
  mutable SqliteFile file_;
  mutable SqliteStatement command_;
  mutable StructureLoader loader_;
  mutable std::shared_ptr<const CmdInfoStore> commands_;

  mutable std::array<Bucket, 256> layouts_{};
};
