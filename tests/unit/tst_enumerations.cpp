#include "model/AudioInputMode.h"
#include "model/MixPreset.h"
#include "model/TranscriptExportFormat.h"
#include "model/TranscriptPinKind.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

Q_DECLARE_METATYPE(vesnara::MixPreset)

class EnumerationsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pinKindsRoundTripThroughTheirJsonValues() {
        QStringList values;
        for (const auto kind : allTranscriptPinKinds()) {
            values << jsonValue(kind);
            QCOMPARE(transcriptPinKindFromJsonValue(jsonValue(kind)), kind);
        }
        QCOMPARE(values, (QStringList{u"important"_s, u"topicChange"_s, u"revisit"_s}));
        QVERIFY(!transcriptPinKindFromJsonValue(u"Important"_s));
        QCOMPARE(shortLabel(TranscriptPinKind::topicChange), u"Teema"_s);
        QCOMPARE(iconName(TranscriptPinKind::revisit), u"pin.fill"_s);
    }

    void customPresetIsNeverOfferedForSelection() {
        QCOMPARE(allMixPresets().size(), 4);
        QCOMPARE(selectableMixPresets(),
                 (QList<MixPreset>{MixPreset::meeting, MixPreset::interview, MixPreset::webinar}));
        QVERIFY(!settingsOf(MixPreset::custom));
        for (const auto preset : allMixPresets())
            QCOMPARE(mixPresetFromRawValue(rawValue(preset)), preset);
    }

    void everySelectablePresetClassifiesAsItself() {
        for (const auto preset : selectableMixPresets())
            QCOMPARE(classifyMixPreset(*settingsOf(preset)), preset);
    }

    void classificationUsesInclusiveTolerances_data() {
        QTest::addColumn<double>("micGain");
        QTest::addColumn<double>("systemGain");
        QTest::addColumn<bool>("autoDuck");
        QTest::addColumn<double>("strength");
        QTest::addColumn<bool>("limiter");
        QTest::addColumn<MixPreset>("expected");
        QTest::newRow("fresh defaults") << 1.0 << 1.0 << true << 0.55 << true << MixPreset::custom;
        QTest::newRow("meeting within gains")
            << 1.02 << 0.98 << true << 0.49 << true << MixPreset::meeting;
        QTest::newRow("meeting, limiter off")
            << 1.02 << 0.98 << true << 0.49 << false << MixPreset::custom;
        QTest::newRow("strength on the edge")
            << 1.0 << 1.0 << true << 0.4 << true << MixPreset::meeting;
        QTest::newRow("strength past the edge")
            << 1.0 << 1.0 << true << 0.39 << true << MixPreset::custom;
        QTest::newRow("gain on the edge")
            << 1.03 << 0.97 << true << 0.45 << true << MixPreset::meeting;
        QTest::newRow("gain past the edge")
            << 1.031 << 1.0 << true << 0.45 << true << MixPreset::custom;
        QTest::newRow("meeting values, ducking off")
            << 1.0 << 1.0 << false << 0.45 << true << MixPreset::custom;
        QTest::newRow("webinar needs ducking off")
            << 0.85 << 1.2 << false << 0.05 << true << MixPreset::webinar;
        QTest::newRow("interview") << 1.13 << 0.74 << true << 0.6 << true << MixPreset::interview;
    }
    void classificationUsesInclusiveTolerances() {
        QFETCH(double, micGain);
        QFETCH(double, systemGain);
        QFETCH(bool, autoDuck);
        QFETCH(double, strength);
        QFETCH(bool, limiter);
        QFETCH(MixPreset, expected);
        QCOMPARE(classifyMixPreset(MixSettings{micGain, systemGain, autoDuck, strength, limiter}),
                 expected);
    }

    void clampingKeepsSettingsInBounds() {
        const MixSettings wild{5.0, 0.0, true, -1.0, true};
        const MixSettings clamped = wild.clamped();
        QCOMPARE(clamped.micGain, 2.0);
        QCOMPARE(clamped.systemGain, 0.1);
        QCOMPARE(clamped.duckingStrength, 0.0);
        QCOMPARE(MixSettings::clampDuckingStrength(0.95), 0.9);
    }

    void inputModesNameTheirSources() {
        QVERIFY(usesMicrophone(AudioInputMode::microphone));
        QVERIFY(!usesSystemAudio(AudioInputMode::microphone));
        QVERIFY(!usesMicrophone(AudioInputMode::systemAudio));
        QVERIFY(usesMicrophone(AudioInputMode::microphoneAndSystem));
        QVERIFY(usesSystemAudio(AudioInputMode::microphoneAndSystem));
        for (const auto mode : allAudioInputModes())
            QCOMPARE(audioInputModeFromRawValue(rawValue(mode)), mode);
        QCOMPARE(label(AudioInputMode::microphoneAndSystem), u"Mikki + systeemiääni"_s);
    }

    void exportFormatsHaveTheirExtensions() {
        QStringList extensions;
        for (const auto format : allTranscriptExportFormats())
            extensions << fileExtension(format);
        QCOMPARE(extensions, (QStringList{u"txt"_s, u"json"_s, u"csv"_s}));
    }
};

QTEST_GUILESS_MAIN(EnumerationsTest)
#include "tst_enumerations.moc"
