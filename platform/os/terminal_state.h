// The terminal's settings over the life of a program that changes them: noted before they are
// changed, and brought back at every end of the process, also at one by a signal that nobody
// handles.
//
// Threads: NoteTerminal and ForgetTerminal on one thread; RestoreTerminal from any thread and from
// signal handlers. Errors: none; a terminal that is gone needs nothing.
#pragma once

#include "platform/platform_export.h"

namespace os {

// Notes the settings of the terminal on standard input, and handles the signals that would end the
// process at once and that nobody has taken over: they restore the terminal first.
KIVPLATFORM_API void NoteTerminal();
// Brings the noted settings back and switches the marks around pasted text off. Does nothing when
// nothing is noted. ExitNow does it, too.
KIVPLATFORM_API void RestoreTerminal() noexcept;
// From now on the terminal may be in a colour: RestoreTerminal takes it back, too.
KIVPLATFORM_API void NoteColours();
// A key that is a signal (Ctrl-C) leaves what is on its way to and from the terminal alone: what
// was written is shown, and what was typed before it is the program's to drop.
KIVPLATFORM_API void KeepQueuesAtSignals();
// Drops what was typed and not read yet.
KIVPLATFORM_API void DropUnreadKeys();
// The settings are as they were before: an end has nothing to restore.
KIVPLATFORM_API void ForgetTerminal();

}  // namespace os
