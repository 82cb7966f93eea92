// The view model's construction and its settings commands, over preferences in memory.
#include "EngineHarness.h"

#include "model/JsonReader.h"
#include "text/UiText.h"

#include <QJsonDocument>

using namespace vesnara;
using namespace vesnara::test;

namespace {

STTConfiguration storedConfig(Preferences& preferences) {
    return STTConfigurationStore(preferences).load();
}

QByteArray storedBytes(Preferences& preferences) {
    return preferences.bytes(STTConfigurationStore::key).value_or(QByteArray());
}

} // namespace

class TstViewModelConfig : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void firstRunSavesTheDefaults();
    void storedValuesBecomeTheMirrors();
    void saveConfigClampsAndWritesBack();
    void apiKeyFromClipboard();
    void authContextStaysInMemory();
    void mixPresets();
    void settersSignalOnlyRealChanges();
};

void TstViewModelConfig::firstRunSavesTheDefaults() {
    EngineHarness h;
    h.preferences.remove(STTConfigurationStore::key);
    auto& vm = h.make();

    const STTConfiguration stored = storedConfig(h.preferences);
    QCOMPARE(stored.baseURL, TranscriptionViewModel::defaultBackendURL());
    QCOMPARE(stored.apiKey, TranscriptionViewModel::defaultSharedAPIKey());
    QCOMPARE(stored.updateManifestURL, TranscriptionViewModel::defaultUpdateManifestURL());
    QVERIFY(TranscriptionViewModel::defaultUpdateManifestURL().endsWith(u"/latest-mac.json"_s));
    QCOMPARE(vm.status()->statusText(), UiText::statusReadyToStart);
    QCOMPARE(vm.inputMode(), AudioInputMode::microphone);
    QCOMPARE(vm.language(), u"fi-FI"_s);
    QCOMPARE(vm.sttModel(), u"chirp_3"_s);
    // 0.55 is no preset's strength.
    QCOMPARE(vm.mixedPreset(), MixPreset::custom);
    QCOMPARE(vm.selectedInputDeviceName(), UiText::automaticSource);
    QVERIFY(vm.canStart());
    QVERIFY(!vm.canSave());
    QCOMPARE(vm.availableInputDevices().size(), 1);
}

void TstViewModelConfig::storedValuesBecomeTheMirrors() {
    EngineHarness h;
    h.preferences.setBytes(
        STTConfigurationStore::key,
        R"({"baseURL":"  \n","apiKey":"oma","defaultLanguage":"sv-SE","preferredInputDeviceID":99,
            "mixedMicGain":1.02,"mixedSystemGain":0.98,"mixedDuckingStrength":0.49})");
    auto& vm = h.make();

    QCOMPARE(vm.config().baseURL, TranscriptionViewModel::defaultBackendURL());
    QCOMPARE(vm.config().apiKey, u"oma"_s);
    QCOMPARE(vm.language(), u"sv-SE"_s);
    // The listing at construction drops a device that is not there any more.
    QCOMPARE(vm.selectedInputDeviceID(), 0u);
    QCOMPARE(storedConfig(h.preferences).preferredInputDeviceID, std::nullopt);
    // A device that has gone away since the last listing.
    vm.setSelectedInputDeviceID(99);
    QCOMPARE(vm.selectedInputDeviceName(), UiText::unknownInputDevice);
    QCOMPARE(vm.mixedPreset(), MixPreset::meeting);
    QCOMPARE(storedConfig(h.preferences).baseURL, TranscriptionViewModel::defaultBackendURL());
}

void TstViewModelConfig::saveConfigClampsAndWritesBack() {
    EngineHarness h;
    auto& vm = h.make();
    QSignalSpy gainChanges(&vm, &TranscriptionViewModel::mixedMicGainChanged);
    vm.setMixedMicGain(5.0);
    vm.setMixedDuckingStrength(-1.0);
    vm.setSelectedInputDeviceID(7);
    vm.setLanguage(u"en-US"_s);
    vm.saveConfig(true);

    QCOMPARE(vm.mixedMicGain(), 2.0);
    QCOMPARE(vm.mixedDuckingStrength(), 0.0);
    QCOMPARE(gainChanges.size(), 2);
    QCOMPARE(vm.status()->statusText(), UiText::settingsSaved);
    const STTConfiguration stored = storedConfig(h.preferences);
    QCOMPARE(stored.mixedMicGain, 2.0);
    QCOMPARE(stored.mixedDuckingStrength, 0.0);
    QCOMPARE(stored.preferredInputDeviceID, std::optional<quint32>(7));
    QCOMPARE(stored.defaultLanguage, u"en-US"_s);
    QCOMPARE(vm.selectedInputDeviceName(), u"Sisäinen mikrofoni"_s);

    vm.setSelectedInputDeviceID(0);
    vm.saveConfig(false);
    QCOMPARE(storedConfig(h.preferences).preferredInputDeviceID, std::nullopt);
}

