#include "engine/parts/SupportTools.h"

#include "audio/PcmLevel.h"
#include "engine/StatusLine.h"
#include "engine/parts/AudioSources.h"
#include "engine/parts/PermissionPanel.h"
#include "engine/rules/AudioQualityVerdict.h"
#include "storage/AppLog.h"
#include "text/UiText.h"
#include "text/UserErrorDescription.h"

#include <QPointer>

using namespace Qt::StringLiterals;

namespace vesnara {

SupportTools::SupportTools(const PartContext& context, SessionTranscript& transcript,
                           std::function<bool()> recordingHoldsSources, QObject* parent)
    : QObject(parent)
    , m_context(context)
    , m_transcript(transcript)
    , m_sources(context.sources)
    , m_permissions(context.permissions)
    , m_status(context.status)
    , m_timing(context.timing)
    , m_recordingHoldsSources(std::move(recordingHoldsSources))
    , m_memoAIBackendStatus(UiText::memoBackendStatusUnknown)
    , m_memo(context, transcript)
    , m_backendChecks(context,
                      [this](const QString& status) {
                          if (m_memoAIBackendStatus == status)
                              return;
                          m_memoAIBackendStatus = status;
                          Q_EMIT memoAIBackendStatusChanged();
                      })
    , m_diagnostics(context, transcript)
    , m_checkpoint(context, transcript)
    , m_recovery(context, m_checkpoint) {
    connect(&m_diagnostics, &DiagnosticsCommands::lastDiagnosticsFileNameChanged, this,
            &SupportTools::lastDiagnosticsFileNameChanged);
    connect(&m_recovery, &CrashRecovery::isRunningChanged, this,
            &SupportTools::isCrashRecoveryRunningChanged);
}

SupportTools::~SupportTools() {
    m_audioTestTask.cancelAndClear();
    // The level hooks post to this object: no capture thread may run them once it is gone.
    if (m_isAudioTestRunning)
        stopAudioTestSources();
}

// The audio test: a few seconds of the chosen sources, measured on the main thread, with no
// server and nothing sent or stored.

void SupportTools::runAudioQualityTest() {
    // A start in progress owns the sources as much as a running recording does.
    if (m_recordingHoldsSources()) {
        m_status.setStatusText(UiText::audioTestStopRecordingFirst);
        return;
    }
    if (m_isAudioTestRunning)
        return;
    setIsAudioTestRunning(true);
    m_status.setStatusText(UiText::audioTestRunning);
    m_status.setDiagnosticHint({});
    const CancellationToken token = m_audioTestTask.renew();
    m_audioTestTask.hold(audioQualityTest(m_sources.inputMode(), token));
}

QCoro::Task<> SupportTools::audioQualityTest(AudioInputMode mode, CancellationToken token) {
    const QPointer<SupportTools> self(this);
    const auto figures = std::make_shared<AudioTestFigures>();
    AppLog::write(u"audioTest start mode=%1"_s.arg(label(mode)));
    std::exception_ptr failure;
    try {
        co_await m_permissions.requirePermissionsFor(mode);
        if (!self)
            co_return;
        if (!token.isCancelled())
            co_await startAudioTestSources(mode, figures);
    } catch (...) {
        if (!self)
            co_return;
        failure = std::current_exception();
    }
    bool completed = false;
    if (!failure && !token.isCancelled())
        completed = co_await sleepFor(m_timing.audioTestDuration, token);
    if (!self)
        co_return;
    stopAudioTestSources();

    if (!completed) {
        if (failure)
            m_permissions.reflectCaptureFailure(failure);
        const QString description =
            failure ? userErrorDescription(failure) : UiText::audioTestInterrupted;
        AppLog::write(u"audioTest failed error="_s + description);
        m_status.setStatusText(UiText::audioTestFailed(description));
        m_status.setDiagnosticHint({});
        setIsAudioTestRunning(false);
        co_return;
    }

    AppLog::write(u"audioTest done frames=%1 mic=%2 system=%3 avg=%4 peak=%5"_s.arg(
        QString::number(figures->totalFrames), QString::number(figures->microphoneFrames),
        QString::number(figures->systemFrames), QString::number(figures->averageLevel(), 'f', 3),
        QString::number(figures->peakLevel, 'f', 3)));
    m_status.setStatusText(audioTestStatusText(*figures));
    m_status.setDiagnosticHint(audioTestDiagnosticHint(mode, *figures));
    setIsAudioTestRunning(false);
}

QCoro::Task<> SupportTools::startAudioTestSources(AudioInputMode mode,
                                                  std::shared_ptr<AudioTestFigures> figures) {
    const QPointer<SupportTools> self(this);
    // The level is taken on the capture thread; only the number travels to the main thread, into
    // this run's own figures, so a late frame of a finished run changes nothing visible.
    const auto levelHook = [this, figures](bool fromMicrophone) {
        return [this, figures, fromMicrophone](QByteArray frame) {
            const double level = estimatePCM16Level(frame);
            QMetaObject::invokeMethod(
                this,
                [figures, fromMicrophone, level] {
                    if (fromMicrophone)
                        figures->addMicrophoneFrame(level);
                    else
                        figures->addSystemFrame(level);
                },
                Qt::QueuedConnection);
        };
    };
    if (usesMicrophone(mode)) {
        MicrophoneCapture& microphone = m_sources.microphone();
        microphone.preferredInputDeviceID = preferredDeviceId(m_sources.selectedInputDeviceID());
        microphone.onPCMFrame = levelHook(true);
        co_await microphone.startAsync();
        if (!self)
            co_return;
    }
    if (usesSystemAudio(mode)) {
        SystemAudioCapture& systemAudio = m_sources.systemAudio();
        systemAudio.preferredDisplayID = preferredDeviceId(m_sources.selectedSystemDisplayID());
        systemAudio.preferredApplicationBundleID =
            preferredApplicationId(m_sources.selectedSystemApplicationBundleID());
        systemAudio.onPCMFrame = levelHook(false);
        systemAudio.onRawAudioSample = {};
        co_await systemAudio.startAsync();
    }
}

void SupportTools::stopAudioTestSources() {
    m_sources.microphone().onPCMFrame = {};
    m_sources.microphone().stopAsync();
    m_sources.systemAudio().onPCMFrame = {};
    m_sources.systemAudio().stopAsync();
}

void SupportTools::autoExportFallbackDiagnostics(const QString& trigger,
                                                 const SessionMetaResponse& sessionMeta) {
    m_diagnostics.autoExportFallbackDiagnostics(trigger, sessionMeta);
}

void SupportTools::setIsAudioTestRunning(bool value) {
    if (m_isAudioTestRunning == value)
        return;
    m_isAudioTestRunning = value;
    Q_EMIT isAudioTestRunningChanged();
}

} // namespace vesnara
