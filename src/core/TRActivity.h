#pragma once
// TRActivity: one observed activity, the front application and its details.
//
// The extractor dispatch creates one per tick on the main thread, an
// extractor fills its details on the tracking worker, and from then on it is
// only read. The tracking loop compares consecutive activities with
// isEqual(): the same process with the same four detail fields is the same
// interval; anything else ends it.
//
// The application slot holds one of three things: nothing (no front
// application), a RunningApplication, or the null-application marker that
// stands for an activity the user entered by hand (never compared, filed
// under the custom-activities application by the store).

#include <optional>
#include <variant>

#include "core/RunningApplication.h"
#include "core/TRActivityDetails.h"

struct TRNullApplication final {
    friend bool operator==(TRNullApplication, TRNullApplication) = default;
};

using TRApplicationSlot = std::variant<std::monostate, RunningApplication, TRNullApplication>;

class TRActivity final {
public:
    // A new activity has empty details and no application.
    TRActivity() : m_details(TRActivityDetails()) {}

    const TRApplicationSlot& application() const { return m_application; }
    void setApplication(const TRApplicationSlot& application) { m_application = application; }

    // The running application, or nullptr for none and for the null marker.
    const RunningApplication* runningApplication() const {
        return std::get_if<RunningApplication>(&m_application);
    }
    bool isCustomActivity() const {
        return std::holds_alternative<TRNullApplication>(m_application);
    }
    // 0 when there is no running application.
    qint32 processIdentifier() const;

    // Details may be removed (nullopt) by an extractor that found nothing
    // worth keeping; a default activity always has them.
    const std::optional<TRActivityDetails>& details() const { return m_details; }
    std::optional<TRActivityDetails>& details() { return m_details; }
    void setDetails(const std::optional<TRActivityDetails>& details) { m_details = details; }

    // Shorthands that reach into the details; setters create empty details
    // when they were removed.
    QString documentPath() const;
    QString documentTitle() const;
    QString windowTitle() const;
    std::optional<QStringList> pathComponents() const;
    void setDocumentPath(const QString& value) { ensureDetails().setDocumentPath(value); }
    void setDocumentTitle(const QString& value) { ensureDetails().setDocumentTitle(value); }
    void setWindowTitle(const QString& value) { ensureDetails().setWindowTitle(value); }
    void setPathComponents(const std::optional<QStringList>& value) {
        ensureDetails().setPathComponents(value);
    }

    // REQUIRES: nothing; a null other is never equal.
    bool isEqual(const TRActivity* other) const;
    bool operator==(const TRActivity& other) const { return isEqual(&other); }

    QString description() const;

private:
    TRActivityDetails& ensureDetails();

    TRApplicationSlot m_application;
    std::optional<TRActivityDetails> m_details;
};
