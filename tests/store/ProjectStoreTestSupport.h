#pragma once
// The project store beside an activity store on the same temporary folder,
// with a few recorded activities to match projects against.

#include "store/StoreTestSupport.h"
#include "store/project/TRPSApplication.h"
#include "store/project/TRPSPath.h"
#include "store/project/TRPSProject.h"
#include "store/project/TRProjectStore.h"

inline QString joined(std::initializer_list<const char*> components) {
    QStringList list;
    for (const char* c : components) list.append(QString::fromUtf8(c));
    return pathStringForPathComponents(list);
}

class ProjectStoreTest : public StoreTest {
protected:
    TRProjectStore::Options projectOptions() {
        TRProjectStore::Options o;
        o.dataFolder = dataFolder();
        o.activityStore = &store();
        o.reporter = m_reporter;
        o.abortProcess = [this] { ++m_aborts; };
        return o;
    }
    TRProjectStore& projects() {
        if (!m_projects) m_projects = std::make_unique<TRProjectStore>(projectOptions());
        return *m_projects;
    }
    TRObjectContext& context() { return *projects().managedObjectContext(); }
    // For table rows: no project store open and no files on disk.
    void startProjectsAfresh() {
        m_projects.reset();
        startAfresh();
    }

    // `seconds` of an application (by id) under the components, from 10:00.
    void record(const char* id, const QStringList& components, int seconds) {
        TRActivity activity = activityWith([&](TRActivity& a) { a.setPathComponents(components); },
                                           testApplication(QString::fromLatin1(id)));
        const QDateTime start = utc(2024, 3, 5, 10);
        store().storeActivity(activity, start, start.addSecs(seconds));
    }
    TRPSProject* project(const char* name) {
        auto* p = context().insert<TRPSProject>();
        p->setName(QString::fromUtf8(name));
        return p;
    }
    TRPSApplication* app(const char* id) {
        return TRPSApplication::applicationWithBundleIdentifier(context(), QString::fromLatin1(id),
                                                                QString(), QString(), true);
    }
    TRPSPath* path(const QString& pathString) {
        return TRPSPath::pathForPathString(context(), pathString, true);
    }
    // Another program's statements on the project file.
    void execOnProjectFile(const QString& sql) {
        QDir().mkpath(dataFolder());
        SqliteDatabase db;
        db.open(dataFolder() + u"/ProjectStore.db"_s);
        db.exec(sql);
    }
    qint64 rows(const char* table) {
        SqliteDatabase db;
        db.open(dataFolder() + u"/ProjectStore.db"_s, SqliteDatabase::Mode::ReadOnly);
        return db.scalarInt(u"SELECT COUNT(*) FROM %1"_s.arg(QLatin1String(table)));
    }

    std::unique_ptr<TRProjectStore> m_projects;
};
