// A history's file, by way of SQLite.
#include "kivctl/history/database.h"

#include <sqlite3.h>
#include <unistd.h>

#include <cstring>
#include <thread>
#include <utility>

#include "kiv/files.h"
#include "kivctl/history/schema.h"

namespace kivctl::history {
namespace {

constexpr int64_t kApplicationId = 0x6b697668;  // "kivh", where SQLite keeps what a file is of

// A name that tells the library to read a file nobody writes to; what means something in such a name is
// escaped.
std::string immutable_name(const std::string &path) {
    std::string name = "file:";
    for (const char c : path) {
        if (c == '%' || c == '?' || c == '#') {
            constexpr const char *kDigits = "0123456789ABCDEF";
            name += '%';
            name += kDigits[static_cast<uint8_t>(c) >> 4];
            name += kDigits[static_cast<uint8_t>(c) & 15];
        } else {
            name += c;
        }
    }
    return name + "?immutable=1";
}

// Names that mean something to the library are files to us.
std::string plain_name(const std::string &path) {
    return path.starts_with(':') || path.starts_with("file:") ? "./" + path : path;
}

}  // namespace

Database::Database(std::string path, std::chrono::milliseconds wait) : path_(std::move(path)), wait_(wait) {
    if (path_.empty()) throw DatabaseError("the name of the history is empty");
}

Database::Database(Database &&other) noexcept
    : path_(std::move(other.path_)), wait_(other.wait_), handle_(std::exchange(other.handle_, nullptr)) {}

Database::~Database() {
    sqlite3_close_v2(handle_);
}

void Database::open(const std::string &name, int flags) {
    sqlite3_close_v2(std::exchange(handle_, nullptr));
    const int code = sqlite3_open_v2(name.c_str(), &handle_, flags | SQLITE_OPEN_EXRESCODE, nullptr);
    if (code != SQLITE_OK) fail(code);
    sqlite3_busy_timeout(handle_, static_cast<int>(wait_.count()));
}

// A database of something else is not touched.
void Database::check_kind() {
    // One state of the file: another process may be about to make it a history.
    execute("BEGIN");
    const int64_t id = number("PRAGMA application_id"), version = number("PRAGMA user_version");
    const bool empty = number("SELECT count(*) FROM sqlite_master") == 0;
    execute("COMMIT");
    if (id != kApplicationId && !(id == 0 && version == 0 && empty))
        throw DatabaseError(path_ + ": a database, but no history of runs");
    const auto known = static_cast<int64_t>(schema().size());
    if (id == kApplicationId && version > known)
        throw DatabaseError(path_ + ": written by a later release (schema " + std::to_string(version) +
                            ", this one knows " + std::to_string(known) + ")");
}

// SQLite waits for nobody when a database becomes one with a log, as it may be about to for several
// processes.
void Database::keep_a_log() {
    const auto until = std::chrono::steady_clock::now() + wait_;
    int code = SQLITE_OK;
    while ((code = sqlite3_exec(handle_, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr)) ==
               SQLITE_BUSY &&
           std::chrono::steady_clock::now() < until)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    if (code != SQLITE_OK) fail(code);
}

Database Database::to_write(const std::string &path, std::chrono::milliseconds wait) {
    Database database(path, wait);
    database.open(plain_name(path), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    database.check_kind();
    database.keep_a_log();
    database.execute("PRAGMA synchronous = NORMAL");
    if (database.number("PRAGMA user_version") < static_cast<int64_t>(schema().size()))
        database.migrate(schema());
    return database;
}

Database Database::to_read(const std::string &path, std::chrono::milliseconds wait) {
    if (!path.empty() && access(path.c_str(), F_OK) != 0)
        throw DatabaseError(path + ": " + strerror(errno) + " (kivctl store makes a history)");
    Database database(path, wait);
    try {
        // Who closes it last clears away what stands beside it, for which it must be open to write.
        database.open(plain_name(path), SQLITE_OPEN_READWRITE);
        database.execute("PRAGMA query_only = ON");
        database.check_kind();
    } catch (const DatabaseError &) {
        // Where nothing can be written beside it, it can be read if nobody has it open.
        const std::string directory =
            path.find('/') == std::string::npos ? "." : path.substr(0, path.rfind('/') + 1);
        if (access(directory.c_str(), W_OK) == 0 || kiv::is_file(path + "-wal")) throw;
        database.open(immutable_name(path), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
        database.check_kind();
    }
    if (database.number("PRAGMA application_id") != kApplicationId)
        throw DatabaseError(path + ": no history of runs: the file is empty");
    if (database.number("PRAGMA user_version") < static_cast<int64_t>(schema().size())) {
        return to_write(path, wait);
    }
    return database;
}

void Database::migrate(Migrations steps) {
    Transaction transaction(*this);
    for (auto version = static_cast<size_t>(number("PRAGMA user_version")); version < steps.size();
         ++version) {
        execute(steps[version]);
        execute(("PRAGMA user_version = " + std::to_string(version + 1)).c_str());
    }
    execute(("PRAGMA application_id = " + std::to_string(kApplicationId)).c_str());
    transaction.commit();
}

void Database::execute(const char *sql) {
    const int code = sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) fail(code);
}

int64_t Database::number(const char *sql) {
    Statement statement(*this, sql);
    return statement.step() ? statement.number(0) : 0;
}

int64_t Database::last_row() const {
    return sqlite3_last_insert_rowid(handle_);
}

void Database::close() {
    if (sqlite3_get_autocommit(handle_) != 0 && sqlite3_db_readonly(handle_, "main") == 0) {
        // Busy is well: who reads it now finds what stands beside it, and the last one to close moves it.
        const int code =
            sqlite3_wal_checkpoint_v2(handle_, nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
        if (code != SQLITE_OK && (code & 0xff) != SQLITE_BUSY) fail(code);
    }
    sqlite3_close_v2(std::exchange(handle_, nullptr));
}

void Database::fail(int code) const {
    std::string why;
    const int error = handle_ != nullptr ? sqlite3_system_errno(handle_) : 0;
    const std::string system = error != 0 ? std::string(" (") + strerror(error) + ")" : "";
    switch (code & 0xff) {
        case SQLITE_BUSY:
            why = "another process is writing to it, and still was after " +
                  std::to_string(wait_.count() / 1000) + " s (--wait)";
            break;
        case SQLITE_NOTADB:
            why = "no history of runs: not a database";
            break;
        case SQLITE_CORRUPT:
            why = std::string("the database is damaged: ") + sqlite3_errmsg(handle_);
            break;
        case SQLITE_FULL:
            why = "no space is left to write it" + system;
            break;
        case SQLITE_READONLY:
            why = "it cannot be written" + system;
            break;
        case SQLITE_CANTOPEN:
            why = "it cannot be opened" + system;
            break;
        case SQLITE_IOERR:
            why = "it could not be read or written: " + std::string(sqlite3_errstr(code)) + system;
            break;
        default:
            why = handle_ != nullptr ? sqlite3_errmsg(handle_) : sqlite3_errstr(code);
    }
    throw DatabaseError(path_ + ": " + why);
}

Statement::Statement(Database &database, const char *sql) : database_(database) {
    const int code = sqlite3_prepare_v2(database.handle(), sql, -1, &statement_, nullptr);
    if (code != SQLITE_OK) database.fail(code);
}

Statement::~Statement() {
    sqlite3_finalize(statement_);
}

bool Statement::step() {
    const int code = sqlite3_step(statement_);
    if (code == SQLITE_ROW) return true;
    if (code != SQLITE_DONE) {
        reset();  // what is not reset would keep the transaction from being rolled back
        database_.fail(code);
    }
    return false;
}

void Statement::run() {
    while (step()) {
    }
    reset();
}

void Statement::reset() {
    sqlite3_reset(statement_);
}

int64_t Statement::number(int column) const {
    return sqlite3_column_int64(statement_, column);
}

std::string_view Statement::text(int column) const {
    const unsigned char *const text = sqlite3_column_text(statement_, column);
    return {text != nullptr ? reinterpret_cast<const char *>(text) : "",
            static_cast<size_t>(sqlite3_column_bytes(statement_, column))};
}

void Statement::bind_one(int at, int64_t value) {
    if (const int code = sqlite3_bind_int64(statement_, at, value); code != SQLITE_OK) database_.fail(code);
}

void Statement::bind_one(int at, std::string_view value) {
    const char *const text = value.data() != nullptr ? value.data() : "";
    const int code = sqlite3_bind_text64(statement_, at, text, value.size(), SQLITE_STATIC, SQLITE_UTF8);
    if (code != SQLITE_OK) database_.fail(code);
}

Transaction::~Transaction() {
    if (open_) sqlite3_exec(database_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::commit() {
    database_.execute("COMMIT");
    open_ = false;
}

}  // namespace kivctl::history
