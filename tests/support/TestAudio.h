#pragma once

#include <QByteArray>

namespace vesnara::test {

/// A sine tone as 16-bit little-endian mono PCM; `amplitude` is a fraction of full scale.
QByteArray sineTonePcm16(double frequency, double amplitude, int samples, int sampleRate = 16000);

} // namespace vesnara::test
