#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>

namespace probe::uplink {

struct CloseDatabase {
  void operator()(sqlite3* database) const noexcept { sqlite3_close(database); }
};
using SqliteDatabase = std::unique_ptr<sqlite3, CloseDatabase>;

struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
};
using SqliteStatement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

}  // namespace probe::uplink
