#include "audio/PcmLevel.h"
#include "audio/PcmMixer.h"

#include <QTest>
#include <QtEndian>

using namespace vesnara;

Q_DECLARE_METATYPE(vesnara::MixSettings)

namespace {

QByteArray pcm(const QList<qint16>& samples) {
    QByteArray bytes(samples.size() * 2, Qt::Uninitialized);
    for (qsizetype i = 0; i < samples.size(); ++i)
        qToLittleEndian(samples[i], bytes.data() + 2 * i);
    return bytes;
}

QByteArray constant(qsizetype samples, qint16 value) {
    return pcm(QList<qint16>(samples, value));
}

QList<qint16> samplesOf(const QByteArray& bytes) {
    QList<qint16> samples;
    for (qsizetype i = 0; i + 1 < bytes.size(); i += 2)
        samples.append(qFromLittleEndian<qint16>(bytes.constData() + i));
    return samples;
}

MixSettings settings(double micGain, double systemGain, bool duck, double strength, bool limiter) {
    return MixSettings{micGain, systemGain, duck, strength, limiter};
}

} // namespace

class PcmMixerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void levelIsTheMeanAbsoluteSample_data() {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<double>("level");
        QTest::newRow("empty") << QByteArray() << 0.0;
        QTest::newRow("one byte") << QByteArray(1, '\x7f') << 0.0;
        QTest::newRow("silence") << constant(1600, 0) << 0.0;
        QTest::newRow("all -32768 is exactly 1") << constant(1600, -32768) << 1.0;
        QTest::newRow("signs do not cancel") << pcm({-16384, 16384}) << 0.5;
        QTest::newRow("odd last byte ignored") << pcm({16384}) + '\x7f' << 0.5;
    }
    void levelIsTheMeanAbsoluteSample() {
        QFETCH(QByteArray, frame);
        QFETCH(double, level);
        QCOMPARE(estimatePCM16Level(frame), level);
    }

    // One output sample for a mic and a system sample under the given settings.
    void mixesOneSample_data() {
        QTest::addColumn<QByteArray>("mic");
        QTest::addColumn<QByteArray>("system");
        QTest::addColumn<MixSettings>("mix");
        QTest::addColumn<qint16>("expected");

        const auto silentMic = constant(4, 0);
        const auto system = constant(4, 10000);
        QTest::newRow("silent mic: 0.62 headroom, limiter off")
            << silentMic << system << settings(1, 1, true, 0.9, false) << qint16(6200);
        QTest::newRow("silent mic: through the limiter")
            << silentMic << system << settings(1, 1, true, 0.9, true) << qint16(9792);
        QTest::newRow("full scale, gains 2, limiter on")
            << constant(4, 32767) << constant(4, 32767) << settings(2, 2, true, 0.55, true)
            << qint16(32767);
        QTest::newRow("negative full scale, limiter on")
            << constant(4, -32768) << constant(4, -32768) << settings(2, 2, true, 0.55, true)
            << qint16(-32768);
        QTest::newRow("full scale, limiter off")
            << constant(4, 32767) << constant(4, 32767) << settings(2, 2, true, 0.55, false)
            << qint16(32767);
        QTest::newRow("negative full scale, limiter off")
            << constant(4, -32768) << constant(4, -32768) << settings(2, 2, true, 0.55, false)
            << qint16(-32767);
        QTest::newRow("gains are clamped to 2") << constant(4, 8000) << constant(4, 0)
                                                << settings(5, 1, false, 0, false) << qint16(9920);
        // Mic level 4000/32768 = 0.122 ducks fully: 0.9 strength would give 0.1, the floor is 0.12.
        QTest::newRow("loud mic ducks to the 0.12 floor")
            << constant(4, 4000) << constant(4, 16384) << settings(1, 1, true, 0.9, false)
            << qint16(3699);
        QTest::newRow("ducking off") << constant(4, 4000) << constant(4, 16384)
                                     << settings(1, 1, false, 0.9, false) << qint16(12638);
        // Level 300/32768 = 0.009 is below the 0.012 threshold.
        QTest::newRow("quiet mic does not duck")
            << constant(4, 300) << constant(4, 16384) << settings(1, 1, true, 0.9, false)
            << qint16(10344);
    }
    void mixesOneSample() {
        QFETCH(QByteArray, mic);
        QFETCH(QByteArray, system);
        QFETCH(MixSettings, mix);
        QFETCH(qint16, expected);
        const auto out = samplesOf(mixPCM16(mic, system, mix));
        QCOMPARE(out.size(), mic.size() / 2);
        for (const qint16 sample : out)
            QCOMPARE(sample, expected);
    }

    // The duck factor comes from the whole mic buffer, also the part beyond the common length.
    void duckingUsesTheWholeMicBuffer() {
        const QByteArray mic = constant(320, 0) + constant(1280, 8000);
        const QByteArray system = constant(320, 16384);
        const auto out = samplesOf(mixPCM16(mic, system, settings(1, 1, true, 0.9, false)));
        QCOMPARE(out.size(), 320);
        QCOMPARE(out.first(), qint16(1219)); // 0.12 x 0.5 x 0.62 x 32767
    }

    void mixesOnlyTheCommonEvenLength_data() {
        QTest::addColumn<QByteArray>("mic");
        QTest::addColumn<QByteArray>("system");
        QTest::addColumn<QByteArray>("expected");
        const auto off = settings(1, 1, false, 0, false);
        const QByteArray mic7 = pcm({1000, 2000, 3000}) + 'x';
        const QByteArray sys4 = pcm({0, 0});
        QTest::newRow("unequal and odd") << mic7 << sys4 << mixPCM16(mic7.first(4), sys4, off);
        QTest::newRow("both odd") << pcm({1000}) + 'x' << pcm({0}) + 'y'
                                  << mixPCM16(pcm({1000}), pcm({0}), off);
        QTest::newRow("nothing in common returns mic")
            << QByteArray(1, 'm') << constant(1600, 5) << QByteArray(1, 'm');
        QTest::newRow("empty mic returns system")
            << QByteArray() << QByteArray("abc") << QByteArray("abc");
    }
    void mixesOnlyTheCommonEvenLength() {
        QFETCH(QByteArray, mic);
        QFETCH(QByteArray, system);
        QFETCH(QByteArray, expected);
        QCOMPARE(mixPCM16(mic, system, settings(1, 1, false, 0, false)), expected);
    }

    void limiterIsMonotonicAndKeepsFullScale() {
        qint16 previous = -32768;
        for (int value = -32768; value <= 32767; value += 97) {
            const auto out = samplesOf(mixPCM16(constant(1, static_cast<qint16>(value)),
                                                constant(1, 0), settings(2, 1, false, 0, true)));
            QVERIFY(out.first() >= previous);
            previous = out.first();
        }
        QCOMPARE(previous, qint16(32767));
    }
};

QTEST_GUILESS_MAIN(PcmMixerTest)
#include "tst_pcm_mixer.moc"
