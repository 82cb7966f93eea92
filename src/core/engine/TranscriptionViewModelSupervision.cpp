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

#include <QCollator>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

template <typename Option> void sortByName(QList<Option>& options) {
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(options.begin(), options.end(), [&collator](const Option& a, const Option& b) {
        return collator.compare(a.name, b.name) < 0;
    });
}

} // namespace

void TranscriptionViewModel::savePreferredInputDevice() {
    STTConfiguration config = m_config;
    config.preferredInputDeviceID = preferredDeviceId(m_selectedInputDeviceID);
    setConfig(config);
    m_configStore.save(m_config);
}

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
        m_inputMode != mode || m_meters.microphone().frames > baseline)
        co_return;
    if (attemptStableMicrophoneFallback(u"mic-liveness-"_s + reason, mode, wsClient))
        co_return;
    setDiagnosticHint(UiText::hintMicrophoneLivenessFailed);
    AppLog::write(u"microphone liveness failed no fallback reason=%1 mode=%2 selected=%3"_s.arg(
        reason, rawValue(mode), selectedInputDeviceName()));
}

// Automatic repairs

bool TranscriptionViewModel::attemptStableMicrophoneFallback(const QString& trigger,
                                                             AudioInputMode mode,
                                                             WebSocketStreamClient* wsClient) {
    if (!isRecording() || mode == AudioInputMode::systemAudio ||
        m_hasAttemptedMicrophoneDeviceFallback)
        return false;
    const QString previous = selectedInputDeviceName();
    const auto fallback = m_microphone.preferredStableInputDevice(m_selectedInputDeviceID);
    if (!fallback)
        return false;
    m_hasAttemptedMicrophoneDeviceFallback = true;
    setSelectedInputDeviceID(fallback->id);
    savePreferredInputDevice();
    AppLog::write(u"microphone stable fallback trigger=%1 previous=%2 fallback=%3"_s.arg(
        trigger, previous, fallback->name));
    restartMicrophoneCapture(mode, wsClient, trigger,
                             UiText::statusMicrophoneSwitchedTo(fallback->name),
                             UiText::hintMicrophoneFellBackToStable(previous, fallback->name));
    return true;
}

void TranscriptionViewModel::restartMicrophoneCapture(AudioInputMode mode,
                                                      WebSocketStreamClient* wsClient,
                                                      const QString& reason,
                                                      const std::optional<QString>& statusOverride,
                                                      const std::optional<QString>& diagnostic) {
    // The sources belong to a live recording only; after a stop nothing may reopen them.
    if (!isRecording() || mode == AudioInputMode::systemAudio)
        return;
    m_microphone.stop();
    m_meters.resetMicrophone();
    m_hasAttemptedMixedMicrophoneRestart = false;
    m_microphoneLivenessTask.cancelAndClear();
    installFrameHooks(mode, wsClient);
    m_microphone.preferredInputDeviceID = preferredDeviceId(m_selectedInputDeviceID);
    try {
        m_microphone.start();
    } catch (const MicrophoneCaptureError& error) {
        m_permissions.applyMicrophonePermissionSnapshot();
        setStatusText(UiText::statusMicrophoneSwitchFailed);
        setDiagnosticHint(UiText::hintMicrophoneStartFailed(error.description()));
        AppLog::write(u"microphone live restart failed reason=%1 error=%2"_s.arg(
            reason, error.description()));
        return;
    }
    setInputMode(mode);
    if (statusOverride) {
        setStatusText(*statusOverride);
    } else if (selectedInputDeviceName() == UiText::automaticSource) {
        setStatusText(UiText::statusMicrophoneSwitchedTo(UiText::automaticSource));
    } else {
        const QString active = m_microphone.activeInputDeviceName();
        setStatusText(UiText::statusMicrophoneSwitchedTo(
            active.isEmpty() ? selectedInputDeviceName() : active));
    }
    if (diagnostic)
        setDiagnosticHint(*diagnostic);
    else if (mode == AudioInputMode::microphoneAndSystem)
        setDiagnosticHint(UiText::hintMicrophoneJoinedRecording);
    else
        setDiagnosticHint(UiText::hintMicrophoneSwitchedInRecording);
    AppLog::write(
        u"microphone live restart started reason=%1 mode=%2 id=%3"_s.arg(reason, rawValue(mode))
            .arg(m_selectedInputDeviceID));
    Q_EMIT sourceLabelsChanged();
    scheduleMicrophoneLivenessCheck(mode, wsClient, reason);
}

