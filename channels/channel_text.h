// What the channels do with a typed line: the delay option, the cut in front of it, the split at a
// character, and texts with the user's words in them.
//
// Threads: any; no state. Errors: none.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "platform/text/qc_string.h"

namespace SvcKivClass {

// The number behind the first "-d " (dash, d, blank) up to the next one, in base 10; 0 when there
// is no "-d ", or no number of 32 bits behind it.
std::uint32_t GetDelayOption(const QCString& text);

// The text in front of the first " -d " (blank, dash, d, blank), the whole text when there is none,
// as Latin-1: characters above U+00FF become "?". Hosts rely on both: the cut wants one blank more
// than the option, and a line with a delay goes out in Latin-1.
QCString CutAtDelay(const QCString& text);

// `left` gets what stands before the first `ch` (all when there is none), `right` the rest from it
// on, without leading white space.
void SplitAtChar(const QCString& text, QCString& left, QCString& right, wchar_t ch);

// The translated text with the words in place of %1, %2, ...; a "%" in a word stays as it is.
// At most three words.
QCString TextWith(const char* sourceText, std::initializer_list<QCString> words);
// The same for the one "%ls" of a text.
QCString TextWithChunk(const char* sourceText, const QCString& chunk);

}  // namespace SvcKivClass
