// The file that a load leaves on the disk: its bytes go into a temporary file beneath one folder,
// which takes the place of the stored file only when it was read back and found whole.
//
// Two agents may share a folder: whoever writes holds a lock on it, so that neither touches the
// other's temporary file.
//
// Threads: none of its own; an object belongs to one thread.
// Owns or borrows: owns its descriptors; borrows the folder's name until the folder is closed.
// Errors: negative error numbers of the system; -EBUSY: another agent receives into the folder.
#ifndef DEVICE_LINUX_LOAD_FILE_H_
#define DEVICE_LINUX_LOAD_FILE_H_

#include <stdbool.h>
#include <stdint.h>
#include <sys/stat.h>

#include "device/linux/sha256.h"

#ifdef __cplusplus
extern "C" {
#endif

// The names within the folder. Scripts on boards read the first.
#define KIV_LOAD_FILE_NAME "loaded.bin"
#define KIV_LOAD_FILE_TEMPORARY "loaded.bin.tmp"

// What is known of the stored file.
typedef struct kiv_stored_file {
  struct stat status;  // by which a later change of the file is seen
  uint8_t digest[KIV_SHA256_BYTES];
} kiv_stored_file;

typedef struct kiv_load_file {
  const char* folder_name;
  int folder;          // -1: no loads
  uid_t folder_owner;  // when it was opened, and when the last file was begun
  int temporary;       // -1: none is being written
  uint64_t size_bytes;
  kiv_sha256 received;
  bool has_stored;         // whether `stored` was read or written once
  kiv_stored_file stored;  // may be of an earlier file: ask kiv_load_file_stored
} kiv_load_file;

// No folder.
void kiv_load_file_init(kiv_load_file* file);
// Opens the folder and removes the temporary file that a killed agent left there. -EPERM: others
// may write to the folder, so they could change the file between its check and its renaming.
int kiv_load_file_open_folder(kiv_load_file* file, const char* folder);
// Discards what is being written and closes the folder.
void kiv_load_file_close_folder(kiv_load_file* file);

// Starts a temporary file anew. A folder that was made anew under its name is the one it goes into;
// -EPERM as above. `size_bytes` is what will come at most: a disk that has no room for it says so
// now. After an error none is being written; so for the next two.
int kiv_load_file_begin(kiv_load_file* file, uint64_t size_bytes);
int kiv_load_file_append(kiv_load_file* file, const uint8_t* bytes, uint32_t length_bytes);
// Syncs, reads back, compares, renames, syncs the folder. -EILSEQ: what was read back is not what
// was appended. -ESTALE: another folder stands under the folder's name, another file under the
// temporary one, or one took the stored one's at that moment. -EPERM: others may write to the
// folder by now, or it has another owner. The stored file is the one before, unless only the last
// step failed.
int kiv_load_file_store(kiv_load_file* file);
// Removes the temporary file; nothing where there is none.
void kiv_load_file_discard(kiv_load_file* file);

// Reads size, times and hash of the stored file into `stored`; -ENOENT: there is none, -EFBIG: it
// is longer than `limit_bytes`, so it is not read. A file that did not change is not read again.
int kiv_load_file_stored(kiv_load_file* file, uint64_t limit_bytes);
// Whether the file that the last call of `store` left is still there as it was.
bool kiv_load_file_is_unchanged(const kiv_load_file* file);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_LOAD_FILE_H_
