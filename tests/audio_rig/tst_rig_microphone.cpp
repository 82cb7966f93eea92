#include "AudioRig.h"
#include "PulseAudioInputBackend.h"
#include "PulseSystemAudioBackend.h"
#include "audio/MicrophoneCapture.h"
#include "audio/SystemAudioCapture.h"
#include "support/AwaitTask.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::rig;

namespace {

constexpr int kWarmUpAndPlayMs = 8000;

std::optional<AudioInputDeviceOption> deviceNamed(const MicrophoneCapture& capture,
                                                  const QString& name) {
    for (const auto& device :
         capture.listAvailableInputDevices().value_or(QList<AudioInputDeviceOption>{}))
        if (device.name == name)
            return device;
    return std::nullopt;
}

} // namespace

/// The microphone path against the rig's daemon: its virtual microphones, their classification,
/// hot-plug, and a real tone through MicrophoneCapture.
class RigMicrophoneTest : public QObject {
    Q_OBJECT

public:
    static void initMain() { selectRigServer(); }

private:
    QTemporaryDir m_dir;

private Q_SLOTS:
    void init() { VESNARA_SKIP_WITHOUT_RIG(); }

    void builtInAndHeadsetAreClassifiedAndMonitorsLeftOut() {
        PulseAudioInputBackend backend;
        QList<AudioInputDevice> devices;
        QTRY_VERIFY((devices = backend.listInputDevices().devices).size() >= 2);
        QHash<QString, AudioInputDevice> byName;
        for (const auto& device : devices) {
            byName.insert(device.name, device);
            QVERIFY2(!device.name.startsWith(u"Monitor of"_s), qPrintable(device.name));
            QVERIFY(device.id != 0);
        }
        QVERIFY(byName.contains(u"Built-in Microphone"_s));
        QVERIFY(byName.contains(u"Headset Microphone"_s));
        const auto builtIn = byName.value(u"Built-in Microphone"_s);
        const auto headset = byName.value(u"Headset Microphone"_s);
        QCOMPARE(builtIn.transport, AudioTransportKind::builtIn);
        QCOMPARE(headset.transport, AudioTransportKind::bluetooth);
        QCOMPARE(builtIn.inputChannels, 1);
        QCOMPARE(backend.sourceName(builtIn.id), QByteArray("builtin_mic"));
        QCOMPARE(backend.listInputDevices().defaultDeviceId, builtIn.id);

        // Ids are stable: a second backend of the same process, or a later run, sees the same.
        PulseAudioInputBackend other;
        QCOMPARE(other.listInputDevices().devices, devices);
    }

    void stableFallbackLeavesTheHeadsetForTheBuiltInMicrophone() {
        PulseAudioInputBackend backend;
        MicrophoneCapture capture(backend);
        QTRY_VERIFY(deviceNamed(capture, u"Headset Microphone"_s).has_value());
        const auto headset = *deviceNamed(capture, u"Headset Microphone"_s);
        const auto builtIn = *deviceNamed(capture, u"Built-in Microphone"_s);

        // Even with the headset as the server's default, the stable choice is the built-in one.
        QVERIFY(pactl({u"set-default-source"_s, u"bluez_input.headset"_s}));
        QTRY_COMPARE(backend.listInputDevices().defaultDeviceId, headset.id);
        const auto fallback = capture.stableFallbackInputDevice(headset.id);
        const auto stable = capture.preferredStableInputDevice(std::nullopt);
        QVERIFY(pactl({u"set-default-source"_s, u"builtin_mic"_s}));
        QVERIFY(fallback.has_value());
        QCOMPARE(fallback->id, builtIn.id);
        QVERIFY(stable.has_value());
        QCOMPARE(stable->id, builtIn.id);
        QVERIFY(!capture.stableFallbackInputDevice(builtIn.id).has_value());
    }

    void addedAndRemovedDevicesShowInTheNextListingAndAreAnnounced() {
        std::atomic<int> inputChanges{0}; // outlive the backends that count into them
        std::atomic<int> outputChanges{0};
        PulseAudioInputBackend inputs;
        PulseSystemAudioBackend outputs;
        QTRY_VERIFY(!inputs.listInputDevices().error && !outputs.shareableContent().error);
        inputs.setDevicesChangedCallback([&inputChanges] { ++inputChanges; });
        outputs.setDevicesChangedCallback([&outputChanges] { ++outputChanges; });
        QByteArray moduleIndex;
        QVERIFY(
            pactl({u"load-module"_s, u"module-remap-source"_s, u"source_name=vesnara_hotplug_mic"_s,
                   u"master=mic_feed.monitor"_s,
                   // PipeWire marks a remap source virtual unless told otherwise.
                   u"source_properties=\"device.description='Hotplug USB Mic' device.class=sound "
                   u"device.api=alsa device.bus=usb node.virtual=false\""_s},
                  &moduleIndex));
        QByteArray sinkModule;
        QVERIFY(pactl({u"load-module"_s, u"module-null-sink"_s, u"sink_name=vesnara_hotplug_out"_s,
                       u"sink_properties=\"device.description='Hotplug Output'\""_s},
                      &sinkModule));
        const auto listsMic = [&inputs] {
            for (const auto& device : inputs.listInputDevices().devices)
                if (device.name == u"Hotplug USB Mic"_s)
                    return device.transport == AudioTransportKind::usb;
            return false;
        };
        const auto listsOutput = [&outputs] {
            for (const auto& display : outputs.shareableContent().displays)
                if (display.name == u"Hotplug Output"_s)
                    return true;
            return false;
        };
        QTRY_VERIFY(listsMic());
        QTRY_VERIFY(listsOutput());
        QTRY_VERIFY(inputChanges > 0); // told just after the snapshot changed
        QTRY_VERIFY(outputChanges > 0);
        const int inputsBefore = inputChanges;
        const int outputsBefore = outputChanges;
        QVERIFY(pactl({u"unload-module"_s, QString::fromLatin1(moduleIndex.trimmed())}));
        QVERIFY(pactl({u"unload-module"_s, QString::fromLatin1(sinkModule.trimmed())}));
        QTRY_VERIFY(!listsMic());
        QTRY_VERIFY(!listsOutput());
        QTRY_VERIFY(inputChanges > inputsBefore);
        QTRY_VERIFY(outputChanges > outputsBefore);
    }

