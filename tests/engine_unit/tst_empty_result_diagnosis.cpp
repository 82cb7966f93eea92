#include "engine/rules/EmptyResultDiagnosis.h"
#include "text/UiText.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

Q_DECLARE_METATYPE(vesnara::AudioInputMode)

namespace {

const QString& kTooShort = UiText::hintEmptyResultTooShort;
const QString& kSilentMixed = UiText::hintEmptyResultSilentMixed;
const QString& kQuiet = UiText::hintEmptyResultQuiet;
const QString& kNoText = UiText::hintEmptyResultNoText;

} // namespace

class EmptyResultDiagnosisTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void firstMatchingRowGivesTheHint_data() {
        QTest::addColumn<qint64>("frames");
        QTest::addColumn<double>("average");
        QTest::addColumn<double>("peak");
        QTest::addColumn<AudioInputMode>("mode");
        QTest::addColumn<QString>("expected");
        const auto mic = AudioInputMode::microphone;
        const auto system = AudioInputMode::systemAudio;
        const auto mixed = AudioInputMode::microphoneAndSystem;
        QTest::newRow("9 frames, loud") << qint64(9) << 0.3 << 0.9 << mic << kTooShort;
        QTest::newRow("1 frame, silent") << qint64(1) << 0.0 << 0.0 << system << kTooShort;
        QTest::newRow("10 frames, silent, microphone")
            << qint64(10) << 0.0 << 0.0 << mic << UiText::hintEmptyResultSilentMicrophone;
        QTest::newRow("silent, system audio, Linux wording")
            << qint64(100) << 0.0009 << 0.0199 << system
            << UiText::hintEmptyResultSilentSystemAudio;
        QTest::newRow("silent, mixed") << qint64(100) << 0.0 << 0.0 << mixed << kSilentMixed;
        QTest::newRow("average 0.0009 with peak 0.03 is quiet, not silent")
            << qint64(100) << 0.0009 << 0.03 << mic << kQuiet;
        QTest::newRow("average at 0.001 is quiet") << qint64(100) << 0.001 << 0.0 << mic << kQuiet;
        QTest::newRow("peak at 0.02 is quiet") << qint64(100) << 0.0 << 0.02 << mixed << kQuiet;
        QTest::newRow("average just below 0.005")
            << qint64(100) << 0.0049 << 0.2 << system << kQuiet;
        QTest::newRow("average at 0.005") << qint64(100) << 0.005 << 0.2 << mic << kNoText;
        QTest::newRow("loud") << qint64(100) << 0.1 << 0.8 << mixed << kNoText;
    }
    void firstMatchingRowGivesTheHint() {
        QFETCH(qint64, frames);
        QFETCH(double, average);
        QFETCH(double, peak);
        QFETCH(AudioInputMode, mode);
        QFETCH(QString, expected);
        QCOMPARE(emptyResultHint({frames, average, peak}, mode), expected);
    }

    void stopDiagnosesOnlySentAudioWithoutLines() {
        const SentAudioFigures figures{120, 0.1, 0.5};
        QCOMPARE(emptyResultHintAfterStop(0, figures, AudioInputMode::microphone), kNoText);
        QCOMPARE(emptyResultHintAfterStop(1, figures, AudioInputMode::microphone), std::nullopt);
        QCOMPARE(emptyResultHintAfterStop(0, {0, 0.0, 0.0}, AudioInputMode::microphone),
                 std::nullopt);
        QCOMPARE(emptyResultHintAfterStop(0, {1, 0.0, 0.0}, AudioInputMode::microphone), kTooShort);
    }

    void remoteStopDiagnosesByTheServersFigures() {
        SessionMetaResponse meta;
        QCOMPARE(emptyResultHintAfterRemoteStop(0, meta, AudioInputMode::microphone),
                 std::nullopt); // no frame count
        meta.audioFrameCount = 0;
        QCOMPARE(emptyResultHintAfterRemoteStop(0, meta, AudioInputMode::microphone), std::nullopt);
        meta.audioFrameCount = 200;
        // Absent levels count as 0, so an absent peak is below 0.02.
        QCOMPARE(emptyResultHintAfterRemoteStop(0, meta, AudioInputMode::microphoneAndSystem),
                 kSilentMixed);
        meta.avgAudioLevel = 0.0005;
        meta.peakAudioLevel = 0.5;
        QCOMPARE(emptyResultHintAfterRemoteStop(0, meta, AudioInputMode::microphone), kQuiet);
        QCOMPARE(emptyResultHintAfterRemoteStop(3, meta, AudioInputMode::microphone), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(EmptyResultDiagnosisTest)
#include "tst_empty_result_diagnosis.moc"
