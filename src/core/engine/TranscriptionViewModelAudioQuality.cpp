// The audio test: a few seconds of the chosen sources, measured on the main thread, with no
// server and nothing sent or stored.
#include "engine/TranscriptionViewModel.h"

#include "async/CancellationToken.h"
#include "audio/PcmLevel.h"
#include "engine/UserErrorDescription.h"
#include "engine/rules/AudioQualityVerdict.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

void TranscriptionViewModel::runAudioQualityTest() {
    // A start in progress owns the sources as much as a running recording does.
    if (isRecording() || isStartingRecording()) {
        setStatusText(UiText::audioTestStopRecordingFirst);
        return;
    }
    if (m_isAudioTestRunning)
        return;
    setIsAudioTestRunning(true);
    setStatusText(UiText::audioTestRunning);
    setDiagnosticHint({});
    const CancellationToken token = m_audioTestTask.renew();
    m_audioTestTask.hold(audioQualityTest(m_inputMode, m_selectedInputDeviceID,
                                          m_selectedSystemDisplayID,
                                          m_selectedSystemApplicationBundleID, token));
}

QCoro::Task<> TranscriptionViewModel::audioQualityTest(AudioInputMode mode, quint32 selectedMicID,
                                                       quint32 selectedSystemDisplayID,
                                                       QString selectedSystemApplicationBundleID,
                                                       CancellationToken token) {
    const QPointer<TranscriptionViewModel> self(this);
    const auto figures = std::make_shared<AudioTestFigures>();
    AppLog::write(u"audioTest start mode=%1"_s.arg(label(mode)));
    std::exception_ptr failure;
    try {
        co_await ensurePermissionsForMode(mode);
        if (!self)
            co_return;
        if (!token.isCancelled())
            startAudioTestSources(mode, selectedMicID, selectedSystemDisplayID,
                                  selectedSystemApplicationBundleID, figures);
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
        setStatusText(UiText::audioTestFailed(description));
        setDiagnosticHint({});
        setIsAudioTestRunning(false);
        co_return;
    }

    AppLog::write(u"audioTest done frames=%1 mic=%2 system=%3 avg=%4 peak=%5"_s.arg(
        QString::number(figures->totalFrames), QString::number(figures->microphoneFrames),
        QString::number(figures->systemFrames), QString::number(figures->averageLevel(), 'f', 3),
        QString::number(figures->peakLevel, 'f', 3)));
    setStatusText(audioTestStatusText(*figures));
    setDiagnosticHint(audioTestDiagnosticHint(mode, *figures));
    setIsAudioTestRunning(false);
}

void TranscriptionViewModel::startAudioTestSources(AudioInputMode mode, quint32 selectedMicID,
                                                   quint32 selectedSystemDisplayID,
                                                   const QString& selectedSystemApplicationBundleID,
                                                   std::shared_ptr<AudioTestFigures> figures) {
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
        m_microphone.preferredInputDeviceID = preferredDeviceId(selectedMicID);
        m_microphone.onPCMFrame = levelHook(true);
        m_microphone.start();
    }
    if (usesSystemAudio(mode)) {
        m_systemAudio.preferredDisplayID = preferredDeviceId(selectedSystemDisplayID);
        m_systemAudio.preferredApplicationBundleID =
            preferredApplicationId(selectedSystemApplicationBundleID);
        m_systemAudio.onPCMFrame = levelHook(false);
        m_systemAudio.onRawAudioSample = {};
        m_systemAudio.start();
    }
}

void TranscriptionViewModel::stopAudioTestSources() {
    m_microphone.onPCMFrame = {};
    m_microphone.stop();
    m_systemAudio.onPCMFrame = {};
    m_systemAudio.stop();
}

} // namespace vesnara
