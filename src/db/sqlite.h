// A thin owner of an SQLite connection and of its statements. Each statement is prepared, stepped and
// finalized where it is used.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace tarnvisor {

class SqliteDatabase {
 public:
  // A database that another program holds locked is waited for this long.
  static constexpr int kBusyMs = 5000;

  // Opens or creates. isOpen() is false on failure; error() then has the words.
  explicit SqliteDatabase(const std::string& path);
  bool isOpen() const { return connection != nullptr; }
  std::string error() const;
  // Runs a statement without results. Empty on success, otherwise the words.
  std::string execute(const std::string& statement);
  sqlite3* handle() const { return connection.get(); }

 private:
  struct Closer {
    void operator()(sqlite3* c) const;
  };
  std::unique_ptr<sqlite3, Closer> connection;
  std::string openError;
};

class SqliteStatement {
 public:
  SqliteStatement(const SqliteDatabase& database, const char* text);
  bool isValid() const { return statement != nullptr; }

  // The number is the name that stands in the statement (?111), not a position. Texts are copied.
  SqliteStatement& bind(int number, const std::string& text);
  SqliteStatement& bind(int number, int32_t value);
  // The only parameter of a statement with a plain "?".
  SqliteStatement& bindFirst(const std::string& text) { return bind(1, text); }

  // Ready to run once more, with other values.
  SqliteStatement& again();
  // True when there is a row; anything else counts as no data.
  bool step();
  // Whether the last step ended in an error, such as a database that stayed locked.
  bool failed() const { return stepFailed; }
  // Runs to the end; false when the statement failed.
  [[nodiscard]] bool run();
  int32_t integer(int column) const;
  std::string text(int column) const;

 private:
  struct Finalizer {
    void operator()(sqlite3_stmt* s) const;
  };
  std::unique_ptr<sqlite3_stmt, Finalizer> statement;
  bool stepFailed = false;
};

}  // namespace tarnvisor
