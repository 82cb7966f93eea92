#include "AudioRig.h"
#include "LinuxPermissionProbe.h"
#include "PulseAudioInputBackend.h"
#include "PulseSystemAudioBackend.h"
#include "audio/MicrophoneCapture.h"
#include "audio/MicrophonePermissionSnapshot.h"
#include "audio/SystemAudioCapture.h"
#include "backend/HttpTransport.h"
#include "engine/TranscriptionViewModel.h"
#include "storage/AppLog.h"
#include "storage/STTConfigurationStore.h"
#include "support/AwaitTask.h"
#include "support/InMemoryPreferences.h"
#include "support/RefBackendFixture.h"
#include "text/UiText.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace vesnara;
using namespace vesnara::rig;

namespace {

constexpr auto kStartLimit = 1000ms;
constexpr double kLongestGapMs = 50.0;

/// The longest gap between the ticks of a 5 ms timer on the main thread.
class Watchdog {
public:
    Watchdog() {
        m_timer.setInterval(5);
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            m_longestGapMs =
                std::max(m_longestGapMs, static_cast<double>(m_sinceTick.nsecsElapsed()) / 1e6);
            m_sinceTick.restart();
        });
        m_sinceTick.start();
        m_timer.start();
    }
    double longestGapMs() const {
        return std::max(m_longestGapMs, static_cast<double>(m_sinceTick.nsecsElapsed()) / 1e6);
    }

private:
    QTimer m_timer;
    QElapsedTimer m_sinceTick;
    double m_longestGapMs = 0.0;
};

/// Lets a stopped daemon run again when the test ends, however it ends.
struct ContinueDaemon {
    int pid;
    ~ContinueDaemon() { ::kill(pid, SIGCONT); }
};

bool listsMeetingOutput(const SystemAudioCapture& capture) {
    try {
        for (const auto& display : capture.listDisplaySources())
            if (display.name.contains(u"Meeting output"_s))
                return true;
    } catch (const SystemAudioCaptureError&) {
    }
    return false;
}

bool listsBuiltInMicrophone(const MicrophoneCapture& capture) {
    const auto devices = capture.listAvailableInputDevices();
    return devices && std::any_of(devices->begin(), devices->end(), [](const auto& device) {
               return device.name == u"Built-in Microphone"_s;
           });
}

} // namespace

/// A sound server that hangs (its daemon stopped with SIGSTOP) while the main thread lists the
/// devices and starts both captures: nothing the main thread calls waits on it, and each start
/// fails once its limit passes. The test runs a daemon of its own, since stopping the shared one
/// would stall the other rig tests.
class RigHungServerTest : public QObject {
    Q_OBJECT

public:
    static void initMain() { selectRigServer(); }

private:
    QTemporaryDir m_dir;
    OwnRig m_rig;

private Q_SLOTS:
    void initTestCase() {
        VESNARA_START_OWN_RIG(m_rig);
        AppLog::setLogFilePath(m_dir.filePath(u"desktop.log"_s));
    }

