#pragma once
// TREntityDescription: the one description of an entity's table, from which
// the schema creates it and the object context reads, inserts, updates and
// deletes its rows.
//
// A table has an `id INTEGER PRIMARY KEY AUTOINCREMENT` and then the columns
// listed, in table order. Each column names the object's field it holds, its
// SQL type as written in CREATE TABLE, the object's dirty bit for it, and the
// schema version that added it (a column added later is appended by ALTER
// TABLE, so it must come after the older ones). column<&Entity::m_field>()
// makes the read and bind functions from the field's type; an entity defines
// its description where its private fields are visible.

#include <QByteArray>
#include <QString>
#include <QtGlobal>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "store/graph/SqliteDatabase.h"
#include "store/graph/TRToOne.h"

class TRManagedObject;
class TRObjectContext;

struct TRColumn final {
    const char* name;
    const char* type;  // as in CREATE TABLE: "TEXT", "INTEGER REFERENCES PathComponent(id)"
    std::uint32_t dirtyBit;
    int sinceVersion;
    void (*read)(TRManagedObject& object, const SqliteStatement& row, int column);
    void (*bind)(const TRManagedObject& object, SqliteStatement& statement, int parameter);
};

// A many-to-many relationship kept in a join table of two key columns: the
// owner's (the entity whose description lists it) and the member's. The
// owner marks a change of it with its dirtyBit (a bit no column uses); a save
// then rewrites the owner's rows from memberKeys. Rows of a deleted owner or
// member go with it.
struct TRJoin final {
    const char* table;         // "Project_applications"
    const char* ownerColumn;   // "Project"
    const char* memberColumn;  // "Application"
    std::uint8_t memberEntity;
    std::uint32_t dirtyBit;
    // The members' keys, asked after the save has assigned every new key.
    std::vector<qint64> (*memberKeys)(const TRManagedObject& owner);
};

struct TREntityDescription final {
    const char* table;  // also the entity name in object URIs
    std::span<const TRColumn> columns;
    int sinceVersion;
    // A new, empty object of the entity, owned by the caller until adopted.
    std::unique_ptr<TRManagedObject> (*create)(TRObjectContext* context);
    std::span<const TRJoin> joins = {};
};

// How each field type travels through SQLite.
namespace TRColumnValue {

inline void read(const SqliteStatement& row, int i, QString& value) {
    value = row.text(i);
}
inline void read(const SqliteStatement& row, int i, QByteArray& value) {
    value = row.blob(i);
}
inline void read(const SqliteStatement& row, int i, double& value) {
    value = row.real(i);
}
inline void read(const SqliteStatement& row, int i, bool& value) {
    value = row.int64(i) != 0;
}
inline void read(const SqliteStatement& row, int i, qint16& value) {
    value = qint16(row.int64(i));
}
template <class T>
void read(const SqliteStatement& row, int i, TRToOne<T>& value) {
    value.setFromRow(row.int64(i));
}

inline void bind(SqliteStatement& stmt, int i, const QString& value) {
    stmt.bind(i, value);
}
inline void bind(SqliteStatement& stmt, int i, const QByteArray& value) {
    stmt.bind(i, value);
}
inline void bind(SqliteStatement& stmt, int i, double value) {
    stmt.bind(i, value);
}
inline void bind(SqliteStatement& stmt, int i, bool value) {
    stmt.bind(i, qint64(value ? 1 : 0));
}
inline void bind(SqliteStatement& stmt, int i, qint16 value) {
    stmt.bind(i, qint64(value));
}
template <class T>
void bind(SqliteStatement& stmt, int i, const TRToOne<T>& value) {
    stmt.bindOptionalId(i, value.keyForWriting());
}

template <class M>
struct MemberOf;
template <class Owner, class Field>
struct MemberOf<Field Owner::*> {
    using owner = Owner;
};

template <auto Member>
void readMember(TRManagedObject& object, const SqliteStatement& row, int column) {
    using Owner = typename MemberOf<decltype(Member)>::owner;
    read(row, column, static_cast<Owner&>(object).*Member);
}

template <auto Member>
void bindMember(const TRManagedObject& object, SqliteStatement& stmt, int parameter) {
    using Owner = typename MemberOf<decltype(Member)>::owner;
    bind(stmt, parameter, static_cast<const Owner&>(object).*Member);
}

}  // namespace TRColumnValue

template <auto Member>
constexpr TRColumn column(const char* name, const char* type, std::uint32_t dirtyBit,
                          int sinceVersion = 1) {
    return TRColumn{name,
                    type,
                    dirtyBit,
                    sinceVersion,
                    &TRColumnValue::readMember<Member>,
                    &TRColumnValue::bindMember<Member>};
}

template <class Entity>
std::unique_ptr<TRManagedObject> createObject(TRObjectContext* context) {
    return std::make_unique<Entity>(context);
}
