// Recording safety: the outage spool of the stream and the auto-stop of a forgotten recording.
#include "engine/TranscriptionViewModel.h"

#include "backend/WebSocketStreamClient.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace vesnara {

void TranscriptionViewModel::installRecordingSafety() {
    connect(&m_autoStop, &AutoStop::stopRequested, this, [this] {
        if (m_runState != RecordingRunState::recording)
            return;
        AppLog::write(u"autoStop stop session=%1"_s.arg(m_sessionId));
        m_stoppedByAutoStop = true;
        stopRecording();
    });
    connect(this, &TranscriptionViewModel::runStateChanged, this, [this] {
        if (m_runState == RecordingRunState::recording)
            m_stoppedByAutoStop = false;
        if (m_runState != RecordingRunState::idle || !std::exchange(m_stoppedByAutoStop, false))
            return;
        // The stop writes its own ending right after going idle; this one replaces it.
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (m_runState == RecordingRunState::idle)
                    setStatusText(UiText::autoStopStatus);
            },
            Qt::QueuedConnection);
    });
    connect(&m_settings, &RecordingSettings::autoStopSilenceMinutesChanged, this,
            [this] { updateAutoStopArming(); });
    connect(&m_settings, &RecordingSettings::audioSpoolEnabledChanged, this, [this] {
        if (m_webSocketClient)
            m_webSocketClient->setAudioSpoolEnabled(m_settings.audioSpoolEnabled());
    });
    // Lines counted, not signals: a relink or a pin changes the transcript without a new line,
    // and a cleared screen starts the count again.
    connect(&m_transcript, &SessionTranscript::segmentsChanged, this, [this] {
        const qsizetype lines = m_transcript.segmentCount();
        if (lines > m_autoStopSeenLines)
            m_autoStop.noteNewLine();
        m_autoStopSeenLines = lines;
    });
}

void TranscriptionViewModel::updateAutoStopArming() {
    const bool watch = m_runState == RecordingRunState::recording;
    if (!watch) {
        m_autoStop.disarm();
        return;
    }
    // A change of the setting, a start or a resume counts the silence from now.
    m_autoStop.arm(m_settings.autoStopSilenceMinutes());
}

void TranscriptionViewModel::attachStreamSafety(WebSocketStreamClient* client) {
    client->setAudioSpoolEnabled(m_settings.audioSpoolEnabled());
    connect(client, &WebSocketStreamClient::audioSpoolDrainStarted, this,
            [this, client](qint64 spooledBytes, qint64 droppedBytes) {
                AppLog::write(
                    u"stream spool drain session=%1 bytes=%2 droppedBytes=%3"_s.arg(m_sessionId)
                        .arg(spooledBytes)
                        .arg(droppedBytes));
                if (droppedBytes > 0 && client == m_webSocketClient)
                    setStatusText(UiText::audioSpoolLoss(spoolSecondsCeil(droppedBytes)));
            });
}

} // namespace vesnara
