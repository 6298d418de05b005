// How parameter text stands in a list of the document: "<" as "%(%", ">" as "%)%", a line feed as
// backslash and n, each replaced in this order in both directions. Files of all consoles have it
// so.
//
// Known loss: parameters that already hold one of the three spellings come back changed. A path
// such as D:\new.txt is one; a console shows what it will keep.
//
// Threads: any; no state. Errors: none.
#pragma once

#include "platform/text/qc_string.h"

namespace SvcKivClass {

QCString EscapedParameters(QCString parameters);
QCString UnescapedParameters(QCString stored);

}  // namespace SvcKivClass
