// A mail client's selected messages and listed folder, read from the
// accessibility tree as MailListShapes.h describes each client's window.

#include <QByteArray>
#include <algorithm>
#include <QStringList>

#include "platform/linux/AtspiSession.h"
#include "platform/linux/MailListShapes.h"

namespace {

// The folder item and a few rows: whether one message or several are
// selected is all that matters, and a select-all must not cost a round trip
// per row.
constexpr int kMaxSelectedItems = 8;
// A row of the list holds a dozen parts (cells, sender, date, subject,
// buttons).
constexpr int kMaxRowParts = 48;

bool hasClass(const QString& classes, const std::array<const char*, 3>& wanted) {
    const QStringList present = classes.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const char* name : wanted) {
        if (name != nullptr && present.contains(QLatin1String(name))) return true;
    }
    return false;
}

const MailListShape* shapeOfMessageRow(const QString& id) {
    for (const MailListShape& shape : kMailListShapes) {
        if (id.startsWith(QLatin1String(shape.messageRowIdPrefix))) return &shape;
    }
    return nullptr;
}

// "MODE-" and the folder's address in base64; null for any other id.
QString folderOfItemId(const QString& id) {
    const bool anyClientNamesFoldersSo =
        std::any_of(kMailListShapes.begin(), kMailListShapes.end(),
                    [](const MailListShape& shape) { return shape.folderIdIsModeAndBase64Address; });
    const qsizetype dash = id.lastIndexOf(QLatin1Char('-'));
    if (!anyClientNamesFoldersSo || dash < 0) return {};
    const auto decoded = QByteArray::fromBase64Encoding(id.mid(dash + 1).toLatin1(),
                                                        QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded) return {};
    const QString address = QString::fromUtf8(*decoded);
    return address.contains(QLatin1String("://")) ? address : QString();
}

}  // namespace

// All of the row's parts in one request, then the class of each until the
// sender and the subject are found.
MailSelectionSource::Message AtspiQuery::messageOfRow(AtspiAccessible* row,
                                                      const MailListShape& shape) {
    MailSelectionSource::Message message;
    GRef<AtspiMatchRule> everything(atspi_match_rule_new(
        nullptr, ATSPI_Collection_MATCH_NONE, nullptr, ATSPI_Collection_MATCH_NONE, nullptr,
        ATSPI_Collection_MATCH_NONE, nullptr, ATSPI_Collection_MATCH_NONE, FALSE));
    for (const AccessiblePtr& part : matches(row, everything.get(), kMaxRowParts)) {
        if (!message.sender.isNull() && !message.subject.isNull()) break;
        const QString classes = attribute(part.get(), "class").value_or(QString());
        QString* slot = nullptr;
        if (message.sender.isNull() && hasClass(classes, shape.senderClasses)) slot = &message.sender;
        if (message.subject.isNull() && hasClass(classes, shape.subjectClasses)) {
            slot = &message.subject;
        }
        if (slot != nullptr) *slot = shownText(part.get()).value_or(QString());
    }
    return message;
}

std::optional<MailSelectionSource::Selection> AtspiQuery::mailSelection(AtspiAccessible* window) {
    GArray* states = g_array_new(FALSE, FALSE, sizeof(AtspiStateType));
    for (const AtspiStateType state : {ATSPI_STATE_SELECTED, ATSPI_STATE_SHOWING}) {
        g_array_append_val(states, state);
    }
    GRef<AtspiStateSet> stateSet(atspi_state_set_new(states));
    g_array_free(states, TRUE);
    GArray* roles = g_array_new(FALSE, FALSE, sizeof(AtspiRole));
    for (const AtspiRole role : {ATSPI_ROLE_TREE_ITEM, ATSPI_ROLE_LIST_ITEM, ATSPI_ROLE_TABLE_ROW}) {
        g_array_append_val(roles, role);
    }
    GRef<AtspiMatchRule> selected(atspi_match_rule_new(
        stateSet.get(), ATSPI_Collection_MATCH_ALL, nullptr, ATSPI_Collection_MATCH_NONE, roles,
        ATSPI_Collection_MATCH_ANY, nullptr, ATSPI_Collection_MATCH_NONE, FALSE));
    g_array_free(roles, TRUE);

    MailSelectionSource::Selection selection;
    const MailListShape* shape = nullptr;
    AccessiblePtr onlyRow;
    for (const AccessiblePtr& item : matches(window, selected.get(), kMaxSelectedItems)) {
        const QString id = attribute(item.get(), "id").value_or(QString());
        if (const MailListShape* rowShape = shapeOfMessageRow(id)) {
            shape = rowShape;
            if (++selection.count == 1) onlyRow = retainAccessible(item.get());
        } else if (selection.folder.isNull()) {
            selection.folder = folderOfItemId(id);
        }
    }
    if (shape == nullptr && selection.folder.isNull()) return std::nullopt;
    if (selection.count != 1) return selection;

    // A row found through a Collection request keeps what libatspi cached of
    // it, and the list reuses rows for other messages.
    atspi_accessible_clear_cache(onlyRow.get());
    const std::optional<QString> rowName = name(onlyRow.get());
    auto& last = m_state.lastMailRow;
    if (rowName && last && last->rowName == *rowName) {
        selection.message = last->message;
        return selection;
    }
    selection.message = messageOfRow(onlyRow.get(), *shape);
    if (rowName && responsive()) last = AtspiApplicationState::MailRow{*rowName, *selection.message};
    return selection;
}

std::optional<MailSelectionSource::Selection> AtspiAccessibilityProvider::mailSelection(
    qint32 processIdentifier) {
    const auto asked = d->ask(processIdentifier);
    if (!asked) return std::nullopt;
    AtspiAccessible* app = asked->app;
    const std::shared_ptr<AtspiApplicationState>& state = asked->state;
    if (!state->checkNotStopped()) return std::nullopt;
    AtspiQuery query(*state);
    AccessiblePtr window = query.windowAt(app, 1);
    return window ? query.mailSelection(window.get()) : std::nullopt;
}
