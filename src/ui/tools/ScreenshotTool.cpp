// vorlix-ui-screenshots: draws the helper's windows into PNG files for the
// documentation, with the widgets the helper uses and a throw-away store.
//
//   vorlix-ui-screenshots OUTDIR            menu, custom-activity window, the
//                                           three questions, a notice (any
//                                           platform, offscreen included)
//   vorlix-ui-screenshots --panel OUTFILE   the icon in the running tray (X11
//                                           with a tray, e.g. trayer): the
//                                           screen's bottom right corner
//   vorlix-ui-screenshots --grab OUTFILE X Y W H
//                                           a part of the screen as it is
//                                           (the real helper in a real panel,
//                                           its menu open)
//
// Not installed; scripts/screenshots.sh runs it.

#include <QApplication>
#include <QElapsedTimer>
#include <QMenu>
#include <QMessageBox>
#include <QScreen>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>
#include <memory>

#include "core/DateCalculations.h"
#include "core/TRSettings.h"
#include "platform/IdleTimeSource.h"
#include "platform/LoginItems.h"
#include "store/activity/TRActivityStore.h"
#include "tracking/TRActivityRecorder.h"
#include "tracking/TRActivitySource.h"
#include "tracking/TRClock.h"
#include "tracking/TRInfoLogger.h"
#include "ui/TRAlert.h"
#include "ui/TRHelperAppDelegate.h"
#include "ui/TRNoticeAlert.h"
#include "ui/TRStatusItem.h"

namespace {

// The loop needs sources; the pictures need none of what they find.
class NoActivity final : public TRActivitySource {
public:
    std::optional<TRActivity> currentActivity() override { return std::nullopt; }
    void callInfoExtractorForActivity(TRActivity*, bool) override {}
};
class NoRecorder final : public TRActivityRecorder {
public:
    void storeActivity(const TRActivity&, const QDateTime&, const QDateTime&) override {}
    void save() override {}
    bool applescriptTrackingDisabled(const RunningApplication&) override { return false; }
};
class ActiveUser final : public IdleTimeSource {
public:
    double secondsSinceLastInput() override { return 0; }
    bool isAvailable() const override { return true; }
};
class NoLoginItems final : public LoginItems {
public:
    bool willItemStartAtLogin(const QString&) override { return on; }
    void setStartItemAtLogin(const QString&, bool enabled) override { on = enabled; }
    bool on = true;
};

void wait(int ms) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms) QApplication::processEvents(QEventLoop::AllEvents, 20);
}

bool save(const QImage& image, const QString& path) {
    const bool ok = image.save(path);
    std::printf("%s %s\n", ok ? "wrote" : "could not write", qPrintable(path));
    return ok;
}

