#include "platform/catalogue/fingerprint.h"

#include <sqlite3.h>

#include <charconv>
#include <memory>
#include <string>
#include <string_view>

#include "platform/base/bench_setup.h"
#include "platform/os/paths.h"

namespace {

struct CloseDatabase {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};
struct FinishStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

// The number that 16 hexadecimal digits say, else 0.
std::uint64_t NumberOf(std::string_view digits) {
  std::uint64_t number = 0;
  const char* const end = digits.data() + digits.size();
  const auto parsed = std::from_chars(digits.data(), end, number, 16);
  return digits.size() == 16 && parsed.ec == std::errc() && parsed.ptr == end ? number : 0;
}

}  // namespace

std::uint64_t CurrentCatalogueFingerprint() {
  const std::string path = os::MapPath(bench::GetSetup().catalogue.view());
  sqlite3* opened = nullptr;
  const int status = sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READONLY, nullptr);
  const std::unique_ptr<sqlite3, CloseDatabase> database(opened);
  if (status != SQLITE_OK) return 0;
  sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
  sqlite3_stmt* prepared = nullptr;
  if (sqlite3_prepare_v2(opened, "SELECT fingerprint FROM about", -1, &prepared, nullptr) !=
      SQLITE_OK) {
    return 0;
  }
  const std::unique_ptr<sqlite3_stmt, FinishStatement> statement(prepared);
  if (sqlite3_step(prepared) != SQLITE_ROW) return 0;
  const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(prepared, 0));
  return text != nullptr ? NumberOf(text) : 0;
}
