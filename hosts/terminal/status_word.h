// :status: the link, the device, the catalogues of both sides, the link's counters and losses, the
// queue of texts, the settings: a row each, by a name that stays.
//
// Threads: the main thread. Errors: as ConsoleWord::Run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "hosts/terminal/console_words.h"
#include "hosts/terminal/link_life.h"
#include "hosts/terminal/view_queue.h"
#include "platform/devlink/link_observer.h"

namespace kiv {

// All that the rows are made of. Texts are as they came.
struct StatusFacts {
  std::string endpoint;
  LinkStatus link;
  LinkStatus::Time now;
  std::uint32_t variant = 0;  // those that the module goes by
  std::uint32_t product = 0;
  std::wstring catalogue;
  std::uint64_t fingerprint = 0;  // of the catalogue; 0: there is none
  devlink::LinkCounters counters = {};
  ViewQueue::Fill queue = {};
  std::wstring settingsFile;
  bool areSettingsThere = false;
};

// Name, blanks up to a common column, value; nothing in it acts on a terminal.
std::string StatusText(const StatusFacts& facts);

int ShowStatus(ConsoleContext& context, std::wstring_view arguments);

}  // namespace kiv
