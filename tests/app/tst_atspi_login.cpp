// The login as an assistive technology sees and drives it: the real `vesnara` program on a
// private virtual X server and session bus, with Qt's AT-SPI bridge on, against the reference
// backend on loopback. A libatspi client finds the fields and the button by their Finnish
// names (the masked field by its description: Qt 6.4 withholds a masked field's name from the
// bus); input goes through XTest, as Qt Quick 6.4 offers neither an editable-text interface on
// its fields nor a press action on its buttons that clicks (both are reported, should that
// change; a text set from outside would not reach the form either, which listens to edits).
#include "AtspiClient.h"
#include "refbackend/UserStore.h"
#include "support/RefBackendFixture.h"
#include "text/UiText.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

// Set in the test's own private session, so the program is started under it only once.
constexpr char kInsideSession[] = "VESNARA_ATSPI_PRIVATE_SESSION";
constexpr int kWaitMs = 20000;

const QString busLauncher = u"/usr/libexec/at-spi-bus-launcher"_s;

void stop(QProcess& process) {
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate();
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished(5000);
    }
}

} // namespace

class AtspiLoginTest : public QObject {
    Q_OBJECT

    QProcess m_xserver;
    QProcess m_bus;
    QProcess m_application;
    QString m_display;

    // The display number that Xvfb picked and wrote to its standard output.
    bool startXServer() {
        m_xserver.setProgram(u"Xvfb"_s);
        m_xserver.setArguments({u"-displayfd"_s, u"1"_s, u"-nolisten"_s, u"tcp"_s, u"-screen"_s,
                                u"0"_s, u"1280x1024x24"_s});
        m_xserver.start();
        QByteArray number;
        const bool reported = QTest::qWaitFor(
            [&] {
                number += m_xserver.readAllStandardOutput();
                return number.contains('\n') || m_xserver.state() == QProcess::NotRunning;
            },
            kWaitMs);
        if (!reported || !number.contains('\n'))
            return false;
        m_display = u":"_s + QString::fromLatin1(number.trimmed());
        return true;
    }

private Q_SLOTS:
    void cleanup() {
        stop(m_application);
        stop(m_bus);
        stop(m_xserver);
    }

