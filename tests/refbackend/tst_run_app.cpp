// scripts/run-app, what `make run` calls, against this build: the credentials it prints work
// against the backend it started, and SIGTERM to the script leaves no backend behind.
#include "model/DeploymentDefaults.h"
#include "refbackend/ChildProcess.h"
#include "support/TestHttp.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

const QString kScript = QString::fromUtf8(VESNARA_RUN_APP_SCRIPT);
const QString kBuildDirectory = QString::fromUtf8(VESNARA_BUILD_DIR);

} // namespace

class RunAppTest : public QObject {
    Q_OBJECT

    void prepare(ChildProcess& script, quint16 port) {
        script.setEnvironmentValue(u"VESNARA_RUN_PORT"_s, QString::number(port));
        script.setEnvironmentValue(u"VESNARA_RUN_DATA_DIR"_s, m_directory->filePath(u"data"_s));
        // No display unless a test gives one; the script treats empty values as unset.
        for (const QString& name : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s, u"QT_QPA_PLATFORM"_s})
            script.setEnvironmentValue(name, QString());
    }

    HttpAnswer call(const QByteArray& method, const QUrl& base, const QString& path,
                    const QByteArray& body = {},
                    const QList<std::pair<QByteArray, QByteArray>>& headers = {}) {
        return httpCall(m_network, method, base.resolved(QUrl(path)), body, headers);
    }

