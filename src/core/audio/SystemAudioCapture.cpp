#include "audio/SystemAudioCapture.h"

#include "audio/PcmConversion.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <memory>

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
    , m_chunker(timing.systemAudioMaxChunkLatency)
    , m_worker(u"SystemAudioCapture"_s) {}

SystemAudioCapture::~SystemAudioCapture() {
    m_worker.retire([&backend = m_backend] { backend.stopCapture(); });
}

SystemAudioContent SystemAudioCapture::contentOrThrow() const {
    SystemAudioContent content = m_backend.shareableContent();
    if (content.error) {
        AppLog::write(u"SystemAudioCapture shareableContent error "_s + content.error->details());
        throw SystemAudioCaptureError(SystemAudioCaptureError::Kind::permissionDenied);
    }
    return content;
}

SystemAudioCapture::StartPlan SystemAudioCapture::prepareStart() {
    const SystemAudioContent content = contentOrThrow();
    const auto selection = selectSystemAudioSource(content, preferredDisplayID,
                                                   preferredApplicationBundleID, ownApplication);
    if (!selection)
        throw SystemAudioCaptureError(SystemAudioCaptureError::Kind::noDisplay);

    m_isRunning = false;
    m_activeSourceName.clear();
    StartPlan plan;
    plan.target = selection->target;
    plan.displayId = selection->display.id;
    plan.outputName =
        UiText::systemDisplayOptionName(selection->display.id, selection->display.name);
    plan.applicationName = selection->applicationName();
    plan.applicationCount = selection->applications.size();
    // Reset before the stream exists: its first buffer may arrive before the start ends.
    plan.run = m_worker.beginRun([this] {
        resetRunStateLocked();
        m_frameSink = onPCMFrame;
        m_rawSampleSink = onRawAudioSample;
        m_stoppedSink = onStreamStopped;
    });
    const quint64 run = plan.run;
    plan.callbacks.onBuffer = [this, run](const AudioBufferView& buffer) {
        handleBuffer(run, buffer);
    };
    plan.callbacks.onStopped = [this, run](const AudioBackendError& error) {
        handleStopped(run, error);
    };
    return plan;
}

void SystemAudioCapture::finishStart(const StartPlan& plan,
                                     const std::optional<AudioBackendError>& error) {
    if (!m_worker.isCurrentRun(plan.run))
        return;
    if (error) {
        AppLog::write(u"SystemAudioCapture startCapture error "_s + error->details());
        throw SystemAudioCaptureError(SystemAudioCaptureError::Kind::streamSetupFailed);
    }
    m_isRunning = true;
    m_activeSourceName = UiText::systemAudioActiveSourceName(plan.outputName, plan.applicationName);
    AppLog::write(u"SystemAudioCapture started display="_s + QString::number(plan.displayId) +
                  u" apps="_s + QString::number(plan.applicationCount) + u" selectedApp="_s +
                  plan.applicationName);
}

QCoro::Task<> SystemAudioCapture::startAsync() {
    const StartPlan plan = prepareStart();
    auto error = std::make_shared<std::optional<AudioBackendError>>();
    // Named, not temporaries of the co_await expression: GCC 12 mishandles those.
    QCoro::Task<bool> pending = m_worker.call([&backend = m_backend, plan, error] {
        *error = backend.startCapture(plan.target, plan.callbacks);
    });
    const bool alive = co_await std::move(pending);
    if (alive)
        finishStart(plan, *error);
}

QCoro::Task<> SystemAudioCapture::stopAsync() {
    endRun();
    QCoro::Task<bool> pending = m_worker.call([&backend = m_backend] { backend.stopCapture(); });
    co_await std::move(pending);
}

void SystemAudioCapture::endRun() {
    const bool wasRunning = m_isRunning;
    m_worker.beginRun([this] { resetRunStateLocked(); });
    m_isRunning = false;
    m_activeSourceName.clear();
    if (wasRunning)
        AppLog::write(u"SystemAudioCapture stopped"_s);
}

void SystemAudioCapture::resetRunStateLocked() {
    m_chunker.reset();
    m_hasLoggedUnsupportedFormat = false;
    m_rawSampleCount = 0;
    m_pcmFrameCount = 0;
    m_emittedChunkCount = 0;
}

void SystemAudioCapture::handleBuffer(quint64 run, const AudioBufferView& buffer) {
    m_worker.ifCurrent(run, [&] { convertAndChunk(buffer); });
}

void SystemAudioCapture::convertAndChunk(const AudioBufferView& buffer) {
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

void SystemAudioCapture::handleStopped(quint64 run, const AudioBackendError& error) {
    m_worker.ifCurrent(run, [&] {
        AppLog::write(u"SystemAudioCapture stream stopped error="_s + error.details());
        if (m_stoppedSink)
            m_stoppedSink(error.details());
    });
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
