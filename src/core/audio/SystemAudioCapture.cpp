#include "audio/SystemAudioCapture.h"

#include "audio/PcmConversion.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

#include <QCoreApplication>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

OwnApplication runningExecutable() {
    OwnApplication own;
    own.processId = QCoreApplication::applicationPid();
    if (QCoreApplication::instance() != nullptr)
        own.bundleIdentifier = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    return own;
}

} // namespace

SystemAudioCapture::SystemAudioCapture(SystemAudioBackend& backend, const Timing& timing,
                                       std::function<Clock::time_point()> clock)
    : ownApplication(runningExecutable())
    , m_backend(backend)
    , m_clock(clock ? std::move(clock) : [] { return Clock::now(); })
    , m_chunker(timing.systemAudioMaxChunkLatency) {}

SystemAudioCapture::~SystemAudioCapture() {
    m_backend.stopCapture();
}

SystemAudioContent SystemAudioCapture::contentOrThrow() const {
    SystemAudioContent content = m_backend.shareableContent();
    if (content.error) {
        AppLog::write(u"SystemAudioCapture shareableContent error "_s + content.error->details());
        throw SystemAudioCaptureError(SystemAudioCaptureError::Kind::permissionDenied);
    }
    return content;
}

void SystemAudioCapture::start() {
    const SystemAudioContent content = contentOrThrow();
    const auto selection = selectSystemAudioSource(content, preferredDisplayID,
                                                   preferredApplicationBundleID, ownApplication);
    if (!selection)
        throw SystemAudioCaptureError(SystemAudioCaptureError::Kind::noDisplay);

    // Reset before the stream exists: its first buffer may arrive before startCapture returns.
    resetRunState();
    m_frameSink = onPCMFrame;
    m_rawSampleSink = onRawAudioSample;
    SystemAudioStreamCallbacks callbacks;
    callbacks.onBuffer = [this](const AudioBufferView& buffer) { handleBuffer(buffer); };
    callbacks.onStopped = [stopped = onStreamStopped](const AudioBackendError& error) {
        AppLog::write(u"SystemAudioCapture stream stopped error="_s + error.details());
        if (stopped)
            stopped(error.details());
    };
    if (const auto error = m_backend.startCapture(selection->target, std::move(callbacks))) {
        AppLog::write(u"SystemAudioCapture startCapture error "_s + error->details());
        throw SystemAudioCaptureError(SystemAudioCaptureError::Kind::streamSetupFailed);
    }

    m_isRunning = true;
    const QString applicationName = selection->applicationName();
    const QString outputName =
        UiText::systemDisplayOptionName(selection->display.id, selection->display.name);
    m_activeSourceName = UiText::systemAudioActiveSourceName(outputName, applicationName);
    AppLog::write(u"SystemAudioCapture started display="_s +
                  QString::number(selection->display.id) + u" apps="_s +
                  QString::number(selection->applications.size()) + u" selectedApp="_s +
                  applicationName);
}

void SystemAudioCapture::stop() {
    const bool wasRunning = m_isRunning;
    m_backend.stopCapture();
    m_isRunning = false;
    resetRunState();
    m_activeSourceName.clear();
    if (wasRunning)
        AppLog::write(u"SystemAudioCapture stopped"_s);
}

void SystemAudioCapture::resetRunState() {
    m_chunker.reset();
    m_hasLoggedUnsupportedFormat = false;
    m_rawSampleCount = 0;
    m_pcmFrameCount = 0;
    m_emittedChunkCount = 0;
}

void SystemAudioCapture::handleBuffer(const AudioBufferView& buffer) {
    if (++m_rawSampleCount == 1)
        AppLog::write(u"SystemAudioCapture received first raw audio sample"_s);
    if (m_rawSampleSink)
        m_rawSampleSink();
    if (!buffer.isDataReady)
        return;
    if (sampleFormatOf(buffer.format) == AudioSampleFormat::unsupported) {
        if (!m_hasLoggedUnsupportedFormat) {
            m_hasLoggedUnsupportedFormat = true;
            const auto& f = buffer.format;
            const int flags =
                (f.isFloat ? 1 : 0) | (f.isSignedInteger ? 4 : 0) | (f.isNonInterleaved ? 32 : 0);
            AppLog::write(u"SystemAudioCapture unsupported format bits="_s +
                          QString::number(f.bitsPerChannel) + u" flags="_s +
                          QString::number(flags));
        }
        return;
    }
    const auto pcm = convertSystemAudioBufferToPCM16(buffer);
    if (!pcm)
        return;
    if (++m_pcmFrameCount == 1)
        AppLog::write(u"SystemAudioCapture produced first PCM frame"_s);
    for (QByteArray& chunk : m_chunker.append(*pcm, m_clock()))
        emitChunk(std::move(chunk));
}

void SystemAudioCapture::emitChunk(QByteArray chunk) {
    if (chunk.isEmpty())
        return;
    if (++m_emittedChunkCount == 1)
        AppLog::write(u"SystemAudioCapture emitted first chunk bytes="_s +
                      QString::number(chunk.size()));
    if (m_frameSink)
        m_frameSink(std::move(chunk));
}

QList<SystemAudioDisplayOption> SystemAudioCapture::listDisplaySources() const {
    return displaySourceOptions(contentOrThrow().displays);
}

QList<SystemAudioApplicationOption> SystemAudioCapture::listApplicationSources() const {
    return applicationSourceOptions(
        withoutOwnApplication(contentOrThrow().applications, ownApplication));
}

} // namespace vesnara
