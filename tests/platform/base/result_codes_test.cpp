#include "platform/base/result_codes.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "tests/support/tree_paths.h"

namespace {

// One row as the document writes it: "| 22 | `too_long` | too long |".
std::vector<std::string> RowsOfTheDocument() {
  std::ifstream document(std::string(kivtest::SourceDir()) + "/docs/result-codes.md");
  const std::regex row("\\| \\d+ \\| `\\w+` \\| .* \\|");
  std::vector<std::string> rows;
  for (std::string line; std::getline(document, line);) {
    if (std::regex_match(line, row)) rows.push_back(line);
  }
  return rows;
}

std::vector<std::string> RowsOfTheTable() {
  std::size_t count = 0;
  const result::Entry* table = result::Table(&count);
  std::vector<std::string> rows;
  for (std::size_t i = 0; i < count; ++i) {
    rows.push_back("| " + std::to_string(table[i].code) + " | `" + table[i].name + "` | " +
                   table[i].text + " |");
  }
  return rows;
}

TEST(ResultCodes, AreThoseOfTheDocument) {
  const std::vector<std::string> rows = RowsOfTheDocument();
  EXPECT_FALSE(rows.empty());
  EXPECT_EQ(rows, RowsOfTheTable());
}

TEST(ResultCodes, AscendAndHaveTextsOfOneLine) {
  std::size_t count = 0;
  const result::Entry* table = result::Table(&count);
  ASSERT_EQ(table, result::Table(nullptr));
  for (std::size_t i = 0; i < count; ++i) {
    EXPECT_TRUE(i == 0 || table[i - 1].code < table[i].code) << i;
    EXPECT_FALSE(std::string(table[i].text).empty());
    EXPECT_EQ(std::string::npos, std::string(table[i].text).find_first_of("\r\n"));
  }
}

TEST(ResultCodes, HaveTheTextOfTheirRow) {
  std::size_t count = 0;
  const result::Entry* table = result::Table(&count);
  for (std::size_t i = 0; i < count; ++i) {
    EXPECT_EQ(table[i].text, result::Text(table[i].code).ToUtf8());
    EXPECT_EQ(&table[i], result::Find(table[i].code));
  }
}

TEST(ResultCodes, AreNamedByNumberWhenUnknown) {
  EXPECT_EQ(L"result 3", result::Text(3).str());
  EXPECT_EQ(L"result 99999", result::Text(99999).str());
  EXPECT_EQ(L"result 4294967295", result::Text(result::kFailure).str());
}

}  // namespace
