#include "PulseDeviceClassification.h"
#include "StreamSum.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

Q_DECLARE_METATYPE(vesnara::AudioTransportKind)
Q_DECLARE_METATYPE(vesnara::PulseSourceInfo)

namespace {

PulseSourceInfo source(const QByteArray& name, const QByteArray& driver,
                       std::initializer_list<std::pair<const char*, const char*>> properties) {
    PulseSourceInfo info;
    info.name = name;
    info.driver = driver;
    for (const auto& [key, value] : properties)
        info.properties.insert(QByteArray(key), QByteArray(value));
    return info;
}

} // namespace

/// How sources of PulseAudio and of PipeWire's PulseAudio server are classified, without a
/// server: the property spellings of both are what a listing carries.
class PulseDeviceClassificationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void sourcesAreClassifiedInOrder_data() {
        QTest::addColumn<PulseSourceInfo>("info");
        QTest::addColumn<AudioTransportKind>("expected");
        const auto alsaPci =
            source("alsa_input.pci-0000_00_1f.3.analog-stereo", "module-alsa-card.c",
                   {{"device.api", "alsa"},
                    {"device.bus", "pci"},
                    {"device.class", "sound"},
                    {"device.form_factor", "internal"}});
        QTest::newRow("PulseAudio built-in") << alsaPci << AudioTransportKind::builtIn;
        QTest::newRow("PipeWire built-in, dashed form factor")
            << source("alsa_input.pci-0000_00_1f.3.analog-stereo", "PipeWire",
                      {{"device.api", "alsa"},
                       {"device.form-factor", "internal"},
                       {"device.bus", "usb"}})
            << AudioTransportKind::builtIn;
        QTest::newRow("pci without a form factor")
            << source("alsa_input.pci", "module-alsa-card.c",
                      {{"device.api", "alsa"}, {"device.bus", "pci"}})
            << AudioTransportKind::builtIn;
        QTest::newRow("pci webcam form factor is external")
            << source("alsa_input.pci", "module-alsa-card.c",
                      {{"device.api", "alsa"},
                       {"device.bus", "pci"},
                       {"device.form_factor", "webcam"}})
            << AudioTransportKind::other;
        QTest::newRow("USB microphone") << source("alsa_input.usb-Blue_Yeti", "module-alsa-card.c",
                                                  {{"device.api", "alsa"}, {"device.bus", "usb"}})
                                        << AudioTransportKind::usb;
        QTest::newRow("bluez by bus")
            << source("headset_in", "module-bluez5-device.c",
                      {{"device.api", "alsa"}, {"device.bus", "bluetooth"}})
            << AudioTransportKind::bluetooth;
        QTest::newRow("PipeWire bluez by name and api")
            << source("bluez_input.00_11_22_33_44_55.0", "PipeWire", {{"device.api", "bluez5"}})
            << AudioTransportKind::bluetooth;
        QTest::newRow("null source is virtual")
            << source("null", "module-null-source.c", {{"device.class", "abstract"}})
            << AudioTransportKind::virtualDevice;
        QTest::newRow("filter class")
            << source("echo_cancel", "module-echo-cancel.c",
                      {{"device.class", "filter"}, {"device.api", "alsa"}})
            << AudioTransportKind::virtualDevice;
        QTest::newRow("PipeWire virtual node")
            << source("loopback", "PipeWire", {{"node.virtual", "true"}, {"device.api", "alsa"}})
            << AudioTransportKind::virtualDevice;
        QTest::newRow("PipeWire support factory")
            << source("sink.monitor", "PipeWire",
                      {{"factory.name", "support.null-audio-sink"}, {"device.api", "alsa"}})
            << AudioTransportKind::virtualDevice;
        QTest::newRow("no device api")
            << source("app_source", "PipeWire", {}) << AudioTransportKind::virtualDevice;
        QTest::newRow("remap module without a declared sound device")
            << source("remapped", "module-remap-source.c",
                      {{"device.api", "alsa"}, {"device.form_factor", "internal"}})
            << AudioTransportKind::virtualDevice;
        QTest::newRow("remap module declaring a built-in device")
            << source("builtin_mic", "module-remap-source.c",
                      {{"device.class", "sound"},
                       {"device.api", "alsa"},
                       {"device.bus", "pci"},
                       {"device.form_factor", "internal"}})
            << AudioTransportKind::builtIn;
        QTest::newRow("virtual wins over bluetooth")
            << source("bluez_filter", "module-remap-source.c",
                      {{"device.class", "filter"}, {"device.api", "bluez5"}})
            << AudioTransportKind::virtualDevice;
        QTest::newRow("bluetooth wins over internal")
            << source("bluez_input.x", "PipeWire",
                      {{"device.api", "bluez5"}, {"device.form_factor", "internal"}})
            << AudioTransportKind::bluetooth;
    }
    void sourcesAreClassifiedInOrder() {
        QFETCH(PulseSourceInfo, info);
        QFETCH(AudioTransportKind, expected);
        QCOMPARE(classifySource(info), expected);
    }

    void monitorsAreRecognisedByOwnerOrClass() {
        auto monitor = source("meeting.monitor", "module-null-sink.c", {});
        QVERIFY(!isMonitorSource(monitor));
        monitor.monitorOfSink = 0;
        QVERIFY(isMonitorSource(monitor));
        QVERIFY(isMonitorSource(source("x.monitor", "PipeWire", {{"device.class", "monitor"}})));
    }

    void idsAreStableNonZeroAndFollowTheName() {
        QCOMPARE(stableDeviceId("builtin_mic"), stableDeviceId(QByteArray("builtin_mic")));
        QVERIFY(stableDeviceId("builtin_mic") != stableDeviceId("builtin_mic2"));
        QVERIFY(stableDeviceId("") != 0);
        QCOMPARE(stableDeviceId("a"), 0xe40c292cu); // FNV-1a: the id must never change
    }

    void applicationsAreKeyedByBinaryThenName() {
        PulseSinkInputInfo input;
        input.applicationName = u" Firefox "_s;
        QCOMPARE(applicationKey(input), u"Firefox"_s);
        input.processBinary = u"firefox-esr"_s;
        QCOMPARE(applicationKey(input), u"firefox-esr"_s);
        QCOMPARE(applicationKey(PulseSinkInputInfo{}), QString());
    }

    void streamSumWaitsForEveryInputUpToItsLag() {
        StreamSum sum(2, 4);
        sum.addInput(1);
        sum.addInput(2);
        const float a[] = {0.25f, -0.25f, 0.5f, -0.5f};
        QVERIFY(sum.push(1, a, 2).empty()); // input 2 has nothing yet
        const float b[] = {0.25f, 0.25f};
        QCOMPARE(sum.push(2, b, 1), (std::vector<float>{0.5f, 0.0f}));
        QCOMPARE(sum.push(2, nullptr, 1), (std::vector<float>{0.5f, -0.5f})); // a hole is silence
        // A silent input holds back at most the lag: past it, it counts as zeros.
        const float c[10] = {0.1f, 0.1f, 0.1f, 0.1f, 0.1f, 0.1f, 0.1f, 0.1f, 0.1f, 0.1f};
        QCOMPARE(sum.push(1, c, 5).size(), size_t(10));
        sum.removeInput(2);
        QCOMPARE(sum.push(1, a, 2).size(), size_t(4));
    }
};

QTEST_GUILESS_MAIN(PulseDeviceClassificationTest)
#include "tst_pulse_device_classification.moc"
