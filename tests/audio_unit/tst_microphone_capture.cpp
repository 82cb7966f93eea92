#include "audio/MicrophoneCapture.h"
#include "storage/AppLog.h"

#include "FrameCollector.h"
#include "support/AwaitTask.h"
#include "support/FakeAudioBackends.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace vesnara;
using vesnara::test::FakeAudioInputBackend;
using vesnara::test::ScriptedAudioBuffer;

namespace {

constexpr quint32 usbId = 11, builtInId = 12, headsetId = 13;

QList<AudioInputDevice> threeDevices() {
    return {{usbId, u"USB Microphone"_s, AudioTransportKind::usb, 1},
            {builtInId, u"Built-in Audio Analog Stereo"_s, AudioTransportKind::builtIn, 2},
            {headsetId, u"Headset"_s, AudioTransportKind::bluetooth, 1}};
}

/// 2048 frames of 48 kHz stereo float: 1364 bytes once converted.
ScriptedAudioBuffer hardwareBuffer(float value = 0.5f) {
    return ScriptedAudioBuffer::constant(48000, 2, 2048, value);
}

void script(FakeAudioInputBackend& backend) {
    backend.devices = threeDevices();
    backend.defaultDeviceId = usbId;
    backend.listingError.reset();
    backend.nextStart = {std::nullopt, AudioStreamDescription::float32(48000, 2), true};
    backend.startDelay = std::chrono::milliseconds(0);
    backend.gate.release();
}

} // namespace

class MicrophoneCaptureTest : public QObject {
    Q_OBJECT

    FakeAudioInputBackend m_backend;
    QTemporaryDir m_logDir;

private Q_SLOTS:
    void initTestCase() { AppLog::setLogFilePath(m_logDir.filePath(u"desktop.log"_s)); }

    void init() { script(m_backend); }

    void framesAreExactly3200BytesFromTheAudioThread() {
        MicrophoneCapture capture(m_backend);
        FrameCollector collector;
        capture.onPCMFrame = collector.sink();
        QVERIFY(test::succeeds(capture.startAsync()));

        m_backend.play(QList<ScriptedAudioBuffer>(5, hardwareBuffer()));
        m_backend.waitUntilPlayed();
        QCOMPARE(collector.sizes(), (QList<int>{3200, 3200})); // 5 x 1364 = 6820
        QVERIFY(collector.threads().first() != std::this_thread::get_id());
        QByteArray halfScale; // 0.5 is 16384 in every sample
        for (int i = 0; i < 1600; ++i)
            halfScale.append('\x00').append('\x40');
        QCOMPARE(collector.frames().first(), halfScale);
    }

    void choosesTheBuiltInDeviceAndNamesIt() {
        MicrophoneCapture capture(m_backend);
        QCOMPARE(capture.activeInputDeviceName(), QString());
        QVERIFY(test::succeeds(capture.startAsync()));
        QCOMPARE(m_backend.requestedDevices().last(), builtInId);
        QCOMPARE(capture.activeInputDeviceName(), u"Built-in Audio Analog Stereo"_s);
        QVERIFY(capture.isRunning());

        capture.preferredInputDeviceID = headsetId;
        QVERIFY(test::succeeds(capture.startAsync())); // a restart stops the running stream first
        QCOMPARE(m_backend.requestedDevices().last(), headsetId);
        QCOMPARE(capture.activeInputDeviceName(), u"Headset"_s);
        QVERIFY(AppLog::snapshot(1 << 20).contains(
            u"microphone wireless headset selected explicitly name=Headset"_s));

        QVERIFY(test::succeeds(capture.stopAsync()));
        QCOMPARE(capture.activeInputDeviceName(), QString());
        QVERIFY(!capture.isRunning());
        QVERIFY(!m_backend.isRecording());
    }

    void withoutDevicesRecordsFromTheDefaultAsOletuslaite() {
        m_backend.devices.clear();
        m_backend.defaultDeviceId = 0;
        MicrophoneCapture capture(m_backend);
        QVERIFY(test::succeeds(capture.startAsync()));
        QCOMPARE(m_backend.requestedDevices().last(), 0u);
        QCOMPARE(capture.activeInputDeviceName(), u"Oletuslaite"_s);
    }

    void startFailuresAreEngineNotReady_data() {
        QTest::addColumn<bool>("streamFails");
        QTest::newRow("stream does not start") << true;
        QTest::newRow("input has no channels") << false;
    }
    void startFailuresAreEngineNotReady() {
        QFETCH(bool, streamFails);
        if (streamFails)
            m_backend.nextStart.error = AudioBackendError{u"pulseaudio"_s, 5, u"No such entity"_s};
        else
            m_backend.nextStart.format.channelCount = 0;
        MicrophoneCapture capture(m_backend);
        const auto started = test::awaitTask(capture.startAsync());
        QVERIFY(started.finished);
        const auto error = started.errorAs<MicrophoneCaptureError>();
        QVERIFY(error.has_value());
        QCOMPARE(error->kind(), MicrophoneCaptureError::Kind::engineNotReady);
        QCOMPARE(error->description(), u"Audio engine ei ole käyttövalmis"_s);
        QVERIFY(!capture.isRunning());
        QTRY_VERIFY(!m_backend.isRecording()); // a stream without channels is stopped again
    }

