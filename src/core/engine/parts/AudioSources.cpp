#include "engine/parts/AudioSources.h"

#include "audio/InputDeviceSelection.h"
#include "audio/SystemAudioCaptureError.h"
#include "engine/AssignIfChanged.h"
#include "engine/StatusLine.h"
#include "engine/parts/PermissionPanel.h"
#include "engine/parts/RecordingSettings.h"
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

AudioSources::AudioSources(AudioInputBackend& inputBackend, SystemAudioBackend& systemBackend,
                           const Timing& timing, RecordingSettings& settings, StatusLine& status,
                           const PermissionPanel& permissions, QObject* parent)
    : QObject(parent)
    , m_microphone(inputBackend)
    , m_systemAudio(systemBackend, timing)
    , m_settings(settings)
    , m_status(status)
    , m_permissions(permissions) {
    const STTConfiguration& config = settings.config();
    m_selectedInputDeviceID = config.preferredInputDeviceID.value_or(0);
    m_selectedSystemDisplayID = config.preferredSystemDisplayID.value_or(0);
    m_selectedSystemApplicationBundleID =
        config.preferredSystemApplicationBundleID.value_or(QString());

    // A device that comes or goes, or a sound server that (re)connects, lists anew. The
    // backends call from their own threads, and never again once the destructor has cleared
    // the callbacks; a call already posted is dropped with this object.
    inputBackend.setDevicesChangedCallback([this] {
        QMetaObject::invokeMethod(
            this,
            [this] {
                refreshInputDevices();
                Q_EMIT soundServerChanged();
            },
            Qt::QueuedConnection);
    });
    systemBackend.setDevicesChangedCallback([this] {
        QMetaObject::invokeMethod(
            this,
            [this] {
                refreshSystemAudioDisplays(false);
                refreshSystemAudioApplications(false);
                Q_EMIT soundServerChanged();
            },
            Qt::QueuedConnection);
    });
}

AudioSources::~AudioSources() {
    m_microphone.backend().setDevicesChangedCallback({});
    m_systemAudio.backend().setDevicesChangedCallback({});
    m_microphone.onPCMFrame = {};
    m_microphone.stopAsync();
    m_systemAudio.onPCMFrame = {};
    m_systemAudio.onRawAudioSample = {};
    m_systemAudio.stopAsync();
}

// Labels

QString AudioSources::selectedInputDeviceName() const {
    if (m_selectedInputDeviceID == 0)
        return UiText::automaticSource;
    for (const auto& device : m_inputDevices.items()) {
        if (device.id == m_selectedInputDeviceID)
            return device.name;
    }
    return UiText::unknownInputDevice;
}

bool AudioSources::isSelectedInputDeviceVirtual() const {
    if (m_selectedInputDeviceID == 0)
        return false;
    for (const auto& device : m_inputDevices.items()) {
        if (device.id == m_selectedInputDeviceID)
            return device.isVirtual;
    }
    return false;
}

QString AudioSources::selectedSystemDisplayName() const {
    if (m_selectedSystemDisplayID == 0)
        return UiText::automaticSource;
    for (const auto& display : m_systemDisplays.items()) {
        if (display.id == m_selectedSystemDisplayID)
            return display.name;
    }
    return UiText::unknownSystemDisplay;
}

QString AudioSources::systemAudioSourceName() const {
    const QString& active = m_systemAudio.activeSourceName();
    return active.isEmpty() ? UiText::systemAudioSourceFallbackName : active;
}

QString AudioSources::micStatusLabel() const {
    switch (m_inputMode) {
    case AudioInputMode::microphone:
        return selectedInputDeviceName();
    case AudioInputMode::systemAudio:
        return systemAudioSourceName();
    case AudioInputMode::microphoneAndSystem:
        return selectedInputDeviceName() + u" + "_s + systemAudioSourceName();
    }
    return selectedInputDeviceName();
}

void AudioSources::notifyActiveSourcesChanged() {
    Q_EMIT sourceLabelsChanged();
}

// Pickers

