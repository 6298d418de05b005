#include "service/message/debug_trace.h"

#include <QMessageLogger>
#include <string>

namespace SvcKivClass {

void WriteTrace(const QCString& text) {
  // Qt's "%ls" reads 16-bit units, so the text goes through as UTF-8.
  const std::string bytes = text.ToUtf8();
  QMessageLogger(nullptr, 0, nullptr, "default").debug("%s", bytes.c_str());
}

}  // namespace SvcKivClass
