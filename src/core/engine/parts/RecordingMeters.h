#pragma once

#include "model/Timestamp.h"

#include <QDateTime>
#include <QObject>

#include <optional>

namespace vesnara {

/// The figures of the recording on screen: what went out, how loud each source was, and when
/// the server last spoke. The engine counts into it; the screens read it, and the supervision
/// of the sources judges by it.
class RecordingMeters : public QObject {
    Q_OBJECT
    Q_PROPERTY(qint64 audioFramesSent READ audioFramesSent NOTIFY audioFramesSentChanged)
    Q_PROPERTY(double outgoingAudioLevel READ outgoingAudioLevel NOTIFY outgoingAudioLevelChanged)
    Q_PROPERTY(double outgoingAudioPeak READ outgoingAudioPeak NOTIFY outgoingAudioPeakChanged)
    Q_PROPERTY(QDateTime lastPartialReceivedAt READ lastPartialReceivedAtTime NOTIFY
                   lastPartialReceivedAtChanged)
    Q_PROPERTY(QDateTime lastFinalReceivedAt READ lastFinalReceivedAtTime NOTIFY
                   lastFinalReceivedAtChanged)
    Q_PROPERTY(QDateTime lastSessionMetaReceivedAt READ lastSessionMetaReceivedAtTime NOTIFY
                   lastSessionMetaReceivedAtChanged)
    /// Its ages move with the clock: a screen rereads it on a timer as well as on the signal.
    Q_PROPERTY(QString realtimeDiagnosticsLabel READ realtimeDiagnosticsLabel NOTIFY
                   realtimeDiagnosticsChanged)

public:
    /// One source's frames as they reached the engine.
    struct SourceFigures {
        qint64 frames = 0;
        double level = 0.0;
        double peak = 0.0;
    };

    explicit RecordingMeters(QObject* parent = nullptr)
        : QObject(parent) {}

    qint64 audioFramesSent() const { return m_audioFramesSent; }
    double outgoingAudioLevel() const { return m_outgoingAudioLevel; }
    double outgoingAudioPeak() const { return m_outgoingAudioPeak; }
    std::optional<Timestamp> lastPartialReceivedAt() const { return m_lastPartialReceivedAt; }
    std::optional<Timestamp> lastFinalReceivedAt() const { return m_lastFinalReceivedAt; }
    std::optional<Timestamp> lastSessionMetaReceivedAt() const {
        return m_lastSessionMetaReceivedAt;
    }
    /// The same moments for QML; an invalid QDateTime for none.
    QDateTime lastPartialReceivedAtTime() const { return toDateTime(m_lastPartialReceivedAt); }
    QDateTime lastFinalReceivedAtTime() const { return toDateTime(m_lastFinalReceivedAt); }
    QDateTime lastSessionMetaReceivedAtTime() const {
        return toDateTime(m_lastSessionMetaReceivedAt);
    }
    Q_INVOKABLE QString realtimeDiagnosticsLabel() const;

    const SourceFigures& microphone() const { return m_microphone; }
    const SourceFigures& systemAudio() const { return m_systemAudio; }
    /// Buffers of system audio received, converted or not.
    qint64 systemRawSamples() const { return m_systemRawSamples; }

    /// A frame went to the server at `level` (0 while paused).
    void countOutgoingFrame(double level);
    /// The server's own count and levels replace ours.
    void setSentAudio(qint64 frames, double level, double peak);
    void countMicrophoneFrame(double level);
    void countSystemAudioFrame(double level);
    void countSystemRawSample() { ++m_systemRawSamples; }
    /// A restarted microphone starts its figures anew.
    void resetMicrophone();
    void setMixedLagDrops(qint64 microphoneChunks, qint64 systemChunks);
    void setLastPartialReceivedAt(std::optional<Timestamp> at);
    void setLastFinalReceivedAt(std::optional<Timestamp> at);
    void setLastSessionMetaReceivedAt(std::optional<Timestamp> at);
    /// Everything back to zero and none, for the next recording.
    void reset();

Q_SIGNALS:
    void audioFramesSentChanged();
    void outgoingAudioLevelChanged();
    void outgoingAudioPeakChanged();
    void lastPartialReceivedAtChanged();
    void lastFinalReceivedAtChanged();
    void lastSessionMetaReceivedAtChanged();
    void realtimeDiagnosticsChanged();

private:
    static QDateTime toDateTime(const std::optional<Timestamp>& at);
    void setOutgoing(qint64 frames, double level, double peak);

    qint64 m_audioFramesSent = 0;
    double m_outgoingAudioLevel = 0.0;
    double m_outgoingAudioPeak = 0.0;
    std::optional<Timestamp> m_lastPartialReceivedAt;
    std::optional<Timestamp> m_lastFinalReceivedAt;
    std::optional<Timestamp> m_lastSessionMetaReceivedAt;
    SourceFigures m_microphone;
    SourceFigures m_systemAudio;
    qint64 m_systemRawSamples = 0;
    qint64 m_mixedLagDropMicChunks = 0;
    qint64 m_mixedLagDropSystemChunks = 0;
};

} // namespace vesnara
