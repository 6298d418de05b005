// :watch: runs a line again and again and shows what changes (watch_request.h, watch_view.h), until
// it was run as often as was asked for, a key or Ctrl-C ends it, or the link is lost.
//
// Threads: the main thread. Errors: as ConsoleWord::Run; the status is the last round's.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hosts/terminal/console_words.h"

namespace kiv {

int Watch(ConsoleContext& context, std::wstring_view arguments);
std::vector<std::wstring> CompleteWatch(ConsoleContext& context, std::wstring_view arguments);

}  // namespace kiv