    // The server resamples to 16 kHz, filtering first: a 10 kHz tone does not fold onto 6 kHz.
    void toneArrivesAtItsLevelAndAHighToneIsFiltered_data() {
        QTest::addColumn<QString>("device");
        QTest::newRow("built-in, 48 kHz") << u"Built-in Microphone"_s;
        // 16 kHz on PulseAudio; PipeWire runs the rig's headset at 48 kHz (scripts/audio-rig).
        QTest::newRow("headset") << u"Headset Microphone"_s;
    }
    void toneArrivesAtItsLevelAndAHighToneIsFiltered() {
        QFETCH(QString, device);
        const double amplitude = 0.5;
        const QString wav = m_dir.filePath(u"tones.wav"_s);
        QVERIFY(writeTonesWav(wav, toneHighToneTone(1000.0), amplitude));

        PulseAudioInputBackend backend;
        MicrophoneCapture capture(backend);
        QTRY_VERIFY(deviceNamed(capture, device).has_value());
        capture.preferredInputDeviceID = deviceNamed(capture, device)->id;
        FrameCollector collector;
        capture.onPCMFrame = [&collector](QByteArray frame) { collector.post(std::move(frame)); };
        QVERIFY(test::succeeds(capture.startAsync()));
        QCOMPARE(capture.activeInputDeviceName(), device);
        QTRY_VERIFY_WITH_TIMEOUT(collector.frames.size() >= 3, kWarmUpAndPlayMs);

        Player player(wav, u"mic_feed"_s);
        QVERIFY(player.started());
        QTRY_VERIFY_WITH_TIMEOUT(player.hasFinished(), 3 * kWarmUpAndPlayMs);
        const auto played = collector.frames.size();
        QTRY_VERIFY_WITH_TIMEOUT(collector.frames.size() >= played + 5, kWarmUpAndPlayMs);
        QVERIFY(test::succeeds(capture.stopAsync()));

        for (const auto& frame : collector.frames)
            QCOMPARE(frame.size(), 3200);
        checkHighToneIsFiltered(collector.frames, amplitude, 1000.0);
    }

    void stopEndsTheCallbacksAndARestartWorks() {
        PulseAudioInputBackend backend;
        MicrophoneCapture capture(backend);
        FrameCollector collector;
        std::atomic<bool> stopped{false};
        std::atomic<int> framesAfterStop{0};
        capture.onPCMFrame = [&](QByteArray frame) {
            if (stopped)
                ++framesAfterStop;
            collector.post(std::move(frame));
        };
        QVERIFY(test::succeeds(capture.startAsync()));
        QTRY_VERIFY_WITH_TIMEOUT(collector.frames.size() >= 3, kWarmUpAndPlayMs);
        // Nothing may arrive from the moment the stop is asked for, before the backend has let go.
        const auto stopping = test::startTask(capture.stopAsync());
        stopped = true;
        QVERIFY(capture.activeInputDeviceName().isEmpty());
        QVERIFY(test::waitFor(stopping).finished && !stopping->error);

        // A second capture's frames are the clock: half a second of audio, and none of the
        // first's.
        PulseAudioInputBackend otherBackend;
        MicrophoneCapture other(otherBackend);
        FrameCollector otherFrames;
        other.onPCMFrame = [&otherFrames](QByteArray frame) { otherFrames.post(std::move(frame)); };
        QVERIFY(test::succeeds(other.startAsync()));
        QTRY_VERIFY_WITH_TIMEOUT(otherFrames.frames.size() >= 5, kWarmUpAndPlayMs);
        QVERIFY(test::succeeds(other.stopAsync()));
        QCOMPARE(framesAfterStop.load(), 0);

        stopped = false;
        const auto count = collector.frames.size();
        QVERIFY(test::succeeds(capture.startAsync()));
        QTRY_VERIFY_WITH_TIMEOUT(collector.frames.size() >= count + 3, kWarmUpAndPlayMs);
        QVERIFY(test::succeeds(capture.stopAsync()));
    }
};

QTEST_GUILESS_MAIN(RigMicrophoneTest)
#include "tst_rig_microphone.moc"
