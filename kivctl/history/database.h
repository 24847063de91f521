// The file that a history of runs is kept in: opened, checked for being one, brought to this release's
// schema, asked.
#ifndef KIVCTL_HISTORY_DATABASE_H
#define KIVCTL_HISTORY_DATABASE_H

#include <chrono>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace kivctl::history {

// One sentence that names the file.
struct DatabaseError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Step n makes a database of version n one of version n + 1.
using Migrations = std::span<const char *const>;

class Database {
  public:
    // Opens a history to add to it; one that is not there yet, or is an empty file, is made. `wait` is how
    // long another process may keep it busy.
    static Database to_write(const std::string &path, std::chrono::milliseconds wait);
    // Opens one that is there. Nothing is written, unless an older release made it.
    static Database to_read(const std::string &path, std::chrono::milliseconds wait);

    Database(Database &&other) noexcept;
    Database &operator=(Database &&) = delete;
    ~Database();

    void execute(const char *sql);
    int64_t number(const char *sql);
    int64_t last_row() const;

    // Brings the schema to the last of the steps, all in one transaction.
    void migrate(Migrations steps);

    // Closes it, which writes all that still stands beside the file into it; tells when that fails.
    void close();

    [[noreturn]] void fail(int code) const;
    sqlite3 *handle() const { return handle_; }

  private:
    Database(std::string path, std::chrono::milliseconds wait);
    void open(const std::string &name, int flags);
    void check_kind();
    void keep_a_log();

    std::string path_;
    std::chrono::milliseconds wait_;
    sqlite3 *handle_ = nullptr;
};

// A prepared statement. Parameters and columns count from 1 and from 0, as they do in SQL's own interface.
class Statement {
  public:
    Statement(Database &database, const char *sql);
    ~Statement();
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    // The text must live until the statement is done.
    template <typename... Values>
    Statement &bind(const Values &...values) {
        reset();
        int at = 0;
        (bind_one(++at, values), ...);
        return *this;
    }
    bool step();  // whether there is a row
    void run();   // steps through it, and resets
    void reset();

    int64_t number(int column) const;
    std::string_view text(int column) const;  // until the next step

  private:
    void bind_one(int at, int64_t value);
    void bind_one(int at, std::string_view value);

    Database &database_;
    sqlite3_stmt *statement_ = nullptr;
};

// Rolled back with its scope, unless committed.
class Transaction {
  public:
    explicit Transaction(Database &database) : database_(database) { database_.execute("BEGIN IMMEDIATE"); }
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;
    void commit();

  private:
    Database &database_;
    bool open_ = true;
};

}  // namespace kivctl::history

#endif
