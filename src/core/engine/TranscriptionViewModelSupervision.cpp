// Supervision of the sources during a recording: the microphone's liveness check, the
// automatic repairs (stable microphone, plain restart, system audio fallback), the live change
// of the microphone, the pickers' commands and the device listings.
#include "engine/TranscriptionViewModel.h"

#include "audio/InputDeviceSelection.h"
#include "audio/MicrophoneCaptureError.h"
#include "audio/MicrophonePermissionSnapshot.h"
#include "audio/SystemAudioCaptureError.h"
#include "backend/WebSocketStreamClient.h"
#include "platform/PermissionProbe.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

// Liveness check

void TranscriptionViewModel::scheduleMicrophoneLivenessCheck(AudioInputMode mode,
                                                             WebSocketStreamClient* wsClient,
                                                             const QString& reason) {
    if (mode == AudioInputMode::systemAudio)
        return;
    const CancellationToken token = m_microphoneLivenessTask.renew();
    m_microphoneLivenessTask.hold(microphoneLivenessCheck(
        mode, wsClient, reason, m_meters.microphone().frames, m_sessionId, token));
}

QCoro::Task<> TranscriptionViewModel::microphoneLivenessCheck(
    AudioInputMode mode, QPointer<WebSocketStreamClient> wsClient, QString reason, qint64 baseline,
    QString sessionId, CancellationToken token) {
    const QPointer<TranscriptionViewModel> self(this);
    const bool slept = co_await sleepFor(m_timing.microphoneLivenessDelay, token);
    if (!slept)
        co_return;
    if (!self || !wsClient || m_sessionId != sessionId || !isRecording() || isPaused() ||
        m_sources.inputMode() != mode || m_meters.microphone().frames > baseline)
        co_return;
    if (attemptStableMicrophoneFallback(u"mic-liveness-"_s + reason, mode, wsClient))
        co_return;
    setDiagnosticHint(UiText::hintMicrophoneLivenessFailed);
    AppLog::write(u"microphone liveness failed no fallback reason=%1 mode=%2 selected=%3"_s.arg(
        reason, rawValue(mode), m_sources.selectedInputDeviceName()));
}

// Automatic repairs

bool TranscriptionViewModel::attemptStableMicrophoneFallback(const QString& trigger,
                                                             AudioInputMode mode,
                                                             WebSocketStreamClient* wsClient) {
    if (!isRecording() || mode == AudioInputMode::systemAudio ||
        m_hasAttemptedMicrophoneDeviceFallback)
        return false;
    const QString previous = m_sources.selectedInputDeviceName();
    const auto fallback =
        m_sources.microphone().preferredStableInputDevice(m_sources.selectedInputDeviceID());
    if (!fallback)
        return false;
    m_hasAttemptedMicrophoneDeviceFallback = true;
    m_sources.selectInputDevice(fallback->id);
    AppLog::write(u"microphone stable fallback trigger=%1 previous=%2 fallback=%3"_s.arg(
        trigger, previous, fallback->name));
    restartMicrophoneCapture(mode, wsClient, trigger,
                             UiText::statusMicrophoneSwitchedTo(fallback->name),
                             UiText::hintMicrophoneFellBackToStable(previous, fallback->name));
    return true;
}

QCoro::Task<std::optional<QString>>
TranscriptionViewModel::restartMicrophone(QPointer<WebSocketStreamClient> mixingInto) {
    const QPointer<TranscriptionViewModel> self(this);
    MicrophoneCapture& microphone = m_sources.microphone();
    if (mixingInto)
        microphone.onPCMFrame =
            makeFrameHook(FrameSource::microphone, AudioInputMode::microphoneAndSystem, mixingInto);
    microphone.preferredInputDeviceID = preferredDeviceId(m_sources.selectedInputDeviceID());
    std::optional<QString> failure;
    try {
        co_await microphone.startAsync();
    } catch (const MicrophoneCaptureError& error) {
        failure = error.description();
    }
    if (self && failure)
        m_permissions.applyMicrophonePermissionSnapshot();
    co_return failure;
}

bool TranscriptionViewModel::isRunStillLive(const QPointer<TranscriptionViewModel>& self,
                                            const QPointer<WebSocketStreamClient>& wsClient) {
    return self && wsClient && wsClient == self->m_webSocketClient && self->isRecording();
}

