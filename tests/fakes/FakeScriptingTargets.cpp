#include "FakeScriptingTargets.h"

namespace {

class FakeTarget final : public ScriptingTarget {
public:
    explicit FakeTarget(std::shared_ptr<FakeScriptedApplication> application)
        : m_application(std::move(application)) {}
    bool isRunning() override { return m_application->isRunning(); }
    ScriptValue get(const ScriptReference& reference) override {
        return m_application->get(reference);
    }

private:
    std::shared_ptr<FakeScriptedApplication> m_application;
};

}  // namespace

QString FakeScriptedApplication::text(const ScriptReference& reference) {
    QStringList steps;
    for (const ScriptStep& step : reference) {
        switch (step.kind) {
            case ScriptStep::Kind::Property: steps.append(step.code); break;
            case ScriptStep::Kind::Element:
                steps.append(QStringLiteral("%1[%2]").arg(step.code).arg(step.index));
                break;
            case ScriptStep::Kind::NamedElement:
                steps.append(QStringLiteral("%1[\"%2\"]").arg(step.code, step.name));
                break;
        }
    }
    return steps.join(QLatin1Char('.'));
}

ScriptValue FakeScriptedApplication::referenceTo(const QString& text) {
    ScriptReference reference;
    for (const QString& step : text.split(QLatin1Char('.'))) {
        const qsizetype bracket = step.indexOf(QLatin1Char('['));
        if (bracket < 0) {
            reference.push_back(ScriptStep::property(step));
        } else {
            const QString inside = step.mid(bracket + 1, step.size() - bracket - 2);
            if (inside.startsWith(QLatin1Char('"'))) {
                reference.push_back(
                    ScriptStep::namedElement(step.left(bracket), inside.mid(1, inside.size() - 2)));
            } else {
                reference.push_back(ScriptStep::element(step.left(bracket), inside.toInt()));
            }
        }
    }
    return ScriptValue{ScriptObjectReference{reference}};
}

void FakeScriptedApplication::answer(const QString& reference, const ScriptValue& value) {
    std::lock_guard guard(m_lock);
    m_answers.insert(reference, value);
}

void FakeScriptedApplication::setRunning(bool running) {
    std::lock_guard guard(m_lock);
    m_running = running;
}

void FakeScriptedApplication::setUnscriptable(bool unscriptable) {
    std::lock_guard guard(m_lock);
    m_unscriptable = unscriptable;
}

QStringList FakeScriptedApplication::requests() const {
    std::lock_guard guard(m_lock);
    return m_requests;
}

bool FakeScriptedApplication::isRunning() const {
    std::lock_guard guard(m_lock);
    return m_running;
}

ScriptValue FakeScriptedApplication::get(const ScriptReference& reference) {
    std::lock_guard guard(m_lock);
    const QString key = text(reference);
    m_requests.append(key);
    if (m_unscriptable || !m_running) return ScriptValue{ScriptMissing{}};
    return m_answers.value(key, ScriptValue{ScriptMissing{}});
}

std::shared_ptr<FakeScriptedApplication> FakeScriptingTargets::application(
    qint32 processIdentifier) {
    std::lock_guard guard(m_lock);
    auto& application = m_applications[processIdentifier];
    if (!application) application = std::make_shared<FakeScriptedApplication>();
    return application;
}

int FakeScriptingTargets::targetRequests() const {
    std::lock_guard guard(m_lock);
    return m_targetRequests;
}

std::unique_ptr<ScriptingTarget> FakeScriptingTargets::targetForProcess(qint32 processIdentifier) {
    std::lock_guard guard(m_lock);
    ++m_targetRequests;
    const auto found = m_applications.constFind(processIdentifier);
    if (found == m_applications.cend()) return nullptr;
    return std::make_unique<FakeTarget>(*found);
}
