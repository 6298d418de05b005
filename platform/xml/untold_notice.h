// UntoldNotice: a text about a settings file for the user, kept beside the file until it is shown.
//
// A console that repairs a file and is killed before it can say so leaves a good file, and nobody
// would ever learn that another one was set aside. So the text is kept before the file is repaired,
// and taken away by whoever has shown it.
//
// Threads: one. Owns texts only; the caller holds the file's lock in Keep.
// Errors: none. A text that cannot be kept is told by this process or not at all.
#pragma once

#include <string>
#include <utility>

// See the head of this file.
class UntoldNotice {
 public:
  explicit UntoldNotice(std::string mappedPath) : path_(std::move(mappedPath)) {}

  // What somebody left; empty when nothing, or what no console wrote.
  std::string Left();
  // Adds a text to what is kept.
  void Keep(const std::string& text);
  // What Left answered or Keep added has been shown. Another console's text stays.
  void Forget();

 private:
  std::string Read() const;

  std::string path_;
  std::string mine_;  // what is kept of this process
};