void TranscriptionViewModel::attemptMixedMicrophoneRestart(const QString& trigger) {
    if (!isRecording() || isPaused() || m_inputMode != AudioInputMode::microphoneAndSystem)
        return;
    if (m_hasAttemptedMixedMicrophoneRestart) {
        setDiagnosticHint(UiText::hintMicrophoneStillSilent);
        return;
    }
    if (!m_webSocketClient)
        return;
    m_hasAttemptedMixedMicrophoneRestart = true;
    AppLog::write(u"mixed microphone restart trigger=%1"_s.arg(trigger));
    m_microphone.stop();
    m_microphone.onPCMFrame = makeFrameHook(FrameSource::microphone,
                                            AudioInputMode::microphoneAndSystem, m_webSocketClient);
    m_microphone.preferredInputDeviceID = preferredDeviceId(m_selectedInputDeviceID);
    try {
        m_microphone.start();
    } catch (const MicrophoneCaptureError& error) {
        setDiagnosticHint(UiText::hintMicrophoneRestartFailed(error.description()));
        m_permissions.applyMicrophonePermissionSnapshot();
        AppLog::write(u"mixed microphone restart failed: %1"_s.arg(error.description()));
        return;
    }
    setDiagnosticHint(UiText::hintMicrophoneRestarted);
    AppLog::write(u"mixed microphone restart started"_s);
    scheduleMicrophoneLivenessCheck(AudioInputMode::microphoneAndSystem, m_webSocketClient,
                                    trigger);
}

void TranscriptionViewModel::attemptSystemAudioFallback(const QString& trigger,
                                                        const SessionMetaResponse& sessionMeta) {
    if (!isRecording() || isPaused() || m_inputMode != AudioInputMode::systemAudio ||
        m_hasAttemptedSystemFallback || !m_webSocketClient)
        return;
    m_hasAttemptedSystemFallback = true;
    AppLog::write(u"system fallback trigger=%1"_s.arg(trigger));
    autoExportFallbackDiagnostics(trigger, sessionMeta);
    systemAudioFallback(m_webSocketClient);
}

QCoro::Task<>
TranscriptionViewModel::systemAudioFallback(QPointer<WebSocketStreamClient> wsClient) {
    const QPointer<TranscriptionViewModel> self(this);
    const bool granted = co_await m_permissions.requestMicrophoneAccess();
    if (!self || !wsClient || wsClient != m_webSocketClient || !isRecording())
        co_return;
    if (!granted) {
        setDiagnosticHint(UiText::hintSystemFallbackNoMicrophonePermission);
        m_hasAttemptedSystemFallback = false;
        AppLog::write(u"system fallback failed: microphone permission denied"_s);
        co_return;
    }
    // Only the microphone is rewired: system frames keep going out unmixed.
    m_microphone.onPCMFrame =
        makeFrameHook(FrameSource::microphone, AudioInputMode::microphoneAndSystem, wsClient);
    m_microphone.preferredInputDeviceID = preferredDeviceId(m_selectedInputDeviceID);
    try {
        m_microphone.start();
    } catch (const MicrophoneCaptureError& error) {
        m_hasAttemptedSystemFallback = false;
        setDiagnosticHint(UiText::hintSystemFallbackFailed(error.description()));
        AppLog::write(u"system fallback failed: %1"_s.arg(error.description()));
        co_return;
    }
    setInputMode(AudioInputMode::microphoneAndSystem);
    setFallbackNoticeVisible(true);
    setDiagnosticHint(UiText::hintSystemFallbackActivated);
    m_rawWithoutPCMStreak = 0;
    const QString systemName = m_systemAudio.activeSourceName().isEmpty()
                                   ? UiText::systemAudioSourceFallbackName
                                   : m_systemAudio.activeSourceName();
    setStatusText(UiText::statusListeningTo(selectedInputDeviceName() + u" + "_s + systemName));
    AppLog::write(u"system fallback activated -> microphoneAndSystem"_s);
    scheduleMicrophoneLivenessCheck(AudioInputMode::microphoneAndSystem, wsClient,
                                    u"system-fallback"_s);
}

