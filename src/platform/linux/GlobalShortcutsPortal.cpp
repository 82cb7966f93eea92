#include "GlobalShortcutsPortal.h"

#include "storage/AppLog.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

using namespace Qt::StringLiterals;

namespace vesnara {

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

GlobalShortcutsPortal::GlobalShortcutsPortal(QDBusConnection bus, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus)) {
    registerTypes();
}

void GlobalShortcutsPortal::registerTypes() {
    static const bool registered = [] {
        qDBusRegisterMetaType<PortalShortcut>();
        qDBusRegisterMetaType<QList<PortalShortcut>>();
        return true;
    }();
    Q_UNUSED(registered);
}

QString GlobalShortcutsPortal::preferredTrigger(const QString& portableKeys) {
    QStringList parts = portableKeys.split(u'+', Qt::SkipEmptyParts);
    for (qsizetype i = 0; i + 1 < parts.size(); ++i)
        parts[i] = parts[i].toUpper();
    return parts.join(u'+');
}

void GlobalShortcutsPortal::setState(State state) {
    if (m_state == state)
        return;
    m_state = state;
    Q_EMIT stateChanged();
}

void GlobalShortcutsPortal::giveUp(const QString& step, const QString& reason) {
    AppLog::write(u"global_shortcuts unavailable step=%1 reason=%2"_s.arg(step, reason));
    setState(State::unavailable);
}

void GlobalShortcutsPortal::start(QList<Binding> bindings) {
    if (m_state != State::idle)
        return;
    m_bindings = std::move(bindings);
    if (!m_bus.isConnected()) {
        giveUp(u"probe"_s, u"no_session_bus"_s);
        return;
    }
    setState(State::probing);
    // The interface's version property answers only where the portal implements it.
    QDBusMessage probe = QDBusMessage::createMethodCall(
        serviceName, objectPath, u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    probe << interfaceName << u"version"_s;
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(probe), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* w) {
        w->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *w;
        if (reply.isError()) {
            giveUp(u"probe"_s, reply.error().name());
            return;
        }
        AppLog::write(
            u"global_shortcuts portal version=%1"_s.arg(reply.value().variant().toUInt()));
        createSession();
    });
}

QString GlobalShortcutsPortal::expectResponse(const QString& token) {
    // The portal names the request object after the caller's unique name and the token, so the
    // answer can be listened for before the call; a portal that names it otherwise is followed
    // once its reply gives the real path.
    QString sender = m_bus.baseService().mid(1);
    sender.replace(u'.', u'_');
    const QString path = u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(sender, token);
    listenAt(path);
    return path;
}

void GlobalShortcutsPortal::listenAt(const QString& requestPath) {
    if (requestPath == m_requestPath)
        return;
    if (!m_requestPath.isEmpty()) {
        m_bus.disconnect(serviceName, m_requestPath, requestInterface, u"Response"_s, this,
                         SLOT(onResponse(uint, QVariantMap)));
    }
    m_requestPath = requestPath;
    m_bus.connect(serviceName, m_requestPath, requestInterface, u"Response"_s, this,
                  SLOT(onResponse(uint, QVariantMap)));
}

void GlobalShortcutsPortal::createSession() {
    const QString token = u"vesnara%1"_s.arg(++m_tokenCounter);
    expectResponse(token);
    QDBusMessage call =
        QDBusMessage::createMethodCall(serviceName, objectPath, interfaceName, u"CreateSession"_s);
    call << QVariantMap{{u"handle_token"_s, token}, {u"session_handle_token"_s, u"vesnara"_s}};
    sendRequest(call, u"create_session"_s);
}

void GlobalShortcutsPortal::sendRequest(const QDBusMessage& call, const QString& step) {
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    const State expected = m_state;
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, step, expected](QDBusPendingCallWatcher* w) {
                w->deleteLater();
                const QDBusPendingReply<QDBusObjectPath> reply = *w;
                if (reply.isError())
                    giveUp(step, reply.error().name());
                else if (m_state == expected)
                    listenAt(reply.value().path());
            });
}

void GlobalShortcutsPortal::bindShortcuts() {
    setState(State::binding);
    QList<PortalShortcut> shortcuts;
    for (const Binding& binding : std::as_const(m_bindings)) {
        shortcuts.append({binding.id,
                          {{u"description"_s, binding.description},
                           {u"preferred_trigger"_s, binding.preferredTrigger}}});
    }
    const QString token = u"vesnara%1"_s.arg(++m_tokenCounter);
    expectResponse(token);
    QDBusMessage call =
        QDBusMessage::createMethodCall(serviceName, objectPath, interfaceName, u"BindShortcuts"_s);
    call << QVariant::fromValue(QDBusObjectPath(m_sessionHandle)) << QVariant::fromValue(shortcuts)
         << QString() << QVariantMap{{u"handle_token"_s, token}};
    sendRequest(call, u"bind"_s);
}

void GlobalShortcutsPortal::onResponse(uint response, const QVariantMap& results) {
    if (response != 0) {
        // 1: the user declined, 2: the portal failed.
        giveUp(m_state == State::probing ? u"create_session"_s : u"bind"_s,
               u"response_%1"_s.arg(response));
        return;
    }
    if (m_state == State::probing) {
        // Portals give the handle as a string; an object path is taken as well.
        const QVariant handle = results.value(u"session_handle"_s);
        m_sessionHandle = handle.metaType() == QMetaType::fromType<QDBusObjectPath>()
                              ? handle.value<QDBusObjectPath>().path()
                              : handle.toString();
        if (m_sessionHandle.isEmpty()) {
            giveUp(u"create_session"_s, u"no_session_handle"_s);
            return;
        }
        bindShortcuts();
    } else if (m_state == State::binding) {
        m_bus.connect(serviceName, objectPath, interfaceName, u"Activated"_s, this,
                      SLOT(onActivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
        AppLog::write(u"global_shortcuts bound count=%1"_s.arg(m_bindings.size()));
        setState(State::bound);
    }
}

void GlobalShortcutsPortal::onActivated(const QDBusObjectPath& session, const QString& id,
                                        qulonglong timestamp, const QVariantMap& options) {
    Q_UNUSED(timestamp);
    Q_UNUSED(options);
    if (session.path() != m_sessionHandle)
        return;
    AppLog::write(u"global_shortcuts activated id=%1"_s.arg(id));
    Q_EMIT activated(id);
}

} // namespace vesnara
