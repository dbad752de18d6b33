#pragma once
// TRASIconLookup: where the tree's nodes get their icons from.
//
// The desktop side (the UI layer) implements it over the icon theme and the
// desktop entries; the store only follows the fallbacks. Icons travel as
// encoded images (PNG bytes) so the store needs no GUI library. The default,
// TRASNoIcons, finds nothing, which is also what a headless test sees.
// Main thread only.

#include <QByteArray>
#include <QString>

class TRASIconLookup {
public:
    virtual ~TRASIconLookup() = default;
    // The desktop entry of an application id, or a null string.
    virtual QString applicationPathForBundleIdentifier(const QString& bundleIdentifier) const = 0;
    // The desktop entry of an application by its shown name, or a null string.
    virtual QString applicationPathForName(const QString& name) const = 0;
    virtual QByteArray iconForApplicationPath(const QString& path) const = 0;
    virtual QByteArray iconForFile(const QString& path) const = 0;
    virtual QByteArray genericDocumentIcon() const = 0;
};

class TRASNoIcons final : public TRASIconLookup {
public:
    QString applicationPathForBundleIdentifier(const QString&) const override { return QString(); }
    QString applicationPathForName(const QString&) const override { return QString(); }
    QByteArray iconForApplicationPath(const QString&) const override { return QByteArray(); }
    QByteArray iconForFile(const QString&) const override { return QByteArray(); }
    QByteArray genericDocumentIcon() const override { return QByteArray(); }
};
