#include "tracking/bridge/TRBrowserWindowMode.h"

namespace TRBrowserWindowMode {
namespace {

// What stands before the browser's name in a window name: the page title
// and a dash (Chromium's hyphen, Firefox's em dash), or nothing at all for
// a window that shows no page title yet.
bool precededBySeparator(const QString& windowName, qsizetype at) {
    if (at == 0) return true;
    const QStringView before = QStringView(windowName).left(at);
    return before.endsWith(QLatin1String(" - ")) || before.endsWith(QStringLiteral(" \u2014 ")) ||
           before.endsWith(QLatin1Char(' '));
}

// A closing parenthesis, ASCII or full-width, perhaps followed by a
// direction mark (right-to-left languages).
bool endsWithParenthesis(QStringView text) {
    while (text.endsWith(QChar(0x200E)) || text.endsWith(QChar(0x200F))) text.chop(1);
    return text.endsWith(QLatin1Char(')')) || text.endsWith(QChar(0xFF09));
}

std::optional<QString> modeOfDeveloperTools(const QString& windowName) {
    if (!windowName.startsWith(QLatin1String("DevTools - "))) return std::nullopt;
    return QString::fromLatin1(endsWithParenthesis(windowName) ? kIncognito : kNormal);
}

}  // namespace

std::optional<QString> modeOfWindow(const QString& windowName, const QString& browserName) {
    if (browserName.isEmpty() || windowName.isEmpty()) return std::nullopt;
    // The last mention: a page title may name the browser too.
    qsizetype at = windowName.lastIndexOf(browserName);
    while (at >= 0 && !precededBySeparator(windowName, at)) {
        at = at == 0 ? -1 : windowName.lastIndexOf(browserName, at - 1);
    }
    if (at < 0) return modeOfDeveloperTools(windowName);
    const QStringView tail = QStringView(windowName).mid(at + browserName.size());
    if (tail.isEmpty()) return QString::fromLatin1(kNormal);
    // Another profile's window: "<page> - Chromium - Work".
    if (tail.startsWith(QLatin1String(" - ")) && !endsWithParenthesis(tail)) {
        return QString::fromLatin1(kNormal);
    }
    return QString::fromLatin1(kIncognito);
}

}  // namespace TRBrowserWindowMode
