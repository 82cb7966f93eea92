#pragma once

// A meeting without headphones, made up: a remote voice, its echo in the microphone 60 ms later
// and 10 dB quieter, and a local voice of its own. Shared by the echo guard's tests and its
// benchmark.

#include <QByteArray>
#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <utility>
#include <vector>

namespace vesnara::test {

constexpr int kEchoSceneRate = 16000;

/// Syllables of 120–320 ms with short pauses: most voiced (a glottal pulse train near `pitchHz`
/// with a little jitter and breath, through three formants that change per syllable), some
/// unvoiced (breath noise through a high formant), each under a raised-cosine envelope.
/// Deterministic for a `seed`; peaks at half of full scale.
inline std::vector<double> speechLikeSignal(double seconds, std::uint32_t seed, double pitchHz) {
    std::uint32_t state = seed * 2654435761u + 1u;
    const auto random = [&state] { // uniform in [0, 1)
        state = state * 1664525u + 1013904223u;
        return (state >> 8) / 16777216.0;
    };
    const auto total = static_cast<std::size_t>(seconds * kEchoSceneRate);
    std::vector<double> out(total, 0.0);
    std::size_t at = 0;
    while (at < total) {
        const auto length = static_cast<std::size_t>((0.12 + 0.2 * random()) * kEchoSceneRate);
        const bool voiced = random() < 0.8;
        const double f0 = pitchHz * (0.85 + 0.3 * random());
        const double formants[3] = {voiced ? 300.0 + 500.0 * random() : 2500.0 + 2000.0 * random(),
                                    900.0 + 1400.0 * random(), 2400.0 + 800.0 * random()};
        // A two-pole resonator per formant, in parallel.
        double y[3][2] = {};
        double a[3][2];
        for (int k = 0; k < 3; ++k) {
            const double r =
                std::exp(-std::numbers::pi * (100.0 + 100.0 * random()) / kEchoSceneRate);
            a[k][0] = 2.0 * r * std::cos(2.0 * std::numbers::pi * formants[k] / kEchoSceneRate);
            a[k][1] = -r * r;
        }
        const double gains[3] = {1.0, 0.6, 0.3};
        double phase = 0.0;
        double period = 1.0;
        for (std::size_t i = 0; i < length && at + i < total; ++i) {
            double excitation = (voiced ? 0.15 : 0.6) * (random() - 0.5);
            phase += f0 / kEchoSceneRate;
            if (voiced && phase >= period) {
                phase -= period;
                period = 0.97 + 0.06 * random();
                excitation += 1.0;
            }
            double sum = 0.0;
            for (int k = 0; k < 3; ++k) {
                const double v = excitation + a[k][0] * y[k][0] + a[k][1] * y[k][1];
                y[k][1] = y[k][0];
                y[k][0] = v;
                sum += gains[k] * v;
            }
            const double envelope =
                0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * double(i) / double(length));
            out[at + i] = sum * envelope;
        }
        at += length + static_cast<std::size_t>((0.02 + 0.08 * random()) * kEchoSceneRate);
    }
    double peak = 0.0;
    for (const double v : out)
        peak = std::max(peak, std::abs(v));
    if (peak > 0.0)
        for (double& v : out)
            v *= 0.5 / peak;
    return out;
}

/// `signal` with every sample outside [from, to) seconds silenced.
inline std::vector<double> onlyDuring(std::vector<double> signal,
                                      const std::vector<std::pair<double, double>>& spans) {
    for (std::size_t i = 0; i < signal.size(); ++i) {
        const double t = double(i) / kEchoSceneRate;
        bool inside = false;
        for (const auto& [from, to] : spans)
            inside = inside || (t >= from && t < to);
        if (!inside)
            signal[i] = 0.0;
    }
    return signal;
}

/// `signal` `delaySeconds` later and `gainDb` louder (the echo: 0.06, -10).
inline std::vector<double> delayed(const std::vector<double>& signal, double delaySeconds,
                                   double gainDb) {
    const auto shift = static_cast<std::size_t>(delaySeconds * kEchoSceneRate);
    const double gain = std::pow(10.0, gainDb / 20.0);
    std::vector<double> out(signal.size(), 0.0);
    for (std::size_t i = shift; i < signal.size(); ++i)
        out[i] = gain * signal[i - shift];
    return out;
}

inline std::vector<double> sum(const std::vector<double>& a, const std::vector<double>& b) {
    std::vector<double> out(a);
    for (std::size_t i = 0; i < out.size() && i < b.size(); ++i)
        out[i] += b[i];
    return out;
}

inline QByteArray toPcm16(const std::vector<double>& signal) {
    QByteArray bytes(qsizetype(signal.size() * 2), Qt::Uninitialized);
    for (std::size_t i = 0; i < signal.size(); ++i) {
        const double v = std::clamp(signal[i], -1.0, 32767.0 / 32768.0) * 32768.0;
        qToLittleEndian(static_cast<qint16>(std::lround(v)), bytes.data() + 2 * i);
    }
    return bytes;
}

inline std::vector<double> fromPcm16(const QByteArray& bytes) {
    std::vector<double> out(std::size_t(bytes.size() / 2));
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = qFromLittleEndian<qint16>(bytes.constData() + 2 * i) / 32768.0;
    return out;
}

/// The energy of `signal` over [from, to) seconds, in dB of full scale (-200 for silence).
inline double energyDb(const std::vector<double>& signal, double from, double to) {
    const auto begin = std::min(signal.size(), std::size_t(from * kEchoSceneRate));
    const auto end = std::min(signal.size(), std::size_t(to * kEchoSceneRate));
    double energy = 0.0;
    for (std::size_t i = begin; i < end; ++i)
        energy += signal[i] * signal[i];
    const double mean = end > begin ? energy / double(end - begin) : 0.0;
    return mean > 0.0 ? 10.0 * std::log10(mean) : -200.0;
}

} // namespace vesnara::test
