#include "tracking/bridge/TRMailTerms.h"

#include <QStringList>
#include <QUrl>

namespace {

const QString kSelection = QStringLiteral("slct");
const QString kMessage = QStringLiteral("mssg");

ScriptValue missing() { return ScriptValue{ScriptMissing{}}; }

}  // namespace

QString TRMailTerms::readableFolderId(const QString& address) {
    QStringList pieces = address.split(QLatin1Char('/'));
    for (QString& piece : pieces) {
        piece = QUrl::fromPercentEncoding(piece.toUtf8());
        piece.replace(QLatin1Char('/'), QLatin1String("%2F"));
        piece.replace(QLatin1Char('#'), QLatin1String("%23"));
    }
    return pieces.join(QLatin1Char('/'));
}

const std::optional<MailSelectionSource::Selection>& TRMailTerms::selection() {
    if (!m_asked) {
        m_asked = true;
        m_selection = m_source.mailSelection(m_pid);
    }
    return m_selection;
}

std::optional<ScriptValue> TRMailTerms::answer(const ScriptReference& reference) {
    if (reference.empty() || reference.front() != ScriptStep::property(kSelection)) {
        return std::nullopt;
    }
    if (reference.size() == 1) {
        if (!selection()) return missing();
        ScriptList messages;
        for (int n = 1; n <= selection()->count; ++n) {
            messages.push_back(ScriptValue{ScriptObjectReference{
                {ScriptStep::property(kSelection), ScriptStep::element(kMessage, n)}}});
        }
        return ScriptValue{std::move(messages)};
    }
    if (reference.size() == 3 && reference[1].kind == ScriptStep::Kind::Element &&
        reference[1].code == kMessage && reference[2].kind == ScriptStep::Kind::Property) {
        return messageProperty(reference[1].index, reference[2]);
    }
    return missing();
}

ScriptValue TRMailTerms::messageProperty(int index, const ScriptStep& property) {
    if (!selection() || index < 1 || index > selection()->count) return missing();
    const MailSelectionSource::Selection& current = *selection();
    if (property.code == QLatin1String("ID  ")) {
        return current.folder.isNull() ? missing() : ScriptValue{readableFolderId(current.folder)};
    }
    if (!current.message) return missing();
    QString value;
    if (property.code == QLatin1String("subj")) value = current.message->subject;
    if (property.code == QLatin1String("sndr")) value = current.message->sender;
    // A message without a subject shows none: no component rather than an
    // empty one.
    return value.isEmpty() ? missing() : ScriptValue{value};
}
