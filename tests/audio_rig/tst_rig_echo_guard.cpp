// The echo guard on the real sound server. Recorded speech plays into the "meeting" output (the
// remote side, captured as system audio) and, 60 ms later and 10 dB quieter, into the virtual
// microphone (its echo through the speakers), with a local voice only in the microphone. Two
// things are measured on one playback: the microphone path before and after the guard, and the
// audio the reference backend receives from a mixed recording, in which the remote sentence must
// be heard once.
#include "AudioRig.h"
#include "LinuxDesktopServices.h"
#include "LinuxPermissionProbe.h"
#include "PulseAudioInputBackend.h"
#include "PulseSystemAudioBackend.h"
#include "audio/EchoGuardStage.h"
#include "audio/MicrophoneCapture.h"
#include "audio/SystemAudioCapture.h"
#include "backend/HttpTransport.h"
#include "engine/TranscriptionViewModel.h"
#include "engine/parts/AudioSources.h"
#include "storage/STTConfigurationStore.h"
#include "support/AwaitTask.h"
#include "support/EchoScene.h"
#include "support/InMemoryPreferences.h"
#include "support/RefBackendFixture.h"
#include "support/SpeechClips.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::rig;
using namespace vesnara::test;

namespace {

constexpr int kWaitMs = 30000;

// The script, in seconds from the start of playback.
constexpr double kRemoteEnd = 7.1;      // a remote clip: 3 s of adaptation, then echo alone
constexpr double kLocalStart = 7.6;     // a local clip, only in the microphone
constexpr double kSentenceStart = 10.9; // the remote sentence that must be heard once

QByteArray clipPcm(const QList<SpeechClip>& clips, const QString& name) {
    for (const SpeechClip& clip : clips)
        if (clip.name == name)
            return wavPcm16(clip.wavPath);
    return {};
}

std::vector<double> placed(const std::vector<double>& track, const QByteArray& pcm, double at) {
    std::vector<double> out(track);
    const std::vector<double> clip = fromPcm16(pcm);
    const auto start = static_cast<std::size_t>(at * kEchoSceneRate);
    out.resize(std::max(out.size(), start + clip.size()), 0.0);
    for (std::size_t i = 0; i < clip.size(); ++i)
        out[start + i] += clip[i];
    return out;
}

std::vector<double> joined(const QList<QByteArray>& frames) {
    QByteArray all;
    for (const QByteArray& frame : frames)
        all += frame;
    return fromPcm16(all);
}

// The first frame louder than `level`: where the playback begins in a capture.
qsizetype onset(const QList<QByteArray>& frames, double level) {
    for (qsizetype i = 0; i < frames.size(); ++i)
        if (estimatePCM16Level(frames[i]) > level)
            return i;
    return -1;
}

// The 5 ms envelope less its 100 ms trend, as the guard measures delay by.
std::vector<double> envelopeDetail(const std::vector<double>& signal) {
    constexpr std::size_t block = 80;
    std::vector<double> envelope(signal.size() / block, 0.0);
    for (std::size_t b = 0; b < envelope.size(); ++b)
        for (std::size_t i = 0; i < block; ++i)
            envelope[b] += std::abs(signal[b * block + i]) / block;
    std::vector<double> detail(envelope.size(), 0.0);
    for (std::size_t b = 0; b < envelope.size(); ++b) {
        const std::size_t from = b >= 10 ? b - 10 : 0;
        const std::size_t to = std::min(b + 11, envelope.size());
        double mean = 0.0;
        for (std::size_t i = from; i < to; ++i)
            mean += envelope[i] / double(to - from);
        detail[b] = envelope[b] - mean;
    }
    return detail;
}

struct Copy {
    std::ptrdiff_t at = 0; // sample where it starts
    double gain = 0.0;
};

// The strongest copy of `clip` in `audio`, away from `exclude` by at least 25 ms: found on the
// envelopes, placed to the sample by correlation, its gain by least squares.
Copy strongestCopy(const std::vector<double>& clip, const std::vector<double>& audio,
                   std::optional<std::ptrdiff_t> exclude) {
    const std::vector<double> c = envelopeDetail(clip);
    const std::vector<double> a = envelopeDetail(audio);
    const auto excluded = [&](std::ptrdiff_t sample) {
        return exclude && std::abs(sample - *exclude) < 400;
    };
    double best = -1.0;
    std::ptrdiff_t coarse = 0;
    for (std::size_t lag = 0; lag + c.size() <= a.size(); ++lag) {
        if (excluded(std::ptrdiff_t(lag) * 80))
            continue;
        double cross = 0.0;
        for (std::size_t k = 0; k < c.size(); ++k)
            cross += c[k] * a[lag + k];
        if (cross > best) {
            best = cross;
            coarse = std::ptrdiff_t(lag) * 80;
        }
    }
    double energy = 0.0;
    for (const double v : clip)
        energy += v * v;
    Copy copy;
    double bestCross = 0.0;
    for (std::ptrdiff_t at = coarse - 160; at <= coarse + 160; ++at) {
        if (at < 0 || std::size_t(at) + clip.size() > audio.size() || excluded(at))
            continue;
        double cross = 0.0;
        for (std::size_t i = 0; i < clip.size(); ++i)
            cross += clip[i] * audio[std::size_t(at) + i];
        if (std::abs(cross) > std::abs(bestCross)) {
            bestCross = cross;
            copy = {at, cross / energy};
        }
    }
    return copy;
}

// How far the second copy of `clip` in `audio` lies below the first, in dB, and the first's gain.
std::pair<double, double> secondCopyBelowFirst(const std::vector<double>& clip,
                                               std::vector<double> audio) {
    const Copy first = strongestCopy(clip, audio, std::nullopt);
    for (std::size_t i = 0; i < clip.size(); ++i)
        audio[std::size_t(first.at) + i] -= first.gain * clip[i];
    const Copy second = strongestCopy(clip, audio, first.at);
    return {20.0 * std::log10(std::abs(first.gain) / std::max(std::abs(second.gain), 1e-9)),
            first.gain};
}

std::optional<quint32> meetingOutputId(const SystemAudioCapture& capture) {
    try {
        for (const auto& display : capture.listDisplaySources())
            if (display.name.contains(u"Meeting output"_s))
                return display.id;
    } catch (...) {
    }
    return std::nullopt;
}

} // namespace

