#include "support/TestAudio.h"

#include <QtEndian>

#include <cmath>
#include <numbers>

namespace vesnara::test {

QByteArray sineTonePcm16(double frequency, double amplitude, int samples, int sampleRate) {
    QByteArray pcm(samples * 2, Qt::Uninitialized);
    for (int i = 0; i < samples; ++i) {
        const double value =
            amplitude * std::sin(2 * std::numbers::pi * frequency * i / sampleRate);
        qToLittleEndian(static_cast<qint16>(std::lround(value * 32767.0)), pcm.data() + 2 * i);
    }
    return pcm;
}

} // namespace vesnara::test
