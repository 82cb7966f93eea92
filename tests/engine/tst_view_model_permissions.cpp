// The permission panel's commands on the view model, against a scripted platform: what the
// panel shows, the status lines, one request at a time, the settings pages and the relaunch.
#include "EngineHarness.h"

#include "text/UiText.h"

using namespace vesnara;
using namespace vesnara::test;

namespace {

MicrophonePermissionState micState(const QString& audio, CaptureAuthorization capture) {
    return {audio, capture, true, u"fi.vesnara.app"_s};
}

SystemAudioProbeResult listed(int displays) {
    return {true, displays, 0, {}};
}

/// A harness whose platform asks for permissions; its requests take a moment, as a prompt does.
std::unique_ptr<EngineHarness> harnessWithPermissions() {
    auto h = std::make_unique<EngineHarness>();
    h->permissionProbe = std::make_shared<ScriptedPermissionProbe>();
    h->permissionProbe->requestDelay = 20ms;
    h->timing.systemAudioPermissionProbeRetryDelay = 1ms;
    return h;
}

} // namespace

class ViewModelPermissionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void snapshotsFollowThePlatformAndProbeOnRequest() {
        auto h = harnessWithPermissions();
        auto& probe = *h->permissionProbe;
        probe.micState = micState(u"undetermined"_s, CaptureAuthorization::notDetermined);
        probe.preflight = false;
        probe.probeResults = {listed(1)};
        auto& vm = h->make();
        QCOMPARE(vm.permissions()->microphonePermissionSummary(),
                 UiText::microphonePermissionSummaryNotYetGranted);
        QVERIFY(vm.permissions()->canRequestMicrophonePermissionPrompt());
        QCOMPARE(vm.permissions()->systemAudioPermissionSummary(),
                 UiText::systemAudioPermissionSummaryNotYetGranted);

        probe.micState = micState(u"granted"_s, CaptureAuthorization::authorized);
        vm.permissions()->refreshMicrophonePermissionStatus(false);
        QVERIFY(vm.permissions()->isMicrophonePermissionGranted());
        QCOMPARE(vm.status()->statusText(), UiText::statusReadyToStart);
        vm.permissions()->refreshMicrophonePermissionStatus(true);
        QCOMPARE(vm.status()->statusText(), UiText::microphonePermissionSummaryGranted);

