#include "device/linux/process_tree.h"

#include <dirent.h>
#include <errno.h>
#include <inttypes.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// A command has at most as many processes as its limit allows, so a chain is no longer either.
enum { kMaxDepth = 64, kPathBytes = 64 };

typedef struct walk {
  const kiv_process_tree* tree;
  uint32_t count;
  uint32_t limit;
  bool kill;
  bool unsure;  // somebody's children could not be listed now
} walk;

static FILE* open_children(pid_t pid) {
  char path[kPathBytes];
  (void)snprintf(path, sizeof path, "/proc/%" PRIdMAX "/task/%" PRIdMAX "/children", (intmax_t)pid,
                 (intmax_t)pid);
  return fopen(path, "re");
}

static bool is_stranger(const kiv_process_tree* tree, pid_t pid) {
  for (uint32_t i = 0; i < tree->stranger_count; ++i) {
    if (tree->strangers[i] == pid) return true;
  }
  return false;
}

// Parents before their children: a killed parent starts no more.
static void visit(walk* all, pid_t parent, int depth) {
  if (depth > kMaxDepth) return;
  FILE* children = open_children(parent);
  if (children == NULL) {
    // Without memory or descriptors there may be some all the same.
    if (errno == ENOMEM || errno == EMFILE || errno == ENFILE) all->unsure = true;
    return;
  }
  intmax_t pid = 0;
  // NOLINTNEXTLINE(cert-err34-c): the kernel writes numbers that fit
  while (all->count <= all->limit && fscanf(children, "%" SCNdMAX, &pid) == 1) {
    if (is_stranger(all->tree, (pid_t)pid)) continue;
    ++all->count;
    if (all->kill) (void)kill((pid_t)pid, SIGKILL);
    visit(all, (pid_t)pid, depth + 1);
    if (all->kill && depth == 0) (void)waitpid((pid_t)pid, NULL, WNOHANG);
  }
  (void)fclose(children);
}

void kiv_tree_init(kiv_process_tree* tree) {
  memset(tree, 0, sizeof *tree);
  (void)prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
  FILE* children = open_children(getpid());
  if (children == NULL) return;
  intmax_t pid = 0;
  // NOLINTNEXTLINE(cert-err34-c)
  while (tree->stranger_count < KIV_TREE_MAX_STRANGERS &&
         fscanf(children, "%" SCNdMAX, &pid) == 1) {
    tree->strangers[tree->stranger_count++] = (pid_t)pid;
  }
  (void)fclose(children);
}

uint32_t kiv_tree_count(const kiv_process_tree* tree, uint32_t limit) {
  walk all = {tree, 0, limit, false, false};
  visit(&all, getpid(), 0);
  return all.count;
}

bool kiv_tree_kill(const kiv_process_tree* tree) {
  walk all = {tree, 0, UINT32_MAX - 1, true, false};
  visit(&all, getpid(), 0);
  return all.count > 0 || all.unsure;
}

uint32_t kiv_tree_tasks_of_user(void) {
  DIR* proc = opendir("/proc");
  uint32_t tasks = 0;
  if (proc == NULL) return 0;
  // NOLINTNEXTLINE(concurrency-mt-unsafe): a folder of its own
  for (const struct dirent* entry = readdir(proc); entry != NULL; entry = readdir(proc)) {
    char path[kPathBytes];
    struct stat status;
    if (entry->d_name[0] < '0' || entry->d_name[0] > '9') continue;
    (void)snprintf(path, sizeof path, "/proc/%.20s/task", entry->d_name);
    if (stat(path, &status) != 0 || status.st_uid != geteuid()) continue;
    tasks += status.st_nlink > 2 ? (uint32_t)status.st_nlink - 2 : 1;
  }
  (void)closedir(proc);
  return tasks;
}
