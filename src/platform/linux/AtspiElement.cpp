#include <QLoggingCategory>
#include <QStringList>

#include "platform/linux/AtspiSession.h"

Q_DECLARE_LOGGING_CATEGORY(lcAtspi)

namespace {

const QString kRole = QStringLiteral("AXRole");
const QString kTitle = QStringLiteral("AXTitle");
const QString kMainWindow = QStringLiteral("AXMainWindow");
const QString kFocusedWindow = QStringLiteral("AXFocusedWindow");
const QString kDocument = QStringLiteral("AXDocument");
const QString kParent = QStringLiteral("AXParent");
const QString kDescription = QStringLiteral("AXDescription");
const QString kPosition = QStringLiteral("AXPosition");
const QString kSize = QStringLiteral("AXSize");

// One application or one of its top-level windows. Holds a reference on the
// accessible; released on the AT-SPI thread like every other call.
class AtspiElement final : public AccessibilityElement {
public:
    enum class Kind { Application, Window };

    AtspiElement(AtspiAccessibilityProvider::Session& session,
                 std::shared_ptr<AtspiApplicationState> state, AccessiblePtr application,
                 AccessiblePtr object, Kind kind)
        : m_session(session), m_state(std::move(state)), m_application(std::move(application)),
          m_object(std::move(object)), m_kind(kind) {}
    ~AtspiElement() override { m_session.assertThread(); }

    QStringList attributeNames() override {
        m_session.assertThread();
        if (m_kind == Kind::Application) return {kRole, kTitle, kMainWindow, kFocusedWindow};
        return {kRole, kTitle, kDocument, kParent, kDescription, kPosition, kSize};
    }

    std::optional<AccessibilityValue> copyAttributeValue(const QString& attribute) override {
        m_session.assertThread();
        if (!m_state->checkNotStopped()) return std::nullopt;
        m_session.drain();
        AtspiQuery query(*m_state);
        return m_kind == Kind::Application ? applicationAttribute(query, attribute)
                                           : windowAttribute(query, attribute);
    }

    qint32 processIdentifier() override { return m_state->processIdentifier; }

private:
    template <class T, class F>
    T withQuery(F&& ask) {
        m_session.assertThread();
        if (!m_state->checkNotStopped()) return T{};
        m_session.drain();
        AtspiQuery query(*m_state);
        return ask(query);
    }

    AccessibilityElementRef windowElement(AccessiblePtr window) {
        if (!window) return nullptr;
        return std::make_shared<AtspiElement>(m_session, m_state,
                                              retainAccessible(m_application.get()),
                                              std::move(window), Kind::Window);
    }

    std::optional<AccessibilityValue> applicationAttribute(AtspiQuery& query, const QString& attribute) {
        AtspiAccessible* app = m_object.get();
        if (attribute == kRole) return QString::fromLatin1(AccessibilityRole::kApplication);
        if (attribute == kTitle) return toValue(query.name(app));
        AccessiblePtr window;
        if (attribute == kMainWindow) window = query.mainWindow(app);
        else if (attribute == kFocusedWindow) window = query.activeTopLevel(app);
        else return std::nullopt;
        qCDebug(lcAtspi) << "process" << m_state->processIdentifier << attribute
                         << (window ? "found" : "not found");
        AccessibilityElementRef element = windowElement(std::move(window));
        if (!element) return std::nullopt;
        return element;
    }

    std::optional<AccessibilityValue> windowAttribute(AtspiQuery& query, const QString& attribute) {
        AtspiAccessible* window = m_object.get();
        if (attribute == kRole) {
            if (!query.role(window)) return std::nullopt;
            return QString::fromLatin1(query.isSheet(window) ? AccessibilityRole::kSheet
                                                             : AccessibilityRole::kWindow);
        }
        if (attribute == kTitle) return toValue(query.name(window));
        if (attribute == kDescription) return toValue(query.description(window));
        if (attribute == kDocument) {
            const AtspiQuery::DocumentFacts facts = query.documentOf(window);
            qCDebug(lcAtspi) << "process" << m_state->processIdentifier
                             << (facts.document ? "shows a document" : "shows no document");
            if (!facts.document) return std::nullopt;
            return toValue(facts.address);
        }
        if (attribute == kParent) return parentOf(query);
        if (attribute == kPosition || attribute == kSize) {
            const std::optional<AXRect> rect = query.extents(window);
            if (!rect) return std::nullopt;
            if (attribute == kPosition) return AXPoint{rect->x, rect->y};
            return AXSize{rect->width, rect->height};
        }
        return std::nullopt;
    }

    // A sheet belongs to the window it is attached to. AT-SPI has no link
    // from a dialog to its window, but the window system has: the window it
    // names is found among the application's top-levels by name, and by
    // position when two share a name. Without that link the application's
    // first other frame stands in.
    std::optional<AccessibilityValue> parentOf(AtspiQuery& query) {
        AtspiAccessible* self = m_object.get();
        if (!query.isSheet(self)) {
            return AccessibilityElementRef(std::make_shared<AtspiElement>(
                m_session, m_state, retainAccessible(m_application.get()),
                retainAccessible(m_application.get()), Kind::Application));
        }
        std::vector<AccessiblePtr> windows = query.topLevels(m_application.get());
        std::erase_if(windows, [self](const AccessiblePtr& w) { return w.get() == self; });
        if (AccessiblePtr owner = attachedWindow(query, windows))
            return windowElement(std::move(owner));
        for (AccessiblePtr& window : windows) {
            if (!query.isSheet(window.get())) return windowElement(std::move(window));
        }
        return std::nullopt;
    }

    AccessiblePtr attachedWindow(AtspiQuery& query, std::vector<AccessiblePtr>& windows) {
        const std::optional<QString> name = query.name(m_object.get());
        if (m_session.dialogOwners == nullptr || !name) return nullptr;
        const std::optional<DialogOwner> owner =
            m_session.dialogOwners->ownerOfDialog(m_state->processIdentifier, *name);
        if (!owner) return nullptr;
        AccessiblePtr* sameName = nullptr;
        for (AccessiblePtr& window : windows) {
            if (query.name(window.get()) != owner->name) continue;
            const std::optional<AXRect> rect =
                owner->x ? query.extents(window.get()) : std::nullopt;
            if (rect && int(rect->x) == *owner->x && int(rect->y) == *owner->y)
                return std::move(window);
            if (sameName == nullptr) sameName = &window;
        }
        return sameName ? std::move(*sameName) : nullptr;
    }

    static std::optional<AccessibilityValue> toValue(const std::optional<QString>& text) {
        if (!text) return std::nullopt;
        return *text;
    }

    AtspiAccessibilityProvider::Session& m_session;
    std::shared_ptr<AtspiApplicationState> m_state;
    AccessiblePtr m_application;
    AccessiblePtr m_object;
    Kind m_kind;
};

}  // namespace

AccessibilityElementRef makeAtspiApplicationElement(AtspiAccessibilityProvider::Session& session,
                                                    std::shared_ptr<AtspiApplicationState> state,
                                                    AtspiAccessible* application) {
    return std::make_shared<AtspiElement>(session, std::move(state), retainAccessible(application),
                                          retainAccessible(application),
                                          AtspiElement::Kind::Application);
}