    void stopDropsAPartialFrameButARestartKeepsIt() {
        MicrophoneCapture capture(m_backend);
        FrameCollector collector;
        capture.onPCMFrame = collector.sink();

        QVERIFY(test::succeeds(capture.startAsync()));
        m_backend.deliver(hardwareBuffer());
        QVERIFY(test::succeeds(capture.startAsync()));
        m_backend.deliver(hardwareBuffer());
        m_backend.deliver(hardwareBuffer());
        QCOMPARE(collector.sizes(), QList<int>{3200}); // 3 x 1364 across the restart

        QVERIFY(test::succeeds(capture.stopAsync()));
        QVERIFY(test::succeeds(capture.startAsync()));
        m_backend.deliver(hardwareBuffer());
        m_backend.deliver(hardwareBuffer());
        QCOMPARE(collector.sizes(), QList<int>{3200}); // the 892 left were dropped by stop
        m_backend.deliver(hardwareBuffer());
        QCOMPARE(collector.sizes(), (QList<int>{3200, 3200}));
    }

    void unreadableBuffersAreDroppedSilently() {
        MicrophoneCapture capture(m_backend);
        FrameCollector collector;
        capture.onPCMFrame = collector.sink();
        QVERIFY(test::succeeds(capture.startAsync()));
        auto int24 = hardwareBuffer();
        int24.format = AudioStreamDescription::int24(48000, 2);
        auto empty = hardwareBuffer();
        empty.frameCount = 0;
        for (int i = 0; i < 4; ++i) {
            m_backend.deliver(int24);
            m_backend.deliver(empty);
        }
        QVERIFY(collector.frames().isEmpty());
    }

    void aDyingStreamIsReported() {
        MicrophoneCapture capture(m_backend);
        QString reported;
        capture.onStreamFailure = [&](const QString& details) { reported = details; };
        QVERIFY(test::succeeds(capture.startAsync()));
        m_backend.fail({u"pulseaudio"_s, 12, u"Entity killed"_s});
        QCOMPARE(reported, u"domain=pulseaudio code=12 desc=Entity killed"_s);
        QVERIFY(AppLog::snapshot(1 << 20).contains(
            u"MicrophoneCapture stream failed domain=pulseaudio code=12 desc=Entity killed"_s));
    }

    void offersDevicesAndStableFallbacks() {
        MicrophoneCapture capture(m_backend);
        QCOMPARE(capture.listAvailableInputDevices()->size(), 3);
        QCOMPARE(capture.stableFallbackInputDevice(headsetId),
                 std::optional(
                     AudioInputDeviceOption{builtInId, u"Built-in Audio Analog Stereo"_s, false}));
        QCOMPARE(capture.preferredStableInputDevice(builtInId)->id, usbId);
    }

    void aFailedListingIsNotAnEmptyOne() {
        MicrophoneCapture capture(m_backend);
        m_backend.devices.clear();
        QCOMPARE(capture.listAvailableInputDevices(),
                 std::optional(QList<AudioInputDeviceOption>{}));

        m_backend.devices = threeDevices();
        m_backend.listingError = AudioBackendError{u"vesnara.audio"_s, 5, u"still connecting"_s};
        QVERIFY(!capture.listAvailableInputDevices().has_value());
        QVERIFY(!capture.stableFallbackInputDevice(headsetId).has_value());
        QVERIFY(!capture.preferredStableInputDevice(std::nullopt).has_value());

        // Without a list a start asks for the stored choice as it is, and names it once the list
        // can be read.
        capture.preferredInputDeviceID = headsetId;
        const auto held = m_backend.gate.holdInScope();
        const auto started = test::startTask(capture.startAsync());
        QVERIFY(m_backend.gate.waitUntilWaiting(1));
        m_backend.listingError.reset();
        m_backend.gate.release();
        QVERIFY(test::waitFor(started).finished && !started->error);
        QCOMPARE(m_backend.requestedDevices().last(), headsetId);
        QCOMPARE(capture.activeInputDeviceName(), u"Headset"_s);

        m_backend.listingError = AudioBackendError{u"vesnara.audio"_s, 6, u"Connection refused"_s};
        capture.preferredInputDeviceID.reset();
        QVERIFY(test::succeeds(capture.startAsync()));
        QCOMPARE(m_backend.requestedDevices().last(), 0u);
        QCOMPARE(capture.activeInputDeviceName(), u"Oletuslaite"_s);
    }