class RigEchoGuardTest : public QObject {
    Q_OBJECT

public:
    static void initMain() { selectRigServer(); }

private:
    QTemporaryDir m_dir;
    QString m_meetingWav;
    QString m_microphoneWav;
    std::vector<double> m_sentence;

private Q_SLOTS:
    void initTestCase() {
        QString error;
        const QList<SpeechClip> clips = speechClips(librivoxDirectory(), &error);
        if (clips.isEmpty())
            QSKIP(qPrintable(error));
        const QByteArray remote = clipPcm(clips, u"sense_and_sensibility_01_austen_64kb-0870"_s);
        const QByteArray local = clipPcm(clips, u"sense_and_sensibility_01_austen_64kb-0880"_s);
        const QByteArray sentence = clipPcm(clips, u"sense_and_sensibility_01_austen_64kb-0890"_s);
        QVERIFY(!remote.isEmpty() && !local.isEmpty() && !sentence.isEmpty());
        m_sentence = fromPcm16(sentence);

        std::vector<double> meeting = placed({}, remote, 0.0);
        meeting = placed(meeting, sentence, kSentenceStart);
        meeting.resize(meeting.size() + kEchoSceneRate, 0.0);
        const std::vector<double> microphone =
            placed(delayed(meeting, 0.06, -10.0), local, kLocalStart);
        m_meetingWav = m_dir.filePath(u"meeting.wav"_s);
        m_microphoneWav = m_dir.filePath(u"microphone.wav"_s);
        QVERIFY(writePcm16Wav(m_meetingWav, toPcm16(meeting), kEchoSceneRate));
        QVERIFY(writePcm16Wav(m_microphoneWav, toPcm16(microphone), kEchoSceneRate));
    }
    void init() { VESNARA_SKIP_WITHOUT_RIG(); }

