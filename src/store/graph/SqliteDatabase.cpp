#include "store/graph/SqliteDatabase.h"

#include <QStringDecoder>

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

TRError makeError(sqlite3* db, int code) {
    const char* message = db ? sqlite3_errmsg(db) : sqlite3_errstr(code);
    return TRError{QStringLiteral("SQLite"), code, QString::fromUtf8(message)};
}

}  // namespace

SqliteStatement::~SqliteStatement() {
    sqlite3_finalize(m_stmt);
}

void SqliteStatement::reset() {
    sqlite3_reset(m_stmt);
    sqlite3_clear_bindings(m_stmt);
    m_error.reset();
}

void SqliteStatement::bindNull(int index) {
    sqlite3_bind_null(m_stmt, index);
}

void SqliteStatement::bind(int index, qint64 value) {
    sqlite3_bind_int64(m_stmt, index, value);
}

void SqliteStatement::bind(int index, double value) {
    if (std::isnan(value)) {
        sqlite3_bind_null(m_stmt, index);
    } else {
        sqlite3_bind_double(m_stmt, index, value);
    }
}

void SqliteStatement::bind(int index, const QString& value) {
    if (value.isNull()) {
        sqlite3_bind_null(m_stmt, index);
        return;
    }
    // As UTF-8, the file's encoding: SQLite's own UTF-16 conversion drops a
    // leading U+FEFF as a byte-order mark and reads U+FFFE and U+FFFF back as
    // U+FFFD, so a title holding them would not find its node again.
    const QByteArray utf8 = value.toUtf8();
    sqlite3_bind_text64(m_stmt, index, utf8.constData(), sqlite3_uint64(utf8.size()),
                        SQLITE_TRANSIENT, SQLITE_UTF8);
}

void SqliteStatement::bind(int index, const QByteArray& value) {
    if (value.isNull()) {
        sqlite3_bind_null(m_stmt, index);
        return;
    }
    sqlite3_bind_blob(m_stmt, index, value.constData(), int(value.size()), SQLITE_TRANSIENT);
}

void SqliteStatement::bindOptionalId(int index, qint64 id) {
    if (id == 0) {
        sqlite3_bind_null(m_stmt, index);
    } else {
        sqlite3_bind_int64(m_stmt, index, id);
    }
}

bool SqliteStatement::step() {
    const int rc = sqlite3_step(m_stmt);
    if (rc == SQLITE_ROW) return true;
    if (rc != SQLITE_DONE && !m_error) m_error = makeError(sqlite3_db_handle(m_stmt), rc);
    return false;
}

bool SqliteStatement::stepIntegerAndReal(qint64* integer, double* real) {
    if (!step()) return false;
    *integer = sqlite3_column_int64(m_stmt, 0);
    *real = sqlite3_column_type(m_stmt, 1) == SQLITE_NULL
                ? std::numeric_limits<double>::quiet_NaN()
                : sqlite3_column_double(m_stmt, 1);
    return true;
}

std::optional<TRError> SqliteStatement::run() {
    while (step()) {
    }
    return m_error;
}

bool SqliteStatement::isNull(int column) const {
    return sqlite3_column_type(m_stmt, column) == SQLITE_NULL;
}

qint64 SqliteStatement::int64(int column) const {
    return sqlite3_column_int64(m_stmt, column);
}

double SqliteStatement::real(int column) const {
    if (isNull(column)) return std::numeric_limits<double>::quiet_NaN();
    return sqlite3_column_double(m_stmt, column);
}

QString SqliteStatement::text(int column) const {
    if (isNull(column)) return QString();
    const unsigned char* data = sqlite3_column_text(m_stmt, column);
    const int bytes = sqlite3_column_bytes(m_stmt, column);
    if (!data) return QString(QLatin1String(""));
    // Most values are plain ASCII, which needs no decoder (a tenth of the
    // cost when tens of thousands of nodes are read).
    if (std::all_of(data, data + bytes, [](unsigned char c) { return c < 0x80; }))
        return QString::fromLatin1(reinterpret_cast<const char*>(data), bytes);
    // QString::fromUtf8 would drop a leading U+FEFF as a byte-order mark.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    return decoder.decode(QByteArrayView(data, bytes));
}

QByteArray SqliteStatement::blob(int column) const {
    if (isNull(column)) return QByteArray();
    const void* data = sqlite3_column_blob(m_stmt, column);
    const int bytes = sqlite3_column_bytes(m_stmt, column);
    return QByteArray(static_cast<const char*>(data), bytes);
}

SqliteDatabase::~SqliteDatabase() {
    close();
}

std::optional<TRError> SqliteDatabase::open(const QString& path, Mode mode) {
    close();
    const int flags = mode == Mode::ReadOnly ? SQLITE_OPEN_READONLY
                                             : (SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    const QByteArray file = path.toUtf8();
    const int rc = sqlite3_open_v2(file.constData(), &m_db, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc != SQLITE_OK) {
        TRError error = makeError(m_db, rc);
        close();
        return error;
    }
    sqlite3_extended_result_codes(m_db, 0);
    return std::nullopt;
}

void SqliteDatabase::close() {
    m_keyed.clear();
    m_cache.clear();
    if (m_db) sqlite3_close_v2(m_db);
    m_db = nullptr;
}

std::optional<TRError> SqliteDatabase::exec(const QString& sql) {
    const QByteArray utf8 = sql.toUtf8();
    const int rc = sqlite3_exec(m_db, utf8.constData(), nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) return makeError(m_db, rc);
    return std::nullopt;
}

SqliteStatement* SqliteDatabase::cached(const char* sql) {
    auto it = m_cache.find(sql);
    if (it != m_cache.end()) {
        it->second->reset();
        return it->second.get();
    }
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr) != SQLITE_OK) {
        return nullptr;
    }
    auto inserted = m_cache.emplace(sql, std::make_unique<SqliteStatement>(stmt));
    return inserted.first->second.get();
}

std::unique_ptr<SqliteStatement> SqliteDatabase::prepare(const QString& sql) {
    const QByteArray utf8 = sql.toUtf8();
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(m_db, utf8.constData(), int(utf8.size()), &stmt, nullptr) != SQLITE_OK) {
        return nullptr;
    }
    return std::make_unique<SqliteStatement>(stmt);
}

qint64 SqliteDatabase::scalarInt(const QString& sql) {
    auto stmt = prepare(sql);
    if (!stmt || !stmt->step()) return 0;
    return stmt->int64(0);
}

qint64 SqliteDatabase::lastInsertRowId() const {
    return sqlite3_last_insert_rowid(m_db);
}

qint64 SqliteDatabase::totalChanges() const {
    return m_db ? qint64(sqlite3_total_changes64(m_db)) : 0;
}

int SqliteDatabase::changes() const {
    return sqlite3_changes(m_db);
}

TRError SqliteDatabase::lastError() const {
    return makeError(m_db, sqlite3_errcode(m_db));
}

void SqliteDatabase::setBusyTimeout(int milliseconds) {
    sqlite3_busy_timeout(m_db, milliseconds);
}
