#pragma once
// ScriptingTarget: asking a running application about its documents.
//
// Extractors speak in object references: chains of element and property
// steps from the application root, each named by a four-character code
// ("pADc" current document, "docu" document, "cwin" window, "ppth" path,
// "file" file, "Dpth" file path, "pURL" URL, "url " alternative URL, "FTPc"
// alternative path, "pnam" name, ...). A get request answers a value of one
// kind, and extractors test the kind before use; anything unanswerable is
// `ScriptMissing`. The helper answers them in TRDesktopScriptingTargets from
// the desktop's own sources (the windows' documents from the accessibility
// tree, the process table); each extractor states where each term comes from.
//
// Thread: the tracking worker only. Every request is bounded by a timeout.

#include <QString>
#include <QUrl>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

struct ScriptStep final {
    enum class Kind { Property, Element, NamedElement };
    Kind kind = Kind::Property;
    QString code;   // four characters, e.g. "pADc"
    int index = 1;  // elements only: 1-based; -1 is the last one
    QString name;   // named elements only ("the document named X")

    static ScriptStep property(const QString& code) { return {Kind::Property, code, 1, {}}; }
    static ScriptStep element(const QString& code, int index) {
        return {Kind::Element, code, index, {}};
    }
    static ScriptStep namedElement(const QString& code, const QString& name) {
        return {Kind::NamedElement, code, 1, name};
    }
    friend bool operator==(const ScriptStep&, const ScriptStep&) = default;
};

using ScriptReference = std::vector<ScriptStep>;

struct ScriptMissing final { friend bool operator==(ScriptMissing, ScriptMissing) = default; };
struct ScriptFileReference final {
    QUrl url;  // a "file://" URL
    friend bool operator==(const ScriptFileReference&, const ScriptFileReference&) = default;
};
struct ScriptObjectReference final {
    ScriptReference reference;
    friend bool operator==(const ScriptObjectReference&, const ScriptObjectReference&) = default;
};
struct ScriptValue;
using ScriptList = std::vector<ScriptValue>;

struct ScriptValue final {
    std::variant<ScriptMissing, QString, double, QUrl, ScriptFileReference, ScriptObjectReference,
                 ScriptList>
        value;

    const QString* string() const { return std::get_if<QString>(&value); }
    const ScriptObjectReference* objectReference() const {
        return std::get_if<ScriptObjectReference>(&value);
    }
    bool isMissing() const { return std::holds_alternative<ScriptMissing>(value); }
};

class ScriptingTarget {
public:
    virtual ~ScriptingTarget() = default;

    // False when the process has quit since the tick saw it.
    virtual bool isRunning() = 0;
    // The value at `reference`; ScriptMissing on any failure or timeout.
    virtual ScriptValue get(const ScriptReference& reference) = 0;
};

class ScriptingTargets {
public:
    virtual ~ScriptingTargets() = default;

    // A target addressed by process identifier; never relaunches anything.
    virtual std::unique_ptr<ScriptingTarget> targetForProcess(qint32 processIdentifier) = 0;
};
