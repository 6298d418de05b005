#include "device/linux/nv_store.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <limits.h>
#include <stdbool.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "device/core/bytes.h"
#include "device/core/crc32.h"
#include "device/core/result_codes.h"
#include "device/linux/beneath.h"

// A file is the item's bytes and their CRC-32, so that a damaged disk is told from a value.
enum { kCheckBytes = 4, kNameBytes = 16 };

void kiv_nv_init(kiv_nv_store* store, const char* data_folder) {
  store->data_folder = data_folder;
  store->folder = -1;
}

void kiv_nv_destroy(kiv_nv_store* store) {
  if (store->folder >= 0) close(store->folder);
  store->folder = -1;
}

// Makes every missing folder on the way, for its owner alone.
static int make_folders(const char* path) {
  char part[PATH_MAX];
  const size_t length = strlen(path);
  if (length == 0 || length >= sizeof part) return -ENAMETOOLONG;
  for (size_t i = 1; i <= length; ++i) {
    if (path[i] != '/' && path[i] != '\0') continue;
    memcpy(part, path, i);
    part[i] = '\0';
    if (mkdir(part, 0700) != 0 && errno != EEXIST) return -errno;
  }
  return 0;
}

// Opens the items' folder, making it when `make` is set. Returns 0 or a negative error number.
static int open_folder(kiv_nv_store* store, bool make) {
  if (store->folder >= 0) return 0;
  if (make) {
    const int made = make_folders(store->data_folder);
    if (made != 0) return made;
  }
  const int data = open(store->data_folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (data < 0) return -errno;
  int result = 0;
  if (make && mkdirat(data, "nv", 0700) != 0 && errno != EEXIST) result = -errno;
  if (result == 0) {
    store->folder = kiv_beneath_open(data, "nv", O_RDONLY | O_DIRECTORY, 0);
    result = store->folder < 0 ? store->folder : 0;
  }
  close(data);
  return result;
}

static void name_of(uint32_t item, char out[kNameBytes]) {
  (void)snprintf(out, kNameBytes, "%08" PRIx32, item);
}

static uint32_t result_of(int error) {
  if (error == 0) return KIV_RESULT_OK;
  if (error == -ENOENT) return KIV_RESULT_NO_SUCH_ITEM;
  return error == -ENOSPC || error == -EDQUOT ? KIV_RESULT_STORAGE_FULL : KIV_RESULT_STORAGE_FAILED;
}

uint32_t kiv_nv_read(kiv_nv_store* store, uint32_t item, uint8_t* out, uint32_t capacity_bytes,
                     uint32_t* length_bytes) {
  uint8_t file[KIV_NV_MAX_ITEM_BYTES + kCheckBytes];
  char name[kNameBytes];
  const int opened = open_folder(store, false);
  if (opened != 0) return result_of(opened);
  name_of(item, name);
  const int length = kiv_beneath_read(store->folder, name, file, sizeof file);
  if (length < 0) return result_of(length);
  const bool sound = length >= kCheckBytes && (uint32_t)(length - kCheckBytes) <= capacity_bytes &&
                     kiv_crc32_run(KIV_CRC32_START, file, (uint32_t)length) == KIV_CRC32_GOOD;
  if (!sound) return KIV_RESULT_STORAGE_FAILED;
  *length_bytes = (uint32_t)(length - kCheckBytes);
  memcpy(out, file, *length_bytes);
  return KIV_RESULT_OK;
}

static bool has_place_for(const kiv_nv_store* store, const char* name) {
  struct stat status;
  if (fstatat(store->folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0) return true;
  const int copy = openat(store->folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* items = copy < 0 ? NULL : fdopendir(copy);
  if (items == NULL) {
    if (copy >= 0) close(copy);
    return false;
  }
  uint32_t count = 0;
  const struct dirent* entry = NULL;
  // A stream of its own: NOLINTNEXTLINE(concurrency-mt-unsafe)
  while ((entry = readdir(items)) != NULL) {
    if (entry->d_name[0] != '.') ++count;
  }
  closedir(items);
  return count < KIV_NV_MAX_ITEMS;
}

uint32_t kiv_nv_write(kiv_nv_store* store, uint32_t item, const uint8_t* bytes,
                      uint32_t length_bytes) {
  uint8_t file[KIV_NV_MAX_ITEM_BYTES + kCheckBytes];
  char name[kNameBytes];
  if (length_bytes > KIV_NV_MAX_ITEM_BYTES) return KIV_RESULT_BAD_VALUE;
  const int opened = open_folder(store, true);
  if (opened != 0) return result_of(opened == -ENOENT ? -EIO : opened);
  name_of(item, name);
  if (!has_place_for(store, name)) return KIV_RESULT_STORAGE_FULL;
  kiv_writer writer = kiv_writer_of(file, sizeof file);
  kiv_write_bytes(&writer, bytes, length_bytes);
  kiv_write_u32(&writer, ~kiv_crc32_run(KIV_CRC32_START, file, length_bytes));
  const int written = kiv_beneath_replace(store->folder, name, file, writer.used_bytes);
  return result_of(written == -ENOENT ? -EIO : written);
}
