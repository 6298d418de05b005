// The processes below the agent. As their reaper it stays the ancestor of all that a command
// started, also of those that left its process group or session.
//
// Threads: one.
// Owns or borrows: nothing but the numbers of the children it was started with, which it leaves
// alone. Errors: where /proc does not list children, only the command's own process group is
// reached.
#ifndef DEVICE_LINUX_PROCESS_TREE_H_
#define DEVICE_LINUX_PROCESS_TREE_H_

#include <stdbool.h>
#include <stdint.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_TREE_MAX_STRANGERS 64

// All zero: no strangers, not a reaper.
typedef struct kiv_process_tree {
  pid_t strangers[KIV_TREE_MAX_STRANGERS];  // children from before kiv_tree_init
  uint32_t stranger_count;
} kiv_process_tree;

// Makes the agent the reaper.
void kiv_tree_init(kiv_process_tree* tree);
// How many processes there are, without strangers and the agent; counts to `limit` + 1 at most.
uint32_t kiv_tree_count(const kiv_process_tree* tree, uint32_t limit);
// Kills them all and reaps those that are dead; says whether any is left, or may be.
bool kiv_tree_kill(const kiv_process_tree* tree);
// Threads of all processes of this user: what RLIMIT_NPROC counts.
uint32_t kiv_tree_tasks_of_user(void);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_PROCESS_TREE_H_
