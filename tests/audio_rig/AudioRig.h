#pragma once

#include "audio/PcmLevel.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
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

/// The sound servers the rig runs; each rig test is registered with CTest once per server.
enum class Server { pulseAudio, pipeWire };

inline QString serverLabel(Server server) {
    return server == Server::pipeWire ? u"pipewire"_s : u"pulseaudio"_s;
}

/// Points this process at the rig of the server CTest registered it for
/// (VESNARA_AUDIO_RIG_SERVER), found through VESNARA_AUDIO_RIG_DIR_<SERVER>; with no such rig,
/// at none. Without the label (a test run by hand), the environment's PULSE_SERVER stays. Called
/// from the test class's `initMain`, before anything connects.
inline void selectRigServer() {
    const QByteArray label = qgetenv("VESNARA_AUDIO_RIG_SERVER");
    if (label.isEmpty())
        return;
    const QByteArray dir = qgetenv("VESNARA_AUDIO_RIG_DIR_" + label.toUpper());
    if (dir.isEmpty()) {
        qunsetenv("PULSE_SERVER");
        return;
    }
    qputenv("PULSE_SERVER", "unix:" + dir + "/runtime/pulse/native");
    qputenv("PULSE_CLIENTCONFIG", dir + "/client.conf");
    qputenv("VESNARA_AUDIO_RIG_DIR", dir);
}

/// Which server answers at PULSE_SERVER, by its own account; nullopt when none answers.
inline std::optional<Server> answeringServer() {
    QByteArray info;
    if (!pactl({u"info"_s}, &info))
        return std::nullopt;
    return info.contains("on PipeWire") ? Server::pipeWire : Server::pulseAudio;
}

/// The server of this run. Only valid once `VESNARA_SKIP_WITHOUT_RIG` has passed.
inline Server rigServer() {
    return answeringServer().value_or(Server::pulseAudio);
}

/// Why the rig tests cannot run here, or "" when the rig's server answers. Every reason starts
/// with "audio rig unavailable", which CTest reports as a skip.
inline QString rigUnavailableReason() {
    const QString label = qEnvironmentVariable("VESNARA_AUDIO_RIG_SERVER");
    if (qEnvironmentVariableIsEmpty("PULSE_SERVER")) {
        if (label.isEmpty())
            return u"audio rig unavailable: PULSE_SERVER is unset (scripts/audio-rig start, or "
                   u"make test)"_s;
        return u"audio rig unavailable: no %1 rig runs, VESNARA_AUDIO_RIG_DIR_%2 is unset "
               u"(scripts/audio-rig start --server %1 says why, or make test)"_s.arg(
                   label, label.toUpper());
    }
    if (!answeringServer())
        return u"audio rig unavailable: the sound server at "_s +
               qEnvironmentVariable("PULSE_SERVER") + u" does not answer"_s;
    return {};
}

/// Skips without a rig, and fails when the server that answers is not the one the test was
/// registered for: a PipeWire run that talked to PulseAudio would prove nothing.
#define VESNARA_SKIP_WITHOUT_RIG()                                                                 \
    do {                                                                                           \
        const QString reason = vesnara::rig::rigUnavailableReason();                               \
        if (!reason.isEmpty())                                                                     \
            QSKIP(qPrintable(reason));                                                             \
        const QString label = qEnvironmentVariable("VESNARA_AUDIO_RIG_SERVER");                    \
        if (!label.isEmpty())                                                                      \
            QCOMPARE(vesnara::rig::serverLabel(vesnara::rig::rigServer()), label);                 \
    } while (false)

/// One stretch of a tone file: a sine of `frequency` for `seconds`.
struct ToneSegment {
    double frequency = 0.0;
    double seconds = 0.0;
};

