#include "tracking/TRXcodeInfoExtractor.h"

#include <QDir>

#include "tracking/TRGenericInfoExtractor.h"
#include "tracking/TRScriptedExtractorSupport.h"

using namespace TRScripted;

namespace {

QString trimmedOfBlanksAndTabs(const QString& s) {
    qsizetype begin = 0;
    qsizetype end = s.size();
    auto blank = [](QChar c) { return c == QLatin1Char(' ') || c == QLatin1Char('\t'); };
    while (begin < end && blank(s[begin])) ++begin;
    while (end > begin && blank(s[end - 1])) --end;
    return s.mid(begin, end - begin);
}

}  // namespace

void TRXcodeInfoExtractor::writeDetailsForActivity(TRActivity& activity,
                                                   const TRExtractionContext& context) const {
    const auto target = targetFor(activity, context);
    if (!target || !target->isRunning()) return;
    if (activity.windowTitle().isEmpty()) {
        TRGenericInfoExtractor::instance().writeDetailsForActivity(activity, context);
    }
    const QString title = activity.windowTitle();
    QString separator = QStringLiteral(" - ");
    qsizetype at = title.indexOf(separator);
    if (at < 0) {
        separator = QStringLiteral(" \u2014 ");
        at = title.indexOf(separator);
    }
    if (at < 0 || at + separator.size() >= title.size()) return;
    const QString documentName = trimmedOfBlanksAndTabs(title.mid(at + separator.size()));
    if (documentName.isEmpty()) return;

    const ScriptValue file = target->get(
        {ScriptStep::namedElement(QStringLiteral("docu"), documentName), property("file")});
    QUrl url;
    if (const auto* plain = std::get_if<QUrl>(&file.value)) url = *plain;
    if (const auto* reference = std::get_if<ScriptFileReference>(&file.value)) url = reference->url;
    if (url.isEmpty()) return;
    url.setPath(QDir::cleanPath(url.path()));
    activity.setDocumentPath(url.toString(QUrl::FullyEncoded));
}

QString TRXcodeInfoExtractor::name() const {
    return QStringLiteral("TRXcodeInfoExtractor");
}

const TRXcodeInfoExtractor& TRXcodeInfoExtractor::instance() {
    static const TRXcodeInfoExtractor extractor;
    return extractor;
}