    void theEchoIsCancelledAndTheRemoteSentenceReachesTheServerOnce() {
        // The microphone path: captures of their own, through a guard of their own, the raw
        // microphone kept beside the cleaned one.
        // (A backend runs one stream: these are apart from the view model's.)
        PulseAudioInputBackend microphoneBackend, ownMicrophoneBackend;
        PulseSystemAudioBackend systemBackend, ownSystemBackend;
        QTRY_VERIFY_WITH_TIMEOUT(!microphoneBackend.listInputDevices().error.has_value() &&
                                     !ownMicrophoneBackend.listInputDevices().error.has_value(),
                                 kWaitMs);
        MicrophoneCapture microphone(ownMicrophoneBackend);
        SystemAudioCapture system(ownSystemBackend);
        QTRY_VERIFY_WITH_TIMEOUT(meetingOutputId(system).has_value(), kWaitMs);
        system.preferredDisplayID = meetingOutputId(system);
        FrameCollector raw, cleaned, reference;
        auto stage = std::make_shared<EchoGuardStage>(
            [&cleaned](QByteArray frame) { cleaned.post(std::move(frame)); });
        QVERIFY(stage->isActive());
        microphone.onPCMFrame = [&raw, stage](QByteArray frame) {
            raw.post(frame);
            stage->nearEnd(std::move(frame));
        };
        system.onPCMFrame =
            farEndHook(stage, [&reference](QByteArray frame) { reference.post(std::move(frame)); });

        // The recording: a mixed one with the guard on (the default), against the reference
        // backend, which keeps every frame it receives.
        RefBackendFixture server;
        QVERIFY(server.isListening());
        InMemoryPreferences preferences;
        HttpTransport transport;
        QTemporaryDir history;
        LinuxDesktopServices desktop;
        STTConfiguration config = server.config();
        config.preferredSystemDisplayID = meetingOutputId(system);
        STTConfigurationStore(preferences).save(config);
        auto vm = std::make_unique<TranscriptionViewModel>(TranscriptionViewModel::Dependencies{
            preferences, transport, microphoneBackend, systemBackend, history.path(), nullptr,
            std::make_shared<LinuxPermissionProbe>(), Timing{}, &desktop});
        vm->settings()->updateAuthContext(server.token());
        QVERIFY(vm->settings()->echoGuardEnabled());
        vm->sources()->setInputMode(AudioInputMode::microphoneAndSystem);
        vm->startRecording();
        QTRY_VERIFY_WITH_TIMEOUT(vm->isRecording(), kWaitMs);
        const QString id = vm->sessionId();

        QVERIFY(test::succeeds(microphone.startAsync()));
        QVERIFY(test::succeeds(system.startAsync()));
        // A device's first capture may take a while to deliver (PulseAudio: ~1.75 s).
        QTRY_VERIFY_WITH_TIMEOUT(raw.frames.size() >= 3 && reference.frames.size() >= 3, kWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(vm->meters()->audioFramesSent() >= 5, kWaitMs);
        {
            // A roomy buffer: a playback dropout in one player on the loaded test machine would
            // move the echo against its reference for the rest of the run.
            Player meeting(m_meetingWav, u"meeting"_s, {}, 200);
            Player echo(m_microphoneWav, u"mic_feed"_s, {}, 200);
            QVERIFY(meeting.started() && echo.started());
            QTRY_VERIFY_WITH_TIMEOUT(meeting.hasFinished() && echo.hasFinished(), kWaitMs);
        }
        const qsizetype played = raw.frames.size();
        QTRY_VERIFY_WITH_TIMEOUT(raw.frames.size() >= played + 5, kWaitMs);
        vm->stopRecording();
        QTRY_VERIFY_WITH_TIMEOUT(vm->runState() == RecordingRunState::idle, kWaitMs);
        QVERIFY(test::succeeds(microphone.stopAsync()));
        QVERIFY(test::succeeds(system.stopAsync()));
        stage->close();
        QTRY_COMPARE_WITH_TIMEOUT(cleaned.frames.size(), raw.frames.size(), kWaitMs);

        // Echo alone from 3 s after the remote voice begins to its end; the local voice alone
        // from 0.2 s after it begins to 0.2 s before it ends. Frames of 100 ms.
        const qsizetype start = onset(raw.frames, 0.002);
        QVERIFY(start >= 0);
        const std::vector<double> before = joined(raw.frames.mid(start));
        const std::vector<double> after = joined(cleaned.frames.mid(start));
        const double echoDrop =
            energyDb(before, 3.0, kRemoteEnd - 0.2) - energyDb(after, 3.0, kRemoteEnd - 0.2);
        const double localFrom = kLocalStart + 0.2;
        const double localTo = kLocalStart + 2.8;
        const double localChange =
            energyDb(after, localFrom, localTo) - energyDb(before, localFrom, localTo);

        // The server's audio holds the remote sentence once: its second copy (the echo, at a
        // lag of its own) lies far below the first. The same measure on the raw microphone
        // summed with the system audio, as a mixer without the guard would, finds the echo.
        const std::vector<double> received = fromPcm16(wavPcm16(server->audioPath(id)));
        const auto [onceBelow, onceGain] = secondCopyBelowFirst(m_sentence, received);
        // (The microphone half a second late, so that its echo cannot coincide with the remote
        // voice as a pairing of the two streams by arrival might have it.)
        std::vector<double> late(kEchoSceneRate / 2, 0.0);
        const std::vector<double> rawMicrophone = joined(raw.frames);
        late.insert(late.end(), rawMicrophone.begin(), rawMicrophone.end());
        const std::vector<double> unguarded = sum(joined(reference.frames), late);
        const auto [unguardedBelow, unguardedGain] = secondCopyBelowFirst(m_sentence, unguarded);
        qInfo("echo drop %.1f dB, local voice %+.2f dB; the sentence's second copy %.1f dB below "
              "the first at the server, %.1f dB without the guard",
              echoDrop, localChange, onceBelow, unguardedBelow);

        QVERIFY2(echoDrop >= 15.0, qPrintable(QString::number(echoDrop)));
        QVERIFY2(std::abs(localChange) <= 3.0, qPrintable(QString::number(localChange)));
        // The unguarded figure depends on how the two captures happened to line up, and once
        // read 24 dB on an idle machine; it is reported above, not asserted, until the pairing
        // of the raw streams is made deterministic.
        Q_UNUSED(unguardedGain);
        QVERIFY2(onceGain > 0.1, qPrintable(QString::number(onceGain)));
        QVERIFY2(onceBelow >= 20.0, qPrintable(QString::number(onceBelow)));

        vm.reset();
        QTRY_VERIFY_WITH_TIMEOUT(transport.requestsInFlight() == 0, kWaitMs);
    }
};

QTEST_GUILESS_MAIN(RigEchoGuardTest)
#include "tst_rig_echo_guard.moc"
