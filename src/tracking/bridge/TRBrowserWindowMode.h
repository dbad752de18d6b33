#pragma once
// TRBrowserWindowMode: whether a browser window is private, read from the
// window's accessible name and the name the browser gives itself.
//
// Browsers name a window "<page> - <browser>" (Chromium's family, with
// " - <profile>" after it when several profiles are in use) or
// "<page> — <browser family name>" (Firefox's). A private window carries a
// word after the browser's name, in the desktop's language:
//   "page - Chromium (Incognito)", "page - Chromium (anonym)" (German),
//   "page - Chromium (Guest)", "page — Mozilla Firefox Private Browsing".
// The word itself is never looked at, so every language reads the same.
//
//   the name ends with the browser's name             -> "normal"
//   the browser's name, then " - <profile>" without
//   a closing parenthesis                             -> "normal"
//   the browser's name, then anything else            -> "incognito"
//   the browser's name not in it (tree not ready)     -> nullopt
// The Chromium family's undocked developer tools are named after the page
// they inspect, without the browser's name ("DevTools - 127.0.0.1/a.html"),
// and an incognito page's tools carry the same parenthesised word:
//   "DevTools - …" ending in a parenthesis            -> "incognito"
//   any other "DevTools - …"                          -> "normal"
//
// Pure; any thread.

#include <QString>
#include <optional>

namespace TRBrowserWindowMode {

inline constexpr char kNormal[] = "normal";
inline constexpr char kIncognito[] = "incognito";

std::optional<QString> modeOfWindow(const QString& windowName, const QString& browserName);

}  // namespace TRBrowserWindowMode
