// The recording side of bench/kill9_campaign.sh: records one-second
// intervals into the activity store as the helper does (storeActivity, then
// save every few milliseconds instead of every minute) until it is killed.
//
//   store_kill9_driver DATA_FOLDER STATE_FOLDER [SAVE_EVERY_MS]
//
// After each save returns, the seconds the store then holds go to
// STATE_FOLDER/saved as one line, written and fsync'ed: what a later check
// must find at least. STATE_FOLDER/saving holds one byte, '1' while a save
// runs and '0' otherwise, written through a shared mapping so that it is
// still there after a kill -9 (the campaign counts kills that hit a save).
// A restart continues from the seconds the file holds.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "core/TRSettings.h"
#include "store/activity/TRActivityStore.h"

namespace {

// Three applications, a growing set of documents (so saves insert nodes as
// well as update them) and some web pages.
TRActivity activityFor(std::mt19937& random, qint64 second) {
    TRActivity activity;
    RunningApplication app;
    const int which = int(random() % 3);
    app.processIdentifier = 100 + which;
    app.bundleIdentifier = QStringLiteral("org.example.App%1").arg(which);
    activity.setApplication(app);
    const auto documents = quint32(8 + second / 50);
    if (which == 2) {
        activity.setDocumentPath(QStringLiteral("https://site%1.example.org/page/%2")
                                     .arg(random() % 5)
                                     .arg(random() % documents));
    } else {
        activity.setDocumentPath(
            QStringLiteral("/home/user/work/folder%1/doc%2.txt").arg(which).arg(random() % documents));
    }
    return activity;
}

qint64 storedSeconds(TRActivityStore& store) {
    return qint64(store.sumOfDurationsOfEventsBetweenDate(TRASEventFilter{}) + 0.5);
}

bool appendSaved(int fd, qint64 seconds) {
    const std::string line = std::to_string(seconds) + '\n';
    return write(fd, line.data(), line.size()) == ssize_t(line.size()) && fsync(fd) == 0;
}

char* mapSavingFlag(const QString& path) {
    const int fd = open(path.toLocal8Bit().constData(), O_RDWR | O_CREAT, 0600);
    if (fd < 0 || ftruncate(fd, 1) != 0) return nullptr;
    void* page = mmap(nullptr, 1, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    return page == MAP_FAILED ? nullptr : static_cast<char*>(page);
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s DATA_FOLDER STATE_FOLDER [SAVE_EVERY_MS]\n", argv[0]);
        return 2;
    }
    const QString stateFolder = QString::fromLocal8Bit(argv[2]);
    const int saveEveryMs = argc > 3 ? std::atoi(argv[3]) : 20;
    const QDateTime base(QDate(2024, 3, 5), QTime(8, 0), Qt::UTC);
    TRActivityStore::Options options;
    options.dataFolder = QString::fromLocal8Bit(argv[1]);
    options.settings = std::make_shared<TRSettings>(stateFolder + QStringLiteral("/settings.conf"));
    options.clock = [&] { return base; };
    TRActivityStore store(std::move(options));

    const int savedFd = open((stateFolder + QStringLiteral("/saved")).toLocal8Bit().constData(),
                             O_WRONLY | O_APPEND | O_CREAT, 0600);
    char* saving = mapSavingFlag(stateFolder + QStringLiteral("/saving"));
    if (savedFd < 0 || saving == nullptr) return 1;
    *saving = '0';

    qint64 second = storedSeconds(store);
    std::mt19937 random(std::random_device{}());
    QElapsedTimer sinceSave;
    sinceSave.start();
    for (;;) {
        const QDateTime start = base.addSecs(second);
        store.storeActivity(activityFor(random, second), start, start.addSecs(1));
        ++second;
        if (sinceSave.elapsed() >= saveEveryMs) {
            *saving = '1';
            store.save();
            *saving = '0';
            if (!appendSaved(savedFd, second)) return 1;
            sinceSave.restart();
        }
        QThread::usleep(200);
    }
}
