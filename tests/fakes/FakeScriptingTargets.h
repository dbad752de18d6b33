#pragma once
// Fake scriptable applications for unit tests.
//
// A FakeScriptedApplication answers get requests from a table keyed by the
// reference written as text: steps joined by ".", a property as its code, an
// element as code[index] ("pADc", "docu[1]", "cwin[1].docu", "cwin[-1].pnam").
// Fault switches: setRunning(false) plays an application that has quit;
// setUnscriptable(true) one that answers every request with an error
// (ScriptMissing). FakeScriptingTargets hands out targets by process
// identifier; processes it does not know get no target at all.
//
// Thread: any, one call at a time (each object has a lock).

#include <QHash>
#include <QStringList>
#include <mutex>

#include "tracking/bridge/ScriptingTarget.h"

class FakeScriptedApplication final : public ScriptingTarget {
public:
    // The object reference that `text` stands for ("docu[1]" -> document 1).
    static ScriptValue referenceTo(const QString& text) {
        ScriptReference reference;
        for (const QString& step : text.split(QLatin1Char('.'))) {
            const qsizetype bracket = step.indexOf(QLatin1Char('['));
            reference.push_back(bracket < 0 ? ScriptStep::property(step)
                                            : ScriptStep::element(step.left(bracket),
                                                                  step.mid(bracket + 1).chopped(1).toInt()));
        }
        return ScriptValue{ScriptObjectReference{reference}};
    }

    void answer(const QString& reference, const ScriptValue& value) {
        std::lock_guard guard(m_lock);
        m_answers.insert(reference, value);
    }
    void setRunning(bool running) {
        std::lock_guard guard(m_lock);
        m_running = running;
    }
    void setUnscriptable(bool unscriptable) {
        std::lock_guard guard(m_lock);
        m_unscriptable = unscriptable;
    }

    bool isRunning() override {
        std::lock_guard guard(m_lock);
        return m_running;
    }
    ScriptValue get(const ScriptReference& reference) override {
        QStringList steps;
        for (const ScriptStep& step : reference) {
            steps.append(step.kind == ScriptStep::Kind::Property
                             ? step.code
                             : QStringLiteral("%1[%2]").arg(step.code).arg(step.index));
        }
        std::lock_guard guard(m_lock);
        if (m_unscriptable || !m_running) return ScriptValue{ScriptMissing{}};
        return m_answers.value(steps.join(QLatin1Char('.')), ScriptValue{ScriptMissing{}});
    }

private:
    std::mutex m_lock;
    QHash<QString, ScriptValue> m_answers;
    bool m_running = true;
    bool m_unscriptable = false;
};

class FakeScriptingTargets final : public ScriptingTargets {
public:
    // The application behind a process, created on first use.
    std::shared_ptr<FakeScriptedApplication> application(qint32 processIdentifier) {
        std::lock_guard guard(m_lock);
        auto& application = m_applications[processIdentifier];
        if (!application) application = std::make_shared<FakeScriptedApplication>();
        return application;
    }

    std::unique_ptr<ScriptingTarget> targetForProcess(qint32 processIdentifier) override {
        std::lock_guard guard(m_lock);
        const auto found = m_applications.constFind(processIdentifier);
        if (found == m_applications.cend()) return nullptr;
        // Each target a view of the one application the test set up.
        struct Target final : ScriptingTarget {
            std::shared_ptr<FakeScriptedApplication> application;
            bool isRunning() override { return application->isRunning(); }
            ScriptValue get(const ScriptReference& reference) override {
                return application->get(reference);
            }
        };
        auto target = std::make_unique<Target>();
        target->application = *found;
        return target;
    }

private:
    std::mutex m_lock;
    QHash<qint32, std::shared_ptr<FakeScriptedApplication>> m_applications;
};