QCoro::Task<> TranscriptionViewModel::restartMicrophoneCapture(
    AudioInputMode mode, QPointer<WebSocketStreamClient> wsClient, QString reason,
    std::optional<QString> statusOverride, std::optional<QString> diagnostic) {
    // The sources belong to a live recording only; after a stop nothing may reopen them.
    if (!isRecording() || mode == AudioInputMode::systemAudio)
        co_return;
    const QPointer<TranscriptionViewModel> self(this);
    m_meters.resetMicrophone();
    m_hasAttemptedMixedMicrophoneRestart = false;
    m_microphoneLivenessTask.cancelAndClear();
    installFrameHooks(mode, wsClient);
    const std::optional<QString> failure = co_await restartMicrophone();
    if (!isRunStillLive(self, wsClient))
        co_return;
    if (failure) {
        setStatusText(UiText::statusMicrophoneSwitchFailed);
        setDiagnosticHint(UiText::hintMicrophoneStartFailed(*failure));
        AppLog::write(u"microphone live restart failed reason=%1 error=%2"_s.arg(reason, *failure));
        co_return;
    }
    m_sources.setInputMode(mode);
    if (statusOverride) {
        setStatusText(*statusOverride);
    } else if (m_sources.selectedInputDeviceName() == UiText::automaticSource) {
        setStatusText(UiText::statusMicrophoneSwitchedTo(UiText::automaticSource));
    } else {
        const QString active = m_sources.microphone().activeInputDeviceName();
        setStatusText(UiText::statusMicrophoneSwitchedTo(
            active.isEmpty() ? m_sources.selectedInputDeviceName() : active));
    }
    if (diagnostic)
        setDiagnosticHint(*diagnostic);
    else if (mode == AudioInputMode::microphoneAndSystem)
        setDiagnosticHint(UiText::hintMicrophoneJoinedRecording);
    else
        setDiagnosticHint(UiText::hintMicrophoneSwitchedInRecording);
    AppLog::write(
        u"microphone live restart started reason=%1 mode=%2 id=%3"_s.arg(reason, rawValue(mode))
            .arg(m_sources.selectedInputDeviceID()));
    m_sources.notifyActiveSourcesChanged();
    scheduleMicrophoneLivenessCheck(mode, wsClient, reason);
}

void TranscriptionViewModel::attemptMixedMicrophoneRestart(const QString& trigger) {
    if (!isRecording() || isPaused() ||
        m_sources.inputMode() != AudioInputMode::microphoneAndSystem)
        return;
    if (m_hasAttemptedMixedMicrophoneRestart) {
        setDiagnosticHint(UiText::hintMicrophoneStillSilent);
        return;
    }
    if (!m_webSocketClient)
        return;
    m_hasAttemptedMixedMicrophoneRestart = true;
    AppLog::write(u"mixed microphone restart trigger=%1"_s.arg(trigger));
    mixedMicrophoneRestart(m_webSocketClient, trigger);
}

QCoro::Task<>
TranscriptionViewModel::mixedMicrophoneRestart(QPointer<WebSocketStreamClient> wsClient,
                                               QString trigger) {
    const QPointer<TranscriptionViewModel> self(this);
    const std::optional<QString> failure = co_await restartMicrophone(wsClient);
    if (!isRunStillLive(self, wsClient))
        co_return;
    if (failure) {
        setDiagnosticHint(UiText::hintMicrophoneRestartFailed(*failure));
        AppLog::write(u"mixed microphone restart failed: %1"_s.arg(*failure));
        co_return;
    }
    setDiagnosticHint(UiText::hintMicrophoneRestarted);
    AppLog::write(u"mixed microphone restart started"_s);
    scheduleMicrophoneLivenessCheck(AudioInputMode::microphoneAndSystem, wsClient, trigger);
}

void TranscriptionViewModel::attemptSystemAudioFallback(const QString& trigger,
                                                        const SessionMetaResponse& sessionMeta) {
    if (!isRecording() || isPaused() || m_sources.inputMode() != AudioInputMode::systemAudio ||
        m_hasAttemptedSystemFallback || !m_webSocketClient)
        return;
    m_hasAttemptedSystemFallback = true;
    AppLog::write(u"system fallback trigger=%1"_s.arg(trigger));
    m_support.autoExportFallbackDiagnostics(trigger, sessionMeta);
    systemAudioFallback(m_webSocketClient);
}

