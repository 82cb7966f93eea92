#include "model/AudioInputMode.h"
#include "model/MixPreset.h"
#include "model/TranscriptPinKind.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

Q_DECLARE_METATYPE(vesnara::MixPreset)
Q_DECLARE_METATYPE(vesnara::MixSettings)

class EnumerationsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void rawValuesRoundTrip() {
        QStringList values;
        for (const auto kind : allTranscriptPinKinds()) {
            values << jsonValue(kind);
            QCOMPARE(transcriptPinKindFromJsonValue(jsonValue(kind)), kind);
        }
        // Saved sessions hold these exact words.
        QCOMPARE(values, (QStringList{u"important"_s, u"topicChange"_s, u"revisit"_s}));
        QVERIFY(!transcriptPinKindFromJsonValue(u"Important"_s));
        for (const auto preset : allMixPresets())
            QCOMPARE(mixPresetFromRawValue(rawValue(preset)), preset);
        for (const auto mode : allAudioInputModes())
            QCOMPARE(audioInputModeFromRawValue(rawValue(mode)), mode);
    }

    void customIsNeverOfferedAndEveryOtherPresetClassifiesAsItself() {
        QCOMPARE(selectableMixPresets(),
                 (QList<MixPreset>{MixPreset::meeting, MixPreset::interview, MixPreset::webinar}));
        QVERIFY(!settingsOf(MixPreset::custom));
        for (const auto preset : selectableMixPresets())
            QCOMPARE(classifyMixPreset(*settingsOf(preset)), preset);
    }

    // Meeting is {1.0, 1.0, ducking, 0.45, limiter}: gains ± 0.03, strength ± 0.05.
    void classificationUsesInclusiveTolerances_data() {
        QTest::addColumn<MixSettings>("settings");
        QTest::addColumn<MixPreset>("expected");
        QTest::newRow("fresh defaults") << MixSettings{} << MixPreset::custom;
        QTest::newRow("strength on the edge")
            << MixSettings{1.0, 1.0, true, 0.4, true} << MixPreset::meeting;
        QTest::newRow("strength past the edge")
            << MixSettings{1.0, 1.0, true, 0.39, true} << MixPreset::custom;
        QTest::newRow("gains on the edge")
            << MixSettings{1.03, 0.97, true, 0.45, true} << MixPreset::meeting;
        QTest::newRow("gain past the edge")
            << MixSettings{1.031, 1.0, true, 0.45, true} << MixPreset::custom;
        QTest::newRow("meeting, ducking off")
            << MixSettings{1.0, 1.0, false, 0.45, true} << MixPreset::custom;
        QTest::newRow("meeting, limiter off")
            << MixSettings{1.0, 1.0, true, 0.45, false} << MixPreset::custom;
        QTest::newRow("webinar, strength on the edge")
            << MixSettings{0.85, 1.2, false, 0.05, true} << MixPreset::webinar;
        QTest::newRow("interview, strength on the edge")
            << MixSettings{1.13, 0.74, true, 0.6, true} << MixPreset::interview;
    }
    void classificationUsesInclusiveTolerances() {
        QFETCH(MixSettings, settings);
        QFETCH(MixPreset, expected);
        QCOMPARE(classifyMixPreset(settings), expected);
    }

    void clampingKeepsSettingsInBounds() {
        const MixSettings clamped = MixSettings{5.0, 0.0, true, -1.0, true}.clamped();
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
    }
};

QTEST_GUILESS_MAIN(EnumerationsTest)
#include "tst_enumerations.moc"
