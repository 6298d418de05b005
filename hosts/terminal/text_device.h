// Devices whose text channels take lines of every kind: no line is a catalogue's there.
//
// Threads: any; no state. Errors: none.
#pragma once

namespace kiv {

// By the variant and the product of the device that is connected, or that the setup names.
bool TakesLinesAsText();

}  // namespace kiv