    // The backend's calls run on the capture's worker thread one at a time, in the order asked.
    void aStopAndAStartReachTheBackendInTheirOrder() {
        FakeAudioInputBackend backend;
        script(backend);
        MicrophoneCapture capture(backend);
        FrameCollector collector;
        capture.onPCMFrame = collector.sink();
        QVERIFY(test::succeeds(capture.startAsync()));

        const auto held = backend.gate.holdInScope();
        const auto stopped = test::startTask(capture.stopAsync());
        QVERIFY(!capture.isRunning());
        capture.preferredInputDeviceID = headsetId;
        const auto started = test::startTask(capture.startAsync());
        QVERIFY(backend.gate.waitUntilWaiting(1));
        backend.gate.release();
        QVERIFY(test::waitFor(stopped).finished);
        QVERIFY(test::waitFor(started).finished && !started->error);

        QCOMPARE(backend.calls(), (QStringList{u"start 12"_s, u"stop"_s, u"start 13"_s}));
        QVERIFY(backend.isRecording());
        QVERIFY(capture.isRunning());
        QCOMPARE(capture.activeInputDeviceName(), u"Headset"_s);
        for (int i = 0; i < 3; ++i)
            backend.deliver(hardwareBuffer());
        QCOMPARE(collector.sizes(), QList<int>{3200});
    }

    void aStopDuringAPendingStartWins() {
        FakeAudioInputBackend backend;
        script(backend);
        MicrophoneCapture capture(backend);
        FrameCollector collector;
        QString failure;
        capture.onPCMFrame = collector.sink();
        capture.onStreamFailure = [&failure](const QString& details) { failure = details; };

        const auto held = backend.gate.holdInScope();
        const auto started = test::startTask(capture.startAsync());
        QVERIFY(backend.gate.waitUntilWaiting(1));
        const auto stopped = test::startTask(capture.stopAsync());
        backend.gate.passOne(); // the start runs its stream; the stop waits at the gate
        QTRY_VERIFY(backend.isRecording());
        for (int i = 0; i < 3; ++i)
            backend.deliver(hardwareBuffer());
        backend.fail({u"pulseaudio"_s, 12, u"Entity killed"_s});
        backend.gate.release();

        QVERIFY(test::waitFor(started).finished);
        QVERIFY(!started->error); // superseded, not failed
        QVERIFY(test::waitFor(stopped).finished);
        QVERIFY(!capture.isRunning());
        QCOMPARE(capture.activeInputDeviceName(), QString());
        QVERIFY(!backend.isRecording());
        QVERIFY(collector.frames().isEmpty());
        QCOMPARE(failure, QString());
    }

    // Frames from the audio thread race the stop; none may arrive once it has returned, even
    // before the backend has stopped.
    void lateFramesAndFailuresAfterAStopAreDropped() {
        FakeAudioInputBackend backend;
        script(backend);
        MicrophoneCapture capture(backend);
        FrameCollector collector;
        std::atomic<int> failures = 0;
        capture.onPCMFrame = collector.sink();
        capture.onStreamFailure = [&failures](const QString&) { ++failures; };
        QVERIFY(test::succeeds(capture.startAsync()));
        backend.play(QList<ScriptedAudioBuffer>(400, hardwareBuffer()), 1ms);
        QTRY_VERIFY(collector.frames().size() >= 2);

        const auto held = backend.gate.holdInScope();
        const auto stopped = test::startTask(capture.stopAsync());
        const auto framesAtStop = collector.frames().size();
        backend.deliver(hardwareBuffer());
        backend.fail({u"pulseaudio"_s, 12, u"Entity killed"_s});
        backend.waitUntilPlayed();
        QVERIFY(backend.isRecording());
        QCOMPARE(collector.frames().size(), framesAtStop);
        QCOMPARE(failures.load(), 0);
        backend.gate.release();
        QVERIFY(test::waitFor(stopped).finished);
        QVERIFY(!backend.isRecording());
    }

    void destroyingTheCaptureDuringAStartEndsItQuietly() {
        FakeAudioInputBackend backend;
        script(backend);
        backend.startDelay = 50ms; // a slow server
        FrameCollector collector;
        std::shared_ptr<test::OutcomeOf<void>> started;
        {
            MicrophoneCapture capture(backend);
            capture.onPCMFrame = collector.sink();
            started = test::startTask(capture.startAsync());
        } // waits for the start, then stops it
        QVERIFY(!backend.isRecording());
        QCOMPARE(backend.calls(), (QStringList{u"start 12"_s, u"stop"_s}));
        QVERIFY(test::waitFor(started).finished);
        QVERIFY(!started->error);
        QVERIFY(collector.frames().isEmpty());
    }
};

QTEST_GUILESS_MAIN(MicrophoneCaptureTest)
#include "tst_microphone_capture.moc"
