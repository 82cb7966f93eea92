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
    void promptsStoreTheTrimmedText_data();
    void promptsStoreTheTrimmedText();
    void cancelledPromptChangesNothing();
    void authContextStaysInMemory();
    void mixPresets();
    void settersSignalOnlyRealChanges();
};

void TstViewModelConfig::firstRunSavesTheDefaults() {
    EngineHarness h;
    h.preferences.remove(STTConfigurationStore::key);
    auto& vm = h.make();

    const STTConfiguration stored = storedConfig(h.preferences);
    QCOMPARE(stored.baseURL, RecordingSettings::defaultBackendURL());
    QCOMPARE(stored.apiKey, RecordingSettings::defaultSharedAPIKey());
    QCOMPARE(stored.updateManifestURL, RecordingSettings::defaultUpdateManifestURL());
    QVERIFY(RecordingSettings::defaultUpdateManifestURL().endsWith(u"/latest-mac.json"_s));
    QCOMPARE(vm.status()->statusText(), UiText::statusReadyToStart);
    QCOMPARE(vm.sources()->inputMode(), AudioInputMode::microphone);
    QCOMPARE(vm.settings()->language(), u"fi-FI"_s);
    QCOMPARE(vm.settings()->sttModel(), u"chirp_3"_s);
    // 0.55 is no preset's strength.
    QCOMPARE(vm.settings()->mixedPreset(), MixPreset::custom);
    QCOMPARE(vm.sources()->selectedInputDeviceName(), UiText::automaticSource);
    QVERIFY(vm.canStart());
    QVERIFY(!vm.canSave());
    QCOMPARE(vm.sources()->availableInputDevices().size(), 1);
}

void TstViewModelConfig::storedValuesBecomeTheMirrors() {
    EngineHarness h;
    h.preferences.setBytes(
        STTConfigurationStore::key,
        R"({"baseURL":"  \n","apiKey":"oma","defaultLanguage":"sv-SE","preferredInputDeviceID":99,
            "mixedMicGain":1.02,"mixedSystemGain":0.98,"mixedDuckingStrength":0.49})");
    auto& vm = h.make();

    QCOMPARE(vm.settings()->config().baseURL, RecordingSettings::defaultBackendURL());
    QCOMPARE(vm.settings()->config().apiKey, u"oma"_s);
    QCOMPARE(vm.settings()->language(), u"sv-SE"_s);
    // The listing at construction drops a device that is not there any more.
    QCOMPARE(vm.sources()->selectedInputDeviceID(), 0u);
    QCOMPARE(storedConfig(h.preferences).preferredInputDeviceID, std::nullopt);
    // A device that has gone away since the last listing.
    vm.sources()->setPreferredInputDevice(99);
    QCOMPARE(vm.sources()->selectedInputDeviceName(), UiText::unknownInputDevice);
    QCOMPARE(vm.settings()->mixedPreset(), MixPreset::meeting);
    QCOMPARE(storedConfig(h.preferences).baseURL, RecordingSettings::defaultBackendURL());
}

void TstViewModelConfig::saveConfigClampsAndWritesBack() {
    EngineHarness h;
    auto& vm = h.make();
    QSignalSpy gainChanges(vm.settings(), &RecordingSettings::mixedMicGainChanged);
    vm.settings()->setMixedMicGain(5.0);
    vm.settings()->setMixedDuckingStrength(-1.0);
    vm.sources()->setPreferredInputDevice(7);
    vm.settings()->setLanguage(u"en-US"_s);
    vm.settings()->saveConfig(true);

    QCOMPARE(vm.settings()->mixedMicGain(), 2.0);
    QCOMPARE(vm.settings()->mixedDuckingStrength(), 0.0);
    QCOMPARE(gainChanges.size(), 2);
    QCOMPARE(vm.status()->statusText(), UiText::settingsSaved);
    const STTConfiguration stored = storedConfig(h.preferences);
    QCOMPARE(stored.mixedMicGain, 2.0);
    QCOMPARE(stored.mixedDuckingStrength, 0.0);
    QCOMPARE(stored.preferredInputDeviceID, std::optional<quint32>(7));
    QCOMPARE(stored.defaultLanguage, u"en-US"_s);
    QCOMPARE(vm.sources()->selectedInputDeviceName(), u"Sisäinen mikrofoni"_s);

    vm.sources()->setPreferredInputDevice(0);
    vm.settings()->saveConfig(false);
    QCOMPARE(storedConfig(h.preferences).preferredInputDeviceID, std::nullopt);
}

