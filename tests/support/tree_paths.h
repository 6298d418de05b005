// Where the tree stands, for tests that run built programs or read files of the sources.
//
// Threads: any. Owns or borrows: the texts are static. Errors: none.
#ifndef TESTS_SUPPORT_TREE_PATHS_H_
#define TESTS_SUPPORT_TREE_PATHS_H_

namespace kivtest {

// Root of the checkout, without a trailing slash.
const char* SourceDir();

// Build folder of this build (holds bin, lib, share/kiv and generated), without a trailing slash.
const char* BuildDir();

}  // namespace kivtest

#endif  // TESTS_SUPPORT_TREE_PATHS_H_
