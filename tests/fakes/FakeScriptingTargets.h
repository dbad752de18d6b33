#pragma once
// Fake scriptable applications for unit tests.
//
// A FakeScriptedApplication answers get requests from a table keyed by the
// reference written as text: steps joined by ".", a property as its code, an
// element as code[index], a named one as code["name"] ("pADc", "docu[1]",
// "cwin[1].docu", "cwin[-1].pnam", "docu[\"main.c\"].file"; referenceTo() takes names without ".").
// Every request is logged in that form, answered or not, so a test can check
// the order of the questions. Fault switches: setRunning(false) plays an
// application that has quit; setUnscriptable(true) one that answers every
// request with an error (ScriptMissing).
//
// FakeScriptingTargets hands out targets by process identifier; processes it
// does not know get no target at all.
//
// Thread: any, one call at a time (each application has a lock).

#include <QHash>
#include <QStringList>
#include <mutex>

#include "tracking/bridge/ScriptingTarget.h"

class FakeScriptedApplication final {
public:
    static QString text(const ScriptReference& reference);
    // The object reference that `text` stands for ("docu[1]" -> document 1).
    static ScriptValue referenceTo(const QString& text);

    void answer(const QString& reference, const ScriptValue& value);
    void setRunning(bool running);
    void setUnscriptable(bool unscriptable);
    QStringList requests() const;

    bool isRunning() const;
    ScriptValue get(const ScriptReference& reference);

private:
    mutable std::mutex m_lock;
    QHash<QString, ScriptValue> m_answers;
    QStringList m_requests;
    bool m_running = true;
    bool m_unscriptable = false;
};

class FakeScriptingTargets final : public ScriptingTargets {
public:
    // The application behind a process, created on first use.
    std::shared_ptr<FakeScriptedApplication> application(qint32 processIdentifier);
    int targetRequests() const;

    std::unique_ptr<ScriptingTarget> targetForProcess(qint32 processIdentifier) override;

private:
    mutable std::mutex m_lock;
    QHash<qint32, std::shared_ptr<FakeScriptedApplication>> m_applications;
    int m_targetRequests = 0;
};
