// SettingsImport: takes key bindings, favourites and shortcut commands from another settings file.
//
// They always go into the first instance of the current session, in the document; hosts rely on
// that place. When the current instance is the first one, what was copied is put into memory too,
// so that the next store keeps it. Nothing is saved.
//
// Threads: the facade's. Borrows everything.
// Errors: the first that comes up ends it; what was copied before stays.
#pragma once

#include <cstdint>

#include "settings/settings_copy.h"
#include "settings/settings_memory.h"
#include "svckiv/svc_kiv_message.h"

namespace SvcKivClass {

// One import, from a file that is open and whose settings have been found.
class SettingsImport {
 public:
  // `memory` is null when the first instance is not the current one.
  SettingsImport(const SettingsSide& other, const SettingsSide& own, SettingsMemory* memory,
                 SvcKivSpace::SvcKivMessage& sender)
      : other_(other), own_(own), memory_(memory), sender_(sender) {}

  std::uint32_t Run(const TransferGroups& groups);

 private:
  std::uint32_t ImportKeyboard();
  std::uint32_t ImportFavourites();
  std::uint32_t ImportShortcuts();

  // The key's name in the other file, as it stands there.
  QCString NameOf(std::size_t binding) const;
  bool HasNamesInConflict() const;
  bool HasFixedKeys() const;
  std::uint32_t ImportBinding(std::size_t binding);
  // Tells the view, and answers `status`.
  std::uint32_t Refuse(const char* text, std::uint32_t status);

  SettingsSide other_;
  SettingsSide own_;
  SettingsMemory* memory_;
  SvcKivSpace::SvcKivMessage& sender_;
};

// A notice to the view, translated.
void SendNotice(SvcKivSpace::SvcKivMessage& sender, const char* text);

}  // namespace SvcKivClass
