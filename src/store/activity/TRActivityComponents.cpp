#include "store/activity/TRActivityComponents.h"

#include <unicode/regex.h>

#include <QUrl>
#include <algorithm>
#include <memory>

#include "core/StringAdditions.h"

namespace TRActivityComponents {
namespace {

const char16_t kTitleSeparators[] = u"/-\u2014:\u203A";

QString replaceTemporaryFolders(const QString& path) {
    thread_local std::unique_ptr<icu::RegexPattern> pattern = [] {
        UErrorCode status = U_ZERO_ERROR;
        UParseError parseError;
        std::unique_ptr<icu::RegexPattern> compiled(icu::RegexPattern::compile(
            icu::UnicodeString(u"(/var/folders)/([^/]*(/[^/]*)?)"), parseError, status));
        return U_SUCCESS(status) ? std::move(compiled) : nullptr;
    }();
    if (!pattern) return path;
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString input(false, reinterpret_cast<const UChar*>(path.utf16()),
                                   int32_t(path.size()));
    std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(input, status));
    if (U_FAILURE(status)) return path;
    const icu::UnicodeString result = matcher->replaceAll(icu::UnicodeString(u"$1/*"), status);
    if (U_FAILURE(status)) return path;
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(result.getBuffer()),
                              result.length());
}

QStringList sanitized(QStringList components) {
    for (QString& component : components) component = withoutLoneSurrogates(component);
    return components;
}

bool isLowerAlnum(char16_t c) {
    return (c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9');
}

bool isPlainPathCharacter(char16_t c) {
    return isLowerAlnum(c) || (c >= u'A' && c <= u'Z') || c == u'-' || c == u'.' || c == u'_' ||
           c == u'~' || c == u'/';
}

bool isPlainQueryCharacter(char16_t c) {
    return isPlainPathCharacter(c) || c == u'=' || c == u'&' || c == u'+' || c == u',' || c == u':';
}

// A host the URL parser hands back as written: labels of lower-case letters,
// digits and inner hyphens, none encoded ("xn--"), the last one starting
// with a letter (so never a number address that the parser rewrites).
bool isPlainHost(QStringView host) {
    if (host.isEmpty() || host.size() > 253) return false;
    qsizetype labelStart = 0;
    for (qsizetype i = 0; i <= host.size(); ++i) {
        if (i < host.size() && host[i] != u'.') {
            if (!isLowerAlnum(host[i].unicode()) && host[i] != u'-') return false;
            continue;
        }
        const QStringView label = host.sliced(labelStart, i - labelStart);
        if (label.isEmpty() || label.size() > 63 || label.front() == u'-' || label.back() == u'-' ||
            label.startsWith(u"xn--"))
            return false;
        if (i == host.size() && !(label.front() >= u'a' && label.front() <= u'z')) return false;
        labelStart = i + 1;
    }
    return true;
}

// The common address (a plain host, no port, user or fragment, path and
// query of unreserved characters and a few delimiters, no percent sign, no
// segment starting with a dot) cut without the URL parser, which gives the
// same components for it at several times the cost; nullopt for any other.
std::optional<QStringList> plainWebComponents(QStringView text, int maxLevel) {
    const qsizetype hostStart = text.indexOf(u"://") + 3;
    qsizetype hostEnd = hostStart;
    while (hostEnd < text.size() && text[hostEnd] != u'/' && text[hostEnd] != u'?') ++hostEnd;
    const QStringView host = text.sliced(hostStart, hostEnd - hostStart);
    qsizetype queryAt = text.indexOf(u'?', hostEnd);
    if (queryAt < 0) queryAt = text.size();
    const QStringView path = text.sliced(hostEnd, queryAt - hostEnd);
    const QStringView query = text.sliced(std::min(queryAt + 1, text.size()));
    if (!isPlainHost(host) || path.contains(u"/.") ||
        !std::all_of(path.begin(), path.end(),
                     [](QChar c) { return isPlainPathCharacter(c.unicode()); }) ||
        !std::all_of(query.begin(), query.end(),
                     [](QChar c) { return isPlainQueryCharacter(c.unicode()); }))
        return std::nullopt;
    if (maxLevel == 0) return QStringList();
    QStringList components{StringAdditions::stringByRemovingPossibleWWWPrefix(host.toString())};
    for (const QStringView segment : path.split(u'/', Qt::SkipEmptyParts)) {
        QString component(segment.size() + 1, Qt::Uninitialized);
        component[0] = u'/';
        std::copy(segment.begin(), segment.end(), component.begin() + 1);
        components.append(std::move(component));
    }
    if (!query.isEmpty()) components.append(text.sliced(queryAt).toString());
    if (maxLevel >= 1 && components.size() > maxLevel) components.resize(maxLevel);
    return components;
}

// Host, path segments and query of a web address; nullopt when it has no
// host, so that the text is cut like a title.
std::optional<QStringList> webComponents(const QString& text, int maxLevel) {
    const QUrl url(text);
    QString host = StringAdditions::stringByRemovingPossibleWWWPrefix(url.host());
    const int port = url.port();
    if (port >= 0 && port != 21 && port != 80 && port != 443)
        host += QStringLiteral(":%1").arg(port);
    if (maxLevel == 0) return QStringList();
    if (host.isEmpty()) return std::nullopt;
    QStringList components{host};
    for (const QString& segment : url.path().split(QLatin1Char('/'), Qt::SkipEmptyParts))
        components.append(QLatin1Char('/') + segment);
    const QString query = url.query(QUrl::FullyEncoded);
    if (!query.isEmpty()) components.append(QLatin1Char('?') + query);
    if (maxLevel >= 1 && components.size() > maxLevel) components = components.mid(0, maxLevel);
    return components;
}

}  // namespace

