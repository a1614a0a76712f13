#include "storage/Database.h"

namespace appliance {

namespace {

constexpr int BusyMilliseconds = 10'000;

[[noreturn]] void Fail(sqlite3* connection, int code) {
    throw DatabaseError(code, std::string("database: ") + sqlite3_errmsg(connection));
}

}  // namespace

Database::Database(const std::string& path, bool sync) {
    sqlite3* connection = nullptr;
    const int code = sqlite3_open_v2(path.c_str(), &connection,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    m_connection.reset(connection);
    if (code != SQLITE_OK) {
        Fail(connection, code);
    }
    sqlite3_busy_timeout(connection, BusyMilliseconds);
    Execute("PRAGMA journal_mode = WAL");
    Execute(sync ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = OFF");
    Execute("PRAGMA foreign_keys = ON");
}

void Database::Execute(const char* sql) {
    const int code = sqlite3_exec(m_connection.get(), sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) {
        Fail(m_connection.get(), code);
    }
}

Statement Database::Prepare(const char* sql) {
    auto& statement = m_statements[sql];
    if (!statement) {
        sqlite3_stmt* prepared = nullptr;
        const int code = sqlite3_prepare_v3(m_connection.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
        if (code != SQLITE_OK) {
            Fail(m_connection.get(), code);
        }
        statement.reset(prepared);
    }
    return Statement(statement.get());
}

Statement::~Statement() {
    sqlite3_reset(m_statement);
    sqlite3_clear_bindings(m_statement);
}

Statement& Statement::Bind(std::int64_t value) {
    Check(sqlite3_bind_int64(m_statement, ++m_bound, value));
    return *this;
}

Statement& Statement::Bind(std::string_view text) {
    Check(sqlite3_bind_text64(m_statement, ++m_bound, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
    return *this;
}

Statement& Statement::BindOptional(const std::optional<std::int64_t>& value) {
    if (value) {
        return Bind(*value);
    }
    Check(sqlite3_bind_null(m_statement, ++m_bound));
    return *this;
}

bool Statement::Step() {
    const int code = sqlite3_step(m_statement);
    if (code != SQLITE_ROW && code != SQLITE_DONE) {
        Check(code);
    }
    return code == SQLITE_ROW;
}

void Statement::Run() {
    while (Step()) {
    }
}

std::optional<std::int64_t> Statement::OptionalInteger(int column) const {
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL ? std::nullopt : std::optional(Integer(column));
}

std::string Statement::Text(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
    return text == nullptr ? std::string()
                           : std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column)));
}

void Statement::Check(int code) const {
    if (code != SQLITE_OK) {
        Fail(sqlite3_db_handle(m_statement), code);
    }
}

Transaction::Transaction(Database& database) : m_database(database) {
    m_database.Execute("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
    if (!m_committed) {
        try {
            m_database.Execute("ROLLBACK");
        } catch (const DatabaseError&) {
            // A failed statement may have rolled back by itself; then there is nothing left to undo.
        }
    }
}

void Transaction::Commit() {
    m_database.Execute("COMMIT");
    m_committed = true;
}

}  // namespace appliance
