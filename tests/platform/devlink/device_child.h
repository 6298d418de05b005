// The test program as a device: what it is when a link starts it as its child.
//
// Threads: a program of its own. Errors: the exit status that the role says.
#pragma once

#include <string>

namespace linktest {

// Plays a role over standard input and output and answers the exit status:
//   echo       greets, confirms every request with its body, ends with 0 when its input ends
//   deaf       greets, then reads nothing and ignores the end of its input
//   arguments  greets; sends an IND for each further argument, its text the body
//   session    greets; sends an IND: "1" when it leads a session of its own, else "0"
//   shut       greets, closes its input, lives on until its output is closed
//   fail       ends with 7 once it was greeted
//   broken     ends with 3 at once
//   cut        once: takes away the file that its second argument names, and is killed behind as
//              many bytes of SampleSession as its first says; else as echo
int PlayRole(int argc, char** argv);

// "exec:" and this program in a role, quoted.
std::string ChildEndpoint(const std::string& roleAndArguments);

}  // namespace linktest