QString withoutLoneSurrogates(const QString& text) {
    QString result;
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = text[i];
        bool lone = false;
        if (c.isHighSurrogate()) {
            if (i + 1 < n && text[i + 1].isLowSurrogate()) {
                if (!result.isNull()) result.append(c).append(text[i + 1]);
                ++i;
                continue;
            }
            lone = true;
        } else if (c.isLowSurrogate()) {
            lone = true;
        }
        if (lone && result.isNull()) result = text.left(i);
        if (!result.isNull()) result.append(lone ? QChar(0xFFFD) : c);
    }
    return result.isNull() ? text : result;
}

QStringList componentsForPath(const QString& path) {
    return sanitized(StringAdditions::componentsSeparatedByIncludedCharactersInSet(
        replaceTemporaryFolders(path), QStringLiteral("/")));
}

QStringList componentsForDetails(const std::optional<TRActivityDetails>& details,
                                 const std::function<int()>& maxURLTrackingLevel) {
    if (!details) return {};
    if (details->pathComponents()) return sanitized(*details->pathComponents());
    QString text;
    bool isPath = false;
    if (!details->documentPath().isEmpty()) {
        text = details->documentPath();
        isPath = true;
    } else if (!details->documentTitle().isEmpty()) {
        text = details->documentTitle();
    } else if (!details->windowTitle().isEmpty()) {
        text = details->windowTitle();
    }
    if (text.startsWith(QLatin1String("file://"))) {
        text = QUrl(text).adjusted(QUrl::NormalizePathSegments).path();
        isPath = true;
    } else if (text.startsWith(QLatin1String("http://")) ||
               text.startsWith(QLatin1String("https://")) ||
               text.startsWith(QLatin1String("ftp://"))) {
        const int maxLevel = maxURLTrackingLevel();
        // A plain address is ASCII: nothing to sanitize.
        if (auto plain = plainWebComponents(text, maxLevel)) return *plain;
        if (auto web = webComponents(text, maxLevel)) return sanitized(*web);
    }
    while (text.startsWith(QLatin1String("//"))) text.remove(0, 1);
    if (text.isEmpty()) return {};
    if (isPath || text.startsWith(QLatin1Char('/'))) return componentsForPath(text);
    return sanitized(StringAdditions::componentsSeparatedByIncludedCharactersInSet(
        text, QString::fromUtf16(kTitleSeparators)));
}

}  // namespace TRActivityComponents
