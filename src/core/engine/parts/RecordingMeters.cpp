#include "engine/parts/RecordingMeters.h"

#include "engine/rules/SessionMetaRules.h"

#include <algorithm>

namespace vesnara {

QString RecordingMeters::realtimeDiagnosticsLabel() const {
    RealtimeDiagnostics diagnostics;
    diagnostics.audioFramesSent = m_audioFramesSent;
    diagnostics.micFramesSeen = m_microphone.frames;
    diagnostics.micAudioPeak = m_microphone.peak;
    diagnostics.systemFramesSeen = m_systemAudio.frames;
    diagnostics.systemAudioPeak = m_systemAudio.peak;
    diagnostics.lastPartialReceivedAt = m_lastPartialReceivedAt;
    diagnostics.lastFinalReceivedAt = m_lastFinalReceivedAt;
    diagnostics.lastSessionMetaReceivedAt = m_lastSessionMetaReceivedAt;
    diagnostics.mixedLagDropMicChunks = m_mixedLagDropMicChunks;
    diagnostics.mixedLagDropSystemChunks = m_mixedLagDropSystemChunks;
    return vesnara::realtimeDiagnosticsLabel(diagnostics, Timestamp::now());
}

QDateTime RecordingMeters::toDateTime(const std::optional<Timestamp>& at) {
    return at ? at->toDateTime() : QDateTime();
}

void RecordingMeters::setOutgoing(qint64 frames, double level, double peak) {
    const bool framesChanged = frames != m_audioFramesSent;
    const bool levelChanged = level != m_outgoingAudioLevel;
    const bool peakChanged = peak != m_outgoingAudioPeak;
    m_audioFramesSent = frames;
    m_outgoingAudioLevel = level;
    m_outgoingAudioPeak = peak;
    if (framesChanged) {
        Q_EMIT audioFramesSentChanged();
        Q_EMIT realtimeDiagnosticsChanged();
    }
    if (levelChanged)
        Q_EMIT outgoingAudioLevelChanged();
    if (peakChanged)
        Q_EMIT outgoingAudioPeakChanged();
}

void RecordingMeters::countOutgoingFrame(double level) {
    setOutgoing(m_audioFramesSent + 1, level, std::max(m_outgoingAudioPeak, level));
}

void RecordingMeters::setSentAudio(qint64 frames, double level, double peak) {
    setOutgoing(frames, level, peak);
}

void RecordingMeters::countMicrophoneFrame(double level) {
    ++m_microphone.frames;
    m_microphone.level = level;
    m_microphone.peak = std::max(m_microphone.peak, level);
}

void RecordingMeters::countSystemAudioFrame(double level) {
    ++m_systemAudio.frames;
    m_systemAudio.level = level;
    m_systemAudio.peak = std::max(m_systemAudio.peak, level);
}

void RecordingMeters::resetMicrophone() {
    m_microphone = {};
}

void RecordingMeters::setMixedLagDrops(qint64 microphoneChunks, qint64 systemChunks) {
    if (m_mixedLagDropMicChunks == microphoneChunks && m_mixedLagDropSystemChunks == systemChunks)
        return;
    m_mixedLagDropMicChunks = microphoneChunks;
    m_mixedLagDropSystemChunks = systemChunks;
    Q_EMIT realtimeDiagnosticsChanged();
}

void RecordingMeters::setLastPartialReceivedAt(std::optional<Timestamp> at) {
    if (m_lastPartialReceivedAt == at)
        return;
    m_lastPartialReceivedAt = at;
    Q_EMIT lastPartialReceivedAtChanged();
    Q_EMIT realtimeDiagnosticsChanged();
}

void RecordingMeters::setLastFinalReceivedAt(std::optional<Timestamp> at) {
    if (m_lastFinalReceivedAt == at)
        return;
    m_lastFinalReceivedAt = at;
    Q_EMIT lastFinalReceivedAtChanged();
    Q_EMIT realtimeDiagnosticsChanged();
}

void RecordingMeters::setLastSessionMetaReceivedAt(std::optional<Timestamp> at) {
    if (m_lastSessionMetaReceivedAt == at)
        return;
    m_lastSessionMetaReceivedAt = at;
    Q_EMIT lastSessionMetaReceivedAtChanged();
    Q_EMIT realtimeDiagnosticsChanged();
}

void RecordingMeters::reset() {
    setOutgoing(0, 0.0, 0.0);
    m_microphone = {};
    m_systemAudio = {};
    m_systemRawSamples = 0;
    setMixedLagDrops(0, 0);
    Q_EMIT realtimeDiagnosticsChanged();
}

} // namespace vesnara
