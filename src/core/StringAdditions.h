#pragma once
// String additions shared by the stores and the extractors.
//
// Lengths and indexes are UTF-16 code units, as QString counts them: a
// character outside the Basic Multilingual Plane is two units. All tests are
// case-sensitive and do no normalisation. Pure functions; any thread.

#include <QString>
#include <QStringList>

namespace StringAdditions {

// False when `prefix` is longer than `s`; true for an empty prefix.
bool startsWith(const QString& s, const QString& prefix);
bool endsWith(const QString& s, const QString& suffix);
// False for an empty needle.
bool containsString(const QString& s, const QString& needle);

// Splits `s` at the code units in `separators`, keeping each run of
// separators at the front of the component that follows it: with "/",
// "/Users/a" gives "/Users" and "/a", "a/b/" gives "a" and "/b", "/" gives
// "/". Whitespace is skipped before each run, so whitespace right after a
// separator disappears while whitespace before one stays with the preceding
// component. An empty string gives an empty list.
QStringList componentsSeparatedByIncludedCharactersInSet(const QString& s,
                                                         const QString& separators);

// Drops one leading "www." (case-sensitive); anything else is unchanged.
QString stringByRemovingPossibleWWWPrefix(const QString& s);

// Percent-escapes the UTF-8 bytes of `s`; only RFC 3986's unreserved
// characters other than "_" stay as they are.
QString stringByURLEncodingWithUTF8(const QString& s);

}  // namespace StringAdditions