QCoro::Task<>
TranscriptionViewModel::systemAudioFallback(QPointer<WebSocketStreamClient> wsClient) {
    const QPointer<TranscriptionViewModel> self(this);
    const bool granted = co_await m_permissions.requestMicrophoneAccess();
    if (!isRunStillLive(self, wsClient))
        co_return;
    if (!granted) {
        setDiagnosticHint(UiText::hintSystemFallbackNoMicrophonePermission);
        m_hasAttemptedSystemFallback = false;
        AppLog::write(u"system fallback failed: microphone permission denied"_s);
        co_return;
    }
    // Only the microphone is rewired: system frames keep going out unmixed.
    const std::optional<QString> failure = co_await restartMicrophone(wsClient);
    if (!isRunStillLive(self, wsClient))
        co_return;
    if (failure) {
        m_hasAttemptedSystemFallback = false;
        setDiagnosticHint(UiText::hintSystemFallbackFailed(*failure));
        AppLog::write(u"system fallback failed: %1"_s.arg(*failure));
        co_return;
    }
    m_sources.setInputMode(AudioInputMode::microphoneAndSystem);
    setFallbackNoticeVisible(true);
    setDiagnosticHint(UiText::hintSystemFallbackActivated);
    m_rawWithoutPCMStreak = 0;
    setStatusText(UiText::statusListeningTo(m_sources.selectedInputDeviceName() + u" + "_s +
                                            m_sources.systemAudioSourceName()));
    AppLog::write(u"system fallback activated -> microphoneAndSystem"_s);
    scheduleMicrophoneLivenessCheck(AudioInputMode::microphoneAndSystem, wsClient,
                                    u"system-fallback"_s);
}

// Choice of the microphone

void TranscriptionViewModel::handleInputDeviceChosen(quint32 previous,
                                                     const StableInputSelection& selection) {
    m_hasAttemptedMicrophoneDeviceFallback = false;
    if (isRecording() && !isPaused()) {
        if (selection.deviceID != previous) {
            restartMicrophoneCaptureForLiveDeviceChange(selection.statusText,
                                                        selection.diagnosticText);
            return;
        }
        if (!selection.statusText)
            return;
        setStatusText(*selection.statusText);
        if (selection.diagnosticText)
            setDiagnosticHint(*selection.diagnosticText);
        return;
    }
    // Paused or idle: the capture takes the choice at its next start.
    setStatusText(selection.statusText.value_or(UiText::statusMicrophoneUpdated));
    if (selection.diagnosticText)
        setDiagnosticHint(*selection.diagnosticText);
}

void TranscriptionViewModel::restartMicrophoneCaptureForLiveDeviceChange(
    std::optional<QString> statusOverride, std::optional<QString> diagnostic) {
    if (!isRecording() || isPaused())
        return;
    if (!m_webSocketClient) {
        setStatusText(UiText::statusMicrophoneSwitchFailedNoConnection);
        return;
    }
    const AudioInputMode target = m_sources.inputMode() == AudioInputMode::systemAudio
                                      ? AudioInputMode::microphoneAndSystem
                                      : m_sources.inputMode();
    setStatusText(target != m_sources.inputMode() ? UiText::statusAddingMicrophone
                                                  : UiText::statusSwitchingMicrophone);
    setDiagnosticHint({});
    AppLog::write(u"microphone live change requested id=%1 previousMode=%2 targetMode=%3"_s
                      .arg(m_sources.selectedInputDeviceID())
                      .arg(rawValue(m_sources.inputMode()), rawValue(target)));
    liveDeviceChange(target, m_webSocketClient, std::move(statusOverride), std::move(diagnostic));
}

QCoro::Task<> TranscriptionViewModel::liveDeviceChange(AudioInputMode target,
                                                       QPointer<WebSocketStreamClient> wsClient,
                                                       std::optional<QString> statusOverride,
                                                       std::optional<QString> diagnostic) {
    const QPointer<TranscriptionViewModel> self(this);
    const bool granted = co_await m_permissions.requestMicrophoneAccess();
    if (!isRunStillLive(self, wsClient))
        co_return;
    if (!granted) {
        m_permissions.applyMicrophonePermissionSnapshot();
        setStatusText(UiText::statusMicrophoneSwitchFailed);
        setDiagnosticHint(UiText::hintMicrophonePermissionMissing);
        AppLog::write(u"microphone live change failed: permission denied"_s);
        co_return;
    }
    restartMicrophoneCapture(target, wsClient, u"live-device-change"_s, statusOverride, diagnostic);
}

} // namespace vesnara
