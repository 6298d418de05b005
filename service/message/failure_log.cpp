#include "service/message/failure_log.h"

#include <cwchar>
#include <string>

#include "platform/base/sys_log_file.h"

namespace SvcKivClass {

QCString FailureLine(std::int32_t ueId, const wchar_t* function, std::int32_t err,
                     const wchar_t* what) {
  wchar_t head[16];  // the longest is "-2147483648" and its terminator
  std::swprintf(head, sizeof head / sizeof *head, L"%02d", static_cast<int>(ueId));
  QCString line(head);
  line += L' ';
  line += function;
  line += L" - err=";
  line += std::to_wstring(err).c_str();
  line += L", ";
  line += what;
  line += L'\n';
  return line;
}

void LogFailure(std::int32_t ueId, const wchar_t* function, std::int32_t err, const wchar_t* what) {
  CSysLogFile::Write(FailureLine(ueId, function, err, what));
}

}  // namespace SvcKivClass