private Q_SLOTS:
    void init() { m_directory.emplace(); }
    void cleanup() { m_directory.reset(); }

    void whatItPrintsWorksUntilItIsStopped() {
        const quint16 port = closedLoopbackPort();
        ChildProcess script(kScript);
        prepare(script, port);
        QVERIFY(script.start({kBuildDirectory}));

        const QRegularExpressionMatch announced =
            script.waitForLine(QRegularExpression(u"^make run: reference backend on (\\S+),"_s));
        QVERIFY2(announced.hasMatch(), qPrintable(script.output()));
        const QUrl base(announced.captured(1));
        QCOMPARE(base, QUrl(u"http://127.0.0.1:%1"_s.arg(port)));
        const QRegularExpressionMatch signIn = script.waitForLine(QRegularExpression(
            u"^make run: sign in as (\\S+) with the password (\\S+) \\(admin key: (\\S+)\\)$"_s));
        QVERIFY2(signIn.hasMatch(), qPrintable(script.output()));
        const QRegularExpressionMatch listening = script.waitForLine(
            QRegularExpression(u"^vesnara-refbackend listening on (\\S+) \\(data in (.+),"_s));
        QVERIFY2(listening.hasMatch(), qPrintable(script.output()));
        QCOMPARE(QUrl(listening.captured(1)), base);
        QCOMPARE(listening.captured(2), m_directory->filePath(u"data"_s));
        QVERIFY(QFileInfo::exists(m_directory->filePath(u"data/users.json"_s)));
        QVERIFY2(script.waitForLine(QRegularExpression(u"^make run: no display"_s)).hasMatch(),
                 qPrintable(script.output()));

        const QString email = signIn.captured(1);
        const HttpAnswer signedIn = call(
            "POST", base, u"/auth/login"_s,
            QJsonDocument(QJsonObject{{u"email"_s, email}, {u"password"_s, signIn.captured(2)}})
                .toJson());
        QCOMPARE(signedIn.status, 200);
        const QByteArray token = signedIn.json().value(u"token"_s).toString().toUtf8();
        const QByteArray apiKey = QString::fromUtf16(DeploymentDefaults::sharedAPIKey).toUtf8();
        QCOMPARE(call("GET", base, u"/v1/sessions"_s, {},
                      {{"x-api-key", apiKey}, {"x-auth-token", token}})
                     .status,
                 200);
        const HttpAnswer users = call("GET", base, u"/admin/users"_s, {},
                                      {{"X-Admin-Key", signIn.captured(3).toUtf8()}});
        QCOMPARE(users.status, 200);
        const QJsonArray listed = users.json().value(u"users"_s).toArray();
        QCOMPARE(listed.size(), qsizetype(1));
        QCOMPARE(listed.first()[u"email"_s].toString(), email);
        QCOMPARE(listed.first()[u"role"_s].toString(), u"admin"_s);

        // The backend is the one process started with this test's data directory.
        const QString dataDirectory = m_directory->filePath(u"data"_s);
        QCOMPARE(processesWithArgument(dataDirectory).size(), qsizetype(1));
        QVERIFY(script.signalAndWait(SIGTERM));
        QCOMPARE(script.exitCode(), 0);
        QCOMPARE(processesWithArgument(dataDirectory), QList<qint64>{});
        QCOMPARE(call("GET", base, u"/health"_s).status, 0);
    }

    // With a display the client starts against the script's backend, and goes with the script.
    void theClientRunsAgainstTheBackendUntilTheScriptStops() {
        const quint16 port = closedLoopbackPort();
        ChildProcess script(kScript);
        prepare(script, port);
        script.setEnvironmentValue(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        script.setEnvironmentValue(u"HOME"_s, m_directory->filePath(u"home"_s));
        script.setEnvironmentValue(u"XDG_CONFIG_HOME"_s, m_directory->filePath(u"config"_s));
        script.setEnvironmentValue(u"XDG_STATE_HOME"_s, m_directory->filePath(u"state"_s));
        script.setEnvironmentValue(u"XDG_DATA_HOME"_s, m_directory->filePath(u"share"_s));
        QVERIFY(script.start({kBuildDirectory}));
        QVERIFY2(
            script.waitForLine(QRegularExpression(u"^make run: VESNARA_INAPP_ADMIN_ENABLED=1"_s))
                .hasMatch(),
            qPrintable(script.output()));
        const QRegularExpressionMatch started = script.waitForLine(QRegularExpression(
            u"^make run: starting the desktop client: (\\S+) --backend-url (\\S+)$"_s));
        QVERIFY2(started.hasMatch(), qPrintable(script.output()));
        const QString backendURL = u"http://127.0.0.1:%1"_s.arg(port);
        QCOMPARE(started.captured(2), backendURL);
        QTRY_COMPARE_WITH_TIMEOUT(processesWithArgument(backendURL).size(), qsizetype(1), 10'000);
        QVERIFY(script.signalAndWait(SIGTERM));
        QCOMPARE(script.exitCode(), 0);
        QCOMPARE(processesWithArgument(backendURL), QList<qint64>{});
        // The model probe, a fork of the backend with its arguments, dies with it by a signal
        // the kernel delivers a moment later.
        QTRY_COMPARE_WITH_TIMEOUT(processesWithArgument(m_directory->filePath(u"data"_s)),
                                  QList<qint64>{}, 10'000);
    }

    // Transcription where the speech model is installed, the speech detector where it is not;
    // one line says which.
    void recognisesEnglishWhereTheModelIs_data() {
        QTest::addColumn<QString>("model");
        QTest::addColumn<QString>("says");
        QTest::addColumn<QString>("recognizer");
        QTest::newRow("installed model")
            << QString() << u"local speech recognition is English"_s << u"pocketsphinx"_s;
        QTest::newRow("no model") << u"/nonexistent/vesnara-model"_s
                                  << u"no speech model at /nonexistent/vesnara-model"_s
                                  << u"energy"_s;
    }
    void recognisesEnglishWhereTheModelIs() {
        QFETCH(QString, model);
        QFETCH(QString, says);
        QFETCH(QString, recognizer);
        if (model.isEmpty() && !QFileInfo::exists(u"/usr/share/pocketsphinx/model/en-us"_s))
            QSKIP("no speech model installed (scripts/setup installs it)");
        ChildProcess script(kScript);
        prepare(script, closedLoopbackPort());
        if (!model.isEmpty())
            script.setEnvironmentValue(u"VESNARA_SPEECH_MODEL"_s, model);
        QVERIFY(script.start({kBuildDirectory}));
        const QRegularExpressionMatch listening = script.waitForLine(
            QRegularExpression(u"^vesnara-refbackend listening on .*, recognizer (\\w+)\\)$"_s));
        QVERIFY2(listening.hasMatch(), qPrintable(script.output() + script.errorOutput()));
        QCOMPARE(listening.captured(1), recognizer);
        QCOMPARE(script.output().count(u"make run: "_s + says), 1);
        QVERIFY(script.signalAndWait(SIGTERM));
    }

    void aBackendThatCannotStartEndsTheScript() {
        QTcpServer occupant;
        QVERIFY(occupant.listen(QHostAddress::LocalHost, 0));
        ChildProcess script(kScript);
        prepare(script, occupant.serverPort());
        QVERIFY(script.start({kBuildDirectory}));
        QVERIFY(script.waitForExit());
        QCOMPARE(script.exitCode(), 1);
        QVERIFY(script.errorOutput().contains(u"cannot listen"_s));
    }

    void aBuildWithoutTheBackendStartsNothing() {
        ChildProcess script(kScript);
        prepare(script, closedLoopbackPort());
        QVERIFY(script.start({m_directory->filePath(u"empty-build"_s)}));
        QVERIFY(script.waitForExit());
        QCOMPARE(script.exitCode(), 0);
        QVERIFY(script.output().contains(u"nothing to start"_s));
        QVERIFY(!QFileInfo::exists(m_directory->filePath(u"data"_s)));
    }

private:
    std::optional<QTemporaryDir> m_directory;
    QNetworkAccessManager m_network;
};

QTEST_GUILESS_MAIN(RunAppTest)
#include "tst_run_app.moc"
