#include "ui/TRCustomActivityCreationViewController.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QCursor>
#include <QFormLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

#include "core/TRActivity.h"
#include "store/activity/TRActivityStore.h"
#include "ui/TRReturnDatePicker.h"

namespace {

// The duration field's zero: today's midnight in UTC. Counting from a zone
// without daylight saving keeps 1:30 exactly 5,400 seconds on any day.
QDateTime durationOrigin(const QDateTime& now) {
    return QDateTime(now.toUTC().date(), QTime(0, 0), Qt::UTC);
}

// Places a window of `size` beside `anchor` inside the screen's free area:
// below the anchor when it sits in the screen's upper half, else above.
QPoint placement(const QRect& anchor, const QSize& size) {
    const QPoint at = anchor.isEmpty() ? QCursor::pos() : anchor.center();
    QScreen* screen = QGuiApplication::screenAt(at);
    if (screen == nullptr) screen = QGuiApplication::primaryScreen();
    const QRect area = screen ? screen->availableGeometry() : QRect(at, size);
    const int anchorTop = anchor.isEmpty() ? at.y() : anchor.top();
    const int anchorBottom = anchor.isEmpty() ? at.y() : anchor.bottom() + 1;
    int y = at.y() < area.center().y() ? anchorBottom : anchorTop - size.height();
    int x = at.x() - size.width() / 2;
    x = std::clamp(x, area.left(), std::max(area.left(), area.right() + 1 - size.width()));
    y = std::clamp(y, area.top(), std::max(area.top(), area.bottom() + 1 - size.height()));
    return {x, y};
}

}  // namespace

TRCustomActivityCreationViewController::TRCustomActivityCreationViewController(
    TRActivityStore& store, const QDateTime& now, QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
      m_store(store),
      m_typeSelector(new QComboBox(this)),
      m_startDatePicker(new TRReturnDatePicker(this)),
      m_durationPicker(new TRReturnDatePicker(this)),
      m_addButton(new QPushButton(tr("Add"), this)),
      m_cancelButton(new QPushButton(tr("Cancel"), this)) {
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_StyledBackground);
    setObjectName(QStringLiteral("customActivityWindow"));
    setStyleSheet(QStringLiteral(
        "#customActivityWindow { border: 1px solid palette(mid); background: palette(window); }"));

    m_typeSelector->setEditable(true);
    m_typeSelector->setInsertPolicy(QComboBox::NoInsert);
    m_typeSelector->lineEdit()->setPlaceholderText(tr("Meeting, phone call, reading…"));
    m_typeSelector->addItems(activityTypeSuggestions());
    m_typeSelector->setCurrentIndex(-1);
    m_typeSelector->setEditText(QString());
    m_typeSelector->setMinimumWidth(220);

    m_startDatePicker->setCalendarPopup(true);
    // The locale's short form, to the minute: seconds only get in the way.
    QString startFormat = QLocale().dateTimeFormat(QLocale::ShortFormat);
    startFormat.remove(QStringLiteral(":ss"));
    m_startDatePicker->setDisplayFormat(startFormat);
    const QDateTime start = now.isValid() ? now : QDateTime::currentDateTimeUtc();
    m_startDatePicker->setDateTime(start.toLocalTime());

    // 24-hour hours and minutes, no day-period marker, in UTC: no jumps.
    const QDateTime origin = durationOrigin(start);
    m_durationPicker->setTimeSpec(Qt::UTC);
    m_durationPicker->setDisplayFormat(QStringLiteral("HH:mm"));
    m_durationPicker->setMinimumDateTime(origin);
    m_durationPicker->setMaximumDateTime(origin.addSecs(24 * 3600 - 1));
    m_durationPicker->setDateTime(origin);

    auto* form = new QFormLayout;
    form->addRow(tr("Activity:"), m_typeSelector);
    form->addRow(tr("Start:"), m_startDatePicker);
    form->addRow(tr("Duration (hours:minutes):"), m_durationPicker);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_cancelButton);
    buttons->addWidget(m_addButton);
    m_addButton->setDefault(true);
    auto* layout = new QVBoxLayout(this);
    auto* title = new QLabel(tr("What did you do while away from the computer?"), this);
    layout->addWidget(title);
    layout->addLayout(form);
    layout->addLayout(buttons);

    connect(m_typeSelector, &QComboBox::editTextChanged, this, [this] { updateAddButton(); });
    connect(m_durationPicker, &QDateTimeEdit::dateTimeChanged, this, [this] { updateAddButton(); });
    connect(m_addButton, &QPushButton::clicked, this, [this] { addActivityPressed(); });
    connect(m_cancelButton, &QPushButton::clicked, this, [this] { cancel(); });
    updateAddButton();
}

TRCustomActivityCreationViewController::~TRCustomActivityCreationViewController() = default;

QString TRCustomActivityCreationViewController::activityType() const {
    return m_typeSelector->currentText();
}

void TRCustomActivityCreationViewController::setActivityType(const QString& type) {
    m_typeSelector->setEditText(type);
}

QDateTime TRCustomActivityCreationViewController::activityStartDate() const {
    return m_startDatePicker->dateTime().toUTC();
}

void TRCustomActivityCreationViewController::setActivityStartDate(const QDateTime& start) {
    m_startDatePicker->setDateTime(start.toLocalTime());
}

double TRCustomActivityCreationViewController::activityDurationTimeInterval() const {
    return static_cast<double>(
               m_durationPicker->minimumDateTime().msecsTo(m_durationPicker->dateTime())) /
           1000.0;
}

void TRCustomActivityCreationViewController::setActivityDurationTimeInterval(double seconds) {
    m_durationPicker->setDateTime(
        m_durationPicker->minimumDateTime().addMSecs(static_cast<qint64>(seconds * 1000.0)));
}

bool TRCustomActivityCreationViewController::addActivityButtonEnabled() const {
    return !activityType().isEmpty() && activityDurationTimeInterval() != 0.0;
}

void TRCustomActivityCreationViewController::updateAddButton() {
    m_addButton->setEnabled(addActivityButtonEnabled());
}

QStringList TRCustomActivityCreationViewController::activityTypeSuggestions() {
    return customActivityTypeSuggestions(m_store);
}

void TRCustomActivityCreationViewController::showAt(const QRect& anchor) {
    adjustSize();
    move(placement(anchor, sizeHint()));
    show();
    obtainFocus();
}

void TRCustomActivityCreationViewController::obtainFocus() {
    raise();
    activateWindow();
    m_typeSelector->setFocus(Qt::PopupFocusReason);
}

void TRCustomActivityCreationViewController::addActivityPressed() {
    if (!addActivityButtonEnabled()) return;
    TRActivity activity;
    activity.setApplication(TRNullApplication{});
    activity.setDocumentPath(activityType());
    const QDateTime start = activityStartDate();
    const QDateTime stop =
        start.addMSecs(static_cast<qint64>(activityDurationTimeInterval() * 1000.0));
    m_store.storeActivity(activity, start, stop);
    m_store.save();
    close();
}

void TRCustomActivityCreationViewController::cancel() {
    close();
}

void TRCustomActivityCreationViewController::keyPressEvent(QKeyEvent* event) {
    if (TRReturnDatePicker::isAddKey(event->key()) && addActivityButtonEnabled()) {
        addActivityPressed();
        return;
    }
    if (event->key() == Qt::Key_Escape) {
        cancel();
        return;
    }
    QWidget::keyPressEvent(event);
}

void TRCustomActivityCreationViewController::closeEvent(QCloseEvent* event) {
    Q_EMIT closed();
    QWidget::closeEvent(event);
}