void TstViewModelConfig::apiKeyFromClipboard() {
    EngineHarness h;
    auto& vm = h.make();
    const QByteArray before = storedBytes(h.preferences);

    h.clipboard.content = u" \n\t"_s;
    vm.settings()->useAPIKeyFromClipboard();
    QCOMPARE(vm.status()->statusText(), UiText::noAPIKeyOnClipboard);
    QCOMPARE(storedBytes(h.preferences), before);

    h.clipboard.content.reset();
    vm.settings()->setLanguage(u"sv-SE"_s);
    vm.settings()->useAPIKeyFromClipboard();
    QCOMPARE(vm.status()->statusText(), UiText::noAPIKeyOnClipboard);
    QCOMPARE(storedBytes(h.preferences), before);

    h.clipboard.content = u"  uusi-avain\n"_s;
    vm.settings()->useAPIKeyFromClipboard();
    QCOMPARE(vm.settings()->config().apiKey, u"uusi-avain"_s);
    QCOMPARE(storedConfig(h.preferences).apiKey, u"uusi-avain"_s);
    QCOMPARE(vm.status()->statusText(), UiText::settingsSaved);

    vm.settings()->useDefaultSharedAPIKey();
    QCOMPARE(storedConfig(h.preferences).apiKey, RecordingSettings::defaultSharedAPIKey());
}

void TstViewModelConfig::promptsStoreTheTrimmedText_data() {
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("setting");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("placeholder");
    QTest::addColumn<bool>("masked");
    QTest::newRow("backend") << "promptForBackendURL"_ba
                             << "baseURL"_ba << u"Backend URL"_s << u"Syötä STT-palvelun URL."_s
                             << u"https://..."_s << false;
    QTest::newRow("key") << "promptForAPIKey"_ba
                         << "apiKey"_ba << u"API Key"_s << u"Syötä x-api-key."_s << u"x-api-key"_s
                         << true;
    QTest::newRow("manifest") << "promptForUpdateManifestURL"_ba
                              << "updateManifestURL"_ba << u"Päivitysfeed URL"_s
                              << u"Syötä päivitysmanifestin osoite (latest-mac.json)."_s
                              << u"https://.../latest-mac.json"_s << false;
}

void TstViewModelConfig::promptsStoreTheTrimmedText() {
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, setting);
    QFETCH(QString, title);
    QFETCH(QString, message);
    QFETCH(QString, placeholder);
    QFETCH(bool, masked);
    EngineHarness h;
    auto& vm = h.make();
    RecordingSettings& settings = *vm.settings();
    const QString before = settings.property(setting.constData()).toString();
    const auto stored = [&h, &setting] {
        return QJsonDocument::fromJson(storedBytes(h.preferences))[QLatin1String(setting)]
            .toString();
    };

    h.dialogs.promptAnswers = {u"  https://stt.example/v1 \n"_s, u""_s};
    QVERIFY(QMetaObject::invokeMethod(&settings, command.constData()));
    QTRY_COMPARE(h.dialogs.answered, 1);
    const auto& prompt = h.dialogs.prompts.first();
    QCOMPARE(prompt.title, title);
    QCOMPARE(prompt.message, message);
    QCOMPARE(prompt.placeholder, placeholder);
    QCOMPARE(prompt.masked, masked);
    QCOMPARE(prompt.initial, before);
    QCOMPARE(settings.property(setting.constData()).toString(), u"https://stt.example/v1"_s);
    QCOMPARE(stored(), u"https://stt.example/v1"_s);
    QCOMPARE(vm.status()->statusText(), UiText::settingsSaved);

    // An emptied field is taken as it is: empty.
    QVERIFY(QMetaObject::invokeMethod(&settings, command.constData()));
    QTRY_COMPARE(h.dialogs.answered, 2);
    QCOMPARE(h.dialogs.prompts.last().initial, u"https://stt.example/v1"_s);
    QCOMPARE(stored(), QString());
}

