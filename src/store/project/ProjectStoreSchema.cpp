#include "store/project/ProjectStoreSchema.h"

#include "store/graph/SqliteDatabase.h"
#include "store/graph/TREntityDescription.h"
#include "store/project/TRPSEntities.h"

namespace ProjectStoreSchema {
namespace {

// The entity tables and the join tables, from the entities' descriptions.
QString versionOne() {
    QString sql;
    for (const TREntityDescription* entity : projectStoreEntities()) {
        sql += QStringLiteral("CREATE TABLE %1(\n  id INTEGER PRIMARY KEY AUTOINCREMENT")
                   .arg(QLatin1String(entity->table));
        for (const TRColumn& column : entity->columns)
            sql += QStringLiteral(",\n  %1 %2").arg(QLatin1String(column.name),
                                                    QLatin1String(column.type));
        sql += QStringLiteral(");\n");
    }
    for (const TREntityDescription* entity : projectStoreEntities()) {
        for (const TRJoin& join : entity->joins) {
            const QLatin1String table(join.table), owner(join.ownerColumn),
                member(join.memberColumn);
            const QLatin1String memberTable(projectStoreEntities()[join.memberEntity]->table);
            sql += QStringLiteral(
                       "CREATE TABLE %1(\n  %2 INTEGER NOT NULL REFERENCES %4(id),\n"
                       "  %3 INTEGER NOT NULL REFERENCES %5(id),\n  PRIMARY KEY(%2, %3));\n"
                       "CREATE INDEX %1_%3 ON %1(%3);\n")
                       .arg(table, owner, member, QLatin1String(entity->table), memberTable);
        }
    }
    return sql + QStringLiteral("PRAGMA user_version = 1;\n");
}

}  // namespace

std::optional<TRError> prepare(SqliteDatabase& db) {
    db.setBusyTimeout(5000);
    if (auto error = db.exec(QStringLiteral("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;")))
        return error;
    if (auto error = db.exec(QStringLiteral("BEGIN IMMEDIATE"))) return error;
    const int version = int(db.scalarInt(QStringLiteral("PRAGMA user_version")));
    const qint64 tables = db.scalarInt(QStringLiteral("SELECT COUNT(*) FROM sqlite_master"));
    std::optional<TRError> error;
    if (version == 0 && tables == 0) {
        error = db.exec(versionOne());
    } else if (version != kCurrentVersion) {
        error = TRError{QStringLiteral("ProjectStore"), 134100,
                        QStringLiteral("The project store's model version %1 is incompatible "
                                       "with this program's (%2); it is not migrated.")
                            .arg(version)
                            .arg(kCurrentVersion)};
    }
    db.exec(error ? QStringLiteral("ROLLBACK") : QStringLiteral("COMMIT"));
    return error;
}

std::optional<TRError> checkReadable(SqliteDatabase& db) {
    db.setBusyTimeout(5000);
    auto version = db.prepare(QStringLiteral("PRAGMA user_version"));
    if (!version) return db.lastError();
    if (!version->step()) return version->error().value_or(db.lastError());
    if (version->int64(0) == kCurrentVersion) return std::nullopt;
    return TRError{QStringLiteral("ProjectStore"), 134100,
                   QStringLiteral("The project store's model version %1 is incompatible "
                                  "with this program's (%2).")
                       .arg(version->int64(0))
                       .arg(kCurrentVersion)};
}

}  // namespace ProjectStoreSchema