/// Writes `data`, mono 16-bit PCM at `rate`, as a WAV file.
inline bool writePcm16Wav(const QString& path, const QByteArray& data, int rate) {
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

/// Writes a mono 16-bit WAV of sine tones one after the other, each at `amplitude`, the phase
/// running on across the joins.
inline bool writeTonesWav(const QString& path, const QList<ToneSegment>& segments, double amplitude,
                          int rate = 48000) {
    QByteArray data;
    double phase = 0.0;
    for (const ToneSegment& segment : segments) {
        const auto samples = static_cast<quint32>(segment.seconds * rate);
        const double step = 2.0 * std::numbers::pi * segment.frequency / rate;
        for (quint32 i = 0; i < samples; ++i) {
            char bytes[2];
            qToLittleEndian<qint16>(
                static_cast<qint16>(std::lround(amplitude * std::sin(phase) * 32767.0)), bytes);
            data.append(bytes, 2);
            phase = std::fmod(phase + step, 2.0 * std::numbers::pi);
        }
    }
    return writePcm16Wav(path, data, rate);
}

/// Writes a mono 16-bit WAV of a sine tone.
inline bool writeToneWav(const QString& path, double frequency, double amplitude, double seconds,
                         int rate = 48000) {
    return writeTonesWav(path, {{frequency, seconds}}, amplitude, rate);
}

/// A paplay process playing `wav` into `sink` with small latency (20 ms unless given); killed
/// when destroyed.
class Player {
public:
    Player(const QString& wav, const QString& sink, const QStringList& properties = {},
           int latencyMs = 20) {
        QStringList arguments{u"--latency-msec="_s + QString::number(latencyMs), u"-d"_s, sink};
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
    /// The whole file has been played (paplay drains its stream before it exits).
    bool hasFinished() const { return m_process.state() == QProcess::NotRunning; }

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

/// The dominant frequency of a 16 kHz PCM16 frame by its zero crossings. A crossing counts when
/// the signal passes from below -2 % of full scale to above +2 % or back: the faint ringing a
/// resampler leaves where a playback dropout cuts the tone crosses zero often and would read as
/// a higher tone.
inline double zeroCrossingFrequency(const QByteArray& frame) {
    constexpr qint16 kThreshold = 655;
    const auto samples = frame.size() / 2;
    int crossings = 0;
    int side = 0; // -1 below -threshold, +1 above +threshold, 0 not yet either
    for (qsizetype i = 0; i < samples; ++i) {
        const qint16 sample = qFromLittleEndian<qint16>(frame.constData() + 2 * i);
        const int now = sample > kThreshold ? 1 : sample < -kThreshold ? -1 : side;
        if (side != 0 && now != side)
            ++crossings;
        side = now;
    }
    return crossings * 16000.0 / (2.0 * static_cast<double>(samples));
}

/// The median of `values`.
inline double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

/// Checks the frequency of every frame of a tone that played without a dropout: within 1.5 % of
/// the median level (`levels[i]` is the level of `frames[i]`). A dropout of the loaded test
/// machine leaves a frame quieter and shorter of crossings; at most every other frame may have
/// one, so the check never passes on too few frames.
inline void checkToneFrequency(const QList<QByteArray>& frames, const std::vector<double>& levels,
                               double frequency) {
    const double typical = median(levels);
    qsizetype checked = 0;
    for (qsizetype i = 0; i < frames.size(); ++i) {
        if (std::abs(levels[i] - typical) > 0.015 * typical)
            continue;
        ++checked;
        const double heard = zeroCrossingFrequency(frames[i]);
        QVERIFY2(std::abs(heard - frequency) < 30.0,
                 qPrintable(u"heard %1 Hz, expected %2 Hz"_s.arg(heard).arg(frequency)));
    }
    QVERIFY2(
        2 * checked >= frames.size(),
        qPrintable(u"only %1 of %2 frames without a dropout"_s.arg(checked).arg(frames.size())));
}

/// Checks the steady part of a tone: the loud frames but the first and last (which may hold the
/// tone's edges). The median level must match; no frame may be louder (nothing else mixed in);
/// a frame may be quieter only by a playback dropout of the loaded test machine. The frames
/// without a dropout must have the tone's frequency, which also proves the 16 kHz rate.
inline void checkSteadyTone(const QList<QByteArray>& loud, double expectedLevel, double frequency) {
    QVERIFY(loud.size() >= 3);
    const QList<QByteArray> steady = loud.mid(1, loud.size() - 2);
    std::vector<double> levels;
    for (const auto& frame : steady) {
        const double level = estimatePCM16Level(frame);
        levels.push_back(level);
        QVERIFY2(level < expectedLevel + 0.02,
                 qPrintable(u"level %1 above the tone's %2"_s.arg(level).arg(expectedLevel)));
    }
    const double typical = median(levels);
    QVERIFY2(std::abs(typical - expectedLevel) < 0.01,
             qPrintable(u"median level %1, expected %2"_s.arg(typical).arg(expectedLevel)));
    checkToneFrequency(steady, levels, frequency);
}

/// The mean absolute level of a sine of amplitude `a`, the scale every level is measured on.
inline double sineLevel(double amplitude) {
    return 2.0 * amplitude / std::numbers::pi;
}

/// A tone, a tone above what 16 kHz audio carries, and the first tone again: what
/// `checkHighToneIsFiltered` reads.
inline QList<ToneSegment> toneHighToneTone(double frequency) {
    return {{frequency, 2.0}, {10000.0, 2.5}, {frequency, 2.0}};
}

/// Checks a capture of `toneHighToneTone(frequency)` played at `amplitude`. The tone must arrive
/// within 1 dB of its level, at its frequency. The 10 kHz tone cannot be carried at 16 kHz: it
/// must arrive at least 30 dB down (cut off before the rate dropped) rather than folded onto
/// 6 kHz. Its frames are the longest quiet run between the tone's loud frames; a frame at
/// either edge may hold part of a tone and is left out.
inline void checkHighToneIsFiltered(const QList<QByteArray>& frames, double amplitude,
                                    double frequency) {
    const double expected = sineLevel(amplitude);
    QList<double> levels;
    for (const auto& frame : frames)
        levels.append(estimatePCM16Level(frame));
    const auto isLoud = [&](qsizetype i) { return levels[i] >= expected / 2; };
    qsizetype first = 0;
    while (first < levels.size() && !isLoud(first))
        ++first;
    qsizetype last = levels.size() - 1;
    while (last > first && !isLoud(last))
        --last;
    qsizetype gapStart = 0, gapLength = 0;
    for (qsizetype i = first; i <= last;) {
        qsizetype end = i;
        while (end <= last && !isLoud(end))
            ++end;
        if (end - i > gapLength) {
            gapStart = i;
            gapLength = end - i;
        }
        i = std::max(end, i + 1);
    }
    QVERIFY2(gapLength >= 17, qPrintable(u"no quiet run of the high tone between the tones: "_s +
                                         QString::number(gapLength) + u" frames"_s));

    const double limit = expected * std::pow(10.0, -30.0 / 20.0);
    for (qsizetype i = gapStart + 1; i + 1 < gapStart + gapLength; ++i)
        QVERIFY2(
            levels[i] <= limit,
            qPrintable(
                u"the 10 kHz tone came through at %1 (%2 dB below the tone)"_s.arg(levels[i]).arg(
                    20.0 * std::log10(expected / levels[i]))));

    QList<QByteArray> tone;
    for (qsizetype i = first; i <= last; ++i)
        if (i < gapStart - 1 || i > gapStart + gapLength)
            tone.append(frames[i]);
    QVERIFY(tone.size() >= 20);
    const QList<QByteArray> steady = tone.mid(1, tone.size() - 2);
    std::vector<double> toneLevels;
    for (const auto& frame : steady)
        toneLevels.push_back(estimatePCM16Level(frame));
    const double typical = median(toneLevels);
    QVERIFY2(std::abs(20.0 * std::log10(typical / expected)) <= 1.0,
             qPrintable(u"median level %1, expected %2"_s.arg(typical).arg(expected)));
    checkToneFrequency(steady, toneLevels, frequency);
}

/// A private rig for one test program, for tests that signal or kill its daemon: started with
/// `VESNARA_START_OWN_RIG`, stopped when destroyed, of the same server as the shared rig. Its
/// environment replaces the shared rig's in this process.
class OwnRig {
public:
    ~OwnRig() {
        if (!m_dir.isEmpty())
            run({u"stop"_s, m_dir});
    }

    /// Starts the rig in a directory of its own and points this process at it; false when it
    /// does not start.
    bool start() {
        const QString dir = m_parent.filePath(u"rig"_s);
        QByteArray environment;
        if (!run({u"start"_s, u"--server"_s, serverLabel(rigServer()), u"--dir"_s, dir},
                 &environment))
            return false;
        m_dir = dir;
        for (const auto& line : environment.split('\n')) {
            const auto assignment = line.trimmed().mid(qsizetype(sizeof("export ")) - 1);
            const auto eq = assignment.indexOf('=');
            if (line.startsWith("export ") && eq > 0)
                qputenv(assignment.left(eq).constData(), assignment.mid(eq + 1));
        }
        return qEnvironmentVariable("PULSE_SERVER").contains(dir);
    }

    /// The process id of the PulseAudio protocol's server (pulseaudio or pipewire-pulse), or 0
    /// when unknown.
    int daemonPid() const {
        QFile pidFile(m_dir + u"/pid"_s);
        if (!pidFile.open(QIODevice::ReadOnly))
            return 0;
        return pidFile.readAll().trimmed().toInt();
    }

private:
    static bool run(const QStringList& arguments, QByteArray* output = nullptr) {
        QProcess rig;
        rig.start(QStringLiteral(VESNARA_AUDIO_RIG_SCRIPT), arguments);
        if (!rig.waitForFinished(30000))
            return false;
        if (output)
            *output = rig.readAllStandardOutput();
        return rig.exitCode() == 0;
    }

    QTemporaryDir m_parent;
    QString m_dir;
};

/// In `initTestCase`: starts `rig`, or skips where no shared rig runs (only there is a daemon
/// known to start).
#define VESNARA_START_OWN_RIG(rig)                                                                 \
    do {                                                                                           \
        VESNARA_SKIP_WITHOUT_RIG();                                                                \
        QVERIFY((rig).start());                                                                    \
    } while (false)

} // namespace vesnara::rig
