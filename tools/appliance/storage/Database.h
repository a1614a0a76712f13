// A thin owner for one SQLite connection and its prepared statements.
//
// One thread at a time uses a Database. Failures throw DatabaseError; a full disk is told apart, because a client is
// told so.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace appliance {

class DatabaseError : public std::runtime_error {
public:
    DatabaseError(int code, const std::string& message) : std::runtime_error(message), m_code(code) {}
    [[nodiscard]] bool IsDiskFull() const { return (m_code & 0xFF) == SQLITE_FULL; }

private:
    int m_code;
};

class Statement;

class Database {
public:
    // Opens or creates the file. With `sync` a commit is on the disk when it returns.
    Database(const std::string& path, bool sync);

    void Execute(const char* sql);
    // The statement of that text, prepared once and kept. Texts are literals.
    [[nodiscard]] Statement Prepare(const char* sql);

private:
    struct Closer {
        void operator()(sqlite3* connection) const { sqlite3_close(connection); }
    };
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };

    std::unique_ptr<sqlite3, Closer> m_connection;
    std::map<std::string_view, std::unique_ptr<sqlite3_stmt, Finalizer>> m_statements;
};

// One use of a prepared statement: bind from left to right, step, read columns. Reset when it goes.
class Statement {
public:
    explicit Statement(sqlite3_stmt* statement) : m_statement(statement) {}
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement();

    Statement& Bind(std::int64_t value);
    Statement& Bind(std::string_view text);
    // Empty is NULL.
    Statement& BindOptional(const std::optional<std::int64_t>& value);

    // True while there is a row.
    [[nodiscard]] bool Step();
    // For statements without rows.
    void Run();

    [[nodiscard]] std::int64_t Integer(int column) const { return sqlite3_column_int64(m_statement, column); }
    [[nodiscard]] std::optional<std::int64_t> OptionalInteger(int column) const;
    [[nodiscard]] std::string Text(int column) const;

private:
    void Check(int code) const;

    sqlite3_stmt* m_statement;
    int m_bound = 0;
};

// Begins with the right to write; rolls back unless committed.
class Transaction {
public:
    explicit Transaction(Database& database);
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction();

    void Commit();

private:
    Database& m_database;
    bool m_committed = false;
};

}  // namespace appliance
