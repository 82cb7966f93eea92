#include "model/JsonReader.h"
#include "storage/STTConfigurationStore.h"
#include "support/InMemoryPreferences.h"

#include <QJsonDocument>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

STTConfiguration loadFrom(const QByteArray& stored) {
    InMemoryPreferences preferences;
    preferences.setBytes(STTConfigurationStore::key, stored);
    return STTConfigurationStore(preferences).load();
}

QJsonObject storedJson(const InMemoryPreferences& preferences) {
    return QJsonDocument::fromJson(*preferences.bytes(STTConfigurationStore::key)).object();
}

} // namespace

class STTConfigurationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void missingOrNullKeysTakeTheirDefaults() {
        const auto config = loadFrom(R"({"baseURL":"x","defaultModel":null,"mixedMicGain":null})");
        STTConfiguration expected = STTConfiguration::defaults();
        expected.baseURL = u"x"_s;
        QCOMPARE(config, expected);

        InMemoryPreferences nothingStored;
        QCOMPARE(STTConfigurationStore(nothingStored).load(), STTConfiguration::defaults());
    }

    void storedDoublesAreClampedAsTheyAreRead_data() {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<double>("micGain");
        QTest::addColumn<double>("systemGain");
        QTest::addColumn<double>("strength");
        QTest::newRow("gain above") << QByteArray(R"({"mixedMicGain":5})") << 2.0 << 1.0 << 0.55;
        QTest::newRow("gain below") << QByteArray(R"({"mixedSystemGain":0})") << 1.0 << 0.1 << 0.55;
        QTest::newRow("strength below")
            << QByteArray(R"({"mixedDuckingStrength":-1})") << 1.0 << 1.0 << 0.0;
        QTest::newRow("strength above")
            << QByteArray(R"({"mixedDuckingStrength":0.95})") << 1.0 << 1.0 << 0.9;
        QTest::newRow("in range") << QByteArray(R"({"mixedMicGain":1.15,"mixedSystemGain":0.72})")
                                  << 1.15 << 0.72 << 0.55;
    }
    void storedDoublesAreClampedAsTheyAreRead() {
        QFETCH(QByteArray, stored);
        QFETCH(double, micGain);
        QFETCH(double, systemGain);
        QFETCH(double, strength);
        const auto config = loadFrom(stored);
        QCOMPARE(config.mixedMicGain, micGain);
        QCOMPARE(config.mixedSystemGain, systemGain);
        QCOMPARE(config.mixedDuckingStrength, strength);
    }

    // Recording safety: on by default, and minutes outside a day's range read as its bounds.
    void autoStopMinutesAreClampedAsTheyAreRead_data() {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<int>("minutes");
        QTest::newRow("missing") << QByteArray(R"({"baseURL":"x"})") << 20;
        QTest::newRow("off") << QByteArray(R"({"autoStopSilenceMinutes":0})") << 0;
        QTest::newRow("negative") << QByteArray(R"({"autoStopSilenceMinutes":-5})") << 0;
        QTest::newRow("beyond a day") << QByteArray(R"({"autoStopSilenceMinutes":99999})") << 1440;
        QTest::newRow("in range") << QByteArray(R"({"autoStopSilenceMinutes":45})") << 45;
    }
    void autoStopMinutesAreClampedAsTheyAreRead() {
        QFETCH(QByteArray, stored);
        QFETCH(int, minutes);
        const auto config = loadFrom(stored);
        QCOMPARE(config.autoStopSilenceMinutes, minutes);
        QVERIFY(config.audioSpoolEnabled);
    }

    void aWrongTypeAnywhereGivesTheWholeDefaultRecord_data() {
        QTest::addColumn<QByteArray>("stored");
        QTest::newRow("gain as text") << QByteArray(R"({"baseURL":"x","mixedMicGain":"5"})");
        QTest::newRow("flag as number") << QByteArray(R"({"baseURL":"x","allowSystemFallback":1})");
        QTest::newRow("negative device id")
            << QByteArray(R"({"baseURL":"x","preferredInputDeviceID":-1})");
        QTest::newRow("fractional device id")
            << QByteArray(R"({"baseURL":"x","preferredSystemDisplayID":1.5})");
        QTest::newRow("device id beyond 32 bits")
            << QByteArray(R"({"baseURL":"x","preferredInputDeviceID":4294967296})");
        QTest::newRow("spool flag as text")
            << QByteArray(R"({"baseURL":"x","audioSpoolEnabled":"true"})");
        QTest::newRow("fractional auto-stop minutes")
            << QByteArray(R"({"baseURL":"x","autoStopSilenceMinutes":1.5})");
        QTest::newRow("bundle id as number")
            << QByteArray(R"({"baseURL":"x","preferredSystemApplicationBundleID":7})");
        QTest::newRow("not JSON") << QByteArray("{\"baseURL\":\"x\",");
        QTest::newRow("an array") << QByteArray(R"([{"baseURL":"x"}])");
        QTest::newRow("empty bytes") << QByteArray();
    }
    void aWrongTypeAnywhereGivesTheWholeDefaultRecord() {
        QFETCH(QByteArray, stored);
        QCOMPARE(loadFrom(stored), STTConfiguration::defaults());
    }

    void everyFieldSurvivesSaveAndLoad() {
        STTConfiguration config = STTConfiguration::defaults();
        config.baseURL = u"  https://stt.example.test/api  "_s;
        config.apiKey = u"oma-avain"_s;
        config.updateManifestURL = u"https://updates.example.test/latest-mac.json"_s;
        config.defaultLanguage = u"sv-SE"_s;
        config.defaultModel = u"telephony"_s;
        config.preferredInputDeviceID = 4294967295u;
        config.preferredSystemDisplayID = 0u;
        config.preferredSystemApplicationBundleID = u"zoom"_s;
        config.allowSystemFallback = false;
        config.setMixSettings(MixSettings{1.15, 0.72, true, 0.65, false});
        config.echoGuardEnabled = false; // echo guard
        config.audioSpoolEnabled = false;
        config.autoStopSilenceMinutes = 0;

        InMemoryPreferences preferences;
        STTConfigurationStore store(preferences);
        store.save(config);
        QCOMPARE(store.load(), config);
    }

    void theSessionTokenIsNeverStoredNorRead() {
        STTConfiguration config = STTConfiguration::defaults();
        config.authToken = u"secret-session-token"_s;
        InMemoryPreferences preferences;
        STTConfigurationStore store(preferences);
        store.save(config);
        QVERIFY(!preferences.bytes(STTConfigurationStore::key)->contains("secret-session-token"));
        QVERIFY(!storedJson(preferences).contains(u"authToken"_s));

        QVERIFY(!loadFrom(R"({"authToken":"planted"})").authToken);
    }

    void optionalFieldsWithoutValueAreLeftOut() {
        InMemoryPreferences preferences;
        STTConfigurationStore(preferences).save(STTConfiguration::defaults());
        const QJsonObject json = storedJson(preferences);
        QVERIFY(!json.contains(u"preferredInputDeviceID"_s));
        QVERIFY(!json.contains(u"preferredSystemDisplayID"_s));
        QVERIFY(!json.contains(u"preferredSystemApplicationBundleID"_s));
    }

    void aRecordThatCannotBeEncodedLeavesTheStoredOneAsItWas() {
        InMemoryPreferences preferences;
        STTConfigurationStore store(preferences);
        STTConfiguration config = STTConfiguration::defaults();
        config.apiKey = u"first"_s;
        store.save(config);

        config.apiKey = u"second"_s;
        config.mixedMicGain = qQNaN();
        store.save(config);
        QCOMPARE(store.load().apiKey, u"first"_s);
    }
};

QTEST_GUILESS_MAIN(STTConfigurationTest)
#include "tst_stt_configuration.moc"
