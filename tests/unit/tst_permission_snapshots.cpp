#include "audio/MicrophonePermissionSnapshot.h"
#include "audio/SystemAudioPermissionSnapshot.h"
#include "storage/AppLog.h"
#include "support/AwaitTask.h"
#include "support/ScriptedPermissionProbe.h"
#include "text/UiText.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

Q_DECLARE_METATYPE(vesnara::CaptureAuthorization)
Q_DECLARE_METATYPE(vesnara::SystemAudioPermissionSnapshot)
Q_DECLARE_METATYPE(vesnara::SystemAudioPermissionRequestOutcome)

namespace {

using ScriptedProbe = test::ScriptedPermissionProbe;

MicrophonePermissionState micState(const QString& audio, CaptureAuthorization capture,
                                   bool usage = true) {
    return {audio, capture, usage, u"fi.vesnara.app"_s};
}

SystemAudioProbeResult listed(int displays, int apps = 0) {
    return {true, displays, apps, {}};
}

template <typename T> std::optional<T> runToEnd(QCoro::Task<T> task) {
    return test::awaitTask(std::move(task)).value;
}

} // namespace

class PermissionSnapshotsTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_logDir;

    QString logText() { return AppLog::snapshot(1 << 20); }

private Q_SLOTS:
    void init() {
        AppLog::setLogFilePath(
            m_logDir.filePath(QString::fromLatin1(QTest::currentTestFunction()) + u".log"_s));
    }

    void recordPermissionTextIsReadInEveryForm_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("granted code") << u"rawValue: 1735552628"_s << u"granted"_s;
        QTest::newRow("granted letters") << u"grnt"_s << u"granted"_s;
        QTest::newRow("granted word") << u"granted"_s << u"granted"_s;
        QTest::newRow("denied code") << u"1684369017"_s << u"denied"_s;
        QTest::newRow("denied letters") << u"deny"_s << u"denied"_s;
        QTest::newRow("denied word") << u"denied"_s << u"denied"_s;
        QTest::newRow("undetermined code") << u"1970168948"_s << u"undetermined"_s;
        QTest::newRow("undetermined letters") << u"undt"_s << u"undetermined"_s;
        QTest::newRow("undetermined word") << u"undetermined"_s << u"undetermined"_s;
        QTest::newRow("empty") << QString() << u"unknown"_s;
        QTest::newRow("another code") << u"1234"_s << u"unknown"_s;
    }
    void recordPermissionTextIsReadInEveryForm() {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(recordPermissionLabel(text), expected);
    }

    void microphoneTableTakesTheFirstRowThatApplies_data() {
        using CA = CaptureAuthorization;
        QTest::addColumn<QString>("audio");
        QTest::addColumn<CaptureAuthorization>("capture");
        QTest::addColumn<bool>("usage");
        QTest::addColumn<QString>("summary");
        QTest::addColumn<bool>("granted");
        QTest::addColumn<bool>("canRequest");
        QTest::addColumn<bool>("openSettings");
        const auto missingUsage = UiText::microphonePermissionSummaryMissingUsage;
        QTest::newRow("usage missing, granted")
            << u"granted"_s << CA::notDetermined << false << missingUsage << true << false << false;
        QTest::newRow("usage missing, effectively denied")
            << u"denied"_s << CA::denied << false << missingUsage << false << false << true;
        QTest::newRow("usage missing, restricted only")
            << u"undetermined"_s << CA::restricted << false << missingUsage << false << false
            << true;
        QTest::newRow("usage missing, undecided") << u"undetermined"_s << CA::notDetermined << false
                                                  << missingUsage << false << false << false;
        QTest::newRow("granted by the newer interface alone")
            << u"granted"_s << CA::denied << true << UiText::microphonePermissionSummaryGranted
            << true << false << false;
        QTest::newRow("granted by the older interface alone")
            << u"denied"_s << CA::authorized << true << UiText::microphonePermissionSummaryGranted
            << true << false << false;
        QTest::newRow("effectively denied and restricted")
            << u"unknown"_s << CA::restricted << true
            << UiText::microphonePermissionSummaryRestricted << false << false << true;
        QTest::newRow("effectively denied")
            << u"denied"_s << CA::denied << true << UiText::microphonePermissionSummaryDenied
            << false << false << true;
        QTest::newRow("restricted, record undecided")
            << u"undetermined"_s << CA::restricted << true
            << UiText::microphonePermissionSummaryRestricted << false << true << true;
        QTest::newRow("contradictory")
            << u"denied"_s << CA::notDetermined << true
            << UiText::microphonePermissionSummaryContradictory << false << true << false;
        QTest::newRow("capture undecided")
            << u"unknown"_s << CA::notDetermined << true
            << UiText::microphonePermissionSummaryNotYetGranted << false << true << false;
        QTest::newRow("record undecided, capture denied: not effectively denied")
            << u"undetermined"_s << CA::denied << true
            << UiText::microphonePermissionSummaryNotYetGranted << false << true << false;
        QTest::newRow("nothing known")
            << u"unknown"_s << CA::unknown << true << UiText::microphonePermissionSummaryUnclear
            << false << true << false;
        QTest::newRow("record denied, capture unknown")
            << u"denied"_s << CA::unknown << true << UiText::microphonePermissionSummaryUnclear
            << false << true << false;
    }
    void microphoneTableTakesTheFirstRowThatApplies() {
        QFETCH(QString, audio);
        QFETCH(CaptureAuthorization, capture);
        QFETCH(bool, usage);
        QFETCH(QString, summary);
        QFETCH(bool, granted);
        QFETCH(bool, canRequest);
        QFETCH(bool, openSettings);
        const auto snapshot = MicrophonePermissionSnapshot::from(micState(audio, capture, usage));
        QCOMPARE(snapshot.summaryText, summary);
        QCOMPARE(snapshot.isGranted, granted);
        QCOMPARE(snapshot.canRequestPrompt, canRequest);
        QCOMPARE(snapshot.shouldOpenSystemSettings, openSettings);
    }

    void microphoneDetailNamesBothInterfacesAndTheBundle() {
        QCOMPARE(
            MicrophonePermissionSnapshot::from(
                micState(u"grnt"_s, CaptureAuthorization::notDetermined))
                .detailText,
            u"AVAudio=granted, AVCapture=notDetermined, bundle=fi.vesnara.app, usageDesc=ok"_s);
        QCOMPARE(MicrophonePermissionSnapshot::from(
                     {u"x"_s, CaptureAuthorization::restricted, false, QString()})
                     .detailText,
                 u"AVAudio=unknown, AVCapture=restricted, bundle=-, usageDesc=missing"_s);
    }

    void microphoneRequestStatusFollowsResultThenSnapshot() {
        const auto denied =
            MicrophonePermissionSnapshot::from(micState(u"denied"_s, CaptureAuthorization::denied));
        const auto undecided = MicrophonePermissionSnapshot::from(
            micState(u"undetermined"_s, CaptureAuthorization::notDetermined));
        const auto granted = MicrophonePermissionSnapshot::from(
            micState(u"granted"_s, CaptureAuthorization::notDetermined));
        QCOMPARE(microphonePermissionRequestStatusText(true, denied),
                 UiText::microphonePermissionInUse);
        QCOMPARE(microphonePermissionRequestStatusText(false, granted),
                 UiText::microphonePermissionInUse);
        QCOMPARE(microphonePermissionRequestStatusText(false, denied),
                 UiText::microphonePermissionBlocked);
        QCOMPARE(microphonePermissionRequestStatusText(false, undecided),
                 UiText::microphonePermissionNotObtained);
    }

    void microphoneRequestAsksNothingWhenDecidedOrWithoutUsage() {
        auto probe = std::make_shared<ScriptedProbe>();
        probe->micState = micState(u"granted"_s, CaptureAuthorization::denied);
        QCOMPARE(runToEnd(requestMicrophonePermission(probe)), true);

        probe->micState = micState(u"denied"_s, CaptureAuthorization::restricted);
        QCOMPARE(runToEnd(requestMicrophonePermission(probe)), false);

        probe->micState = micState(u"undetermined"_s, CaptureAuthorization::notDetermined, false);
        QCOMPARE(runToEnd(requestMicrophonePermission(probe)), false);
        QVERIFY(logText().contains(
            u"microphone permission prompt skipped: NSMicrophoneUsageDescription missing"_s));

        QCOMPARE(probe->recordRequests + probe->captureRequests, 0);
    }

    void microphoneRequestFallsBackToTheOlderInterfaceOnlyWhileUndecided() {
        auto probe = std::make_shared<ScriptedProbe>();
        probe->micState = micState(u"undetermined"_s, CaptureAuthorization::notDetermined);
        probe->micStatesAfterRequest = {
            micState(u"undetermined"_s, CaptureAuthorization::notDetermined),
            micState(u"undetermined"_s, CaptureAuthorization::authorized)};
        QCOMPARE(runToEnd(requestMicrophonePermission(probe)), true);
        QCOMPARE(probe->recordRequests, 1);
        QCOMPARE(probe->captureRequests, 1);
        const auto log = logText();
        QVERIFY(log.contains(u"microphone permission avAudio=undetermined avCapture=notDetermined "
                             u"bundleId=fi.vesnara.app hasUsageDesc=true"_s));
        QVERIFY(log.contains(
            u"microphone permission AVAudioApplication.requestRecordPermission granted=false"_s));
        QVERIFY(log.contains(
            u"microphone permission post-fallback avAudio=undetermined avCapture=authorized"_s));

        probe->micState = micState(u"undetermined"_s, CaptureAuthorization::notDetermined);
        probe->micStatesAfterRequest = {micState(u"undetermined"_s, CaptureAuthorization::denied)};
        QCOMPARE(runToEnd(requestMicrophonePermission(probe)), true);
        QCOMPARE(probe->captureRequests, 1);
        QVERIFY(logText().contains(
            u"microphone permission inconclusive after request; proceeding to capture probe"_s));
    }

    void microphoneRequestEndsWithThePromptsAnswerWhenDenied() {
        auto probe = std::make_shared<ScriptedProbe>();
        probe->micState = micState(u"undetermined"_s, CaptureAuthorization::denied);
        probe->micStatesAfterRequest = {micState(u"denied"_s, CaptureAuthorization::denied)};
        probe->recordRequestResult = false;
        QCOMPARE(runToEnd(requestMicrophonePermission(probe)), false);
        QCOMPARE(probe->captureRequests, 0);
    }

    void systemAudioTableTakesTheFirstRowThatApplies_data() {
        QTest::addColumn<bool>("preflight");
        QTest::addColumn<int>("probe"); // -1: no probe result
        QTest::addColumn<bool>("usage");
        QTest::addColumn<bool>("requestedThisRun");
        QTest::addColumn<QString>("summary");
        QTest::addColumn<bool>("granted");
        QTest::addColumn<bool>("canRequest");
        QTest::newRow("usage missing wins over a grant")
            << true << -1 << false << false << UiText::systemAudioPermissionSummaryMissingUsage
            << true << false;
        QTest::newRow("usage missing, not granted")
            << false << -1 << false << true << UiText::systemAudioPermissionSummaryMissingUsage
            << false << false;
        QTest::newRow("preflight grants without a probe")
            << true << -1 << true << false << UiText::systemAudioPermissionSummaryGranted << true
            << false;
        QTest::newRow("a failed probe overrules the preflight")
            << true << 0 << true << false << UiText::systemAudioPermissionSummaryNotYetGranted
            << false << true;
        QTest::newRow("a good probe overrules the preflight")
            << false << 1 << true << true << UiText::systemAudioPermissionSummaryGranted << true
            << false;
        QTest::newRow("after a prompt in this run")
            << false << 0 << true << true << UiText::systemAudioPermissionSummaryMissingOrDenied
            << false << true;
        QTest::newRow("never asked")
            << false << -1 << true << false << UiText::systemAudioPermissionSummaryNotYetGranted
            << false << true;
    }
    void systemAudioTableTakesTheFirstRowThatApplies() {
        QFETCH(bool, preflight);
        QFETCH(int, probe);
        QFETCH(bool, usage);
        QFETCH(bool, requestedThisRun);
        QFETCH(QString, summary);
        QFETCH(bool, granted);
        QFETCH(bool, canRequest);
        const SystemAudioBundleInfo bundle{u"id"_s, u"/p"_s, true, usage};
        const auto probeResult = probe < 0 ? std::nullopt : std::optional<bool>(probe == 1);
        const auto snapshot =
            SystemAudioPermissionSnapshot::from(preflight, probeResult, bundle, requestedThisRun);
        QCOMPARE(snapshot.summaryText, summary);
        QCOMPARE(snapshot.isGranted, granted);
        QCOMPARE(snapshot.canRequestPrompt, canRequest);
        QCOMPARE(snapshot.shouldOpenSystemSettings, !granted);
    }

    void systemAudioDetailListsEveryInput() {
        const auto snapshot = SystemAudioPermissionSnapshot::from(
            true, std::nullopt, {QString(), u"/usr/bin/vesnara"_s, true, false}, false);
        QCOMPARE(snapshot.detailText,
                 u"probe=-, CGPreflight=true, bundle=-, path=/usr/bin/vesnara, "
                 u"screenUsageDesc=ok, audioUsageDesc=missing"_s);
    }

    // The outcome reads only whether the snapshot grants and whether it points at the settings.
    void systemAudioRequestOutcomeTable_data() {
        using Snapshot = SystemAudioPermissionSnapshot;
        using Outcome = SystemAudioPermissionRequestOutcome;
        QTest::addColumn<bool>("before");
        QTest::addColumn<bool>("result");
        QTest::addColumn<Snapshot>("after");
        QTest::addColumn<Outcome>("expected");
        Snapshot granted, settings;
        granted.isGranted = true;
        settings.shouldOpenSystemSettings = true;
        const Outcome relaunch{true, true, UiText::systemAudioPermissionGrantedRelaunch};
        const Outcome inUse{false, false, UiText::systemAudioPermissionInUse};
        QTest::newRow("granted during this run") << false << true << granted << relaunch;
        QTest::newRow("granted during this run, though the request said no")
            << false << false << granted << relaunch;
        QTest::newRow("refused, settings are the way")
            << false << false << settings
            << Outcome{std::nullopt, true, UiText::systemAudioPermissionMissing};
        QTest::newRow("refused, no way given")
            << false << false << Snapshot{}
            << Outcome{std::nullopt, true, UiText::systemAudioPermissionNotObtained};
        QTest::newRow("granted all along") << true << true << granted << inUse;
        QTest::newRow("request said yes, checks not yet") << true << true << settings << inUse;
    }
    void systemAudioRequestOutcomeTable() {
        QFETCH(bool, before);
        QFETCH(bool, result);
        QFETCH(SystemAudioPermissionSnapshot, after);
        QFETCH(SystemAudioPermissionRequestOutcome, expected);
        QCOMPARE(decideSystemAudioPermissionRequest(before, result, after), expected);
    }

    void probeNeedsAListingWithADisplay() {
        auto probe = std::make_shared<ScriptedProbe>();
        SystemAudioPermission permission(probe, std::chrono::milliseconds(1));
        probe->probeResults = {listed(0, 3)};
        QCOMPARE(runToEnd(permission.permissionProbe()), false);
        probe->probeResults = {{false, 0, 0, u"domain=pulseaudio code=6 desc=gone"_s}};
        QCOMPARE(runToEnd(permission.permissionProbe()), false);
        probe->probeResults = {listed(2, 1)};
        QCOMPARE(runToEnd(permission.permissionProbe()), true);
        const auto log = logText();
        QVERIFY(log.contains(u"systemAudio permissionProbe displays=0 apps=3 result=false"_s));
        QVERIFY(log.contains(
            u"systemAudio permissionProbe error domain=pulseaudio code=6 desc=gone"_s));
        QVERIFY(log.contains(u"systemAudio permissionProbe displays=2 apps=1 result=true"_s));
    }

    void systemAudioPromptIsShownOncePerRunAndRetriedThreeTimes() {
        auto probe = std::make_shared<ScriptedProbe>();
        SystemAudioPermission permission(probe, std::chrono::milliseconds(1));
        probe->probeResults = {listed(0)};
        QVERIFY(!permission.hasRequestedPermissionThisRun());
        QCOMPARE(runToEnd(permission.requestPermission()), false);
        QCOMPARE(probe->systemAccessRequests, 1);
        QCOMPARE(probe->probes, 4);
        QVERIFY(permission.hasRequestedPermissionThisRun());
        QVERIFY(logText().contains(u"systemAudio requestPermission finalResult=false"_s));

        QCOMPARE(runToEnd(permission.requestPermission()), false);
        QCOMPARE(probe->systemAccessRequests, 1);
        QVERIFY(logText().contains(
            u"systemAudio requestPermission skippedPrompt sameRun result=false"_s));
        QCOMPARE(permission.permissionSnapshot(false, false).summaryText,
                 UiText::systemAudioPermissionSummaryMissingOrDenied);
    }

    void systemAudioGrantReachingTheListingLateIsFound() {
        auto probe = std::make_shared<ScriptedProbe>();
        SystemAudioPermission permission(probe, std::chrono::milliseconds(1));
        probe->probeResults = {listed(0), listed(0), listed(1)};
        probe->systemAccessResult = true;
        QCOMPARE(runToEnd(permission.requestPermission()), true);
        QCOMPARE(probe->probes, 3);
        QVERIFY(logText().contains(
            u"systemAudio requestPermission CGRequestScreenCaptureAccess=true"_s));
        QVERIFY(logText().contains(u"systemAudio requestPermission grantedAfterRetry=true"_s));

        probe->preflight = true;
        const auto current = runToEnd(permission.currentPermissionSnapshot());
        QVERIFY(current);
        QVERIFY(current->isGranted);
        QVERIFY(current->detailText.startsWith(u"probe=true, CGPreflight=true"_s));
    }
};

QTEST_GUILESS_MAIN(PermissionSnapshotsTest)
#include "tst_permission_snapshots.moc"