void TstViewModelConfig::apiKeyFromClipboard() {
    EngineHarness h;
    auto& vm = h.make();
    const QByteArray before = storedBytes(h.preferences);

    h.clipboard.content = u" \n\t"_s;
    vm.useAPIKeyFromClipboard();
    QCOMPARE(vm.status()->statusText(), UiText::noAPIKeyOnClipboard);
    QCOMPARE(storedBytes(h.preferences), before);

    h.clipboard.content.reset();
    vm.setLanguage(u"sv-SE"_s);
    vm.useAPIKeyFromClipboard();
    QCOMPARE(vm.status()->statusText(), UiText::noAPIKeyOnClipboard);
    QCOMPARE(storedBytes(h.preferences), before);

    h.clipboard.content = u"  uusi-avain\n"_s;
    vm.useAPIKeyFromClipboard();
    QCOMPARE(vm.config().apiKey, u"uusi-avain"_s);
    QCOMPARE(storedConfig(h.preferences).apiKey, u"uusi-avain"_s);
    QCOMPARE(vm.status()->statusText(), UiText::settingsSaved);

    vm.useDefaultSharedAPIKey();
    QCOMPARE(storedConfig(h.preferences).apiKey, TranscriptionViewModel::defaultSharedAPIKey());
}

void TstViewModelConfig::authContextStaysInMemory() {
    EngineHarness h;
    auto& vm = h.make();
    vm.updateAuthContext(u"  salainen-token \n"_s);
    QCOMPARE(vm.config().authToken, std::optional(u"salainen-token"_s));
    vm.saveConfig(false);
    QVERIFY(!storedBytes(h.preferences).contains("salainen-token"));
    vm.updateAuthContext(u"   "_s);
    QCOMPARE(vm.config().authToken, std::nullopt);
}

void TstViewModelConfig::mixPresets() {
    EngineHarness h;
    auto& vm = h.make();
    vm.applyMixPreset(MixPreset::interview);
    QCOMPARE(vm.mixedMicGain(), 1.15);
    QCOMPARE(vm.mixedSystemGain(), 0.72);
    QCOMPARE(vm.mixedDuckingStrength(), 0.65);
    QCOMPARE(vm.mixedPreset(), MixPreset::interview);
    QCOMPARE(vm.status()->statusText(), UiText::mixPresetApplied(UiText::mixPresetInterview));
    QCOMPARE(storedConfig(h.preferences).mixedSystemGain, 0.72);

    vm.applyMixPreset(MixPreset::custom);
    QCOMPARE(vm.mixedPreset(), MixPreset::interview);
    QCOMPARE(vm.status()->statusText(), UiText::mixPresetApplied(UiText::mixPresetInterview));

    // A slider moved within the tolerance keeps the preset; the limiter off leaves it.
    vm.setMixedMicGain(1.17);
    vm.saveConfig(false);
    QCOMPARE(vm.mixedPreset(), MixPreset::interview);
    vm.setMixedLimiterEnabled(false);
    vm.saveConfig(false);
    QCOMPARE(vm.mixedPreset(), MixPreset::custom);
}

void TstViewModelConfig::settersSignalOnlyRealChanges() {
    EngineHarness h;
    auto& vm = h.make();
    QSignalSpy languageChanges(&vm, &TranscriptionViewModel::languageChanged);
    QSignalSpy labelChanges(&vm, &TranscriptionViewModel::sourceLabelsChanged);
    vm.setLanguage(vm.language());
    QCOMPARE(languageChanges.size(), 0);
    vm.setLanguage(u"en-US"_s);
    QCOMPARE(languageChanges.size(), 1);
    vm.setInputMode(AudioInputMode::microphone);
    QCOMPARE(labelChanges.size(), 0);
    vm.setInputMode(AudioInputMode::microphoneAndSystem);
    QCOMPARE(labelChanges.size(), 1);
    QCOMPARE(vm.micStatusLabel(),
             UiText::automaticSource + u" + "_s + UiText::systemAudioSourceFallbackName);
}

QTEST_GUILESS_MAIN(TstViewModelConfig)
#include "tst_view_model_config.moc"
