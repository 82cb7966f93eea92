#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QObject>
#include <QVariantMap>

namespace vesnara {

/// One shortcut as the portal's BindShortcuts takes it: `(sa{sv})`.
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut);
const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut);

/// The desktop's global shortcuts portal on a bus: it asks whether the portal is there, opens a
/// session, binds the given shortcuts and reports their activations. Everything is asynchronous;
/// the state settles once, to bound or unavailable. A desktop without the portal, without a
/// session bus, or one that refuses the session or the binding counts as unavailable.
class GlobalShortcutsPortal : public QObject {
    Q_OBJECT

public:
    static inline const QString serviceName = QStringLiteral("org.freedesktop.portal.Desktop");
    static inline const QString objectPath = QStringLiteral("/org/freedesktop/portal/desktop");
    static inline const QString interfaceName =
        QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
    static inline const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");

    enum class State { idle, probing, binding, bound, unavailable };
    Q_ENUM(State)

    struct Binding {
        QString id;
        QString description;
        /// The keys suggested to the desktop, in the form the portal takes ("CTRL+R").
        QString preferredTrigger;
    };

    explicit GlobalShortcutsPortal(QDBusConnection bus, QObject* parent = nullptr);

    /// Registers the D-Bus types; done by the constructor, needed before a peer demarshals.
    static void registerTypes();
    /// "Ctrl+Shift+R" in the form the portal takes: "CTRL+SHIFT+R".
    static QString preferredTrigger(const QString& portableKeys);

    /// Probes the portal and binds `bindings`; a second call is ignored.
    void start(QList<Binding> bindings);
    State state() const { return m_state; }
    bool available() const { return m_state == State::bound; }

Q_SIGNALS:
    void stateChanged();
    void activated(const QString& id);

private Q_SLOTS:
    void onResponse(uint response, const QVariantMap& results);
    void onActivated(const QDBusObjectPath& session, const QString& id, qulonglong timestamp,
                     const QVariantMap& options);

private:
    void setState(State state);
    void createSession();
    void bindShortcuts();
    /// Listens for the answer at the request path the portal derives from our name and `token`.
    QString expectResponse(const QString& token);
    void listenAt(const QString& requestPath);
    /// Sends a portal request: a refused call gives up at `step`; an accepted one is answered by
    /// a Response signal on the request path.
    void sendRequest(const QDBusMessage& call, const QString& step);
    void giveUp(const QString& step, const QString& reason);

    QDBusConnection m_bus;
    QList<Binding> m_bindings;
    State m_state = State::idle;
    QString m_requestPath;
    QString m_sessionHandle;
    int m_tokenCounter = 0;
};

} // namespace vesnara

Q_DECLARE_METATYPE(vesnara::PortalShortcut)
