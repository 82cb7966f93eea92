#include "AudioRig.h"
#include "PulseSystemAudioBackend.h"
#include "audio/SystemAudioCapture.h"
#include "support/AwaitTask.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::rig;

namespace {

constexpr int kWarmUpAndPlayMs = 8000;

// Both listings throw until the background connection to the server is made.
std::optional<quint32> meetingOutputId(const SystemAudioCapture& capture) {
    try {
        for (const auto& display : capture.listDisplaySources())
            if (display.name.contains(u"Meeting output"_s))
                return display.id;
    } catch (const SystemAudioCaptureError&) {
    }
    return std::nullopt;
}

bool listsApplication(const SystemAudioCapture& capture, const QString& bundleId) {
    try {
        for (const auto& application : capture.listApplicationSources())
            if (application.bundleIdentifier == bundleId)
                return true;
    } catch (const SystemAudioCaptureError&) {
    }
    return false;
}

} // namespace

/// System audio against the rig's daemon: the "meeting" output's monitor, and one application's
/// streams while another plays beside it.
class RigSystemAudioTest : public QObject {
    Q_OBJECT

public:
    static void initMain() { selectRigServer(); }

private:
    QTemporaryDir m_dir;

private Q_SLOTS:
    void init() { VESNARA_SKIP_WITHOUT_RIG(); }

    // The output's monitor is resampled to 16 kHz by the server, filtering first: a 10 kHz tone
    // does not fold onto 6 kHz. The backend takes the output's own two channels and mixes them
    // itself, so the tone arrives at one level on both servers; asked for mono, PipeWire would
    // deliver it 3 dB louder than PulseAudio (it sums channels at -3 dB, PulseAudio averages).
    void soundPlayedIntoTheMeetingOutputIsCapturedAndAHighToneFiltered() {
        const double amplitude = 0.4;
        const QString wav = m_dir.filePath(u"meeting.wav"_s);
        QVERIFY(writeTonesWav(wav, toneHighToneTone(1000.0), amplitude));

        PulseSystemAudioBackend backend;
        SystemAudioCapture capture(backend);
        QTRY_VERIFY(meetingOutputId(capture).has_value());
        capture.preferredDisplayID = meetingOutputId(capture);
        FrameCollector collector;
        capture.onPCMFrame = [&collector](QByteArray frame) { collector.post(std::move(frame)); };
        QVERIFY(test::succeeds(capture.startAsync()));
        QVERIFY(capture.isRunning());
        QTRY_VERIFY_WITH_TIMEOUT(collector.frames.size() >= 3, kWarmUpAndPlayMs);

        Player player(wav, u"meeting"_s);
        QVERIFY(player.started());
        QTRY_VERIFY_WITH_TIMEOUT(player.hasFinished(), 3 * kWarmUpAndPlayMs);
        const auto played = collector.frames.size();
        QTRY_VERIFY_WITH_TIMEOUT(collector.frames.size() >= played + 5, kWarmUpAndPlayMs);
        QVERIFY(test::succeeds(capture.stopAsync()));

        for (const auto& frame : collector.frames) {
            QVERIFY(frame.size() >= 640 && frame.size() <= 3200);
            QCOMPARE(frame.size() % 2, 0);
        }
        checkHighToneIsFiltered(collector.frames, amplitude, 1000.0);
    }

    void oneApplicationIsHeardAndNotTheOtherBesideIt() {
        const double amplitude = 0.4;
        const QString chosenWav = m_dir.filePath(u"chosen.wav"_s);
        const QString otherWav = m_dir.filePath(u"other.wav"_s);
        QVERIFY(writeToneWav(chosenWav, 440.0, amplitude, 8.0));
        QVERIFY(writeToneWav(otherWav, 1500.0, amplitude, 8.0));

        Player chosen(chosenWav, u"meeting"_s,
                      {u"application.process.binary=vesnara-rig-chosen"_s,
                       u"application.name=Chosen Player"_s});
        Player other(otherWav, u"meeting"_s,
                     {u"application.process.binary=vesnara-rig-other"_s,
                      u"application.name=Other Player"_s});
        QVERIFY(chosen.started());
        QVERIFY(other.started());

        PulseSystemAudioBackend backend;
        SystemAudioCapture capture(backend);
        QTRY_VERIFY(listsApplication(capture, u"vesnara-rig-chosen"_s) &&
                    listsApplication(capture, u"vesnara-rig-other"_s));
        capture.preferredDisplayID = meetingOutputId(capture);
        capture.preferredApplicationBundleID = u"vesnara-rig-chosen"_s;
        FrameCollector collector;
        capture.onPCMFrame = [&collector](QByteArray frame) { collector.post(std::move(frame)); };
        QVERIFY(test::succeeds(capture.startAsync()));
        QVERIFY(capture.activeSourceName().contains(u"Chosen Player"_s));

        const double expected = sineLevel(amplitude);
        QTRY_VERIFY_WITH_TIMEOUT(collector.loudFrames(expected / 2).size() >= 10, kWarmUpAndPlayMs);
        QVERIFY(test::succeeds(capture.stopAsync()));
        checkSteadyTone(collector.loudFrames(expected / 2), expected, 440.0);
    }
};

QTEST_GUILESS_MAIN(RigSystemAudioTest)
#include "tst_rig_system_audio.moc"
