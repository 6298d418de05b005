// CmdInfo: one command of the catalogue, as EnumCommands hands it out.
//
// A small value that refers into the enumeration's shared, immutable store: 100,000 of them cost
// little.
//
// Threads: immutable; copies may be used from any thread.
// Owns a share of the store, so it outlives the catalogue object.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/platform_export.h"
#include "platform/text/qc_string.h"

class CmdInfoStore;

// A reference to one command's record; cheap to copy.
class KIVPLATFORM_API CmdInfo {
 public:
  CmdInfo() = default;
  CmdInfo(std::shared_ptr<const CmdInfoStore> store, std::uint32_t index)
      : store_(std::move(store)), index_(index) {}
  // A record of its own, for entries that are in no catalogue.
  static CmdInfo Make(std::uint32_t id, const QCString& name, const QCString& description,
                      const QCString& group, std::uint32_t cnfKind, std::uint32_t indKind);

  std::uint32_t GetId() const noexcept;
  // Lives as long as any CmdInfo of the same enumeration; never null.
  const wchar_t* GetName() const noexcept;
  QCString GetDescription() const;
  QCString GetGroup() const;
  // Kind of the confirmation and of the indication: 0 none, 1 a structure, 2 raw text.
  std::uint32_t GetCnfKind() const noexcept;
  std::uint32_t GetIndKind() const noexcept;

 private:
  std::shared_ptr<const CmdInfoStore> store_;
  std::uint32_t index_ = 0;
};