int drawWindows(const QString& out) {
    QTemporaryDir folder;
    auto settings = std::make_shared<TRSettings>(folder.filePath(QStringLiteral("helper.conf")));
    TRActivityStore::Options options;
    options.dataFolder = folder.filePath(QStringLiteral("data"));
    options.settings = settings;
    TRActivityStore store(std::move(options));
    // Some time today, and earlier types for the suggestions.
    const QDateTime midnight = Calculations::beginningOfDay(QDateTime::currentDateTimeUtc());
    int offset = 0;
    for (const auto& [type, seconds] :
         {std::pair{"Team meeting", 4860}, {"Phone call", 1800}, {"lunch", 1380}, {"Reading", 0}}) {
        TRActivity activity;
        activity.setApplication(TRNullApplication{});
        activity.setDocumentPath(QString::fromUtf8(type));
        store.storeActivity(activity, midnight.addSecs(offset),
                            midnight.addSecs(offset + seconds + 1));
        offset += seconds + 60;
    }
    NoActivity source;
    NoRecorder recorder;
    ActiveUser idle;
    TRSystemClock clock;
    TRInfoLoggerDependencies loop;
    loop.activitySource = &source;
    loop.recorder = &recorder;
    loop.idleTimeSource = &idle;
    loop.clock = &clock;
    loop.settings = settings.get();
    loop.runTimers = false;
    TRInfoLogger logger(std::move(loop));
    logger.setShouldTrack(true);
    NoLoginItems loginItems;
    TRHelperAppDelegateDependencies face;
    face.logger = &logger;
    face.settings = settings.get();
    face.store = &store;
    face.loginItems = &loginItems;
    TRHelperAppDelegate delegate(std::move(face));

    bool ok = true;
    QMenu* menu = delegate.statusMenu();
    menu->popup(QPoint(0, 0));
    wait(200);
    ok &= save(menu->grab().toImage(), out + QStringLiteral("/status-menu.png"));
    menu->hide();

    auto* window = static_cast<TRCustomActivityCreationViewController*>(
        delegate.presentCustomActivityCreationViewController());
    window->setActivityType(QStringLiteral("Team meeting"));
    window->setActivityDurationTimeInterval(5400);
    wait(200);
    ok &= save(window->grab().toImage(), out + QStringLiteral("/custom-activity.png"));
    window->cancel();

    const std::pair<TRAlertText, const char*> questions[] = {
        {TRAlert::loginQuestion(), "question-login.png"},
        {TRAlert::accessibilityQuestion(), "question-accessibility.png"},
        {TRAlert::quitQuestion(), "question-quit.png"},
    };
    for (const auto& [text, file] : questions) {
        std::unique_ptr<QMessageBox> box(TRAlert::create(text));
        box->show();
        wait(200);
        ok &= save(box->grab().toImage(), out + QLatin1Char('/') + QString::fromLatin1(file));
    }
    // A notice from the notices list, with an address: its three buttons.
    const iNotifyAlert notice{
        QStringLiteral("Reports for the last five years"),
        QStringLiteral("Vorlix 0.2 prints where your time went by project, as a tree, CSV or JSON."),
        QStringLiteral("Read the Notes"), iNotify::localizedStringForKey("Ignore"),
        iNotify::localizedStringForKey("Remind Me Later")};
    std::unique_ptr<QMessageBox> noticeBox(TRNoticeAlert::create(notice));
    noticeBox->show();
    wait(200);
    ok &= save(noticeBox->grab().toImage(), out + QStringLiteral("/notice.png"));
    logger.endTracking();
    return ok ? 0 : 1;
}

int drawPanel(const QString& file) {
    QMenu menu;
    TRStatusItem item(&menu);
    if (!item.start()) return 1;
    wait(1500);
    QScreen* screen = QGuiApplication::primaryScreen();
    const QImage shot = screen->grabWindow(0).toImage();
    // The panel's right end, three times as large so each pixel shows.
    const QImage corner = shot.copy(shot.width() - 120, shot.height() - 40, 120, 40);
    return save(corner.scaled(corner.size() * 3, Qt::IgnoreAspectRatio, Qt::FastTransformation),
                file)
               ? 0
               : 1;
}

// The screen's rectangle as the X server shows it, whoever drew it.
int grabScreen(const QString& file, const QStringList& rectangle) {
    QList<int> numbers;
    for (const QString& text : rectangle) numbers.append(text.toInt());
    QScreen* screen = QGuiApplication::primaryScreen();
    const QImage shot =
        screen->grabWindow(0, numbers.at(0), numbers.at(1), numbers.at(2), numbers.at(3)).toImage();
    return save(shot, file) ? 0 : 1;
}

}  // namespace

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() == 3 && arguments.at(1) == QStringLiteral("--panel")) {
        return drawPanel(arguments.at(2));
    }
    if (arguments.size() == 7 && arguments.at(1) == QStringLiteral("--grab")) {
        return grabScreen(arguments.at(2), arguments.mid(3));
    }
    if (arguments.size() != 2) {
        std::fprintf(stderr, "usage: vorlix-ui-screenshots OUTDIR | --panel OUTFILE | --grab OUTFILE X Y W H\n");
        return 2;
    }
    return drawWindows(arguments.at(1));
}
