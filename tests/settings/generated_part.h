// The part of a page that is made from tables, between two marks.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

// The part between the marks is `text`; with KIV_UPDATE_DOCS set it becomes that.
inline void ExpectGeneratedPart(const std::string& path, std::string_view beginMark,
                                std::string_view endMark, const std::string& text) {
  std::ifstream file(path);
  std::string page(std::istreambuf_iterator<char>(file), {});
  const std::size_t begin = page.find(beginMark);
  const std::size_t end = page.find(endMark);
  ASSERT_NE(begin, std::string::npos);
  ASSERT_NE(end, std::string::npos);
  const std::size_t from = begin + beginMark.size();
  if (std::getenv("KIV_UPDATE_DOCS") != nullptr) {
    std::ofstream(path) << page.replace(from, end - from, text);
    return;
  }
  EXPECT_EQ(page.substr(from, end - from), text);
}
