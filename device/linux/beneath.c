#include "device/linux/beneath.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <stdbool.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

enum { kNameBytes = 256 };

static bool leaves_folder(const char* component) {
  return component[0] == '\0' || strcmp(component, ".") == 0 || strcmp(component, "..") == 0;
}

int kiv_beneath_open_by_steps(int folder, const char* name, int flags, mode_t mode) {
  int at = folder;
  while (true) {
    const size_t length = strcspn(name, "/");
    char component[kNameBytes];
    int next = -1;
    int error = 0;
    if (length >= sizeof component) {
      error = ENAMETOOLONG;
    } else {
      memcpy(component, name, length);
      component[length] = '\0';
      const bool last = name[length] == '\0';
      const int step = last ? flags : O_RDONLY | O_DIRECTORY;
      if (leaves_folder(component)) {
        error = EXDEV;
      } else {
        next = openat(at, component, step | O_NOFOLLOW | O_CLOEXEC, mode);
        error = next < 0 ? errno : 0;
      }
    }
    if (at != folder) close(at);
    if (error != 0) return -error;
    if (name[length] == '\0') return next;
    at = next;
    name += length + 1;
  }
}

int kiv_beneath_open(int folder, const char* name, int flags, mode_t mode) {
#ifdef SYS_openat2
  struct open_how how;
  memset(&how, 0, sizeof how);
  how.flags = (uint64_t)(flags | O_CLOEXEC);
  how.mode = (flags & O_CREAT) != 0 ? mode : 0;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
  const long opened = syscall(SYS_openat2, folder, name, &how, sizeof how);
  if (opened >= 0) return (int)opened;
  // Containers' filters answer EPERM for calls that they do not know.
  if (errno != ENOSYS && errno != EPERM) return -errno;
#endif
  return kiv_beneath_open_by_steps(folder, name, flags, mode);
}

static int read_all(int file, uint8_t* out, uint32_t capacity_bytes) {
  uint32_t used = 0;
  while (true) {
    uint8_t beyond;
    const bool full = used == capacity_bytes;
    const ssize_t n = full ? read(file, &beyond, 1) : read(file, out + used, capacity_bytes - used);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return -errno;
    if (n == 0) return (int)used;
    if (full) return -EFBIG;
    used += (uint32_t)n;
  }
}

int kiv_beneath_read(int folder, const char* name, uint8_t* out, uint32_t capacity_bytes) {
  // Without blocking, so that a FIFO under that name cannot hold the agent.
  const int file = kiv_beneath_open(folder, name, O_RDONLY | O_NONBLOCK, 0);
  if (file < 0) return file;
  struct stat status;
  int result = -EINVAL;
  if (fstat(file, &status) != 0) {
    result = -errno;
  } else if (S_ISREG(status.st_mode)) {
    result = read_all(file, out, capacity_bytes);
  }
  close(file);
  return result;
}

// A file beyond the limit on sizes has no room, either.
int kiv_beneath_write_all(int file, const uint8_t* bytes, uint32_t length_bytes) {
  while (length_bytes > 0) {
    const ssize_t n = write(file, bytes, length_bytes);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return errno == EFBIG ? -ENOSPC : -errno;
    bytes += n;
    length_bytes -= (uint32_t)n;
  }
  return 0;
}

// Compares from the beginning of the file, whose end must be where the bytes end.
static int read_back(int file, const uint8_t* bytes, uint32_t length_bytes) {
  if (lseek(file, 0, SEEK_SET) < 0) return -errno;
  uint32_t compared = 0;
  while (true) {
    uint8_t chunk[4096];
    const ssize_t n = read(file, chunk, sizeof chunk);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return -errno;
    if (n == 0) return compared == length_bytes ? 0 : -EIO;
    if ((uint32_t)n > length_bytes - compared || memcmp(chunk, bytes + compared, (size_t)n) != 0) {
      return -EIO;
    }
    compared += (uint32_t)n;
  }
}

int kiv_beneath_replace(int folder, const char* name, const uint8_t* bytes, uint32_t length_bytes) {
  if (strchr(name, '/') != NULL || leaves_folder(name)) return -EXDEV;
  char temporary[kNameBytes];
  const int length = snprintf(temporary, sizeof temporary, "%s.tmp", name);
  if (length < 0 || length >= (int)sizeof temporary) return -ENAMETOOLONG;
  (void)unlinkat(folder, temporary, 0);  // left by an agent that was killed
  const int file = kiv_beneath_open(folder, temporary, O_RDWR | O_CREAT | O_EXCL, 0600);
  if (file < 0) return file;
  int result = kiv_beneath_write_all(file, bytes, length_bytes);
  if (result == 0 && fsync(file) != 0) result = -errno;
  if (result == 0) result = read_back(file, bytes, length_bytes);
  if (close(file) != 0 && result == 0) result = -errno;
  if (result == 0 && renameat(folder, temporary, folder, name) != 0) result = -errno;
  if (result != 0) {
    (void)unlinkat(folder, temporary, 0);
    return result;
  }
  return fsync(folder) == 0 ? 0 : -errno;
}
