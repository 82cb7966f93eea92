#pragma once

#include "audio/PcmLevel.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QProcess>
#include <QStringList>
#include <QTest>
#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace vesnara::rig {

using namespace Qt::StringLiterals;

/// Runs pactl against the rig's server; false when it fails or does not answer within 5 s.
inline bool pactl(const QStringList& arguments, QByteArray* output = nullptr) {
    QProcess process;
    process.start(u"pactl"_s, arguments);
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished(1000);
        return false;
    }
    if (output)
        *output = process.readAllStandardOutput();
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

/// Why the rig tests cannot run here, or "" when the rig's daemon answers.
inline QString rigUnavailableReason() {
    if (qEnvironmentVariableIsEmpty("PULSE_SERVER"))
        return u"PULSE_SERVER is unset: no audio rig runs (scripts/audio-rig start, or make test)"_s;
    if (!pactl({u"info"_s}))
        return u"the sound server at "_s + qEnvironmentVariable("PULSE_SERVER") +
               u" does not answer"_s;
    return {};
}

#define VESNARA_SKIP_WITHOUT_RIG()                                                                 \
    do {                                                                                           \
        const QString reason = vesnara::rig::rigUnavailableReason();                               \
        if (!reason.isEmpty())                                                                     \
            QSKIP(qPrintable(reason));                                                             \
    } while (false)

/// Writes a mono 16-bit WAV of a sine tone.
inline bool writeToneWav(const QString& path, double frequency, double amplitude, double seconds,
                         int rate = 48000) {
    const auto samples = static_cast<quint32>(seconds * rate);
    QByteArray data(static_cast<qsizetype>(samples) * 2, Qt::Uninitialized);
    for (quint32 i = 0; i < samples; ++i) {
        const double x = amplitude * std::sin(2.0 * std::numbers::pi * frequency * i / rate);
        qToLittleEndian<qint16>(static_cast<qint16>(std::lround(x * 32767.0)), data.data() + 2 * i);
    }
    QByteArray header;
    const auto u32 = [&header](quint32 v) {
        char b[4];
        qToLittleEndian(v, b);
        header.append(b, 4);
    };
    const auto u16 = [&header](quint16 v) {
        char b[2];
        qToLittleEndian(v, b);
        header.append(b, 2);
    };
    header.append("RIFF");
    u32(36 + static_cast<quint32>(data.size()));
    header.append("WAVEfmt ");
    u32(16);
    u16(1);
    u16(1);
    u32(static_cast<quint32>(rate));
    u32(static_cast<quint32>(rate) * 2);
    u16(2);
    u16(16);
    header.append("data");
    u32(static_cast<quint32>(data.size()));
    QFile file(path);
    return file.open(QIODevice::WriteOnly) &&
           file.write(header + data) == header.size() + data.size();
}

/// A paplay process playing `wav` into `sink` with small latency; killed when destroyed.
class Player {
public:
    Player(const QString& wav, const QString& sink, const QStringList& properties = {}) {
        QStringList arguments{u"--latency-msec=20"_s, u"-d"_s, sink};
        for (const auto& property : properties)
            arguments << u"--property="_s + property;
        arguments << wav;
        m_process.start(u"paplay"_s, arguments);
    }
    ~Player() {
        m_process.kill();
        m_process.waitForFinished(3000);
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;
    bool started() { return m_process.waitForStarted(5000); }

private:
    QProcess m_process;
};

/// Frames handed over from the audio thread, as the application does it: copied and posted to
/// the main thread with a queued call.
class FrameCollector : public QObject {
public:
    QList<QByteArray> frames;

    void post(QByteArray frame) {
        QMetaObject::invokeMethod(
            this, [this, frame = std::move(frame)] { frames.append(frame); }, Qt::QueuedConnection);
    }

    /// Frames whose level is at least `minLevel`.
    QList<QByteArray> loudFrames(double minLevel) const {
        QList<QByteArray> loud;
        for (const auto& frame : frames)
            if (estimatePCM16Level(frame) >= minLevel)
                loud.append(frame);
        return loud;
    }
};

/// The dominant frequency of a 16 kHz PCM16 frame by its zero crossings.
inline double zeroCrossingFrequency(const QByteArray& frame) {
    const auto samples = frame.size() / 2;
    int crossings = 0;
    qint16 previous = qFromLittleEndian<qint16>(frame.constData());
    for (qsizetype i = 1; i < samples; ++i) {
        const qint16 current = qFromLittleEndian<qint16>(frame.constData() + 2 * i);
        if ((previous < 0) != (current < 0))
            ++crossings;
        previous = current;
    }
    return crossings * 16000.0 / (2.0 * static_cast<double>(samples));
}

/// Checks the steady part of a tone: the loud frames but the first and last (which may hold the
/// tone's edges). The median level must match; no frame may be louder (nothing else mixed in);
/// a frame may be quieter only by a playback dropout of the loaded test machine. Every full
/// frame must have the tone's frequency, which also proves the 16 kHz rate.
inline void checkSteadyTone(const QList<QByteArray>& loud, double expectedLevel, double frequency) {
    QVERIFY(loud.size() >= 3);
    std::vector<double> levels;
    for (qsizetype i = 1; i + 1 < loud.size(); ++i) {
        const double level = estimatePCM16Level(loud[i]);
        levels.push_back(level);
        QVERIFY2(level < expectedLevel + 0.02,
                 qPrintable(u"level %1 above the tone's %2"_s.arg(level).arg(expectedLevel)));
        if (std::abs(level - expectedLevel) > 0.02)
            continue;
        const double heard = zeroCrossingFrequency(loud[i]);
        QVERIFY2(std::abs(heard - frequency) < 30.0,
                 qPrintable(u"heard %1 Hz, expected %2 Hz"_s.arg(heard).arg(frequency)));
    }
    std::nth_element(levels.begin(), levels.begin() + levels.size() / 2, levels.end());
    const double median = levels[levels.size() / 2];
    QVERIFY2(std::abs(median - expectedLevel) < 0.01,
             qPrintable(u"median level %1, expected %2"_s.arg(median).arg(expectedLevel)));
}

/// The mean absolute level of a sine of amplitude `a`, the scale every level is measured on.
inline double sineLevel(double amplitude) {
    return 2.0 * amplitude / std::numbers::pi;
}

} // namespace vesnara::rig
