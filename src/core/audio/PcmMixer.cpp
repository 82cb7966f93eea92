#include "audio/PcmMixer.h"

#include "audio/PcmLevel.h"

#include <QtEndian>

#include <algorithm>
#include <cmath>

namespace vesnara {

namespace {

constexpr double kHeadroom = 0.62;
constexpr double kDuckFloor = 0.12;
constexpr double kActivityThreshold = 0.012;
constexpr double kActivityRange = 0.075;
constexpr double kLimiterDrive = 1.45;
// tanh(kLimiterDrive), so that the limiter maps 1.0 onto exactly 1.0.
constexpr double kLimiterNormaliser = 0.8956928738431645;

double clampToInt16(double p) {
    return p >= 32767.0 ? 32767.0 : std::max(p, -32768.0);
}

} // namespace

QByteArray mixPCM16(const QByteArray& mic, const QByteArray& system, const MixSettings& settings) {
    const qsizetype n = std::min(mic.size(), system.size()) & ~qsizetype(1);
    if (n == 0)
        return mic.isEmpty() ? system : mic;

    const MixSettings s = settings.clamped();
    const double activity =
        std::clamp((estimatePCM16Level(mic) - kActivityThreshold) / kActivityRange, 0.0, 1.0);
    const double duck =
        s.autoDuckEnabled ? std::max(1.0 - s.duckingStrength * activity, kDuckFloor) : 1.0;

    QByteArray out(n, Qt::Uninitialized);
    const char* m = mic.constData();
    const char* y = system.constData();
    char* o = out.data();
    for (qsizetype i = 0; i < n; i += 2) {
        const double micSample = qFromLittleEndian<qint16>(m + i) / 32768.0;
        const double systemSample = qFromLittleEndian<qint16>(y + i) / 32768.0;
        const double v = (s.micGain * micSample + duck * (s.systemGain * systemSample)) * kHeadroom;
        double value;
        if (s.limiterEnabled)
            value = clampToInt16(std::tanh(kLimiterDrive * v) / kLimiterNormaliser * 32767.0);
        else if (v >= 1.0)
            value = 32767.0;
        else if (v < -1.0)
            value = -32767.0;
        else
            value = clampToInt16(v * 32767.0);
        qToLittleEndian(static_cast<qint16>(std::round(value)), o + i);
    }
    return out;
}

} // namespace vesnara
