// Window and document titles cut into path components at "/", "-", em
// dash, ":" and "›", and the components' round trip through SQLite as the
// store keeps them: what is stored must read back unchanged, or the next
// recording would not find the same node.
//
// Input: the title as UTF-16.
#include "FuzzSupport.h"
#include "store/activity/TRActivityComponents.h"
#include "store/graph/SqliteDatabase.h"

namespace {

const QString kSeparators = QStringLiteral("/-\u2014:\u203A");

SqliteDatabase& database() {
    static SqliteDatabase* db = [] {
        auto* opened = new SqliteDatabase;
        if (opened->open(QStringLiteral(":memory:")) ||
            opened->exec(QStringLiteral("CREATE TABLE Component (value TEXT)"))) {
            fuzz::require(false, "an in-memory database opens");
        }
        return opened;
    }();
    return *db;
}

QString readBack(const QString& value) {
    SqliteDatabase& db = database();
    SqliteStatement* insert = db.cached("INSERT INTO Component (value) VALUES (?1)");
    insert->bind(1, value);
    fuzz::require(!insert->run(), "a component is stored");
    SqliteStatement* select = db.cached("SELECT value FROM Component WHERE rowid = ?1");
    select->bind(1, db.lastInsertRowId());
    fuzz::require(select->step(), "a stored component is found");
    const QString stored = select->text(0);
    select->reset();
    fuzz::require(!db.exec(QStringLiteral("DELETE FROM Component")), "components are deleted");
    return stored;
}

QString withoutWhitespace(QString text) {
    text.removeIf([](QChar c) { return c.isSpace(); });
    return text;
}

// Every component but the first starts with its separator run, and the
// components follow the title in order. The cut skips whitespace before
// each run and after each separator, drops a single separator at the end,
// and stops where a separator run is followed by another.
void requireCutAtSeparators(const QString& title, const QStringList& components) {
    const QString joined = withoutWhitespace(components.join(QString()));
    const QString whole = withoutWhitespace(TRActivityComponents::withoutLoneSurrogates(title));
    fuzz::require(whole.startsWith(joined), "the components follow the title, in order");
    for (qsizetype i = 1; i < components.size(); ++i)
        fuzz::require(kSeparators.contains(components[i][0]),
                      "every later component starts with its separator");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const QString title = input.text();
    TRActivityDetails details;
    details.setWindowTitle(title);
    const QStringList components =
        TRActivityComponents::componentsForDetails(details, [] { return -1; });
    bool plainTitle = !title.startsWith(QLatin1Char('/'));
    for (const char* scheme : {"file://", "http://", "https://", "ftp://"})
        plainTitle = plainTitle && !title.startsWith(QLatin1String(scheme));
    if (plainTitle) requireCutAtSeparators(title, components);
    for (const QString& component : components) {
        fuzz::require(!fuzz::hasLoneSurrogate(component), "no component holds a lone surrogate");
        fuzz::requireEqual(readBack(component), component, "a component reads back unchanged");
    }
    return 0;
}