// Choice of the microphone

TranscriptionViewModel::StableInputSelection
TranscriptionViewModel::stableInputDeviceSelection(quint32 selected) const {
    if (selected == 0)
        return {selected, std::nullopt, std::nullopt};
    const auto fallback = m_microphone.stableFallbackInputDevice(selected);
    if (!fallback)
        return {selected, std::nullopt, std::nullopt};
    QString name = UiText::selectedBluetoothMicrophone;
    for (const auto& device : m_availableInputDevices) {
        if (device.id == selected)
            name = device.name;
    }
    AppLog::write(u"microphone wireless headset selected requested=%1 fallbackAvailable=%2"_s.arg(
        name, fallback->name));
    return {selected, UiText::statusMicrophoneUpdatedTo(name),
            UiText::hintWirelessHeadsetSelected(name, fallback->name)};
}

void TranscriptionViewModel::setPreferredInputDevice(quint32 id) {
    const quint32 previous = m_selectedInputDeviceID;
    const StableInputSelection selection = stableInputDeviceSelection(id);
    setSelectedInputDeviceID(selection.deviceID);
    savePreferredInputDevice();
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
    const AudioInputMode target = m_inputMode == AudioInputMode::systemAudio
                                      ? AudioInputMode::microphoneAndSystem
                                      : m_inputMode;
    setStatusText(target != m_inputMode ? UiText::statusAddingMicrophone
                                        : UiText::statusSwitchingMicrophone);
    setDiagnosticHint({});
    AppLog::write(u"microphone live change requested id=%1 previousMode=%2 targetMode=%3"_s
                      .arg(m_selectedInputDeviceID)
                      .arg(rawValue(m_inputMode), rawValue(target)));
    liveDeviceChange(target, m_webSocketClient, std::move(statusOverride), std::move(diagnostic));
}

