// The sources part: the listings of outputs and applications, and what a listing may do to the
// stored choice.
#include "EngineHarness.h"

#include "text/UiText.h"

using namespace vesnara;
using namespace vesnara::test;

namespace {

STTConfiguration storedConfig(Preferences& preferences) {
    return STTConfigurationStore(preferences).load();
}

const AudioBackendError kServerGone{u"pulseaudio"_s, 6, u"Connection refused"_s};

} // namespace

class TstViewModelSources : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void microphoneChoiceOutlastsAServerThatIsNotThereYet() {
        EngineHarness h;
        h.microphoneBackend.devices
            << AudioInputDevice{12, u"USB-mikrofoni"_s, AudioTransportKind::usb, 1};
        STTConfiguration stored = storedConfig(h.preferences);
        stored.preferredInputDeviceID = 12;
        STTConfigurationStore(h.preferences).save(stored);
        h.permissionProbe = std::make_shared<ScriptedPermissionProbe>();
        h.permissionProbe->micState = {u"undetermined"_s, CaptureAuthorization::notDetermined, true,
                                       u"vesnara"_s};
        // The sound server has not answered yet when the view model is built.
        h.microphoneBackend.listingError = kServerGone;
        auto& vm = h.make();
        AudioSources& sources = *vm.sources();
        QVERIFY(sources.availableInputDevices().isEmpty());
        QCOMPARE(sources.selectedInputDeviceID(), 12u);
        QCOMPARE(storedConfig(h.preferences).preferredInputDeviceID, std::optional<quint32>(12));
        QVERIFY(!vm.permissions()->isMicrophonePermissionGranted());

        // It connects: the devices are listed, the choice stands, the permission reads anew.
        h.microphoneBackend.listingError.reset();
        h.permissionProbe->micState = {u"granted"_s, CaptureAuthorization::authorized, true,
                                       u"vesnara"_s};
        h.microphoneBackend.announceDevicesChanged();
        QTRY_COMPARE(sources.availableInputDevices().size(), 2);
        QCOMPARE(sources.selectedInputDeviceName(), u"USB-mikrofoni"_s);
        QCOMPARE(sources.recommendedInputDeviceName(), u"Sisäinen mikrofoni"_s);
        QTRY_VERIFY(vm.permissions()->isMicrophonePermissionGranted());

        // A device unplugged for good is forgotten at the next listing.
        h.microphoneBackend.devices.removeLast();
        h.microphoneBackend.announceDevicesChanged();
        QTRY_COMPARE(sources.selectedInputDeviceID(), 0u);
        QCOMPARE(storedConfig(h.preferences).preferredInputDeviceID, std::nullopt);
    }

    void outputListingKeepsOrDropsTheStoredChoice() {
        EngineHarness h;
        h.systemBackend.content.displays = {
            {3, u"kaiuttimet"_s}, {9, u"HDMI"_s}, {4, u"Äänikortti"_s}};
        auto& vm = h.make();
        AudioSources& sources = *vm.sources();
        sources.setPreferredSystemDisplay(9);
        QCOMPARE(vm.status()->statusText(), u"Systeemiäänen lähde päivitetty"_s);

        sources.refreshSystemAudioDisplays(true);
        QStringList names;
        for (const auto& display : sources.availableSystemDisplays())
            names << display.name;
        QCOMPARE(names, (QStringList{u"HDMI"_s, u"kaiuttimet"_s, u"Äänikortti"_s}));
        QCOMPARE(sources.selectedSystemDisplayName(), u"HDMI"_s);

        // A server that cannot be asked says nothing about the choice: the list empties, the
        // choice stays, on screen and stored.
        h.systemBackend.content.error = kServerGone;
        sources.refreshSystemAudioDisplays(true);
        QVERIFY(sources.availableSystemDisplays().isEmpty());
        QCOMPARE(sources.selectedSystemDisplayID(), 9u);
        QCOMPARE(storedConfig(h.preferences).preferredSystemDisplayID, std::optional<quint32>(9));
        QCOMPARE(sources.selectedSystemDisplayName(), u"Tuntematon äänilähtö"_s);

        // An output that is gone from a good listing is forgotten.
        h.systemBackend.content = {};
        h.systemBackend.content.displays = {{3, u"Kaiuttimet"_s}};
        sources.refreshSystemAudioDisplays(true);
        QCOMPARE(sources.selectedSystemDisplayID(), 0u);
        QCOMPARE(storedConfig(h.preferences).preferredSystemDisplayID, std::nullopt);
        QCOMPARE(sources.selectedSystemDisplayName(), u"Auto"_s);
    }

    void applicationListingKeepsOrDropsTheStoredChoice() {
        EngineHarness h;
        h.systemBackend.content.applications = {{u"zoom"_s, u"Zoom"_s, {}},
                                                {u"firefox"_s, u"Firefox"_s, {}},
                                                {u"firefox"_s, u"Firefox"_s, {}}};
        auto& vm = h.make();
        AudioSources& sources = *vm.sources();
        sources.setPreferredSystemApplication(u"  zoom \n"_s);
        QCOMPARE(sources.selectedSystemApplicationBundleID(), u"zoom"_s);
        QCOMPARE(vm.status()->statusText(), u"Systeemiäänen sovellussuodatin päivitetty"_s);

        sources.refreshSystemAudioApplications(true);
        QStringList names;
        for (const auto& application : sources.availableSystemApplications())
            names << application.name;
        QCOMPARE(names, (QStringList{u"Firefox"_s, u"Zoom"_s}));

        h.systemBackend.content.error = kServerGone;
        sources.refreshSystemAudioApplications(true);
        QVERIFY(sources.availableSystemApplications().isEmpty());
        QCOMPARE(storedConfig(h.preferences).preferredSystemApplicationBundleID,
                 std::optional(u"zoom"_s));

        h.systemBackend.content = {};
        h.systemBackend.content.applications = {{u"firefox"_s, u"Firefox"_s, {}}};
        sources.refreshSystemAudioApplications(true);
        QCOMPARE(sources.selectedSystemApplicationBundleID(), QString());
        QCOMPARE(storedConfig(h.preferences).preferredSystemApplicationBundleID, std::nullopt);
    }

    void withoutPermissionNobodyIsAsked() {
        EngineHarness h;
        h.permissionProbe = std::make_shared<ScriptedPermissionProbe>();
        h.permissionProbe->preflight = false;
        auto& vm = h.make();
        AudioSources& sources = *vm.sources();
        sources.setPreferredSystemDisplay(3);
        sources.refreshSystemAudioDisplays(true);
        QCOMPARE(sources.availableSystemDisplays().size(), 1);

        // The display is still there, but without leave to ask the list only empties.
        sources.refreshSystemAudioDisplays(false);
        sources.refreshSystemAudioApplications(false);
        QVERIFY(sources.availableSystemDisplays().isEmpty());
        QCOMPARE(sources.selectedSystemDisplayID(), 3u);
        QCOMPARE(storedConfig(h.preferences).preferredSystemDisplayID, std::optional<quint32>(3));
    }
};

QTEST_GUILESS_MAIN(TstViewModelSources)
#include "tst_view_model_sources.moc"
