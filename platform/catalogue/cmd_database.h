// CCmdDatabase: the command catalogue as the controller uses it: enumeration, white lists, host
// words.
//
// The catalogue file is opened read-only and defensively; a malformed one gives a status, never a
// crash. A new object reads the file anew when it changed since the last one read it.
//
// Threads: one object for one thread at a time; codecs on other threads go on with the catalogue
// that was current when they were made. Errors: statuses of result_codes.h: 51 no such file, 500 no
// memory, others for a malformed one.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/catalogue/cmd_info.h"
#include "platform/platform_export.h"
#include "platform/text/qc_list.h"
#include "platform/text/qc_string.h"

class Catalogue;
class CmdInfoStore;

// The controller's view of the catalogue: which commands there are, which may be sent.
class KIVPLATFORM_API CCmdDatabase {
 public:
  // The bench setup's catalogue. Opening is part of the first call that needs it; a failure then
  // stays until a new object is made.
  CCmdDatabase();
  // A catalogue by path.
  explicit CCmdDatabase(const QCString& path);
  ~CCmdDatabase();
  CCmdDatabase(const CCmdDatabase&) = delete;
  CCmdDatabase& operator=(const CCmdDatabase&) = delete;

  // Appends the commands in ascending order of id (equal ids in order of the source). `scopeMask`
  // and `channel` select: bit 0 commands with a request, bit 1 those without; 256 is the diagnostic
  // channel. The last two are reserved, 0. On a failure nothing is appended.
  std::uint32_t EnumCommands(QCList<CmdInfo>& list, std::uint32_t scopeMask, std::uint32_t channel,
                             std::uint32_t reserved1, std::uint32_t reserved2);
  // `idText` is the id as "0x%x". False for an id that the catalogue does not have.
  bool IsCmdIdInWhiteList(const wchar_t* idText);
  // Whether the command may be sent with this parameter text; always true for an empty one.
  bool IsCmdIdCombinedInWhiteList(const wchar_t* idText, const wchar_t* rest);
  // Non-zero when `word` is exactly one of the catalogue's host words.
  int VerifyDosCommand(const wchar_t* word);

  const QCString& GetPath() const noexcept { return path_; }

 private:
  std::uint32_t EnsureOpen();
  // Index in the enumeration of the first command with the id, CmdInfoStore::kNone when there is
  // none.
  std::uint32_t FindCommand(const wchar_t* idText);

  QCString path_;
  std::shared_ptr<const Catalogue> catalogue_;
  std::shared_ptr<const CmdInfoStore> commands_;
  std::uint32_t hint_ = 0;  // where the last look-up ended
  std::uint32_t openStatus_ = 0;
  bool opened_ = false;
  bool isBench_ = false;  // what it opens becomes the catalogue that the process works with
};
