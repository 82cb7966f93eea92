#include "engine/rules/SessionMetaRules.h"
#include "text/UiText.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

Q_DECLARE_METATYPE(vesnara::SessionMetaResponse)
Q_DECLARE_METATYPE(vesnara::LiveHintInputs)
Q_DECLARE_METATYPE(vesnara::LiveHintDecision)

namespace {

const QString& kMixedMicMissing = UiText::hintMixedMicrophoneMissing;
const QString& kMixedMicQuiet = UiText::hintMixedMicrophoneQuiet;
const QString& kNoSpeech = UiText::hintNoSpeechDetected;
const QString& kRawNotConverting = UiText::hintSystemAudioNotConvertingToPCM;

SessionMetaResponse meta(std::optional<qint64> frames, std::optional<double> average = {},
                         std::optional<qint64> finals = {}, std::optional<qint64> interims = {}) {
    SessionMetaResponse m;
    m.status = u"active"_s;
    m.audioFrameCount = frames;
    m.avgAudioLevel = average;
    m.finalCount = finals;
    m.interimCount = interims;
    return m;
}

SessionMetaResponse withSttError(SessionMetaResponse m, const QString& message) {
    m.lastSttError = SessionMetaResponse::SessionErrorInfo{{}, {}, message};
    return m;
}

// A running recording whose sources deliver well, in `mode`.
LiveHintInputs running(AudioInputMode mode) {
    LiveHintInputs in;
    in.mode = mode;
    in.isRecordingUnderWay = true;
    in.hasStreamClient = true;
    in.micFramesSeen = 100;
    in.systemFramesSeen = 100;
    in.systemRawSamplesSeen = 100;
    in.micAudioPeak = 0.3;
    in.systemAudioPeak = 0.3;
    return in;
}

template <typename Change> LiveHintInputs with(LiveHintInputs in, Change change) {
    change(in);
    return in;
}

LiveHintDecision decided(LiveHintRule rule, std::optional<QString> hint, qint64 streak,
                         LiveRepair repair = LiveRepair::none, const QString& trigger = {}) {
    LiveHintDecision d;
    d.rule = rule;
    d.hint = std::move(hint);
    d.rawWithoutPCMStreak = streak;
    d.repair = repair;
    d.repairTrigger = trigger;
    return d;
}

LiveHintDecision healthy() {
    return decided(LiveHintRule::healthy, QString(), 0);
}

} // namespace

class SessionMetaRulesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void terminalMeta_data() {
        QTest::addColumn<std::optional<QString>>("status");
        QTest::addColumn<std::optional<QString>>("endedAt");
        QTest::addColumn<bool>("terminal");
        using Text = std::optional<QString>;
        const Text none;
        const Text endedAt = u"2026-03-04T10:00:00Z"_s;
        QTest::newRow("STOPPED between blanks") << Text(u" STOPPED "_s) << none << true;
        QTest::newRow("Stopping between line ends") << Text(u"\nStopping\t"_s) << none << true;
        QTest::newRow("no status, endedAt") << none << endedAt << true;
        QTest::newRow("empty endedAt is present") << Text(u"active"_s) << Text(u""_s) << true;
        QTest::newRow("active") << Text(u"active"_s) << none << false;
        QTest::newRow("no status") << none << none << false;
        QTest::newRow("stopped-ish") << Text(u"stopped soon"_s) << none << false;
    }
    void terminalMeta() {
        QFETCH(std::optional<QString>, status);
        QFETCH(std::optional<QString>, endedAt);
        QFETCH(bool, terminal);
        SessionMetaResponse m;
        m.status = status;
        m.endedAt = endedAt;
        QCOMPARE(isTerminalSessionMeta(m), terminal);
    }

    void figuresFollowTheServerButFramesNeverGoDown() {
        const OutgoingAudioFigures local{100, 0.2, 0.5};
        QCOMPARE(figuresAfterSessionMeta(SessionMetaResponse(), local), local);

        SessionMetaResponse fewer;
        fewer.audioFrameCount = 80;
        fewer.avgAudioLevel = 0.01;
        fewer.peakAudioLevel = 0.4;
        QCOMPARE(figuresAfterSessionMeta(fewer, local), (OutgoingAudioFigures{100, 0.01, 0.5}));

        SessionMetaResponse more;
        more.audioFrameCount = 120;
        more.peakAudioLevel = 0.7;
        QCOMPARE(figuresAfterSessionMeta(more, local), (OutgoingAudioFigures{120, 0.2, 0.7}));
    }

    void hintRulesInTheirOrder_data() {
        QTest::addColumn<SessionMetaResponse>("meta");
        QTest::addColumn<LiveHintInputs>("inputs");
        QTest::addColumn<LiveHintDecision>("expected");
        const auto mic = running(AudioInputMode::microphone);
        const auto system = running(AudioInputMode::systemAudio);
        const auto mixed = running(AudioInputMode::microphoneAndSystem);
        const auto streak = [](qint64 n) {
            return [n](LiveHintInputs& in) { in.rawWithoutPCMStreak = n; };
        };

        QTest::newRow("no counts at all, microphone: empty hint") << meta({}) << mic << healthy();

        // Mixed mode: microphone missing. With 60 silent frames and no results the silence
        // rule fits too; the microphone rule comes first.
        const auto noMic = [](LiveHintInputs& in) { in.micFramesSeen = 0; };
        LiveHintDecision restart = decided(
            LiveHintRule::mixedMicrophoneMissing, UiText::hintMixedMicrophoneMissingRestarting, 0,
            LiveRepair::mixedMicrophoneRestart, u"mixed-mic-no-frames"_s);
        restart.tryStableMicrophoneFallbackFirst = true;
        QTest::newRow("mixed, 60 frames, no mic frames: stable mic, then restart")
            << meta(60, 0.0) << with(mixed, noMic) << restart;
        QTest::newRow("mixed, no mic frames, restart tried, no client")
            << meta(60, 0.0)
            << with(mixed,
                    [&](LiveHintInputs& in) {
                        noMic(in);
                        in.hasStreamClient = false;
                        in.hasAttemptedMixedMicrophoneRestart = true;
                    })
            << decided(LiveHintRule::mixedMicrophoneMissing, kMixedMicMissing, 0, LiveRepair::none,
                       u"mixed-mic-no-frames"_s);
        QTest::newRow("mixed, 59 frames, no mic frames: too early")
            << meta(59, 0.0) << with(mixed, noMic) << healthy();
        const auto noSystemFrames = [](LiveHintInputs& in) { in.systemFramesSeen = 0; };
        QTest::newRow("mixed, no system frames") << meta(60, 0.1, 1) << with(mixed, noSystemFrames)
                                                 << decided(LiveHintRule::mixedSystemAudioMissing,
                                                            UiText::hintMixedSystemAudioMissing, 0);
        QTest::newRow("mixed, mic peak 0.0199")
            << meta(60, 0.1, 1) << with(mixed, [](LiveHintInputs& in) { in.micAudioPeak = 0.0199; })
            << decided(LiveHintRule::mixedMicrophoneQuiet, kMixedMicQuiet, 0);
        QTest::newRow("mixed, mic peak 0.02 is not quiet")
            << meta(60, 0.1, 1) << with(mixed, [](LiveHintInputs& in) { in.micAudioPeak = 0.02; })
            << healthy();
        QTest::newRow("mixed rules do not apply to the microphone mode")
            << meta(60, 0.1, 1) << with(mic, noSystemFrames) << healthy();

        // No results from the recogniser.
        QTest::newRow("60 frames, average 0.0049: no speech")
            << meta(60, 0.0049) << mic << decided(LiveHintRule::noSpeechDetected, kNoSpeech, 0);
        QTest::newRow("absent average counts as 0")
            << meta(60) << mic << decided(LiveHintRule::noSpeechDetected, kNoSpeech, 0);
        QTest::newRow("zero counts are no results")
            << meta(60, 0.0, 0, 0) << mic << decided(LiveHintRule::noSpeechDetected, kNoSpeech, 0);
        QTest::newRow("one final, silent: no hint") << meta(200, 0.0, 1, 0) << mic << healthy();
        QTest::newRow("one interim, loud: no hint") << meta(200, 0.3, 0, 1) << mic << healthy();
        QTest::newRow("average 0.005, 90 frames: no text yet")
            << meta(90, 0.005) << mic
            << decided(LiveHintRule::noTextYet, UiText::hintAudioSentNoTextYet, 0);
        QTest::newRow("average 0.005, 89 frames: no hint") << meta(89, 0.005) << mic << healthy();

        // System audio that arrives but does not become PCM.
        const auto rawOnly = [](LiveHintInputs& in) {
            in.systemFramesSeen = 0;
            in.systemRawSamplesSeen = 7;
        };
        QTest::newRow("raw without PCM, first poll only warns")
            << meta(0) << with(system, rawOnly)
            << decided(LiveHintRule::systemAudioWithoutPCM, kRawNotConverting, 1);
        QTest::newRow("raw without PCM, second poll falls back")
            << meta(0) << with(with(system, rawOnly), streak(1))
            << decided(LiveHintRule::systemAudioWithoutPCM, kRawNotConverting, 2,
                       LiveRepair::systemAudioFallback, u"raw-without-pcm"_s);
        QTest::newRow("raw without PCM, fallback off: second hint")
            << meta(0)
            << with(with(system, rawOnly),
                    [](LiveHintInputs& in) {
                        in.allowSystemFallback = false;
                        in.rawWithoutPCMStreak = 3;
                    })
            << decided(LiveHintRule::systemAudioWithoutPCM, UiText::hintSystemAudioNoPCM, 4);
        const auto silentSystem = with(system, [](LiveHintInputs& in) {
            in.systemFramesSeen = 0;
            in.systemRawSamplesSeen = 0;
        });
        QTest::newRow("no system frames, server has frames")
            << meta(1) << silentSystem
            << decided(LiveHintRule::noSystemAudioFrames, UiText::hintNoSystemAudioFrames, 0);
        QTest::newRow("no system frames, server has none either")
            << meta(0) << silentSystem << healthy();

        // The server's recogniser failed.
        const auto timeout = withSttError(meta(30, 0.1, 1), u"STT Audio Timeout after 10s"_s);
        QTest::newRow("stt error, system audio timeout falls back")
            << timeout << system
            << decided(LiveHintRule::sttError, u"STT-virhe: STT Audio Timeout after 10s"_s, 0,
                       LiveRepair::systemAudioFallback, u"stt-audio-timeout"_s);
        QTest::newRow("stt error, timeout in microphone mode only shows")
            << timeout << mic
            << decided(LiveHintRule::sttError, u"STT-virhe: STT Audio Timeout after 10s"_s, 0);
        QTest::newRow("stt error, fallback off only shows")
            << timeout << with(system, [](LiveHintInputs& in) { in.allowSystemFallback = false; })
            << decided(LiveHintRule::sttError, u"STT-virhe: STT Audio Timeout after 10s"_s, 0);
        QTest::newRow("stt error with an empty message is none")
            << withSttError(meta(30), QString()) << mic << healthy();
        QTest::newRow("stt error below an earlier rule")
            << withSttError(meta(60, 0.0), u"quota"_s) << mic
            << decided(LiveHintRule::noSpeechDetected, kNoSpeech, 0);

        // The streak is cleared only by a pause and by a healthy answer.
        QTest::newRow("other rules keep the streak")
            << meta(60, 0.0) << with(mic, streak(1))
            << decided(LiveHintRule::noSpeechDetected, kNoSpeech, 1);
        QTest::newRow("healthy answer clears the streak")
            << meta(30) << with(mic, streak(1)) << healthy();

        // Pause and the end of the session.
        const auto paused = [](LiveHintInputs& in) {
            in.isPaused = true;
            in.micFramesSeen = 0;
            in.rawWithoutPCMStreak = 2;
        };
        QTest::newRow("paused: pause hint before any rule")
            << meta(60, 0.0) << with(mixed, paused)
            << decided(LiveHintRule::paused, UiText::hintRecordingPaused, 0);
        SessionMetaResponse stopped = meta(60, 0.0);
        stopped.status = u" STOPPED "_s;
        QTest::newRow("paused, but a terminal meta still ends it")
            << stopped << with(mixed, paused)
            << decided(LiveHintRule::sessionEnded, std::nullopt, 2);
        SessionMetaResponse ended = meta({});
        ended.endedAt = u"2026-03-04T10:00:00Z"_s;
        QTest::newRow("terminal meta after the recording goes on to the rules")
            << ended << with(mic, [](LiveHintInputs& in) { in.isRecordingUnderWay = false; })
            << healthy();
    }
    void hintRulesInTheirOrder() {
        QFETCH(SessionMetaResponse, meta);
        QFETCH(LiveHintInputs, inputs);
        QFETCH(LiveHintDecision, expected);
        const LiveHintDecision actual = liveHintDecision(meta, inputs);
        QCOMPARE(actual.rule, expected.rule);
        QCOMPARE(actual.hint, expected.hint);
        QCOMPARE(actual.repair, expected.repair);
        QCOMPARE(actual.repairTrigger, expected.repairTrigger);
        QCOMPARE(actual.tryStableMicrophoneFallbackFirst,
                 expected.tryStableMicrophoneFallbackFirst);
        QCOMPARE(actual.rawWithoutPCMStreak, expected.rawWithoutPCMStreak);
    }

    void diagnosticsLabel() {
        const auto now = Timestamp::fromUnixSeconds(1772618400.0);
        RealtimeDiagnostics d;
        QCOMPARE(realtimeDiagnosticsLabel(d, now),
                 u"Audio 0 • mic 0/0.000 • sys 0/0.000 • partial - • final - • meta - • "
                 u"mixDrop m:0 s:0"_s);
        d.audioFramesSent = 1234;
        d.micFramesSeen = 600;
        d.micAudioPeak = 0.1236;
        d.systemFramesSeen = 598;
        d.systemAudioPeak = 1.0;
        d.lastPartialReceivedAt = now.addingSeconds(-2.9); // truncated
        d.lastFinalReceivedAt = now.addingSeconds(3.0);    // in the future: 0
        d.lastSessionMetaReceivedAt = now.addingSeconds(-125.0);
        d.mixedLagDropMicChunks = 6;
        d.mixedLagDropSystemChunks = 12;
        QCOMPARE(realtimeDiagnosticsLabel(d, now),
                 u"Audio 1234 • mic 600/0.124 • sys 598/1.000 • partial 2s • final 0s • "
                 u"meta 125s • mixDrop m:6 s:12"_s);
    }
};

QTEST_GUILESS_MAIN(SessionMetaRulesTest)
#include "tst_session_meta_rules.moc"