    void loginThroughTheAccessibilityBus() {
        if (!qEnvironmentVariableIsSet(kInsideSession))
            QSKIP("dbus-run-session is not installed: no private session bus for AT-SPI");
        if (QStandardPaths::findExecutable(u"Xvfb"_s).isEmpty())
            QSKIP("Xvfb is not installed: no X server for the xcb platform");
        if (!QFileInfo(busLauncher).isExecutable())
            QSKIP("at-spi-bus-launcher is not installed: no accessibility bus");

        RefBackendFixture server;
        QVERIFY(server.isListening());
        const QString email = u"lukija@vesnara.test"_s;
        const QString password = u"ruudunlukija-2026"_s;
        server->users().create(email, password, u"user"_s);

        QVERIFY2(startXServer(), "Xvfb did not report its display");
        m_bus.setProgram(busLauncher);
        m_bus.setArguments({u"--launch-immediately"_s});
        QProcessEnvironment busEnvironment = QProcessEnvironment::systemEnvironment();
        busEnvironment.insert(u"DISPLAY"_s, m_display);
        m_bus.setProcessEnvironment(busEnvironment);
        m_bus.start();
        QVERIFY(m_bus.waitForStarted(kWaitMs));
        QString error;
        QVERIFY(QTest::qWaitFor([&] { return atspi::connect(&error); }, kWaitMs));

        QTemporaryDir home;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"DISPLAY"_s, m_display);
        environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        environment.insert(u"QT_QUICK_BACKEND"_s, u"software"_s);
        environment.insert(u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON"_s, u"1"_s);
        environment.insert(u"XDG_CONFIG_HOME"_s, home.filePath(u"config"_s));
        environment.insert(u"XDG_DATA_HOME"_s, home.filePath(u"data"_s));
        environment.insert(u"XDG_STATE_HOME"_s, home.filePath(u"state"_s));
        environment.insert(u"XDG_CACHE_HOME"_s, home.filePath(u"cache"_s));
        // The program must not reach a sound server of the machine.
        environment.insert(u"PULSE_SERVER"_s, u"unix:"_s + home.filePath(u"no-pulse"_s));
        m_application.setProcessEnvironment(environment);
        m_application.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_application.start(QStringLiteral(VESNARA_PROGRAM),
                            {u"--backend-url"_s, server.backend().baseUrl().toString()});
        QVERIFY(m_application.waitForStarted(kWaitMs));

        std::optional<atspi::ControlInfo> emailField;
        QVERIFY2(QTest::qWaitFor(
                     [&] {
                         return (emailField =
                                     atspi::find(UiText::loginEmailLabel, atspi::Kind::field)) ||
                                m_application.state() == QProcess::NotRunning;
                     },
                     kWaitMs) &&
                     emailField,
                 qPrintable(u"no field named "_s + UiText::loginEmailLabel + u" among "_s +
                            atspi::applications().join(u", "_s)));
        const std::optional<atspi::ControlInfo> passwordField =
            atspi::find(UiText::loginPasswordLabel, atspi::Kind::field);
        QVERIFY2(passwordField, qPrintable(atspi::describeTree()));
        const std::optional<atspi::ControlInfo> loginButton =
            atspi::find(UiText::loginTitle, atspi::Kind::button);
        QVERIFY2(loginButton, qPrintable(atspi::describeTree()));
        QVERIFY(emailField->width > 0 && emailField->height > 0);
        qInfo("field editable-text interface: %s; button actions: %s",
              emailField->editable ? "yes" : "no", qPrintable(loginButton->actions.join(u", "_s)));

        const auto input = atspi::XInput::open(m_display);
        QVERIFY2(input, "XTest is not available on the virtual X server");
        const auto fill = [&](const atspi::ControlInfo& field, const QString& text) {
            input->click(field.x + field.width / 2, field.y + field.height / 2);
            QVERIFY(input->type(text));
        };
        const auto emailText = [] {
            const auto field = atspi::find(UiText::loginEmailLabel, atspi::Kind::field);
            return field ? field->text.value_or(QString()) : QString();
        };
        fill(*emailField, email);
        if (emailField->text)
            QTRY_COMPARE_WITH_TIMEOUT(emailText(), email, kWaitMs);
        fill(*passwordField, password);
        input->click(loginButton->x + loginButton->width / 2,
                     loginButton->y + loginButton->height / 2);

        QVERIFY2(QTest::qWaitFor(
                     [&] {
                         return atspi::find(UiText::mainStart, atspi::Kind::button) ||
                                m_application.state() == QProcess::NotRunning;
                     },
                     kWaitMs) &&
                     m_application.state() == QProcess::Running,
                 "the main screen's start button never appeared on the accessibility bus");
        QVERIFY(!atspi::find(UiText::loginEmailLabel, atspi::Kind::field));
    }
};

// Starts itself again inside a private session bus, which the accessibility bus then joins.
int main(int argc, char* argv[]) {
    if (!std::getenv(kInsideSession)) {
        setenv(kInsideSession, "1", 1);
        // The program by its own path: argv[0] may be a bare name.
        static char self[4096] = {};
        if (readlink("/proc/self/exe", self, sizeof self - 1) <= 0)
            std::snprintf(self, sizeof self, "%s", argv[0]);
        std::vector<char*> arguments{const_cast<char*>("dbus-run-session"), const_cast<char*>("--"),
                                     self};
        arguments.insert(arguments.end(), argv + 1, argv + argc);
        arguments.push_back(nullptr);
        execvp("dbus-run-session", arguments.data());
        // Not installed: run here, where the test skips with the reason.
        unsetenv(kInsideSession);
    }
    QCoreApplication application(argc, argv);
    AtspiLoginTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_atspi_login.moc"
