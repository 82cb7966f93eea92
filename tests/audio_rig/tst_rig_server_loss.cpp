#include "AudioRig.h"
#include "LinuxPermissionProbe.h"
#include "PulseAudioInputBackend.h"
#include "PulseSystemAudioBackend.h"
#include "audio/MicrophoneCapture.h"
#include "audio/MicrophonePermissionSnapshot.h"
#include "audio/SystemAudioCapture.h"
#include "support/AwaitTask.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::rig;

/// A sound server that dies under a running capture. The test runs a daemon of its own (the
/// rig script with a private directory), since it kills it.
class RigServerLossTest : public QObject {
    Q_OBJECT

public:
    static void initMain() { selectRigServer(); }

private:
    OwnRig m_rig;

private Q_SLOTS:
    void initTestCase() { VESNARA_START_OWN_RIG(m_rig); }

    void killedServerStopsCaptureWithoutHangAndStartFails() {
        PulseAudioInputBackend inputBackend;
        PulseSystemAudioBackend systemBackend;
        auto probe = std::make_shared<LinuxPermissionProbe>();
        // The connection is made in the background.
        QTRY_VERIFY(MicrophonePermissionSnapshot::from(probe->microphoneState()).isGranted);
        QVERIFY(probe->systemAudioPreflight());

        MicrophoneCapture microphone(inputBackend);
        SystemAudioCapture system(systemBackend);
        FrameCollector micFrames;
        FrameCollector systemFrames;
        std::atomic<bool> micFailed{false};
        std::atomic<bool> systemStopped{false};
        microphone.onPCMFrame = [&micFrames](QByteArray f) { micFrames.post(std::move(f)); };
        microphone.onStreamFailure = [&micFailed](const QString&) { micFailed = true; };
        system.onPCMFrame = [&systemFrames](QByteArray f) { systemFrames.post(std::move(f)); };
        system.onStreamStopped = [&systemStopped](const QString&) { systemStopped = true; };
        QVERIFY(test::succeeds(microphone.startAsync()));
        QVERIFY(test::succeeds(system.startAsync()));
        QTRY_VERIFY_WITH_TIMEOUT(!micFrames.frames.isEmpty() && !systemFrames.frames.isEmpty(),
                                 8000);

        const auto pid = m_rig.daemonPid();
        QVERIFY(pid > 0);
        QCOMPARE(::kill(pid, SIGKILL), 0);

        QTRY_VERIFY(micFailed.load());
        QTRY_VERIFY(systemStopped.load());
        QElapsedTimer timer;
        timer.start();
        QVERIFY(test::succeeds(microphone.stopAsync()));
        QVERIFY(test::succeeds(system.stopAsync()));
        // Not an empty list: the server cannot be asked.
        QVERIFY(!microphone.listAvailableInputDevices().has_value());

        for (int attempt = 0; attempt < 2; ++attempt) { // a failed start leaves nothing behind
            const auto microphoneStart = test::awaitTask(microphone.startAsync());
            QVERIFY(microphoneStart.finished);
            const auto microphoneError = microphoneStart.errorAs<MicrophoneCaptureError>();
            QVERIFY(microphoneError.has_value());
            QCOMPARE(microphoneError->kind(), MicrophoneCaptureError::Kind::engineNotReady);
        }
        const auto systemStart = test::awaitTask(system.startAsync());
        QVERIFY(systemStart.finished);
        const auto systemError = systemStart.errorAs<SystemAudioCaptureError>();
        QVERIFY2(systemError.has_value(), "system audio started without a server");
        QCOMPARE(systemError->kind(), SystemAudioCaptureError::Kind::permissionDenied);
        QVERIFY2(timer.elapsed() < 10000, "the failed starts took too long");

        const auto snapshot = MicrophonePermissionSnapshot::from(probe->microphoneState());
        QVERIFY(!snapshot.isGranted);
        QVERIFY(snapshot.shouldOpenSystemSettings);
        QVERIFY(!probe->systemAudioPreflight());

        // Asking again reconnects off the main thread and still finds no server.
        const auto microphoneRequest = test::awaitTask(probe->requestRecordPermission());
        QCOMPARE(microphoneRequest.value, std::optional(false));
        const auto systemProbe = test::awaitTask(probe->probeSystemAudio());
        QVERIFY(systemProbe.value.has_value());
        QVERIFY(!systemProbe.value->succeeded);
        QVERIFY(!systemProbe.value->errorDetails.isEmpty());
    }
};

QTEST_GUILESS_MAIN(RigServerLossTest)
#include "tst_rig_server_loss.moc"
