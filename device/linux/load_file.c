#include "device/linux/load_file.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/falloc.h>
#include <stdio.h>
#include <string.h>
#include <sys/file.h>
#include <unistd.h>

#include "device/linux/beneath.h"

enum { kReadBytes = 64 * 1024, kWriteBackBytes = 1024 * 1024 };

void kiv_load_file_init(kiv_load_file* file) {
  memset(file, 0, sizeof *file);
  file->folder = -1;
  file->temporary = -1;
}

// A file system without locks does not stop a load: only another holder does.
static int lock(const kiv_load_file* file) {
  while (flock(file->folder, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return -EBUSY;
    if (errno != EINTR) return 0;
  }
  return 0;
}

static void unlock(const kiv_load_file* file) { (void)flock(file->folder, LOCK_UN); }

// Others must not be able to take a name within the folder for a file of theirs.
static int check_rights(const struct stat* folder) {
  const bool others_may_write = (folder->st_mode & (S_IWGRP | S_IWOTH)) != 0;
  return others_may_write && (folder->st_mode & S_ISVTX) == 0 ? -EPERM : 0;
}

// Takes the folder of that name for the one of before, which it closes.
static int open_folder(kiv_load_file* file, const char* name) {
  struct stat status;
  const int folder = open(name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return -errno;
  const int result = fstat(folder, &status) != 0 ? -errno : check_rights(&status);
  if (result != 0) {
    close(folder);
    return result;
  }
  if (file->folder >= 0) close(file->folder);
  file->folder = folder;
  file->folder_owner = status.st_uid;
  return 0;
}

int kiv_load_file_open_folder(kiv_load_file* file, const char* folder) {
  const int opened = open_folder(file, folder);
  if (opened != 0) return opened;
  file->folder_name = folder;
  if (lock(file) == 0) {
    (void)unlinkat(file->folder, KIV_LOAD_FILE_TEMPORARY, 0);
    unlock(file);
  }
  return 0;
}

static bool is_one_file(const struct stat* one, const struct stat* other) {
  return one->st_dev == other->st_dev && one->st_ino == other->st_ino;
}

// 0: the folder that is open still stands under its name; -ESTALE: another one does.
static int look_at_folder(const kiv_load_file* file, struct stat* held) {
  struct stat named;
  if (fstat(file->folder, held) != 0 || stat(file->folder_name, &named) != 0) return -errno;
  return is_one_file(held, &named) ? 0 : -ESTALE;
}

// A folder that was removed and made again is another one under the same name. Not while a file is
// being written.
static int follow_folder(kiv_load_file* file) {
  struct stat held;
  if (look_at_folder(file, &held) != 0) return open_folder(file, file->folder_name);
  file->folder_owner = held.st_uid;
  return check_rights(&held);
}

// What was written goes into the folder that it was begun in, if that is still nobody else's.
static int check_folder(const kiv_load_file* file) {
  struct stat held;
  const int result = look_at_folder(file, &held);
  if (result != 0) return result;
  return held.st_uid == file->folder_owner ? check_rights(&held) : -EPERM;
}

void kiv_load_file_close_folder(kiv_load_file* file) {
  kiv_load_file_discard(file);
  if (file->folder >= 0) close(file->folder);
  file->folder = -1;
}

void kiv_load_file_discard(kiv_load_file* file) {
  if (file->temporary < 0) return;
  close(file->temporary);
  file->temporary = -1;
  (void)unlinkat(file->folder, KIV_LOAD_FILE_TEMPORARY, 0);
  unlock(file);
}

// Asks for the room at once. Where the file system cannot do that, a full disk is met later.
static int reserve(int descriptor, uint64_t size_bytes) {
  while (fallocate(descriptor, FALLOC_FL_KEEP_SIZE, 0, (off_t)size_bytes) != 0) {
    if (errno == ENOSPC || errno == EDQUOT || errno == EFBIG) return -errno;
    if (errno != EINTR) return 0;
  }
  return 0;
}

int kiv_load_file_begin(kiv_load_file* file, uint64_t size_bytes) {
  kiv_load_file_discard(file);
  const int followed = follow_folder(file);
  if (followed != 0) return followed;
  const int locked = lock(file);
  if (locked != 0) return locked;
  (void)unlinkat(file->folder, KIV_LOAD_FILE_TEMPORARY, 0);
  do {
    file->temporary =
        kiv_beneath_open(file->folder, KIV_LOAD_FILE_TEMPORARY, O_RDWR | O_CREAT | O_EXCL, 0600);
  } while (file->temporary == -EINTR);
  if (file->temporary < 0) {
    const int error = file->temporary;
    file->temporary = -1;
    unlock(file);
    return error;
  }
  file->size_bytes = 0;
  kiv_sha256_begin(&file->received);
  const int reserved = reserve(file->temporary, size_bytes);
  if (reserved != 0) kiv_load_file_discard(file);
  return reserved;
}

// The disk begins to write while more arrives, so that the sync at the end is short. What goes
// wrong there is told by that sync.
static void start_write_back(const kiv_load_file* file, uint32_t length_bytes) {
  const uint64_t before = (file->size_bytes - length_bytes) / kWriteBackBytes;
  if (file->size_bytes / kWriteBackBytes == before) return;
  (void)sync_file_range(file->temporary, (off_t)(before * kWriteBackBytes), kWriteBackBytes,
                        SYNC_FILE_RANGE_WRITE);
}

int kiv_load_file_append(kiv_load_file* file, const uint8_t* bytes, uint32_t length_bytes) {
  const int written = kiv_beneath_write_all(file->temporary, bytes, length_bytes);
  if (written != 0) {
    kiv_load_file_discard(file);
    return written;
  }
  kiv_sha256_add(&file->received, bytes, length_bytes);
  file->size_bytes += length_bytes;
  start_write_back(file, length_bytes);
  return 0;
}

static int sync_whole(int descriptor) {
  while (fsync(descriptor) != 0) {
    if (errno != EINTR) return -errno;
  }
  return 0;
}

// The hash of a file from its beginning to its end, which must come behind `size_bytes`.
static int hash_whole(int descriptor, uint64_t size_bytes, uint8_t digest[KIV_SHA256_BYTES]) {
  static uint8_t bytes[kReadBytes];
  kiv_sha256 hash;
  kiv_sha256_begin(&hash);
  while (true) {
    const ssize_t n = pread(descriptor, bytes, sizeof bytes, (off_t)hash.length_bytes);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return -errno;
    if (n == 0) break;
    if ((uint64_t)n > size_bytes - hash.length_bytes) return -EILSEQ;
    kiv_sha256_add(&hash, bytes, (uint32_t)n);
  }
  if (hash.length_bytes != size_bytes) return -EILSEQ;
  kiv_sha256_end(&hash, digest);
  return 0;
}

// Leaves what was found in `found`.
static int check_written(kiv_load_file* file, kiv_stored_file* found) {
  uint8_t received[KIV_SHA256_BYTES];
  kiv_sha256_end(&file->received, received);
  int result = sync_whole(file->temporary);
  if (result != 0) return result;
  // From the disk and not out of the kernel's memory, where the kernel does as it is asked.
  (void)posix_fadvise(file->temporary, 0, 0, POSIX_FADV_DONTNEED);
  result = hash_whole(file->temporary, file->size_bytes, found->digest);
  if (result == 0 && memcmp(received, found->digest, sizeof received) != 0) result = -EILSEQ;
  if (result == 0 && fstat(file->temporary, &found->status) != 0) result = -errno;
  return result;
}

static int rename_over(const kiv_load_file* file) {
  while (renameat(file->folder, KIV_LOAD_FILE_TEMPORARY, file->folder, KIV_LOAD_FILE_NAME) != 0) {
    if (errno != EINTR) return -errno;
  }
  return 0;
}

// Whoever may write to the folder can exchange what stands under a name.
static int check_name(const kiv_load_file* file, const char* name, const struct stat* written) {
  struct stat named;
  if (fstatat(file->folder, name, &named, AT_SYMLINK_NOFOLLOW) != 0) return -errno;
  return is_one_file(&named, written) ? 0 : -ESTALE;
}

int kiv_load_file_store(kiv_load_file* file) {
  kiv_stored_file found;
  int result = check_written(file, &found);
  if (result == 0) result = check_folder(file);
  if (result == 0) result = check_name(file, KIV_LOAD_FILE_TEMPORARY, &found.status);
  if (result == 0) result = rename_over(file);
  if (result != 0) {
    kiv_load_file_discard(file);
    return result;
  }
  // All is on the disk already, so closing can take nothing back.
  close(file->temporary);
  file->temporary = -1;
  result = sync_whole(file->folder);
  if (result == 0) result = check_name(file, KIV_LOAD_FILE_NAME, &found.status);
  unlock(file);
  file->stored = found;
  file->has_stored = result == 0;
  return result;
}

// A change of name changes the time of the status only.
static bool is_same(const struct stat* one, const struct stat* other) {
  return is_one_file(one, other) && one->st_size == other->st_size &&
         one->st_mtim.tv_sec == other->st_mtim.tv_sec &&
         one->st_mtim.tv_nsec == other->st_mtim.tv_nsec;
}

static int open_stored(const kiv_load_file* file) {
  int descriptor = 0;
  do {
    // Without blocking, so that a FIFO under that name cannot hold the agent.
    descriptor = kiv_beneath_open(file->folder, KIV_LOAD_FILE_NAME, O_RDONLY | O_NONBLOCK, 0);
  } while (descriptor == -EINTR);
  return descriptor;
}

static int read_stored(kiv_load_file* file, int descriptor, uint64_t limit_bytes) {
  kiv_stored_file found;
  if (fstat(descriptor, &found.status) != 0) return -errno;
  if (!S_ISREG(found.status.st_mode)) return -EINVAL;
  if ((uint64_t)found.status.st_size > limit_bytes) return -EFBIG;
  if (file->has_stored && is_same(&file->stored.status, &found.status)) return 0;
  const int result = hash_whole(descriptor, (uint64_t)found.status.st_size, found.digest);
  if (result != 0) return result;
  file->stored = found;
  file->has_stored = true;
  return 0;
}

int kiv_load_file_stored(kiv_load_file* file, uint64_t limit_bytes) {
  if (file->temporary < 0) {
    const int followed = follow_folder(file);
    if (followed != 0) return followed;
  }
  const int descriptor = open_stored(file);
  if (descriptor < 0) return descriptor;
  const int result = read_stored(file, descriptor, limit_bytes);
  close(descriptor);
  return result;
}

bool kiv_load_file_is_unchanged(const kiv_load_file* file) {
  struct stat held;
  struct stat now;
  return file->has_stored && look_at_folder(file, &held) == 0 &&
         fstatat(file->folder, KIV_LOAD_FILE_NAME, &now, AT_SYMLINK_NOFOLLOW) == 0 &&
         is_same(&file->stored.status, &now);
}
