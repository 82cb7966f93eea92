// The outgoing audio path: frames of the sources hop from their capture threads to the main
// thread, are counted and measured, pass through the mixer queues in mixed mode, and leave
// through the stream client.
#include "engine/TranscriptionViewModel.h"

#include "audio/EchoGuardStage.h"
#include "audio/PcmLevel.h"
#include "backend/WebSocketStreamClient.h"
#include "engine/rules/RecordingStatusText.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

#include <QMetaObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

std::function<void(QByteArray)>
TranscriptionViewModel::makeFrameHook(FrameSource source, AudioInputMode mode,
                                      WebSocketStreamClient* wsClient) {
    // The route is read when the frame arrives, not fixed in the hook: a capture keeps the hook
    // it started with, and a source can be rewired for mixing while it runs.
    (source == FrameSource::microphone ? m_microphoneRoute : m_systemRoute) = mode;
    std::function<void(QByteArray)> post = makePostingHook(source, wsClient);
    // Echo guard: mixed, the microphone goes through the canceller and the system audio is
    // also its reference.
    if (mode != AudioInputMode::microphoneAndSystem || !m_echoGuard)
        return post;
    return source == FrameSource::microphone ? nearEndHook(m_echoGuard)
                                             : farEndHook(m_echoGuard, std::move(post));
}

std::function<void(QByteArray)>
TranscriptionViewModel::makePostingHook(FrameSource source, WebSocketStreamClient* wsClient) {
    const quint64 generation = m_captureGeneration;
    const QPointer<WebSocketStreamClient> client(wsClient);
    // Runs on a capture thread (or the echo guard's): it only posts the frame. The captures are
    // stopped before this object dies, so `this` is alive whenever a hook runs; the queued call is
    // dropped if the object goes before it is delivered.
    return [this, generation, client, source](QByteArray frame) {
        QMetaObject::invokeMethod(
            this,
            [this, generation, client, source, frame = std::move(frame)] {
                if (generation != m_captureGeneration || !client)
                    return;
                handleSourceFrame(source, frame, client);
            },
            Qt::QueuedConnection);
    };
}

void TranscriptionViewModel::installFrameHooks(AudioInputMode mode,
                                               WebSocketStreamClient* wsClient) {
    if (usesMicrophone(mode))
        m_sources.microphone().onPCMFrame = makeFrameHook(FrameSource::microphone, mode, wsClient);
    if (usesSystemAudio(mode)) {
        m_sources.systemAudio().onPCMFrame =
            makeFrameHook(FrameSource::systemAudio, mode, wsClient);
        const quint64 generation = m_captureGeneration;
        m_sources.systemAudio().onRawAudioSample = [this, generation] {
            QMetaObject::invokeMethod(
                this,
                [this, generation] {
                    if (generation == m_captureGeneration)
                        m_meters.countSystemRawSample();
                },
                Qt::QueuedConnection);
        };
    }
}

// Echo guard
void TranscriptionViewModel::startEchoGuard(WebSocketStreamClient* wsClient) {
    // Once per capture run: the running captures keep the hooks, and so the stage, they
    // started with, and a canceller that cannot start says so once.
    if (m_echoGuardRun == m_captureGeneration + 1)
        return;
    closeEchoGuard();
    m_echoGuardRun = m_captureGeneration + 1;
    if (!m_settings.config().echoGuardEnabled)
        return;
    auto stage =
        std::make_shared<EchoGuardStage>(makePostingHook(FrameSource::microphone, wsClient));
    if (!stage->isActive()) {
        AppLog::write(u"echo guard unavailable canceller=speexdsp action=record_without"_s);
        m_status.setDiagnosticHint(UiText::hintEchoGuardUnavailable);
        return;
    }
    AppLog::write(u"echo guard started canceller=speexdsp"_s);
    m_echoGuard = std::move(stage);
}

void TranscriptionViewModel::closeEchoGuard() {
    // Waits for the few frames on the guard's thread; what it still held goes out, to be
    // dropped as a frame of a finished run.
    if (m_echoGuard)
        m_echoGuard->close();
    m_echoGuard.reset();
}

void TranscriptionViewModel::handleSourceFrame(FrameSource source, const QByteArray& frame,
                                               WebSocketStreamClient* wsClient) {
    const AudioInputMode mode =
        source == FrameSource::microphone ? m_microphoneRoute : m_systemRoute;
    const double level = estimatePCM16Level(frame);
    if (source == FrameSource::microphone) {
        m_meters.countMicrophoneFrame(level);
    } else {
        m_meters.countSystemAudioFrame(level);
    }
    m_autoStop.noteSourceLevel(level);
    if (mode != AudioInputMode::microphoneAndSystem) {
        handleOutgoingPCMFrame(frame, wsClient);
        return;
    }
    if (source == FrameSource::microphone)
        m_mixerQueues.pendingMicChunks.append(frame);
    else
        m_mixerQueues.pendingSystemChunks.append(frame);
    trimMixedBacklogIfNeeded();
    drainMixedFrames(wsClient);
}

void TranscriptionViewModel::handleOutgoingPCMFrame(const QByteArray& frame,
                                                    WebSocketStreamClient* wsClient) {
    const bool paused = isPaused();
    wsClient->sendAudio(paused ? QByteArray(frame.size(), '\0') : frame);
    const double level = paused ? 0.0 : estimatePCM16Level(frame);

    m_lastLocalAudioAt = Timestamp::now();
    m_meters.countOutgoingFrame(level);
    if (const auto status =
            statusTextAfterOutgoingFrame(m_meters.audioFramesSent(), level, isRecording(),
                                         isPaused(), m_transcript.segmentCount() > 0))
        setStatusText(*status);
}

void TranscriptionViewModel::drainMixedFrames(WebSocketStreamClient* wsClient) {
    const QList<QByteArray> frames =
        vesnara::drainMixedFrames(m_mixerQueues, m_settings.mixSettings());
    for (const QByteArray& frame : frames) {
        // Sending may end the recording through a stream event handled later, never in here.
        handleOutgoingPCMFrame(frame, wsClient);
    }
}

void TranscriptionViewModel::trimMixedBacklogIfNeeded() {
    const MixedBacklogTrim trim = vesnara::trimMixedBacklogIfNeeded(m_mixerQueues);
    if (trim.micDropped > 0) {
        AppLog::write(u"mixed backlog trim mic dropped=%1 remaining=%2"_s.arg(trim.micDropped)
                          .arg(trim.micRemaining));
    }
    if (trim.systemDropped > 0) {
        AppLog::write(u"mixed backlog trim system dropped=%1 remaining=%2"_s.arg(trim.systemDropped)
                          .arg(trim.systemRemaining));
    }
    if (trim.micDropped > 0 || trim.systemDropped > 0)
        m_meters.setMixedLagDrops(m_mixerQueues.mixedLagDropMicChunks,
                                  m_mixerQueues.mixedLagDropSystemChunks);
}

} // namespace vesnara
