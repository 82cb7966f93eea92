#include "audio/InputDeviceSelection.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

Q_DECLARE_METATYPE(vesnara::AudioTransportKind)

namespace {

// Ids name the kinds, so a row reads as a story.
constexpr quint32 builtIn = 1, usb = 2, headset = 3, virtualMic = 4, usb2 = 5, headset2 = 6;

InputDeviceInfo device(quint32 id) {
    switch (id) {
    case builtIn:
        return {builtIn, u"Built-in Audio Analog Stereo"_s, false, true, false};
    case usb:
        return {usb, u"USB Microphone"_s, false, false, false};
    case usb2:
        return {usb2, u"Podcast Mic"_s, false, false, false};
    case headset:
        return {headset, u"AirPods Pro"_s, false, false, true};
    case headset2:
        return {headset2, u"WH-1000XM4"_s, false, false, true};
    default:
        return {virtualMic, u"Virtual Mic"_s, true, false, false};
    }
}

QList<InputDeviceInfo> devices(const QList<quint32>& ids) {
    QList<InputDeviceInfo> list;
    for (const quint32 id : ids)
        list.append(device(id));
    return list;
}

} // namespace

class InputDeviceSelectionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void classifiesByNameAndTransport_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<AudioTransportKind>("transport");
        QTest::addColumn<bool>("isVirtual");
        QTest::addColumn<bool>("isBuiltIn");
        QTest::addColumn<bool>("isWirelessHeadset");
        using T = AudioTransportKind;
        QTest::newRow("macbook") << u"MacBook Pro Microphone"_s << T::unknown << false << true
                                 << false;
        QTest::newRow("pulse built-in")
            << u"Built-in Audio Analog Stereo"_s << T::usb << false << true << false;
        QTest::newRow("built-in by transport") << u"Mic"_s << T::builtIn << false << true << false;
        QTest::newRow("airpods") << u"AirPods Pro"_s << T::unknown << false << false << true;
        QTest::newRow("wh1000 by name") << u"Sony WH1000XM4"_s << T::usb << false << false << true;
        QTest::newRow("hyphenated model is no headset by name")
            << u"WH-1000XM4"_s << T::unknown << false << false << false;
        QTest::newRow("hyphenated model is one by transport")
            << u"WH-1000XM4"_s << T::bluetooth << false << false << true;
        QTest::newRow("bluetooth LE transport")
            << u"Headset"_s << T::bluetoothLE << false << false << true;
        QTest::newRow("blackhole") << u"BlackHole 2ch"_s << T::unknown << true << false << false;
        QTest::newRow("teams") << u"Microsoft Teams Audio"_s << T::unknown << true << false
                               << false;
        QTest::newRow("virtual by transport")
            << u"Remapped source"_s << T::virtualDevice << true << false << false;
        QTest::newRow("usb") << u"Blue Yeti"_s << T::usb << false << false << false;
    }
    void classifiesByNameAndTransport() {
        QFETCH(QString, name);
        QFETCH(AudioTransportKind, transport);
        QFETCH(bool, isVirtual);
        QFETCH(bool, isBuiltIn);
        QFETCH(bool, isWirelessHeadset);
        const auto classified = classifyInputDevices({{7, name, transport, 1}});
        QCOMPARE(classified.size(), 1);
        QCOMPARE(classified.first().isVirtual, isVirtual);
        QCOMPARE(classified.first().isBuiltIn, isBuiltIn);
        QCOMPARE(classified.first().isWirelessHeadset, isWirelessHeadset);
    }

    void skipsSilentDevicesAndNamesNamelessOnes() {
        const auto classified = classifyInputDevices(
            {{1, u"Output only"_s, {}, 0}, {42, QString(), {}, 2}, {3, u"Mic"_s, {}, 1}});
        QCOMPARE(classified.size(), 2);
        QCOMPARE(classified.first().name, u"AudioDevice-42"_s);
        QCOMPARE(classified.last().id, 3u);
    }

    void picksByTheFirstRuleThatHolds_data() {
        QTest::addColumn<QList<quint32>>("listed");
        QTest::addColumn<int>("preferred"); // -1: none
        QTest::addColumn<int>("defaultId"); // 0: none
        QTest::addColumn<int>("expected");  // 0: nothing
        QTest::newRow("empty list") << QList<quint32>{} << int(usb) << 0 << 0;
        QTest::newRow("explicit virtual wins")
            << QList<quint32>{builtIn, virtualMic} << int(virtualMic) << int(builtIn)
            << int(virtualMic);
        QTest::newRow("explicit headset wins")
            << QList<quint32>{builtIn, headset} << int(headset) << 0 << int(headset);
        QTest::newRow("vanished preference falls through")
            << QList<quint32>{usb, builtIn} << 99 << int(usb) << int(builtIn);
        QTest::newRow("built-in beats the USB default")
            << QList<quint32>{usb, builtIn} << -1 << int(usb) << int(builtIn);
        QTest::newRow("stable default without built-in")
            << QList<quint32>{usb, usb2} << -1 << int(usb2) << int(usb2);
        QTest::newRow("first stable when the default is a headset")
            << QList<quint32>{headset, usb2, usb} << -1 << int(headset) << int(usb2);
        QTest::newRow("no stable: first non-virtual")
            << QList<quint32>{virtualMic, headset2, headset} << -1 << int(headset) << int(headset2);
        QTest::newRow("all virtual: the default")
            << QList<quint32>{virtualMic} << -1 << int(virtualMic) << int(virtualMic);
        QTest::newRow("all virtual, no default: the first")
            << QList<quint32>{virtualMic} << -1 << 0 << int(virtualMic);
    }
    void picksByTheFirstRuleThatHolds() {
        QFETCH(QList<quint32>, listed);
        QFETCH(int, preferred);
        QFETCH(int, defaultId);
        QFETCH(int, expected);
        const auto picked = pickPreferredInputDevice(
            devices(listed),
            preferred < 0 ? std::nullopt : std::optional(static_cast<quint32>(preferred)),
            static_cast<quint32>(defaultId));
        QCOMPARE(picked ? int(picked->id) : 0, expected);
    }

    void stableFallbackLeavesOnlyAHeadset_data() {
        QTest::addColumn<QList<quint32>>("listed");
        QTest::addColumn<int>("current");
        QTest::addColumn<int>("defaultId");
        QTest::addColumn<int>("expected");
        QTest::newRow("headset to built-in")
            << QList<quint32>{headset, usb, builtIn} << int(headset) << int(usb) << int(builtIn);
        QTest::newRow("headset to the stable default")
            << QList<quint32>{headset, usb, usb2} << int(headset) << int(usb2) << int(usb2);
        QTest::newRow("headset to the first stable")
            << QList<quint32>{headset, virtualMic, usb2, usb} << int(headset) << int(headset)
            << int(usb2);
        QTest::newRow("built-in stays") << QList<quint32>{builtIn, usb} << int(builtIn) << 0 << 0;
        QTest::newRow("unlisted current") << QList<quint32>{builtIn} << int(headset) << 0 << 0;
        QTest::newRow("nowhere stable to go")
            << QList<quint32>{headset, virtualMic, headset2} << int(headset) << 0 << 0;
    }
    void stableFallbackLeavesOnlyAHeadset() {
        QFETCH(QList<quint32>, listed);
        QFETCH(int, current);
        QFETCH(int, defaultId);
        QFETCH(int, expected);
        const auto choice = stableFallbackInputDevice(
            devices(listed), static_cast<quint32>(current), static_cast<quint32>(defaultId));
        QCOMPARE(choice ? int(choice->id) : 0, expected);
    }

    void preferredStableSkipsTheExcludedDevice() {
        const auto list = devices({headset, usb, builtIn, usb2});
        QCOMPARE(preferredStableInputDevice(list, std::nullopt, usb2)->id, builtIn);
        QCOMPARE(preferredStableInputDevice(list, builtIn, usb2)->id, usb2);
        QCOMPARE(preferredStableInputDevice(list, builtIn, headset)->id, usb);
        QVERIFY(!preferredStableInputDevice(devices({headset, usb}), usb, 0));
    }
};

QTEST_GUILESS_MAIN(InputDeviceSelectionTest)
#include "tst_input_device_selection.moc"
