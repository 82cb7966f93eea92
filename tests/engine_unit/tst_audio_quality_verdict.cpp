#include "engine/rules/AudioQualityVerdict.h"
#include "text/UiText.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

Q_DECLARE_METATYPE(vesnara::AudioInputMode)

namespace {

const QString& kNoAudio = UiText::audioTestNoAudio;
const QString& kQuiet = UiText::audioTestVeryQuiet;
const QString& kOk = UiText::audioTestLevelOk;
const QString& kRaiseLevel = UiText::audioTestAdviceRaiseLevel;
const QString& kWorks = UiText::audioTestAdviceSourceWorks;

/// `mic` and `system` are the levels of the frames each source delivered.
AudioTestFigures figuresOf(const QList<double>& mic, const QList<double>& system) {
    AudioTestFigures figures;
    for (double level : mic)
        figures.addMicrophoneFrame(level);
    for (double level : system)
        figures.addSystemFrame(level);
    return figures;
}

} // namespace

class AudioQualityVerdictTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void verdictAndAdviceFollowTheFirstMatchingRow_data() {
        QTest::addColumn<AudioInputMode>("mode");
        QTest::addColumn<QList<double>>("mic");
        QTest::addColumn<QList<double>>("system");
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("advice");
        const auto micMode = AudioInputMode::microphone;
        const auto systemMode = AudioInputMode::systemAudio;
        const auto mixed = AudioInputMode::microphoneAndSystem;
        const QList<double> none;
        QTest::newRow("nothing, microphone")
            << micMode << none << none << kNoAudio << UiText::audioTestAdviceNoMicrophone;
        QTest::newRow("nothing, system")
            << systemMode << none << none << kNoAudio << UiText::audioTestAdviceNoSystemAudio;
        QTest::newRow("nothing, mixed")
            << mixed << none << none << kNoAudio << UiText::audioTestAdviceNoMixedAudio;
        // The level advice wins over the advice about a silent source of the mix.
        QTest::newRow("mixed, microphone only, quiet")
            << mixed << QList<double>{0.001, 0.003} << none << kQuiet << kRaiseLevel;
        QTest::newRow("mixed, microphone only, loud") << mixed << QList<double>{0.2} << none << kOk
                                                      << UiText::audioTestAdviceMixedSystemSilent;
        QTest::newRow("mixed, system only, loud") << mixed << none << QList<double>{0.2} << kOk
                                                  << UiText::audioTestAdviceMixedMicrophoneSilent;
        QTest::newRow("mixed, both loud")
            << mixed << QList<double>{0.2} << QList<double>{0.1} << kOk << kWorks;
        // The threshold is on the peak, and strict.
        QTest::newRow("peak at the threshold")
            << micMode << QList<double>{0.004} << none << kOk << kWorks;
        QTest::newRow("one loud frame among silence")
            << micMode << QList<double>{0.0, 0.0, 0.0, 0.5} << none << kOk << kWorks;
        QTest::newRow("system frames in a microphone test count")
            << micMode << none << QList<double>{0.3} << kOk << kWorks;
    }

    void verdictAndAdviceFollowTheFirstMatchingRow() {
        QFETCH(AudioInputMode, mode);
        QFETCH(QList<double>, mic);
        QFETCH(QList<double>, system);
        QFETCH(QString, status);
        QFETCH(QString, advice);
        const auto figures = figuresOf(mic, system);
        QCOMPARE(audioTestStatusText(figures), status);
        QCOMPARE(audioTestRecommendation(mode, figures), advice);
    }

    void figuresLineCountsPerSourceWithThreeDecimals() {
        const auto figures = figuresOf({0.1, 0.3}, {0.0205});
        QCOMPARE(audioTestDiagnosticHint(AudioInputMode::microphoneAndSystem, figures),
                 u"Äänitesti: frameja 3, mic 2, systeemi 1, avg 0.140, huippu 0.300. Suositus: "_s +
                     kWorks);
        QCOMPARE(audioTestDiagnosticHint(AudioInputMode::microphone, AudioTestFigures{}),
                 u"Äänitesti: frameja 0, mic 0, systeemi 0, avg 0.000, huippu 0.000. Suositus: "_s +
                     UiText::audioTestAdviceNoMicrophone);
    }
};

QTEST_GUILESS_MAIN(AudioQualityVerdictTest)
#include "tst_audio_quality_verdict.moc"
