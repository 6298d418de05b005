// The commands that `--shell list:FILE` allows. A line of the file that is one word allows every
// line that begins with that word; a line of several words allows exactly that line. A '#' at
// the beginning or behind a blank begins a comment. A line that could never allow anything, because
// it has a character that no line may have, makes the file unusable.
//
// Threads: none of its own.
// Owns or borrows: owns the file's text.
// Errors: reading leaves a text in `problem`.
#ifndef DEVICE_LINUX_SHELL_LIST_H_
#define DEVICE_LINUX_SHELL_LIST_H_

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_SHELL_LIST_MAX_BYTES 65536
#define KIV_SHELL_MAX_WORDS 256

// All zero: allows nothing.
typedef struct kiv_shell_list {
  char* text;  // the file; lines are ended by zeros
  char* end;
  char problem[256];
} kiv_shell_list;

bool kiv_shell_list_read(kiv_shell_list* list, const char* path);
void kiv_shell_list_free(kiv_shell_list* list);
// Whether the line may run. Never with a character that means something to a shell, although none
// will see it: so what a reader of the list takes a line for is what it does.
bool kiv_shell_list_allows(const kiv_shell_list* list, const char* line);
// Cuts the line in place at its blanks; `words` has room for KIV_SHELL_MAX_WORDS and a null, and
// the words beyond are left out, which is said by false.
bool kiv_shell_split(char* line, char** words);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_SHELL_LIST_H_
