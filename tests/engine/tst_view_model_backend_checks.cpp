// The update check and the connection test through the view model, against manifests and health
// answers of the reference backend: what the status line says, what the memo service's status
// becomes, and which download is handed to the desktop.
#include "EngineHarness.h"

#include "text/UiText.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QRegularExpression>

using namespace vesnara;
using namespace vesnara::test;

namespace {

/// Puts `json` where the backend serves `/updates/<name>.json` and gives that address.
QString serveManifest(EngineHarness& h, const QString& name, const QByteArray& json) {
    QDir(h.server.dataDirectory()).mkpath(u"updates"_s);
    QFile file(h.server.dataDirectory() + u"/updates/"_s + name + u".json"_s);
    if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size())
        return {};
    return h.backend().baseUrl().toString() + u"/updates/"_s + name + u".json"_s;
}

QByteArray json(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

bool waitForStatusAfter(EngineHarness& h, const QString& pending) {
    return QTest::qWaitFor([&h, pending] { return h.viewModel->status()->statusText() != pending; },
                           kEngineWaitMs);
}

} // namespace

class ViewModelBackendChecksTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // `%1` in a manifest stands for the running version; `opened` is the one address the
    // desktop is given, or empty for none.
    void updateCheckComparesAndOpensTheDownload_data() {
        QTest::addColumn<QByteArray>("manifest");
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("opened");
        const QString invalid = UiText::updateCheckFailed(UiText::backendInvalidResponse);
        const QString web = u"https://lataus.example/v.zip"_s;
        QTest::newRow("newer with a web download")
            << json({{u"version"_s, u"999.0.0"_s},
                     {u"downloadURL"_s, web},
                     {u"artifacts"_s, QJsonObject{{u"zip"_s, QJsonObject{{u"file"_s, u"v.zip"_s},
                                                                         {u"size"_s, 12}}}}}})
            << UiText::updateAvailableOpening(u"999.0.0"_s) << web;
        QTest::newRow("newer without a download")
            << json({{u"version"_s, u"999.0.0"_s}}) << UiText::updateAvailable(u"999.0.0"_s)
            << QString();
        QTest::newRow("newer with a local file")
            << json({{u"version"_s, u"999.0.0"_s}, {u"downloadURL"_s, u"file:///tmp/v.zip"_s}})
            << UiText::updateAvailable(u"999.0.0"_s) << QString();
        QTest::newRow("the same version")
            << json({{u"version"_s, u"%1"_s}, {u"downloadURL"_s, web}}) << u"same"_s << QString();
        QTest::newRow("pre-release of the running version")
            << json({{u"version"_s, u"%1-beta"_s}, {u"downloadURL"_s, web}}) << u"same"_s
            << QString();
        QTest::newRow("no version") << json({{u"downloadURL"_s, web}}) << invalid << QString();
        QTest::newRow("wrong type in an unused field")
            << json({{u"version"_s, u"999.0.0"_s}, {u"buildNumber"_s, 42}}) << invalid << QString();
        QTest::newRow("artifact without its file")
            << json(
                   {{u"version"_s, u"999.0.0"_s},
                    {u"artifacts"_s, QJsonObject{{u"dmg"_s, QJsonObject{{u"sha256"_s, u"ab"_s}}}}}})
            << invalid << QString();
        QTest::newRow("not JSON") << QByteArray("<html>") << invalid << QString();
    }
    void updateCheckComparesAndOpensTheDownload() {
        QFETCH(QByteArray, manifest);
        QFETCH(QString, status);
        QFETCH(QString, opened);
        EngineHarness h;
        QVERIFY(h.server.isListening());
        auto& vm = h.make();
        const QString running = vm.support()->currentAppVersion();
        QVERIFY(!running.isEmpty());
        if (status == u"same"_s)
            status = UiText::updateNoneNewer(running);
        const QString url = serveManifest(
            h, u"feed"_s, QString::fromUtf8(manifest).replace(u"%1"_s, running).toUtf8());
        QVERIFY(!url.isEmpty());
        vm.settings()->setUpdateManifestURL(u"  "_s + url + u"\n"_s);

        vm.support()->checkForUpdates();
        QCOMPARE(vm.status()->statusText(), UiText::updateChecking);
        QVERIFY(waitForStatusAfter(h, UiText::updateChecking));
        QCOMPARE(vm.status()->statusText(), status);
        QCOMPARE(h.desktop.openedUrls,
                 opened.isEmpty() ? QList<QUrl>{} : QList<QUrl>{QUrl(opened)});
    }

    void updateCheckNeedsAUsableManifestAddress_data() {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("status");
        QTest::addColumn<int>("requests");
        QTest::newRow("blank") << u" \n\t"_s << UiText::updateManifestURLMissing << 0;
        QTest::newRow("not absolute")
            << u"latest-mac.json"_s
            << UiText::updateCheckFailed(UiText::backendInvalidUpdateManifestURL) << 0;
        QTest::newRow("no such manifest")
            << u"/updates/puuttuu.json"_s << UiText::updateCheckFailed(u"Tiedostoa ei löydy"_s)
            << 1;
    }
    void updateCheckNeedsAUsableManifestAddress() {
        QFETCH(QString, address);
        QFETCH(QString, status);
        QFETCH(int, requests);
        EngineHarness h;
        QVERIFY(h.server.isListening());
        auto& vm = h.make();
        if (address.startsWith(u'/'))
            address.prepend(h.backend().baseUrl().toString());
        vm.settings()->setUpdateManifestURL(address);
        const qsizetype before = h.server->requests().size();

        vm.support()->checkForUpdates();
        QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), status, kEngineWaitMs);
        QCOMPARE(h.server->requests().size() - before, requests);
        QVERIFY(h.desktop.openedUrls.isEmpty());
    }

    // Each row's answer stands in for the backend's own health record.
    void connectionTestReadsTheHealthAnswer_data() {
        QTest::addColumn<QJsonObject>("answer");
        QTest::addColumn<QString>("memoStatus");
        QTest::addColumn<QString>("status");
        const QString time = u"2026-02-11T08:30:00.123Z"_s;
        const QString ok = u"Yhteys ok (2026-02-11T08:30:00)"_s;
        QTest::newRow("memo record without its flag")
            << QJsonObject{{u"ok"_s, true},
                           {u"time"_s, time},
                           {u"openAIConfigured"_s, true},
                           {u"openAIModel"_s, u"whisper"_s},
                           {u"memoAI"_s, QJsonObject{}}}
            << u"Käytössä (whisper)"_s << ok;
        QTest::newRow("neither") << QJsonObject{{u"ok"_s, true}, {u"time"_s, u"08:30"_s}}
                                 << u"Ei tiedossa (vanha backend)"_s << u"Yhteys ok (08:30)"_s;
        QTest::newRow("backend not well")
            << QJsonObject{{u"ok"_s, false}, {u"time"_s, time}, {u"openAIConfigured"_s, true}}
            << u"Käytössä"_s << UiText::connectionTestFailed;
        QTest::newRow("no time") << QJsonObject{{u"ok"_s, true}}
                                 << UiText::memoBackendStatusConnectionError
                                 << UiText::connectionError(UiText::backendInvalidResponse);
    }
    void connectionTestReadsTheHealthAnswer() {
        QFETCH(QJsonObject, answer);
        QFETCH(QString, memoStatus);
        QFETCH(QString, status);
        EngineHarness h;
        QVERIFY(h.server.isListening());
        auto& vm = h.make();
        QCOMPARE(vm.support()->memoAIBackendStatus(), UiText::memoBackendStatusUnknown);
        QSignalSpy memoChanges(vm.support(), &SupportTools::memoAIBackendStatusChanged);
        h.backend().faults().healthAnswer = answer;

        vm.support()->testBackendConnection();
        QCOMPARE(vm.status()->statusText(), UiText::connectionTesting);
        QVERIFY(waitForStatusAfter(h, UiText::connectionTesting));
        QCOMPARE(vm.status()->statusText(), status);
        QCOMPARE(vm.support()->memoAIBackendStatus(), memoStatus);
        QCOMPARE(memoChanges.size(), 1);
    }

    void connectionTestAgainstTheBackendItselfAndWithoutIt() {
        EngineHarness h;
        QVERIFY(h.server.isListening());
        auto& vm = h.make();
        vm.support()->testBackendConnection();
        QVERIFY(waitForStatusAfter(h, UiText::connectionTesting));
        static const QRegularExpression secondsOnly(
            u"^Yhteys ok \\(\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\)$"_s);
        QVERIFY2(secondsOnly.match(vm.status()->statusText()).hasMatch(),
                 qPrintable(vm.status()->statusText()));
        QCOMPARE(vm.support()->memoAIBackendStatus(), u"Käytössä (extractive)"_s);

        // The backend refuses: the memo service's state is unknown again.
        h.backend().faults().httpFaults.push_back(
            refbackend::HttpFault{refbackend::HttpFault::Kind::respond,
                                  503,
                                  R"({"error":"Huoltokatko"})",
                                  {},
                                  u"/health"_s});
        vm.support()->testBackendConnection();
        QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(),
                                  UiText::connectionError(u"Huoltokatko"_s), kEngineWaitMs);
        QCOMPARE(vm.support()->memoAIBackendStatus(), UiText::memoBackendStatusConnectionError);
        // The health record is asked without any credentials.
        for (const auto& request : h.server->requests()) {
            if (request.path == u"/health"_s)
                QVERIFY(!request.hasHeader("x-api-key") && !request.hasHeader("x-auth-token"));
        }
    }
};

QTEST_GUILESS_MAIN(ViewModelBackendChecksTest)
#include "tst_view_model_backend_checks.moc"
