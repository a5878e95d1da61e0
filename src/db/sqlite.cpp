#include "db/sqlite.h"

#include <sqlite3.h>

#include "base/files.h"

namespace tarnvisor {

void SqliteDatabase::Closer::operator()(sqlite3* c) const { sqlite3_close(c); }
void SqliteStatement::Finalizer::operator()(sqlite3_stmt* s) const { sqlite3_finalize(s); }

SqliteDatabase::SqliteDatabase(const std::string& path) {
  sqlite3* opened = nullptr;
  const int code = sqlite3_open(path.c_str(), &opened);
  connection.reset(opened);
  if (code == SQLITE_OK) {
    sqlite3_busy_timeout(opened, kBusyMs);
    if (FlushLater::isOn()) sqlite3_exec(opened, "PRAGMA synchronous=OFF;", nullptr, nullptr, nullptr);
    return;
  }
  openError = opened ? sqlite3_errmsg(opened) : sqlite3_errstr(code);
  connection.reset();
}

std::string SqliteDatabase::error() const {
  int moved = 0;
  if (connection) sqlite3_file_control(connection.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
  if (moved) return "its file was replaced or moved away while it was open: start the program again";
  return connection ? sqlite3_errmsg(connection.get()) : openError;
}

std::string SqliteDatabase::execute(const std::string& statement) {
  char* words = nullptr;
  sqlite3_exec(connection.get(), statement.c_str(), nullptr, nullptr, &words);
  std::string problem = words ? words : "";
  sqlite3_free(words);
  return problem;
}

SqliteStatement::SqliteStatement(const SqliteDatabase& database, const char* text) {
  sqlite3_stmt* prepared = nullptr;
  sqlite3_prepare_v2(database.handle(), text, -1, &prepared, nullptr);
  statement.reset(prepared);
}

SqliteStatement& SqliteStatement::bind(int number, const std::string& text) {
  if (statement)
    sqlite3_bind_text(statement.get(), number, text.c_str(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
  return *this;
}

SqliteStatement& SqliteStatement::bind(int number, int32_t value) {
  if (statement) sqlite3_bind_int(statement.get(), number, value);
  return *this;
}

SqliteStatement& SqliteStatement::again() {
  if (statement) sqlite3_reset(statement.get());
  return *this;
}

bool SqliteStatement::step() {
  const int code = statement ? sqlite3_step(statement.get()) : SQLITE_ERROR;
  stepFailed = code != SQLITE_ROW && code != SQLITE_DONE;
  return code == SQLITE_ROW;
}

bool SqliteStatement::run() {
  if (!statement) return false;
  int code = SQLITE_ROW;
  while (code == SQLITE_ROW) code = sqlite3_step(statement.get());
  return code == SQLITE_DONE;
}

int32_t SqliteStatement::integer(int column) const { return sqlite3_column_int(statement.get(), column); }

std::string SqliteStatement::text(int column) const {
  const auto* words = reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), column));
  return words ? std::string(words, static_cast<size_t>(sqlite3_column_bytes(statement.get(), column)))
               : std::string();
}

}  // namespace tarnvisor
