#include "settings/parameter_escape.h"

#include <utility>

namespace SvcKivClass {
namespace {

struct Spelling {
  const wchar_t* typed;
  const wchar_t* stored;
};

constexpr Spelling kSpellings[] = {{L"<", L"%(%"}, {L">", L"%)%"}, {L"\n", L"\\n"}};

}  // namespace

QCString EscapedParameters(QCString parameters) {
  for (const Spelling& spelling : kSpellings) parameters.Replace(spelling.typed, spelling.stored);
  return parameters;
}

QCString UnescapedParameters(QCString stored) {
  for (const Spelling& spelling : kSpellings) stored.Replace(spelling.stored, spelling.typed);
  return stored;
}

}  // namespace SvcKivClass
