#include "audio/MicrophoneCapture.h"

#include "audio/InputDeviceSelection.h"
#include "audio/PcmConversion.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

#include <cstdio>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

// Device choice goes to standard output, not the log, as it always has.
void printLine(const QString& line) {
    std::fputs(qPrintable(line + u'\n'), stdout);
    std::fflush(stdout);
}

std::optional<AudioInputDeviceOption> optionOf(const std::optional<InputDeviceInfo>& device) {
    return device ? std::optional(device->option()) : std::nullopt;
}

} // namespace

MicrophoneCapture::MicrophoneCapture(AudioInputBackend& backend)
    : m_backend(backend) {}

MicrophoneCapture::~MicrophoneCapture() {
    m_backend.stopRecording();
}

void MicrophoneCapture::start() {
    m_backend.stopRecording();
    m_isRunning = false;

    const QList<InputDeviceInfo> devices = classifyInputDevices(m_backend.listInputDevices());
    const quint32 defaultId = m_backend.defaultInputDeviceId();
    quint32 deviceId = 0;
    if (const auto picked = pickPreferredInputDevice(devices, preferredInputDeviceID, defaultId)) {
        if (picked->isWirelessHeadset && picked->id == preferredInputDeviceID)
            AppLog::write(u"microphone wireless headset selected explicitly name="_s +
                          picked->name);
        printLine(u"MicrophoneCapture input device: "_s + picked->name + u" ("_s +
                  QString::number(picked->id) + u')');
        m_activeInputDeviceName = picked->name;
        deviceId = picked->id;
    } else {
        deviceId = defaultId;
    }
    if (m_activeInputDeviceName.isEmpty())
        m_activeInputDeviceName = UiText::defaultInputDeviceName;

    m_frameSink = onPCMFrame;
    AudioInputStreamCallbacks callbacks;
    callbacks.onBuffer = [this](const AudioBufferView& buffer) { handleBuffer(buffer); };
    callbacks.onFailure = [failure = onStreamFailure](const AudioBackendError& error) {
        AppLog::write(u"MicrophoneCapture stream failed "_s + error.details());
        if (failure)
            failure(error.details());
    };
    const AudioInputStreamStart started = m_backend.startRecording(deviceId, std::move(callbacks));
    if (started.error) {
        AppLog::write(u"MicrophoneCapture start failed "_s + started.error->details());
        throw MicrophoneCaptureError(MicrophoneCaptureError::Kind::engineNotReady);
    }
    if (started.format.channelCount <= 0) {
        m_backend.stopRecording();
        throw MicrophoneCaptureError(MicrophoneCaptureError::Kind::engineNotReady);
    }
    if (!started.isOnRequestedDevice)
        printLine(u"MicrophoneCapture: binding device "_s + QString::number(deviceId) +
                  u" failed; recording from the default input"_s);
    m_isRunning = true;
}

void MicrophoneCapture::stop() {
    m_backend.stopRecording();
    m_isRunning = false;
    m_chunker.clear();
    m_activeInputDeviceName.clear();
}

void MicrophoneCapture::handleBuffer(const AudioBufferView& buffer) {
    const auto pcm = convertMicrophoneBufferToPCM16(buffer);
    if (!pcm)
        return;
    for (QByteArray& frame : m_chunker.append(*pcm)) {
        if (m_frameSink)
            m_frameSink(std::move(frame));
    }
}

QList<AudioInputDeviceOption> MicrophoneCapture::listAvailableInputDevices() const {
    QList<AudioInputDeviceOption> options;
    for (const InputDeviceInfo& device : classifyInputDevices(m_backend.listInputDevices()))
        options.append(device.option());
    return options;
}

std::optional<AudioInputDeviceOption>
MicrophoneCapture::stableFallbackInputDevice(quint32 current) const {
    return optionOf(
        vesnara::stableFallbackInputDevice(classifyInputDevices(m_backend.listInputDevices()),
                                           current, m_backend.defaultInputDeviceId()));
}

std::optional<AudioInputDeviceOption>
MicrophoneCapture::preferredStableInputDevice(std::optional<quint32> excluding) const {
    return optionOf(
        vesnara::preferredStableInputDevice(classifyInputDevices(m_backend.listInputDevices()),
                                            excluding, m_backend.defaultInputDeviceId()));
}

} // namespace vesnara
