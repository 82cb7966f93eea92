#include "audio/MicrophoneCapture.h"

#include "audio/InputDeviceSelection.h"
#include "audio/PcmConversion.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

#include <memory>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

std::optional<AudioInputDeviceOption> optionOf(const std::optional<InputDeviceInfo>& device) {
    return device ? std::optional(device->option()) : std::nullopt;
}

/// The classified devices and the default, or nothing when the listing failed.
struct ClassifiedListing {
    QList<InputDeviceInfo> devices;
    quint32 defaultId = 0;
};

std::optional<ClassifiedListing> classifiedListing(AudioInputBackend& backend) {
    const AudioInputDeviceListing listing = backend.listInputDevices();
    if (listing.error)
        return std::nullopt;
    return ClassifiedListing{classifyInputDevices(listing.devices), listing.defaultDeviceId};
}

} // namespace

MicrophoneCapture::MicrophoneCapture(AudioInputBackend& backend)
    : m_backend(backend)
    , m_worker(u"MicrophoneCapture"_s) {}

MicrophoneCapture::~MicrophoneCapture() {
    m_worker.retire([&backend = m_backend] { backend.stopRecording(); });
}

MicrophoneCapture::StartPlan MicrophoneCapture::prepareStart() {
    m_isRunning = false;
    m_activeInputDeviceName.clear();

    StartPlan plan;
    const AudioInputDeviceListing listing = m_backend.listInputDevices();
    if (listing.error) {
        // Nothing to choose from: the stored choice stands, and the backend finds it once the
        // server answers.
        AppLog::write(u"MicrophoneCapture device list unavailable "_s + listing.error->details());
        plan.deviceId = preferredInputDeviceID.value_or(0);
    } else if (const auto picked =
                   pickPreferredInputDevice(classifyInputDevices(listing.devices),
                                            preferredInputDeviceID, listing.defaultDeviceId)) {
        if (picked->isWirelessHeadset && picked->id == preferredInputDeviceID)
            AppLog::write(u"microphone wireless headset selected explicitly name="_s +
                          picked->name);
        AppLog::write(u"MicrophoneCapture input device name="_s + picked->name + u" id="_s +
                      QString::number(picked->id));
        plan.deviceId = picked->id;
        plan.deviceName = picked->name;
    } else {
        plan.deviceId = listing.defaultDeviceId;
    }

    plan.run = m_worker.beginRun([this] {
        m_frameSink = onPCMFrame;
        m_failureSink = onStreamFailure;
    });
    const quint64 run = plan.run;
    plan.callbacks.onBuffer = [this, run](const AudioBufferView& buffer) {
        handleBuffer(run, buffer);
    };
    plan.callbacks.onFailure = [this, run](const AudioBackendError& error) {
        handleFailure(run, error);
    };
    return plan;
}

void MicrophoneCapture::finishStart(const StartPlan& plan, const AudioInputStreamStart& started) {
    if (!m_worker.isCurrentRun(plan.run))
        return;
    if (started.error) {
        AppLog::write(u"MicrophoneCapture start failed "_s + started.error->details());
        throw MicrophoneCaptureError(MicrophoneCaptureError::Kind::engineNotReady);
    }
    if (started.format.channelCount <= 0) {
        AppLog::write(u"MicrophoneCapture start failed input has no channels"_s);
        endRun();
        m_worker.post([&backend = m_backend] { backend.stopRecording(); });
        throw MicrophoneCaptureError(MicrophoneCaptureError::Kind::engineNotReady);
    }
    if (!started.isOnRequestedDevice)
        AppLog::write(u"MicrophoneCapture binding device failed id="_s +
                      QString::number(plan.deviceId) + u" recording from the default input"_s);

    QString name = plan.deviceName;
    if (name.isEmpty()) {
        // Chosen without a list: name it if the list can be read by now.
        if (const auto listing = classifiedListing(m_backend)) {
            const quint32 id = plan.deviceId != 0 ? plan.deviceId : listing->defaultId;
            for (const InputDeviceInfo& device : listing->devices)
                if (device.id == id)
                    name = device.name;
        }
    }
    m_activeInputDeviceName = name.isEmpty() ? UiText::defaultInputDeviceName : name;
    m_isRunning = true;
}

QCoro::Task<> MicrophoneCapture::startAsync() {
    const StartPlan plan = prepareStart();
    auto started = std::make_shared<AudioInputStreamStart>();
    // Named, not temporaries of the co_await expression: GCC 12 mishandles those.
    QCoro::Task<bool> pending = m_worker.call([&backend = m_backend, plan, started] {
        *started = backend.startRecording(plan.deviceId, plan.callbacks);
    });
    const bool alive = co_await std::move(pending);
    if (alive)
        finishStart(plan, *started);
}

QCoro::Task<> MicrophoneCapture::stopAsync() {
    endRun();
    QCoro::Task<bool> pending = m_worker.call([&backend = m_backend] { backend.stopRecording(); });
    co_await std::move(pending);
}

void MicrophoneCapture::endRun() {
    m_worker.beginRun([this] { m_chunker.clear(); });
    m_isRunning = false;
    m_activeInputDeviceName.clear();
}

void MicrophoneCapture::handleBuffer(quint64 run, const AudioBufferView& buffer) {
    m_worker.ifCurrent(run, [&] {
        const auto pcm = convertMicrophoneBufferToPCM16(buffer);
        if (!pcm)
            return;
        for (QByteArray& frame : m_chunker.append(*pcm)) {
            if (m_frameSink)
                m_frameSink(std::move(frame));
        }
    });
}

void MicrophoneCapture::handleFailure(quint64 run, const AudioBackendError& error) {
    m_worker.ifCurrent(run, [&] {
        AppLog::write(u"MicrophoneCapture stream failed "_s + error.details());
        if (m_failureSink)
            m_failureSink(error.details());
    });
}

std::optional<QList<AudioInputDeviceOption>> MicrophoneCapture::listAvailableInputDevices() const {
    const auto listing = classifiedListing(m_backend);
    if (!listing)
        return std::nullopt;
    QList<AudioInputDeviceOption> options;
    for (const InputDeviceInfo& device : listing->devices)
        options.append(device.option());
    return options;
}

std::optional<AudioInputDeviceOption>
MicrophoneCapture::stableFallbackInputDevice(quint32 current) const {
    const auto listing = classifiedListing(m_backend);
    if (!listing)
        return std::nullopt;
    return optionOf(
        vesnara::stableFallbackInputDevice(listing->devices, current, listing->defaultId));
}

std::optional<AudioInputDeviceOption>
MicrophoneCapture::preferredStableInputDevice(std::optional<quint32> excluding) const {
    const auto listing = classifiedListing(m_backend);
    if (!listing)
        return std::nullopt;
    return optionOf(
        vesnara::preferredStableInputDevice(listing->devices, excluding, listing->defaultId));
}

} // namespace vesnara
