// Opens the kernel's text files.
//
// Threads: any. Owns or borrows: the caller closes what it gets. Errors: null.
#ifndef DEVICE_LINUX_PROC_TEXT_H_
#define DEVICE_LINUX_PROC_TEXT_H_

#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

FILE* kiv_open_proc_text(const char* proc_folder, const char* name);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_PROC_TEXT_H_