        // The preflight answers at once; the probe, which lists an output, a moment later.
        vm.permissions()->refreshSystemAudioPermissionStatus(true, true);
        QCOMPARE(h->statuses.value(h->statuses.size() - 2),
                 UiText::systemAudioPermissionSummaryNotYetGranted);
        QTRY_VERIFY_WITH_TIMEOUT(vm.permissions()->isSystemAudioPermissionGranted(), kEngineWaitMs);
        QCOMPARE(vm.status()->statusText(), UiText::systemAudioPermissionSummaryGranted);
        QVERIFY(vm.permissions()->systemAudioPermissionDetails().startsWith(
            u"probe=true, CGPreflight=false"_s));
    }

    void microphoneRequestRunsOnceAndSaysHowItWent() {
        auto h = harnessWithPermissions();
        auto& probe = *h->permissionProbe;
        probe.micState = micState(u"undetermined"_s, CaptureAuthorization::notDetermined);
        probe.micStatesAfterRequest = {micState(u"granted"_s, CaptureAuthorization::notDetermined)};
        probe.recordRequestResult = true;
        auto& vm = h->make();

        vm.permissions()->requestMicrophonePermissionFromUI();
        QVERIFY(vm.permissions()->isRequestingMicrophonePermission());
        QCOMPARE(vm.status()->statusText(), UiText::microphonePermissionRequesting);
        vm.permissions()->requestMicrophonePermissionFromUI();
        QTRY_VERIFY_WITH_TIMEOUT(!vm.permissions()->isRequestingMicrophonePermission(),
                                 kEngineWaitMs);
        QCOMPARE(probe.recordRequests, 1);
        QCOMPARE(vm.status()->statusText(), UiText::microphonePermissionInUse);
        QVERIFY(vm.permissions()->isMicrophonePermissionGranted());

        // Both interfaces refuse: only the settings can help.
        probe.micState = micState(u"denied"_s, CaptureAuthorization::denied);
        vm.permissions()->requestMicrophonePermissionFromUI();
        QTRY_VERIFY_WITH_TIMEOUT(!vm.permissions()->isRequestingMicrophonePermission(),
                                 kEngineWaitMs);
        QCOMPARE(vm.status()->statusText(), UiText::microphonePermissionBlocked);
        QVERIFY(vm.permissions()->shouldOpenMicrophoneSystemSettings());
        QVERIFY(!vm.permissions()->isMicrophonePermissionGranted());
    }

    void systemAudioRequestDecidesRelaunchHelpAndText() {
        auto h = harnessWithPermissions();
        auto& probe = *h->permissionProbe;
        probe.preflight = false;
        probe.probeResults = {listed(0)};
        probe.systemAccessResult = false;
        auto& vm = h->make();

        // Refused: help is shown and the way forward is the settings.
        vm.permissions()->requestSystemAudioPermissionFromUI();
        QCOMPARE(vm.status()->statusText(), UiText::systemAudioPermissionRequesting);
        vm.permissions()->requestSystemAudioPermissionFromUI();
        QTRY_VERIFY_WITH_TIMEOUT(!vm.permissions()->isRequestingSystemAudioPermission(),
                                 kEngineWaitMs);
        QCOMPARE(probe.systemAccessRequests, 1);
        QCOMPARE(vm.status()->statusText(), UiText::systemAudioPermissionMissing);
        QVERIFY(vm.permissions()->showSystemAudioPermissionHelp());
        QVERIFY(!vm.permissions()->shouldSuggestSystemAudioRelaunch());
        QCOMPARE(vm.permissions()->systemAudioPermissionSummary(),
                 UiText::systemAudioPermissionSummaryMissingOrDenied);

        // Granted later in the same run: no second prompt, and a relaunch is suggested.
        probe.probeResults = {listed(1)};
        vm.permissions()->requestSystemAudioPermissionFromUI();
        QTRY_VERIFY_WITH_TIMEOUT(!vm.permissions()->isRequestingSystemAudioPermission(),
                                 kEngineWaitMs);
        QCOMPARE(probe.systemAccessRequests, 1);
        QCOMPARE(vm.status()->statusText(), UiText::systemAudioPermissionGrantedRelaunch);
        QVERIFY(vm.permissions()->shouldSuggestSystemAudioRelaunch());
        QVERIFY(vm.permissions()->showSystemAudioPermissionHelp());

        // Granted before the request already: nothing to suggest.
        probe.preflight = true;
        vm.permissions()->requestSystemAudioPermissionFromUI();
        QTRY_VERIFY_WITH_TIMEOUT(!vm.permissions()->isRequestingSystemAudioPermission(),
                                 kEngineWaitMs);
        QCOMPARE(vm.status()->statusText(), UiText::systemAudioPermissionInUse);
        QVERIFY(!vm.permissions()->shouldSuggestSystemAudioRelaunch());
        QVERIFY(!vm.permissions()->showSystemAudioPermissionHelp());
    }

    void refusedSystemAudioStartOpensThePermissionHelp() {
        auto h = harnessWithPermissions();
        h->permissionProbe->micState = micState(u"granted"_s, CaptureAuthorization::authorized);
        h->systemBackend.content.error =
            AudioBackendError{u"pulseaudio"_s, 6, u"Connection refused"_s};
        auto& vm = h->make();
        vm.sources()->setInputMode(AudioInputMode::systemAudio);
        vm.startRecording();
        QTRY_VERIFY_WITH_TIMEOUT(!vm.isStartingRecording(), kEngineWaitMs);
        QVERIFY(!vm.isRecording());
        QVERIFY(vm.permissions()->showSystemAudioPermissionHelp());
        QCOMPARE(vm.status()->diagnosticHint(), UiText::systemAudioPermissionMissingHint);
        QVERIFY(h->statuses.contains(UiText::systemAudioPermissionMissing));
    }

    void settingsPagesFallBackToTheGeneralPage() {
        EngineHarness h;
        auto& vm = h.make();
        h.desktop.openablePlaces = {SettingsPlace::microphoneAccess, SettingsPlace::general};
        vm.permissions()->openMicrophoneSystemSettings();
        QCOMPARE(vm.status()->statusText(), UiText::openedMicrophoneSettings);
        vm.permissions()->openSystemAudioSystemSettings();
        QCOMPARE(vm.status()->statusText(), UiText::openedSystemAudioSettings);
        QCOMPARE(h.desktop.openedPlaces,
                 (QList<SettingsPlace>{SettingsPlace::microphoneAccess, SettingsPlace::general}));

        h.desktop.openablePlaces.clear();
        vm.permissions()->openSystemAudioSystemSettings();
        QCOMPARE(vm.status()->statusText(), UiText::openSettingsFailed);
    }

    void relaunchEndsThisInstanceOnlyWhenTheNewOneStarted() {
        EngineHarness h;
        auto& vm = h.make();
        h.desktop.startError = u"No such file or directory"_s;
        vm.permissions()->relaunchApplication();
        QCOMPARE(vm.status()->statusText(), UiText::relaunchFailed(u"No such file or directory"_s));
        QCOMPARE(h.desktop.terminations, 0);

        h.desktop.startError.reset();
        vm.permissions()->relaunchApplication();
        QCOMPARE(h.desktop.newInstances, 1);
        QCOMPARE(h.desktop.terminations, 1);
    }
};

QTEST_GUILESS_MAIN(ViewModelPermissionsTest)
#include "tst_view_model_permissions.moc"
