// The desktop's global shortcuts portal on a private session bus: a small stand-in portal
// answers the session and the binding and reports activations, which drive the recording of the
// real window against the reference backend; without the portal, or with one that refuses, the
// shortcuts stay in the window and the settings say so.
#include "AppHarness.h"
#include "Shortcuts.h"
#include "WindowDriver.h"
#include "engine/parts/AudioSources.h"
#include "engine/parts/SessionTranscript.h"
#include "text/UiText.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QProcess>
#include <QStandardPaths>

using namespace vesnara;
using namespace vesnara::test;

namespace {

// The portal's side of the interface, as far as the client uses it.
class FakeGlobalShortcutsPortal : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.GlobalShortcuts")
    Q_PROPERTY(uint version READ version)

public:
    explicit FakeGlobalShortcutsPortal(QDBusConnection bus)
        : m_bus(std::move(bus)) {}
    ~FakeGlobalShortcutsPortal() override {
        m_bus.unregisterObject(GlobalShortcutsPortal::objectPath);
        m_bus.unregisterService(GlobalShortcutsPortal::serviceName);
        QDBusConnection::disconnectFromBus(m_bus.name());
    }
    FakeGlobalShortcutsPortal(const FakeGlobalShortcutsPortal&) = delete;
    FakeGlobalShortcutsPortal& operator=(const FakeGlobalShortcutsPortal&) = delete;

    uint version() const { return 1; }

    /// The answer to CreateSession: 0 accepts, 1 is the user declining.
    uint sessionResponse = 0;
    QString sessionPath = u"/org/freedesktop/portal/desktop/session/test/vesnara"_s;
    QList<PortalShortcut> bound;

    void activate(const QString& id) {
        QDBusMessage signal =
            QDBusMessage::createSignal(GlobalShortcutsPortal::objectPath,
                                       GlobalShortcutsPortal::interfaceName, u"Activated"_s);
        signal << QVariant::fromValue(QDBusObjectPath(sessionPath)) << id << qulonglong(0)
               << QVariantMap{};
        m_bus.send(signal);
    }

public Q_SLOTS:
    QDBusObjectPath CreateSession(const QVariantMap& options, const QDBusMessage& message) {
        const QString request = requestPath(message, options);
        respondLater(request, sessionResponse, {{u"session_handle"_s, sessionPath}});
        return QDBusObjectPath(request);
    }

    QDBusObjectPath BindShortcuts(const QDBusObjectPath& session,
                                  const QList<vesnara::PortalShortcut>& shortcuts,
                                  const QString& parentWindow, const QVariantMap& options,
                                  const QDBusMessage& message) {
        Q_UNUSED(parentWindow);
        const QString request = requestPath(message, options);
        const bool known = session.path() == sessionPath;
        if (known)
            bound = shortcuts;
        respondLater(request, known ? 0 : 2, {});
        return QDBusObjectPath(request);
    }

private:
    static QString requestPath(const QDBusMessage& message, const QVariantMap& options) {
        QString sender = message.service().mid(1);
        sender.replace(u'.', u'_');
        return u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(
            sender, options.value(u"handle_token"_s).toString());
    }

    // The answer comes as a signal after the call's reply, as from a real portal.
    void respondLater(const QString& path, uint response, const QVariantMap& results) {
        QMetaObject::invokeMethod(
            this,
            [this, path, response, results] {
                QDBusMessage signal = QDBusMessage::createSignal(
                    path, GlobalShortcutsPortal::requestInterface, u"Response"_s);
                signal << response << results;
                m_bus.send(signal);
            },
            Qt::QueuedConnection);
    }

    QDBusConnection m_bus;
};

} // namespace

class GlobalShortcutsTest : public QObject, WindowDriver {
    Q_OBJECT

    QProcess m_daemon;
    QString m_address;
    int m_connections = 0;

    // A fresh connection to the private bus.
    QDBusConnection busConnection() {
        return QDBusConnection::connectToBus(m_address, u"vesnara-test-%1"_s.arg(++m_connections));
    }

