#pragma once
// SqliteDatabase: the store's only door to SQLite.
//
// One connection, used from one thread (the main thread in the helper). It
// owns a cache of prepared statements keyed by their SQL text, so the hot
// paths of recording and saving parse each statement once. Failures come back
// as TRError values in the domain "SQLite" with SQLite's result code; nothing
// here throws, logs or aborts.
//
// Text is bound and read as UTF-16 with explicit lengths, so NUL characters
// survive a round trip. A NULL REAL reads back as NaN (SQLite stores NaN as
// NULL, and the store relies on getting it back as "not a number").

#include <QByteArray>
#include <QString>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "core/TRError.h"

struct sqlite3;
struct sqlite3_stmt;

class SqliteStatement final {
public:
    explicit SqliteStatement(sqlite3_stmt* stmt) : m_stmt(stmt) {}
    ~SqliteStatement();
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    // Clears bindings and rewinds; a cached statement is reset before reuse.
    void reset();
    void bindNull(int index);
    void bind(int index, qint64 value);
    void bind(int index, double value);             // NaN binds as NULL
    void bind(int index, const QString& value);     // a null QString binds as NULL
    void bind(int index, const QByteArray& value);  // a null block binds as NULL
    void bindOptionalId(int index, qint64 id);      // 0 binds as NULL

    // True while a row is available; false at the end or on error (see error()).
    bool step();
    // Steps to the end; the error of the first failing step, if any.
    std::optional<TRError> run();
    // step() and the first two columns as an integer and a real (NULL: NaN)
    // in one call, for queries that read many such rows.
    bool stepIntegerAndReal(qint64* integer, double* real);
    std::optional<TRError> error() const { return m_error; }

    bool isNull(int column) const;
    qint64 int64(int column) const;
    double real(int column) const;   // NULL reads as NaN
    QString text(int column) const;  // NULL reads as a null QString
    QByteArray blob(int column) const;

private:
    sqlite3_stmt* m_stmt;
    std::optional<TRError> m_error;
};

class SqliteDatabase final {
public:
    SqliteDatabase() = default;
    ~SqliteDatabase();
    SqliteDatabase(const SqliteDatabase&) = delete;
    SqliteDatabase& operator=(const SqliteDatabase&) = delete;

    enum class Mode { ReadWriteCreate, ReadOnly };
    std::optional<TRError> open(const QString& path, Mode mode = Mode::ReadWriteCreate);
    bool isOpen() const { return m_db != nullptr; }
    void close();

    // Runs one or more statements without results.
    std::optional<TRError> exec(const QString& sql);
    // A statement kept for the connection's life; reset before it is returned.
    // Returns nullptr on a preparation error (see lastError()).
    SqliteStatement* cached(const char* sql);
    SqliteStatement* cached(const QString& sql) { return cached(sql.toUtf8().constData()); }
    // A statement kept under a number chosen by the caller, so SQL that is
    // put together at run time is built once: `build` runs on the first call.
    template <class Build>
    SqliteStatement* cachedByKey(quint64 key, Build build) {
        auto it = m_keyed.find(key);
        if (it != m_keyed.end()) {
            it->second->reset();
            return it->second;
        }
        SqliteStatement* stmt = cached(build());
        if (stmt) m_keyed.emplace(key, stmt);
        return stmt;
    }
    // A one-off statement, for SQL built at run time.
    std::unique_ptr<SqliteStatement> prepare(const QString& sql);

    // Runs a query that yields one integer (0 when there is no row).
    qint64 scalarInt(const QString& sql);

    qint64 lastInsertRowId() const;
    int changes() const;
    // Rows this connection has changed since it opened; with PRAGMA
    // data_version (other connections' commits) it tells whether the file
    // may differ from what was read before.
    qint64 totalChanges() const;
    TRError lastError() const;

    void setBusyTimeout(int milliseconds);

private:
    sqlite3* m_db = nullptr;
    std::unordered_map<std::string, std::unique_ptr<SqliteStatement>> m_cache;
    std::unordered_map<quint64, SqliteStatement*> m_keyed;
};