QCoro::Task<> TranscriptionViewModel::liveDeviceChange(AudioInputMode target,
                                                       QPointer<WebSocketStreamClient> wsClient,
                                                       std::optional<QString> statusOverride,
                                                       std::optional<QString> diagnostic) {
    const QPointer<TranscriptionViewModel> self(this);
    const bool granted = co_await m_permissions.requestMicrophoneAccess();
    if (!self || !wsClient || wsClient != m_webSocketClient || !isRecording())
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

void TranscriptionViewModel::setPreferredSystemDisplay(quint32 id) {
    setSelectedSystemDisplayID(id);
    STTConfiguration config = m_config;
    config.preferredSystemDisplayID = preferredDeviceId(id);
    setConfig(config);
    m_configStore.save(m_config);
    setStatusText(UiText::statusSystemAudioSourceUpdated);
}

void TranscriptionViewModel::setPreferredSystemApplication(const QString& bundleID) {
    const QString trimmed = bundleID.trimmed();
    setSelectedSystemApplicationBundleID(trimmed);
    STTConfiguration config = m_config;
    config.preferredSystemApplicationBundleID =
        trimmed.isEmpty() ? std::nullopt : std::optional(trimmed);
    setConfig(config);
    m_configStore.save(m_config);
    setStatusText(UiText::statusSystemAudioApplicationFilterUpdated);
}

// Device listings

void TranscriptionViewModel::refreshInputDevices() {
    QList<AudioInputDeviceOption> devices =
        m_microphone.listAvailableInputDevices().value_or(QList<AudioInputDeviceOption>{});
    QList<AudioInputDeviceOption> real, virtualDevices;
    for (const auto& device : devices)
        (device.isVirtual ? virtualDevices : real).append(device);
    sortByName(real);
    sortByName(virtualDevices);
    setAvailableInputDevices(real + virtualDevices);

    AudioInputBackend& backend = m_microphone.backend();
    const AudioInputDeviceListing listing = backend.listInputDevices();
    const auto classified = classifyInputDevices(listing.devices);
    QString recommended;
    if (const auto stable =
            preferredStableInputDevice(classified, std::nullopt, listing.defaultDeviceId)) {
        recommended = stable->name;
    } else {
        for (const auto& device : m_availableInputDevices) {
            if (!device.isVirtual) {
                recommended = device.name;
                break;
            }
        }
    }
    if (m_recommendedInputDeviceName != recommended) {
        m_recommendedInputDeviceName = recommended;
        Q_EMIT recommendedInputDeviceNameChanged();
    }

    if (m_selectedInputDeviceID != 0 &&
        std::none_of(m_availableInputDevices.begin(), m_availableInputDevices.end(),
                     [this](const AudioInputDeviceOption& device) {
                         return device.id == m_selectedInputDeviceID;
                     })) {
        setSelectedInputDeviceID(0);
        savePreferredInputDevice();
    }
    if (m_selectedInputDeviceID != 0) {
        const StableInputSelection selection = stableInputDeviceSelection(m_selectedInputDeviceID);
        if (selection.deviceID != m_selectedInputDeviceID) {
            setSelectedInputDeviceID(selection.deviceID);
            savePreferredInputDevice();
            AppLog::write(
                u"microphone config normalized to stable fallback id=%1"_s.arg(selection.deviceID));
        }
    }
}

void TranscriptionViewModel::refreshSystemAudioDisplays(bool allowAccessAttempt) {
    QList<SystemAudioDisplayOption> displays;
    const bool mayAsk = allowAccessAttempt || m_permissions.systemAudioPreflight();
    if (mayAsk) {
        try {
            displays = m_systemAudio.listDisplaySources();
        } catch (const SystemAudioCaptureError&) {
            displays.clear();
        }
    }
    sortByName(displays);
    if (displays != m_availableSystemDisplays) {
        m_availableSystemDisplays = displays;
        Q_EMIT availableSystemDisplaysChanged();
        Q_EMIT sourceLabelsChanged();
    }
    if (!mayAsk)
        return;
    if (m_selectedSystemDisplayID != 0 &&
        std::none_of(displays.begin(), displays.end(), [this](const SystemAudioDisplayOption& d) {
            return d.id == m_selectedSystemDisplayID;
        })) {
        setSelectedSystemDisplayID(0);
        STTConfiguration config = m_config;
        config.preferredSystemDisplayID.reset();
        setConfig(config);
        m_configStore.save(m_config);
    }
}

void TranscriptionViewModel::refreshSystemAudioApplications(bool allowAccessAttempt) {
    QList<SystemAudioApplicationOption> applications;
    const bool mayAsk = allowAccessAttempt || m_permissions.systemAudioPreflight();
    if (mayAsk) {
        try {
            applications = m_systemAudio.listApplicationSources();
        } catch (const SystemAudioCaptureError&) {
            applications.clear();
        }
    }
    sortByName(applications);
    if (applications != m_availableSystemApplications) {
        m_availableSystemApplications = applications;
        Q_EMIT availableSystemApplicationsChanged();
    }
    if (!mayAsk)
        return;
    if (!m_selectedSystemApplicationBundleID.isEmpty() &&
        std::none_of(applications.begin(), applications.end(),
                     [this](const SystemAudioApplicationOption& application) {
                         return application.bundleIdentifier == m_selectedSystemApplicationBundleID;
                     })) {
        setSelectedSystemApplicationBundleID({});
        STTConfiguration config = m_config;
        config.preferredSystemApplicationBundleID.reset();
        setConfig(config);
        m_configStore.save(m_config);
    }
}

} // namespace vesnara
