// One row of the table that a sweep leaves: what was tried, how often, and what was found.
//
// The row goes to standard output, and where KIV_REPORT_DIR names a folder into a file of its own
// there; `make torture` makes a table of them. What behind the name begins with ", part" is summed
// up there.
//
// Threads: any. Owns nothing. Errors: a row that cannot be written is left out.
#ifndef TESTS_SUPPORT_SWEEP_REPORT_H_
#define TESTS_SUPPORT_SWEEP_REPORT_H_

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

namespace kivtest {

// Takes the time from its construction on.
class SweepReport {
 public:
  // `what` names the row; letters, digits, blanks and commas.
  explicit SweepReport(std::string what) : what_(std::move(what)) {}

  // `found`: "wrong 0, doubled 0".
  void Write(std::int64_t tried, std::string_view found) const {
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin_;
    char numbers[64];
    std::snprintf(numbers, sizeof numbers, "\t%lld\t%.1f\t", static_cast<long long>(tried),
                  time.count());
    const std::string row = what_ + numbers + std::string(found) + "\n";
    std::fputs(row.c_str(), stdout);
    const char* const folder = std::getenv("KIV_REPORT_DIR");
    if (folder == nullptr) return;
    std::string name = what_;
    for (char& ch : name) ch = ch == ' ' || ch == ',' || ch == '/' ? '_' : ch;
    std::ofstream(std::string(folder) + "/" + name + ".row") << row;
  }

 private:
  std::string what_;
  std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

}  // namespace kivtest

#endif  // TESTS_SUPPORT_SWEEP_REPORT_H_
