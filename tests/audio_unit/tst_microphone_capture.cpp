#include "audio/MicrophoneCapture.h"
#include "storage/AppLog.h"

#include "FrameCollector.h"
#include "support/FakeAudioBackends.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
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

} // namespace

class MicrophoneCaptureTest : public QObject {
    Q_OBJECT

    FakeAudioInputBackend m_backend;
    QTemporaryDir m_logDir;

private Q_SLOTS:
    void initTestCase() { AppLog::setLogFilePath(m_logDir.filePath(u"desktop.log"_s)); }

    void init() {
        m_backend.devices = threeDevices();
        m_backend.defaultDeviceId = usbId;
        m_backend.nextStart = {std::nullopt, AudioStreamDescription::float32(48000, 2), true};
    }

    void framesAreExactly3200BytesFromTheAudioThread() {
        MicrophoneCapture capture(m_backend);
        FrameCollector collector;
        capture.onPCMFrame = collector.sink();
        capture.start();

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
        capture.start();
        QCOMPARE(m_backend.requestedDevices().last(), builtInId);
        QCOMPARE(capture.activeInputDeviceName(), u"Built-in Audio Analog Stereo"_s);
        QVERIFY(capture.isRunning());

        capture.preferredInputDeviceID = headsetId;
        capture.start(); // a restart stops the running stream first
        QCOMPARE(m_backend.requestedDevices().last(), headsetId);
        QCOMPARE(capture.activeInputDeviceName(), u"Headset"_s);
        QVERIFY(AppLog::snapshot(1 << 20).contains(
            u"microphone wireless headset selected explicitly name=Headset"_s));

        capture.stop();
        QCOMPARE(capture.activeInputDeviceName(), QString());
        QVERIFY(!capture.isRunning());
        QVERIFY(!m_backend.isRecording());
    }

    void withoutDevicesRecordsFromTheDefaultAsOletuslaite() {
        m_backend.devices.clear();
        m_backend.defaultDeviceId = 0;
        MicrophoneCapture capture(m_backend);
        capture.start();
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
        try {
            capture.start();
            QFAIL("start succeeded");
        } catch (const MicrophoneCaptureError& error) {
            QCOMPARE(error.kind(), MicrophoneCaptureError::Kind::engineNotReady);
            QCOMPARE(error.description(), u"Audio engine ei ole käyttövalmis"_s);
        }
        QVERIFY(!capture.isRunning());
        QVERIFY(!m_backend.isRecording());
    }

    void stopDropsAPartialFrameButARestartKeepsIt() {
        MicrophoneCapture capture(m_backend);
        FrameCollector collector;
        capture.onPCMFrame = collector.sink();

        capture.start();
        m_backend.deliver(hardwareBuffer());
        capture.start();
        m_backend.deliver(hardwareBuffer());
        m_backend.deliver(hardwareBuffer());
        QCOMPARE(collector.sizes(), QList<int>{3200}); // 3 x 1364 across the restart

        capture.stop();
        capture.start();
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
        capture.start();
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
        capture.start();
        m_backend.fail({u"pulseaudio"_s, 12, u"Entity killed"_s});
        QCOMPARE(reported, u"domain=pulseaudio code=12 desc=Entity killed"_s);
        QVERIFY(AppLog::snapshot(1 << 20).contains(
            u"MicrophoneCapture stream failed domain=pulseaudio code=12 desc=Entity killed"_s));
    }

    void offersDevicesAndStableFallbacks() {
        MicrophoneCapture capture(m_backend);
        QCOMPARE(capture.listAvailableInputDevices().size(), 3);
        QCOMPARE(capture.stableFallbackInputDevice(headsetId),
                 std::optional(
                     AudioInputDeviceOption{builtInId, u"Built-in Audio Analog Stereo"_s, false}));
        QCOMPARE(capture.preferredStableInputDevice(builtInId)->id, usbId);
    }
};

QTEST_GUILESS_MAIN(MicrophoneCaptureTest)
#include "tst_microphone_capture.moc"