    void theMainThreadNeverWaitsOnAHungServer() {
        FrameCollector frames; // outlives the captures that post into it
        PulseAudioInputBackend microphoneBackend(kStartLimit);
        PulseSystemAudioBackend systemBackend(kStartLimit);
        MicrophoneCapture microphone(microphoneBackend);
        SystemAudioCapture system(systemBackend);
        auto probe = std::make_shared<LinuxPermissionProbe>();
        QTRY_VERIFY(listsBuiltInMicrophone(microphone) && listsMeetingOutput(system));

        const int pid = m_rig.daemonPid();
        QVERIFY(pid > 0);
        QCOMPARE(::kill(pid, SIGSTOP), 0);
        const ContinueDaemon continueDaemon{pid};

        Watchdog watchdog;
        // The connection stays up while the daemon is stopped: the listings answer from what is
        // known, at once.
        QVERIFY(listsBuiltInMicrophone(microphone));
        QVERIFY(listsMeetingOutput(system));
        QVERIFY(MicrophonePermissionSnapshot::from(probe->microphoneState()).isGranted);
        QVERIFY(probe->systemAudioPreflight());
        const auto microphoneStart = test::startTask(microphone.startAsync());
        const auto systemStart = test::startTask(system.startAsync());
        QVERIFY(!microphoneStart->finished && !systemStart->finished);

        const auto microphoneOutcome = test::waitFor(microphoneStart);
        const auto systemOutcome = test::waitFor(systemStart);
        const double longestGap = watchdog.longestGapMs();

        QVERIFY(microphoneOutcome.finished && systemOutcome.finished);
        const auto microphoneError = microphoneOutcome.errorAs<MicrophoneCaptureError>();
        QVERIFY(microphoneError.has_value());
        QCOMPARE(microphoneError->description(), UiText::microphoneEngineNotReady);
        const auto systemError = systemOutcome.errorAs<SystemAudioCaptureError>();
        QVERIFY(systemError.has_value());
        QCOMPARE(systemError->description(), UiText::systemAudioStreamSetupFailed);
        // Both waited for their streams until the limit, rather than failing for another reason.
        const QString log = AppLog::snapshot(1 << 20);
        QVERIFY2(log.contains(u"MicrophoneCapture start failed domain=vesnara.audio code=11"_s),
                 qPrintable(log));
        QVERIFY2(log.contains(u"SystemAudioCapture startCapture error domain=vesnara.audio "
                              u"code=20"_s),
                 qPrintable(log));
        QVERIFY(!microphone.isRunning() && !system.isRunning());
        QVERIFY2(longestGap <= kLongestGapMs,
                 qPrintable(u"the main thread stalled for %1 ms"_s.arg(longestGap)));

        // Once the server runs again, so does a capture.
        QCOMPARE(::kill(pid, SIGCONT), 0);
        microphone.onPCMFrame = [&frames](QByteArray frame) { frames.post(std::move(frame)); };
        const auto restarted = test::awaitTask(microphone.startAsync());
        QVERIFY(restarted.finished && !restarted.error);
        QTRY_VERIFY_WITH_TIMEOUT(frames.frames.size() >= 3, 8000);
        const auto stopped = test::awaitTask(microphone.stopAsync());
        QVERIFY(stopped.finished);
    }

    void theViewModelNeverWaitsOnAHungServer() {
        test::RefBackendFixture server;
        InMemoryPreferences preferences;
        STTConfigurationStore(preferences).save(server.config());
        HttpTransport transport;
        PulseAudioInputBackend microphoneBackend(kStartLimit);
        PulseSystemAudioBackend systemBackend(kStartLimit);
        QTemporaryDir history;
        TranscriptionViewModel vm(TranscriptionViewModel::Dependencies{
            preferences, transport, microphoneBackend, systemBackend, history.path(), nullptr,
            std::make_shared<LinuxPermissionProbe>()});
        vm.settings()->updateAuthContext(server.token());
        AudioSources& sources = *vm.sources();
        // The backends connect in the background and the sources list when they have.
        QTRY_VERIFY_WITH_TIMEOUT(!sources.availableInputDevices().isEmpty(), 8000);
        sources.refreshSystemAudioDisplays(true);
        QVERIFY(!sources.availableSystemDisplays().isEmpty());
        const auto devices = sources.availableInputDevices();
        const auto displays = sources.availableSystemDisplays();

        const int pid = m_rig.daemonPid();
        QVERIFY(pid > 0);
        QCOMPARE(::kill(pid, SIGSTOP), 0);
        const ContinueDaemon continueDaemon{pid};

        Watchdog watchdog;
        sources.setInputMode(AudioInputMode::systemAudio);
        vm.startRecording();
        sources.refreshSystemAudioDisplays(true);
        sources.refreshInputDevices();
        vm.permissions()->refreshMicrophonePermissionStatus(true);
        // The listings answer from what is known, at once.
        QCOMPARE(sources.availableInputDevices(), devices);
        QCOMPARE(sources.availableSystemDisplays(), displays);
        QVERIFY(vm.isStartingRecording());

        // The start waits for its stream off the main thread, then fails with its own text.
        QTRY_VERIFY_WITH_TIMEOUT(!vm.isStartingRecording(), 8000);
        const double longestGap = watchdog.longestGapMs();
        QCOMPARE(vm.status()->statusText(), UiText::systemAudioStreamSetupFailed);
        QVERIFY(!vm.isRecording());
        QVERIFY(vm.canStart());
        QVERIFY2(longestGap <= kLongestGapMs,
                 qPrintable(u"the main thread stalled for %1 ms"_s.arg(longestGap)));
        QCOMPARE(::kill(pid, SIGCONT), 0);
        static_cast<void>(
            QTest::qWaitFor([&transport] { return transport.requestsInFlight() == 0; }, 8000));
    }
};

QTEST_GUILESS_MAIN(RigHungServerTest)
#include "tst_rig_hung_server.moc"