    // The portal's service on its own connection, so that its calls cross the bus.
    std::unique_ptr<FakeGlobalShortcutsPortal> servePortal() {
        QDBusConnection bus = busConnection();
        auto portal = std::make_unique<FakeGlobalShortcutsPortal>(bus);
        if (!bus.registerObject(GlobalShortcutsPortal::objectPath, portal.get(),
                                QDBusConnection::ExportAllSlots |
                                    QDBusConnection::ExportAllProperties) ||
            !bus.registerService(GlobalShortcutsPortal::serviceName))
            return nullptr;
        return portal;
    }

private Q_SLOTS:
    void initTestCase() {
        QAccessible::setActive(true);
        GlobalShortcutsPortal::registerTypes();
        const QString daemon = QStandardPaths::findExecutable(u"dbus-daemon"_s);
        if (daemon.isEmpty())
            QSKIP("dbus-daemon is not installed");
        m_daemon.start(daemon, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
        QVERIFY(m_daemon.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(m_daemon.canReadLine(), kEngineWaitMs);
        m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
        QVERIFY(!m_address.isEmpty());
    }

    void cleanupTestCase() {
        if (m_daemon.state() != QProcess::NotRunning) {
            m_daemon.terminate();
            m_daemon.waitForFinished();
        }
    }

    // The three recording shortcuts are bound with their keys, and the portal's activations
    // start a recording, pin it and stop it as the window's keys do.
    void activationsDriveTheRecording() {
        std::unique_ptr<FakeGlobalShortcutsPortal> fake = servePortal();
        QVERIFY(fake);
        GlobalShortcutsPortal portal(busConnection());
        AppHarness h;
        h.globalShortcuts = &portal;
        VesnaraApplication& application = h.make();
        Shortcuts& shortcuts = application.shortcuts();
        QTRY_VERIFY_WITH_TIMEOUT(shortcuts.globalAvailable(), kEngineWaitMs);
        QCOMPARE(shortcuts.globalStatusText(), UiText::globalShortcutsAvailable);
        QStringList bound;
        for (const PortalShortcut& shortcut : std::as_const(fake->bound)) {
            bound.append(shortcut.id + u' ' +
                         shortcut.properties.value(u"preferred_trigger"_s).toString());
            QVERIFY(!shortcut.properties.value(u"description"_s).toString().isEmpty());
        }
        QCOMPARE(bound,
                 (QStringList{u"start-stop CTRL+R"_s, u"pause-resume CTRL+P"_s, u"pin CTRL+M"_s}));

        QQmlApplicationEngine engine;
        QVERIFY(loadWindow(application, engine));
        QVERIFY(logIn(AppHarness::password));
        TranscriptionViewModel& vm = application.viewModel();
        vm.sources()->setInputMode(AudioInputMode::microphone);
        QTRY_VERIFY_WITH_TIMEOUT(vm.canStart(), kEngineWaitMs);

        // Nothing to pin before the recording; an unknown id is ignored.
        fake->activate(u"pin"_s);
        fake->activate(u"search"_s);
        fake->activate(u"start-stop"_s);
        QTRY_VERIFY_WITH_TIMEOUT(vm.isRecording(), kEngineWaitMs);
        QCOMPARE(vm.transcript()->pinCount(), qsizetype(0));
        QTRY_VERIFY_WITH_TIMEOUT(vm.canAddPin(), kEngineWaitMs);
        fake->activate(u"pin"_s);
        QTRY_COMPARE_WITH_TIMEOUT(vm.transcript()->pinCount(), qsizetype(1), kEngineWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(vm.canPause(), kEngineWaitMs);
        fake->activate(u"pause-resume"_s);
        QTRY_VERIFY_WITH_TIMEOUT(vm.isPaused(), kEngineWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(vm.canStop(), kEngineWaitMs);
        fake->activate(u"start-stop"_s);
        QTRY_VERIFY_WITH_TIMEOUT(!vm.isRecording(), kEngineWaitMs);
    }

    // Where the desktop gives no usable portal, the state settles to unavailable and the
    // settings' line says the shortcuts work only in the window.
    void unavailableWithoutAPortal_data() {
        QTest::addColumn<bool>("serve");
        QTest::addColumn<uint>("sessionResponse");
        QTest::addColumn<bool>("connected");
        QTest::newRow("no portal on the bus") << false << 0u << true;
        QTest::newRow("session declined") << true << 1u << true;
        QTest::newRow("no session bus") << false << 0u << false;
    }
    void unavailableWithoutAPortal() {
        QFETCH(bool, serve);
        QFETCH(uint, sessionResponse);
        QFETCH(bool, connected);
        std::unique_ptr<FakeGlobalShortcutsPortal> fake;
        if (serve) {
            fake = servePortal();
            QVERIFY(fake);
            fake->sessionResponse = sessionResponse;
        }
        GlobalShortcutsPortal portal(connected ? busConnection()
                                               : QDBusConnection(u"vesnara-no-bus"_s));
        Shortcuts shortcuts;
        shortcuts.setGlobalPortal(&portal);
        QTRY_COMPARE_WITH_TIMEOUT(portal.state(), GlobalShortcutsPortal::State::unavailable,
                                  kEngineWaitMs);
        QVERIFY(!shortcuts.globalAvailable());
        QCOMPARE(shortcuts.globalStatusText(), UiText::globalShortcutsUnavailable);
        if (fake)
            QVERIFY(fake->bound.isEmpty());
    }
};

QTEST_MAIN(GlobalShortcutsTest)
#include "tst_global_shortcuts.moc"
