// kivcat: compiles and inspects command catalogues.
#include <cstdio>

#include "platform/os/console_events.h"
#include "platform/text/shown_text.h"
#include "tools/kivcat/kivcat_program.h"

int main(int argc, char** argv) {
  os::LetLongWritesFail();
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  kivcat::Outputs outputs;
  const int status = kivcat::RunKivcat(arguments, outputs);
  const std::string& out = outputs.output;
  // Paths, words and names in the messages come from outside.
  const std::string messages = ShownUtf8(outputs.errorOutput);
  std::fwrite(messages.data(), 1, messages.size(), stderr);
  const bool written =
      std::fwrite(out.data(), 1, out.size(), stdout) == out.size() && std::fflush(stdout) == 0;
  if (written) return status;
  std::fputs("kivcat: standard output cannot be written\n", stderr);
  return 1;
}