void AudioSources::selectInputDevice(quint32 id) {
    setSelectedInputDeviceID(id);
    m_settings.storePreferredInputDevice(preferredDeviceId(id));
}

StableInputSelection AudioSources::stableInputDeviceSelection(quint32 selected) const {
    if (selected == 0)
        return {selected, std::nullopt, std::nullopt};
    const auto fallback = m_microphone.stableFallbackInputDevice(selected);
    if (!fallback)
        return {selected, std::nullopt, std::nullopt};
    QString name = UiText::selectedBluetoothMicrophone;
    for (const auto& device : m_inputDevices.items()) {
        if (device.id == selected)
            name = device.name;
    }
    AppLog::write(u"microphone wireless headset selected requested=%1 fallbackAvailable=%2"_s.arg(
        name, fallback->name));
    return {selected, UiText::statusMicrophoneUpdatedTo(name),
            UiText::hintWirelessHeadsetSelected(name, fallback->name)};
}

void AudioSources::setPreferredInputDevice(quint32 id) {
    const quint32 previous = m_selectedInputDeviceID;
    const StableInputSelection selection = stableInputDeviceSelection(id);
    selectInputDevice(selection.deviceID);
    Q_EMIT inputDeviceChosen(previous, selection);
}

void AudioSources::setPreferredSystemDisplay(quint32 id) {
    setSelectedSystemDisplayID(id);
    m_settings.storePreferredSystemDisplay(preferredDeviceId(id));
    m_status.setStatusText(UiText::statusSystemAudioSourceUpdated);
}

void AudioSources::setPreferredSystemApplication(const QString& bundleID) {
    const QString trimmed = bundleID.trimmed();
    setSelectedSystemApplicationBundleID(trimmed);
    m_settings.storePreferredSystemApplication(preferredApplicationId(trimmed));
    m_status.setStatusText(UiText::statusSystemAudioApplicationFilterUpdated);
}

// Listings

void AudioSources::refreshInputDevices() {
    const auto listed = m_microphone.listAvailableInputDevices();
    if (!listed) {
        // The server cannot be asked yet: the last list and the stored choice stand, and the
        // backend says when the devices can be listed again.
        AppLog::write(
            u"input devices listing unavailable; choice kept id=%1"_s.arg(m_selectedInputDeviceID));
        return;
    }
    QList<AudioInputDeviceOption> real, virtualDevices;
    for (const auto& device : *listed)
        (device.isVirtual ? virtualDevices : real).append(device);
    sortByName(real);
    sortByName(virtualDevices);
    setAvailableInputDevices(real + virtualDevices);

    const AudioInputDeviceListing listing = m_microphone.backend().listInputDevices();
    const auto classified = classifyInputDevices(listing.devices);
    QString recommended;
    if (const auto stable =
            preferredStableInputDevice(classified, std::nullopt, listing.defaultDeviceId)) {
        recommended = stable->name;
    } else {
        const auto firstReal =
            std::find_if(availableInputDevices().cbegin(), availableInputDevices().cend(),
                         [](const AudioInputDeviceOption& device) { return !device.isVirtual; });
        if (firstReal != availableInputDevices().cend())
            recommended = firstReal->name;
    }
    setRecommendedInputDeviceName(recommended);

    if (m_selectedInputDeviceID != 0 &&
        std::none_of(m_inputDevices.items().begin(), m_inputDevices.items().end(),
                     [this](const AudioInputDeviceOption& device) {
                         return device.id == m_selectedInputDeviceID;
                     }))
        selectInputDevice(0);
    if (m_selectedInputDeviceID != 0) {
        const StableInputSelection selection = stableInputDeviceSelection(m_selectedInputDeviceID);
        if (selection.deviceID != m_selectedInputDeviceID) {
            selectInputDevice(selection.deviceID);
            AppLog::write(
                u"microphone config normalized to stable fallback id=%1"_s.arg(selection.deviceID));
        }
    }
}

