#include "engine/rules/RecordingStatusText.h"
#include "engine/rules/RemoteSessionStop.h"
#include "text/UiText.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

Q_DECLARE_METATYPE(vesnara::AudioInputMode)
Q_DECLARE_METATYPE(vesnara::StreamStatusOutcome::Action)

namespace {

const QString kPaused = u"Tauolla"_s;
const QString kListening = u"Kuuntelen..."_s;
using Action = StreamStatusOutcome::Action;

} // namespace

class RecordingStatusTextTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void listeningStatusNamesTheModesSource_data() {
        QTest::addColumn<AudioInputMode>("mode");
        QTest::addColumn<bool>("isPaused");
        QTest::addColumn<QString>("activeDevice");
        QTest::addColumn<QString>("systemSource");
        QTest::addColumn<QString>("expected");
        const auto mic = AudioInputMode::microphone;
        const auto system = AudioInputMode::systemAudio;
        const auto mixed = AudioInputMode::microphoneAndSystem;
        QTest::newRow("microphone")
            << mic << false << u"USB-mikki"_s << u"Kaiuttimet"_s << u"Kuuntelen... (USB-mikki)"_s;
        QTest::newRow("microphone without a name")
            << mic << false << QString() << u"K"_s << kListening;
        QTest::newRow("system audio") << system << false << u"USB-mikki"_s << u"Kaiuttimet"_s
                                      << u"Kuuntelen... (Kaiuttimet)"_s;
        QTest::newRow("system audio without a name")
            << system << false << u"M"_s << QString() << kListening;
        QTest::newRow("mixed names the selected microphone, not the active one")
            << mixed << false << u"USB-mikki"_s << u"Kaiuttimet"_s
            << u"Kuuntelen... (Valittu mikki + Kaiuttimet)"_s;
        QTest::newRow("mixed without a system source name")
            << mixed << false << u"USB-mikki"_s << QString()
            << u"Kuuntelen... (Valittu mikki + Järjestelmä)"_s;
        QTest::newRow("paused, microphone") << mic << true << u"M"_s << u"S"_s << kPaused;
    }
    void listeningStatusNamesTheModesSource() {
        QFETCH(AudioInputMode, mode);
        QFETCH(bool, isPaused);
        QFETCH(QString, activeDevice);
        QFETCH(QString, systemSource);
        QFETCH(QString, expected);
        const ListeningSourceNames names{activeDevice, u"Valittu mikki"_s, systemSource};
        QCOMPARE(listeningStatusText(mode, isPaused, names), expected);
    }

    void partialLineSetsListeningOrWaiting() {
        QCOMPARE(statusTextAfterPartial(u"hyvää"_s, true, false), kListening);
        QCOMPARE(statusTextAfterPartial(QString(), true, false), u"Odottaa"_s);
        QCOMPARE(statusTextAfterPartial(u"hyvää"_s, true, true), std::nullopt);
        QCOMPARE(statusTextAfterPartial(u"hyvää"_s, false, false), std::nullopt);
    }

    void serverStatesMapToTexts_data() {
        QTest::addColumn<QString>("state");
        QTest::addColumn<bool>("isPaused");
        QTest::addColumn<bool>("isUnderWay");
        QTest::addColumn<Action>("action");
        QTest::addColumn<QString>("text");
        const auto listening = Action::showListeningStatus;
        const auto show = Action::showText;
        for (const QString& state :
             {u"listening"_s, u"stream-rolled-over"_s, u"stream-restarting"_s}) {
            QTest::addRow("%s", qPrintable(state))
                << state << false << true << listening << QString();
            QTest::addRow("%s, paused", qPrintable(state))
                << state << true << true << show << kPaused;
        }
        QTest::newRow("waiting-for-audio")
            << u"waiting-for-audio"_s << false << true << show << u"Odottaa ääntä..."_s;
        QTest::newRow("waiting-for-audio, paused")
            << u"waiting-for-audio"_s << true << true << show << kPaused;
        QTest::newRow("reconnecting")
            << u"reconnecting"_s << false << true << show << u"Yhdistetään uudelleen..."_s;
        QTest::newRow("reconnecting, paused")
            << u"reconnecting"_s << true << true << show << u"Tauolla (yhteys katkennut...)"_s;
        const QString safeModel = u"Puheentunnistus ei saanut tekstiä. Yritetään varamallia..."_s;
        QTest::newRow("retrying-safe-model")
            << u"retrying-safe-model"_s << false << true << show << safeModel;
        QTest::newRow("retrying-safe-model, paused")
            << u"retrying-safe-model"_s << true << true << show << safeModel;
        QTest::newRow("stopped during a recording, paused or not")
            << u"stopped"_s << true << true << Action::endRecording << QString();
        QTest::newRow("stopped after the recording ended")
            << u"stopped"_s << false << false << show << u"Pysäytetty"_s;
        QTest::newRow("unknown state shown word for word")
            << u"warming-up"_s << false << true << show << u"warming-up"_s;
        QTest::newRow("match is exact: case")
            << u"Listening"_s << false << true << show << u"Listening"_s;
        QTest::newRow("match is exact: blanks")
            << u" stopped"_s << false << true << show << u" stopped"_s;
    }
    void serverStatesMapToTexts() {
        QFETCH(QString, state);
        QFETCH(bool, isPaused);
        QFETCH(bool, isUnderWay);
        QFETCH(Action, action);
        QFETCH(QString, text);
        const StreamStatusOutcome expected{action, text};
        QCOMPARE(streamStatusOutcome(state, {isPaused, isUnderWay}), expected);
    }

    void errorsThatEndTheRecording_data() {
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("ends");
        QTest::newRow("the stream client gave up")
            << UiText::streamConnectionLost(u"yhteys suljettiin"_s) << true;
        QTest::newRow("audio sending, other wording and case")
            << u"Äänen lähetys epäonnistui"_s << true;
        QTest::newRow("audio capture inside a sentence")
            << u"Virhe: ÄÄNEN KAAPPAUS pysähtyi"_s << true;
        QTest::newRow("near miss") << u"ääni lähetetty"_s << false;
        QTest::newRow("empty") << QString() << false;
    }
    void errorsThatEndTheRecording() {
        QFETCH(QString, message);
        QFETCH(bool, ends);
        QCOMPARE(streamErrorEndsRecording(message), ends);
    }

    void outgoingFrameRefreshesTheStatusEveryTwentyFifthFrame_data() {
        QTest::addColumn<qint64>("frames");
        QTest::addColumn<double>("level");
        QTest::addColumn<bool>("isRecording");
        QTest::addColumn<bool>("isPaused");
        QTest::addColumn<bool>("hasSegments");
        QTest::addColumn<std::optional<QString>>("expected");
        const std::optional<QString> none;
        const std::optional<QString> waiting = u"Odottaa puhetta..."_s;
        const std::optional<QString> listening = kListening;
        QTest::newRow("25th frame, quiet")
            << qint64(25) << 0.0049 << true << false << false << waiting;
        QTest::newRow("50th frame, at the threshold")
            << qint64(50) << 0.005 << true << false << false << listening;
        QTest::newRow("24th frame") << qint64(24) << 0.3 << true << false << false << none;
        QTest::newRow("first line exists") << qint64(25) << 0.3 << true << false << true << none;
        QTest::newRow("paused") << qint64(25) << 0.0 << true << true << false << none;
        QTest::newRow("not recording") << qint64(25) << 0.3 << false << false << false << none;
    }
    void outgoingFrameRefreshesTheStatusEveryTwentyFifthFrame() {
        QFETCH(qint64, frames);
        QFETCH(double, level);
        QFETCH(bool, isRecording);
        QFETCH(bool, isPaused);
        QFETCH(bool, hasSegments);
        QFETCH(std::optional<QString>, expected);
        QCOMPARE(statusTextAfterOutgoingFrame(frames, level, isRecording, isPaused, hasSegments),
                 expected);
    }

    void remoteStopStatusNamesThePauseOnlyForResumeReasons_data() {
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QString>("expected");
        const QString lost = u"Yhteys katkesi"_s;
        const QString closedInPause = u"Sessio sulkeutui tauon aikana"_s;
        QTest::newRow("meta-stopped") << RemoteStopReason::metaStopped << lost;
        QTest::newRow("resume-websocket-inactive, although the stream was the cause")
            << RemoteStopReason::resumeStreamInactive << closedInPause;
        QTest::newRow("the test is case-sensitive") << u"RESUME-x"_s << lost;
    }
    void remoteStopStatusNamesThePauseOnlyForResumeReasons() {
        QFETCH(QString, reason);
        QFETCH(QString, expected);
        QCOMPARE(remoteStopStatusText(reason), expected);
    }
};

QTEST_GUILESS_MAIN(RecordingStatusTextTest)
#include "tst_recording_status_text.moc"
