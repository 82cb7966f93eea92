#include "audio/PcmConversion.h"

#include "support/FakeAudioBackends.h"

#include <QTest>
#include <QtEndian>

#include <cmath>
#include <limits>

using namespace vesnara;
using vesnara::test::ScriptedAudioBuffer;

Q_DECLARE_METATYPE(vesnara::test::ScriptedAudioBuffer)
Q_DECLARE_METATYPE(vesnara::AudioStreamDescription)
Q_DECLARE_METATYPE(vesnara::AudioSampleFormat)

namespace {

QList<qint16> samplesOf(const QByteArray& pcm) {
    QList<qint16> samples;
    for (qsizetype i = 0; i + 1 < pcm.size(); i += 2)
        samples.append(qFromLittleEndian<qint16>(pcm.constData() + i));
    return samples;
}

/// Mono buffer of `bits`-wide little-endian integers, as a backend would deliver them.
ScriptedAudioBuffer integerMono(AudioStreamDescription format, const QList<qint64>& values) {
    const int width = format.bitsPerChannel / 8;
    QByteArray bytes;
    for (const qint64 value : values)
        for (int b = 0; b < width; ++b)
            bytes.append(static_cast<char>((static_cast<quint64>(value) >> (8 * b)) & 0xFF));
    return {format, values.size(), {bytes}, true};
}

/// 48 kHz stereo: silence, except frame 3 = (0.5, 0.25), frame 4 = (1, 1) which the pick skips,
/// and frame 6 = (-1, -1).
QList<QList<float>> marked48kStereo(qsizetype frames) {
    QList<float> left(frames, 0.0f);
    QList<float> right(frames, 0.0f);
    left[3] = 0.5f;
    right[3] = 0.25f;
    left[4] = right[4] = 1.0f;
    left[6] = right[6] = -1.0f;
    return {left, right};
}

ScriptedAudioBuffer interleave(double rate, const QList<QList<float>>& planes) {
    QList<float> samples;
    for (qsizetype i = 0; i < planes.first().size(); ++i)
        for (const auto& plane : planes)
            samples.append(plane[i]);
    return ScriptedAudioBuffer::float32Interleaved(rate, static_cast<int>(planes.size()), samples);
}

std::optional<QByteArray> convertBoth(const ScriptedAudioBuffer& buffer, bool system) {
    std::optional<QByteArray> result;
    buffer.withView([&](const AudioBufferView& view) {
        result =
            system ? convertSystemAudioBufferToPCM16(view) : convertMicrophoneBufferToPCM16(view);
    });
    return result;
}

} // namespace

class PcmConversionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Layouts both sources read: channels are averaged, every third frame of 48 kHz is kept.
    void sharedLayoutsDecimate_data() {
        QTest::addColumn<ScriptedAudioBuffer>("buffer");
        QTest::addColumn<int>("expectedBytes");
        QTest::addColumn<QList<qint16>>("expectedHead");

        const QList<qint16> marks{0, 12288, -32767};
        QTest::newRow("48k stereo float interleaved, 2048 frames")
            << interleave(48000, marked48kStereo(2048)) << 1364 << marks;
        QTest::newRow("48k stereo float planar, 2048 frames")
            << ScriptedAudioBuffer::float32Planar(48000, marked48kStereo(2048)) << 1364 << marks;
        QTest::newRow("int16 stereo interleaved")
            << ScriptedAudioBuffer::int16Interleaved(
                   48000, 2, {0, 0, 0, 0, 0, 0, 16384, 8192, 32767, 32767, 0, 0, -32768, -32768})
            << 2 * 2 << QList<qint16>{0, 12288};
        QTest::newRow("one frame gives one sample")
            << ScriptedAudioBuffer::float32Interleaved(48000, 2, {0.5f, 0.5f}) << 2
            << QList<qint16>{16384};
        QTest::newRow("8 kHz repeats samples")
            << ScriptedAudioBuffer::float32Interleaved(8000, 1, {0.5f, -0.5f}) << 8
            << QList<qint16>{16384, 16384, -16384, -16384};
    }
    void sharedLayoutsDecimate() {
        QFETCH(ScriptedAudioBuffer, buffer);
        QFETCH(int, expectedBytes);
        QFETCH(QList<qint16>, expectedHead);
        for (const bool system : {false, true}) {
            const auto pcm = convertBoth(buffer, system);
            QVERIFY2(pcm, system ? "system" : "microphone");
            QCOMPARE(pcm->size(), expectedBytes);
            QCOMPARE(samplesOf(*pcm).first(expectedHead.size()), expectedHead);
        }
    }

    // What the Linux backends ask the server for passes unchanged; the scaling to float and back
    // would turn 32767 into 32766 and -32768 into -32767.
    void monoInt16At16kHzIsCopiedBitForBit() {
        const QList<qint16> samples{32767, -32768, 1, -1, 0, 12345};
        const auto buffer = ScriptedAudioBuffer::int16Interleaved(16000, 1, samples);
        for (const bool system : {false, true}) {
            const auto pcm = convertBoth(buffer, system);
            QVERIFY(pcm);
            QCOMPARE(samplesOf(*pcm), samples);
        }
        auto stereo =
            ScriptedAudioBuffer::int16Interleaved(16000, 2, {32767, 32767, -32768, -32768});
        QCOMPARE(samplesOf(*convertBoth(stereo, false)), (QList<qint16>{32766, -32767}));
        auto cut = buffer;
        cut.buffers[0].chop(1);
        QVERIFY(!convertBoth(cut, false));
        QVERIFY(!convertBoth(cut, true));
    }

    void rate44100PicksByFloorOfTheRatio() {
        QList<float> mono(2048, 0.0f);
        mono[2] = 0.5f;     // k = 1
        mono[3] = 1.0f;     // never picked
        mono[5] = -0.5f;    // k = 2
        mono[2045] = 0.25f; // k = 742, the last: floor(2.75625 x 742) = 2045
        const auto pcm = convertBoth(ScriptedAudioBuffer::float32Interleaved(44100, 1, mono), true);
        QVERIFY(pcm);
        const auto samples = samplesOf(*pcm);
        QCOMPARE(samples.size(), 743);
        QCOMPARE(samples.first(4), (QList<qint16>{0, 16384, -16384, 0}));
        QCOMPARE(samples.last(), qint16(8192));
    }

    void fullScaleClipsSymmetricallyAt32767_data() {
        QTest::addColumn<float>("value");
        QTest::addColumn<int>("expected");
        QTest::newRow("1.0") << 1.0f << 32767;
        QTest::newRow("above 1") << 1.5f << 32767;
        QTest::newRow("-1.0") << -1.0f << -32767;
        QTest::newRow("half rounds away from zero") << 0.5f << 16384;
        QTest::newRow("negative half") << -0.5f << -16384;
        QTest::newRow("NaN is silence") << std::numeric_limits<float>::quiet_NaN() << 0;
        QTest::newRow("-inf") << -std::numeric_limits<float>::infinity() << -32767;
    }
    void fullScaleClipsSymmetricallyAt32767() {
        QFETCH(float, value);
        QFETCH(int, expected);
        const auto pcm = decimateToPCM16(std::vector<float>{value}, 16000);
        QVERIFY(pcm);
        QCOMPARE(samplesOf(*pcm), QList<qint16>{static_cast<qint16>(expected)});
    }

    // Formats only system audio reads; the microphone drops them.
    void systemIntegerFormats_data() {
        QTest::addColumn<ScriptedAudioBuffer>("buffer");
        QTest::addColumn<QList<qint16>>("expected");
        QTest::newRow("signed 24-bit, sign-extended")
            << integerMono(AudioStreamDescription::int24(16000, 1),
                           {0x400000, -0x400000, 0x7FFFFF, -0x800000})
            << QList<qint16>{16384, -16384, 32767, -32767};
        QTest::newRow("signed 32-bit")
            << integerMono(AudioStreamDescription::int32(16000, 1),
                           {0x40000000, -0x40000000, std::numeric_limits<qint32>::min()})
            << QList<qint16>{16384, -16384, -32767};
        QTest::newRow("unsigned 32-bit is offset by 2^31")
            << integerMono(AudioStreamDescription::uint32(16000, 1),
                           {2147483648LL, 0, 0xC0000000LL, 0xFFFFFFFFLL})
            << QList<qint16>{0, -32767, 16384, 32767};
    }
    void systemIntegerFormats() {
        QFETCH(ScriptedAudioBuffer, buffer);
        QFETCH(QList<qint16>, expected);
        const auto pcm = convertBoth(buffer, true);
        QVERIFY(pcm);
        QCOMPARE(samplesOf(*pcm), expected);
        QVERIFY(!convertBoth(buffer, false));
    }

    void formatsAreNamedInDecoderOrder_data() {
        QTest::addColumn<AudioStreamDescription>("format");
        QTest::addColumn<AudioSampleFormat>("expected");
        const auto d = [](int bits, bool isFloat, bool isSigned) {
            return AudioStreamDescription{48000, 2, bits, isFloat, isSigned, false};
        };
        QTest::newRow("float 32") << d(32, true, false) << AudioSampleFormat::float32;
        QTest::newRow("float and signed 32") << d(32, true, true) << AudioSampleFormat::float32;
        QTest::newRow("signed 16") << d(16, false, true) << AudioSampleFormat::int16;
        QTest::newRow("float 64") << d(64, true, false) << AudioSampleFormat::unsupported;
        QTest::newRow("float 16 without signed")
            << d(16, true, false) << AudioSampleFormat::unsupported;
        QTest::newRow("unsigned 16") << d(16, false, false) << AudioSampleFormat::unsupported;
        QTest::newRow("signed 8") << d(8, false, true) << AudioSampleFormat::unsupported;
        QTest::newRow("unsigned 32") << d(32, false, false) << AudioSampleFormat::uint32;
    }
    void formatsAreNamedInDecoderOrder() {
        QFETCH(AudioStreamDescription, format);
        QFETCH(AudioSampleFormat, expected);
        QCOMPARE(sampleFormatOf(format), expected);
    }

    // Bad input is dropped (no result), never read out of bounds.
    void malformedBuffersGiveNoResult_data() {
        QTest::addColumn<ScriptedAudioBuffer>("buffer");
        QTest::addColumn<bool>("systemConverts");
        auto stereo = ScriptedAudioBuffer::float32Interleaved(48000, 2, {0.5f, 0.5f, 0.5f, 0.5f});

        auto noFrames = stereo;
        noFrames.frameCount = 0;
        QTest::newRow("no frames") << noFrames << false;
        auto noBuffers = stereo;
        noBuffers.buffers.clear();
        QTest::newRow("no buffers") << noBuffers << false;
        auto nullData = stereo;
        nullData.buffers = {QByteArray()};
        QTest::newRow("interleaved without data") << nullData << false;
        auto tooShort = stereo;
        tooShort.frameCount = 3;
        QTest::newRow("fewer bytes than frames") << tooShort << false;
        auto oddBytes = stereo;
        oddBytes.buffers[0].chop(1);
        QTest::newRow("a cut sample") << oddBytes << false;
        auto noChannels = stereo;
        noChannels.format.channelCount = 0;
        noChannels.frameCount = 4;
        QTest::newRow("zero channels: system reads mono") << noChannels << true;
        auto float64 = stereo;
        float64.format.bitsPerChannel = 64;
        float64.frameCount = 1;
        QTest::newRow("float 64") << float64 << false;
        auto nanRate = stereo;
        nanRate.format.sampleRate = std::numeric_limits<double>::quiet_NaN();
        QTest::newRow("rate not a number") << nanRate << false;
    }
    void malformedBuffersGiveNoResult() {
        QFETCH(ScriptedAudioBuffer, buffer);
        QFETCH(bool, systemConverts);
        QVERIFY(!convertBoth(buffer, false));
        QCOMPARE(convertBoth(buffer, true).has_value(), systemConverts);
    }

    // The microphone drops planar audio with a plane missing. System audio still counts a missing
    // plane in the divisor, but fewer planes than channels divide by the planes.
    void systemPlanarAveragesOverUsedPlanes() {
        auto planar = ScriptedAudioBuffer::float32Planar(16000, {{0.5f}, {0.5f}});
        planar.buffers[1] = QByteArray();
        QVERIFY(!convertBoth(planar, false));
        QCOMPARE(samplesOf(*convertBoth(planar, true)), QList<qint16>{8192});
        planar.buffers.removeLast();
        QVERIFY(!convertBoth(planar, false));
        QCOMPARE(samplesOf(*convertBoth(planar, true)), QList<qint16>{16384});
    }
};

QTEST_GUILESS_MAIN(PcmConversionTest)
#include "tst_pcm_conversion.moc"