void AudioSources::refreshSystemAudioDisplays(bool allowAccessAttempt) {
    if (!allowAccessAttempt && !m_permissions.systemAudioPreflight()) {
        setAvailableSystemDisplays({});
        return;
    }
    QList<SystemAudioDisplayOption> displays;
    try {
        displays = m_systemAudio.listDisplaySources();
    } catch (const SystemAudioCaptureError& error) {
        // A listing that failed says nothing about the stored choice.
        AppLog::write(u"system audio outputs listing failed error=%1"_s.arg(error.description()));
        setAvailableSystemDisplays({});
        return;
    }
    sortByName(displays);
    setAvailableSystemDisplays(displays);
    if (m_selectedSystemDisplayID != 0 &&
        std::none_of(displays.begin(), displays.end(), [this](const SystemAudioDisplayOption& d) {
            return d.id == m_selectedSystemDisplayID;
        })) {
        setSelectedSystemDisplayID(0);
        m_settings.storePreferredSystemDisplay(std::nullopt);
    }
}

void AudioSources::refreshSystemAudioApplications(bool allowAccessAttempt) {
    if (!allowAccessAttempt && !m_permissions.systemAudioPreflight()) {
        setAvailableSystemApplications({});
        return;
    }
    QList<SystemAudioApplicationOption> applications;
    try {
        applications = m_systemAudio.listApplicationSources();
    } catch (const SystemAudioCaptureError& error) {
        AppLog::write(
            u"system audio applications listing failed error=%1"_s.arg(error.description()));
        setAvailableSystemApplications({});
        return;
    }
    sortByName(applications);
    setAvailableSystemApplications(applications);
    if (!m_selectedSystemApplicationBundleID.isEmpty() &&
        std::none_of(applications.begin(), applications.end(),
                     [this](const SystemAudioApplicationOption& application) {
                         return application.bundleIdentifier == m_selectedSystemApplicationBundleID;
                     })) {
        setSelectedSystemApplicationBundleID({});
        m_settings.storePreferredSystemApplication(std::nullopt);
    }
}

// Setters

void AudioSources::setSelectedInputDeviceID(quint32 id) {
    if (!assignIfChanged(m_selectedInputDeviceID, id))
        return;
    Q_EMIT selectedInputDeviceIDChanged();
    Q_EMIT sourceLabelsChanged();
}

void AudioSources::setSelectedSystemDisplayID(quint32 id) {
    if (!assignIfChanged(m_selectedSystemDisplayID, id))
        return;
    Q_EMIT selectedSystemDisplayIDChanged();
    Q_EMIT sourceLabelsChanged();
}

void AudioSources::setSelectedSystemApplicationBundleID(const QString& bundleID) {
    if (assignIfChanged(m_selectedSystemApplicationBundleID, bundleID))
        Q_EMIT selectedSystemApplicationBundleIDChanged();
}

void AudioSources::setAvailableInputDevices(QList<AudioInputDeviceOption> devices) {
    if (devices == m_inputDevices.items())
        return;
    m_inputDevices.setItems(std::move(devices));
    Q_EMIT availableInputDevicesChanged();
    Q_EMIT sourceLabelsChanged();
}

void AudioSources::setRecommendedInputDeviceName(const QString& name) {
    if (name == m_inputDevices.recommendedInputDeviceName())
        return;
    m_inputDevices.setRecommendedInputDeviceName(name);
    Q_EMIT recommendedInputDeviceNameChanged();
}

void AudioSources::setAvailableSystemDisplays(QList<SystemAudioDisplayOption> displays) {
    if (displays == m_systemDisplays.items())
        return;
    m_systemDisplays.setItems(std::move(displays));
    Q_EMIT availableSystemDisplaysChanged();
    Q_EMIT sourceLabelsChanged();
}

void AudioSources::setAvailableSystemApplications(
    QList<SystemAudioApplicationOption> applications) {
    if (applications == m_systemApplications.items())
        return;
    m_systemApplications.setItems(std::move(applications));
    Q_EMIT availableSystemApplicationsChanged();
}

void AudioSources::setInputMode(AudioInputMode mode) {
    if (!assignIfChanged(m_inputMode, mode))
        return;
    Q_EMIT inputModeChanged();
    Q_EMIT sourceLabelsChanged();
}

} // namespace vesnara
