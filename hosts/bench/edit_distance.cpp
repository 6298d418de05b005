#include "hosts/bench/edit_distance.h"

#include <algorithm>
#include <vector>

namespace hostbench {

std::size_t EditDistance(std::string_view a, std::string_view b, std::size_t most) {
  if (a.size() > b.size()) std::swap(a, b);
  const std::size_t tooFar = most + 1;
  if (b.size() - a.size() > most) return tooFar;
  // Three rows: the last but one is for letters that changed places.
  std::vector<std::size_t> rows(3 * (a.size() + 1), tooFar);
  std::size_t* beforeLast = rows.data();
  std::size_t* last = beforeLast + a.size() + 1;
  std::size_t* row = last + a.size() + 1;
  for (std::size_t i = 0; i <= a.size(); ++i) last[i] = std::min(i, tooFar);
  for (std::size_t j = 1; j <= b.size(); ++j) {
    // Only so far from the diagonal can a distance within the bound be.
    const std::size_t from = j > most ? j - most : 1;
    const std::size_t to = std::min(a.size(), j + most);
    std::fill(row, row + a.size() + 1, tooFar);
    row[0] = std::min(j, tooFar);
    std::size_t least = row[0];
    for (std::size_t i = from; i <= to; ++i) {
      const std::size_t replaced = last[i - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[i] = std::min({replaced, last[i] + 1, row[i - 1] + 1, tooFar});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        row[i] = std::min(row[i], beforeLast[i - 2] + 1);
      }
      least = std::min(least, row[i]);
    }
    // Two letters that changed places reach back one row more.
    const bool isOver = least > most && *std::min_element(last, last + a.size() + 1) > most;
    if (isOver) return tooFar;
    std::size_t* const spare = beforeLast;
    beforeLast = last;
    last = row;
    row = spare;
  }
  return std::min(last[a.size()], tooFar);
}

}  // namespace hostbench