void TstViewModelConfig::cancelledPromptChangesNothing() {
    EngineHarness h;
    auto& vm = h.make();
    const QByteArray before = storedBytes(h.preferences);
    QSignalSpy keyChanges(vm.settings(), &RecordingSettings::apiKeyChanged);
    vm.settings()->promptForAPIKey();
    QTRY_COMPARE(h.dialogs.answered, 1);
    QCOMPARE(keyChanges.size(), 0);
    QCOMPARE(storedBytes(h.preferences), before);
    QCOMPARE(vm.status()->statusText(), UiText::statusReadyToStart);

    // A prompt still open when the settings go away ends without touching them.
    h.dialogs.promptAnswers = {u"myöhässä"_s};
    vm.settings()->promptForBackendURL();
    h.viewModel.reset();
    QTRY_COMPARE(h.dialogs.answered, 2);
    QCOMPARE(storedBytes(h.preferences), before);
}

void TstViewModelConfig::authContextStaysInMemory() {
    EngineHarness h;
    auto& vm = h.make();
    vm.settings()->updateAuthContext(u"  salainen-token \n"_s);
    QCOMPARE(vm.settings()->config().authToken, std::optional(u"salainen-token"_s));
    vm.settings()->saveConfig(false);
    QVERIFY(!storedBytes(h.preferences).contains("salainen-token"));
    vm.settings()->updateAuthContext(u"   "_s);
    QCOMPARE(vm.settings()->config().authToken, std::nullopt);
}

void TstViewModelConfig::mixPresets() {
    EngineHarness h;
    auto& vm = h.make();
    vm.settings()->applyMixPreset(MixPreset::interview);
    QCOMPARE(vm.settings()->mixedMicGain(), 1.15);
    QCOMPARE(vm.settings()->mixedSystemGain(), 0.72);
    QCOMPARE(vm.settings()->mixedDuckingStrength(), 0.65);
    QCOMPARE(vm.settings()->mixedPreset(), MixPreset::interview);
    QCOMPARE(vm.status()->statusText(), UiText::mixPresetApplied(UiText::mixPresetInterview));
    QCOMPARE(storedConfig(h.preferences).mixedSystemGain, 0.72);

    vm.settings()->applyMixPreset(MixPreset::custom);
    QCOMPARE(vm.settings()->mixedPreset(), MixPreset::interview);
    QCOMPARE(vm.status()->statusText(), UiText::mixPresetApplied(UiText::mixPresetInterview));

    // A slider moved within the tolerance keeps the preset; the limiter off leaves it.
    vm.settings()->setMixedMicGain(1.17);
    vm.settings()->saveConfig(false);
    QCOMPARE(vm.settings()->mixedPreset(), MixPreset::interview);
    vm.settings()->setMixedLimiterEnabled(false);
    vm.settings()->saveConfig(false);
    QCOMPARE(vm.settings()->mixedPreset(), MixPreset::custom);
}

void TstViewModelConfig::settersSignalOnlyRealChanges() {
    EngineHarness h;
    auto& vm = h.make();
    QSignalSpy languageChanges(vm.settings(), &RecordingSettings::languageChanged);
    QSignalSpy labelChanges(vm.sources(), &AudioSources::sourceLabelsChanged);
    vm.settings()->setLanguage(vm.settings()->language());
    QCOMPARE(languageChanges.size(), 0);
    vm.settings()->setLanguage(u"en-US"_s);
    QCOMPARE(languageChanges.size(), 1);
    vm.sources()->setInputMode(AudioInputMode::microphone);
    QCOMPARE(labelChanges.size(), 0);
    vm.sources()->setInputMode(AudioInputMode::microphoneAndSystem);
    QCOMPARE(labelChanges.size(), 1);
    QCOMPARE(vm.sources()->micStatusLabel(),
             UiText::automaticSource + u" + "_s + UiText::systemAudioSourceFallbackName);
}

QTEST_GUILESS_MAIN(TstViewModelConfig)
#include "tst_view_model_config.moc"
