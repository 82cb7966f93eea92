#pragma once

#include "audio/AudioSourceOptions.h"
#include "audio/MicrophoneCapture.h"
#include "audio/SystemAudioCapture.h"
#include "engine/models/InputDeviceListModel.h"
#include "engine/models/SystemApplicationListModel.h"
#include "engine/models/SystemDisplayListModel.h"
#include "model/AudioInputMode.h"
#include "model/Timing.h"

#include <QList>
#include <QObject>

#include <optional>

namespace vesnara {

class AudioInputBackend;
class PermissionPanel;
class RecordingSettings;
class StatusLine;
class SystemAudioBackend;

/// What a choice of microphone amounts to: the device kept (a wireless headset is respected)
/// and, when a stable device would take over from it in trouble, the texts that say so.
struct StableInputSelection {
    quint32 deviceID = 0;
    std::optional<QString> statusText;
    std::optional<QString> diagnosticText;
};

/// The sources of a recording: the two capture objects, the device listings and the pickers
/// over them, and the input mode. The listings and pickers belong to the screens; the capture
/// objects are shared by the recording and the audio test, which wire their own frame hooks.
///
/// A choice is stored in the settings the moment it is made, so the stored record and the
/// pickers never disagree. What a new microphone means for a running recording is not decided
/// here: `inputDeviceChosen` tells the recording.
class AudioSources final : public QObject {
    Q_OBJECT
    Q_PROPERTY(vesnara::InputDeviceListModel* availableInputDevices READ inputDeviceModel CONSTANT)
    Q_PROPERTY(quint32 selectedInputDeviceID READ selectedInputDeviceID NOTIFY
                   selectedInputDeviceIDChanged)
    Q_PROPERTY(QString recommendedInputDeviceName READ recommendedInputDeviceName NOTIFY
                   recommendedInputDeviceNameChanged)
    Q_PROPERTY(
        vesnara::SystemDisplayListModel* availableSystemDisplays READ systemDisplayModel CONSTANT)
    Q_PROPERTY(quint32 selectedSystemDisplayID READ selectedSystemDisplayID NOTIFY
                   selectedSystemDisplayIDChanged)
    Q_PROPERTY(vesnara::SystemApplicationListModel* availableSystemApplications READ
                   systemApplicationModel CONSTANT)
    Q_PROPERTY(QString selectedSystemApplicationBundleID READ selectedSystemApplicationBundleID
                   NOTIFY selectedSystemApplicationBundleIDChanged)
    Q_PROPERTY(
        vesnara::AudioInputMode inputMode READ inputMode WRITE setInputMode NOTIFY inputModeChanged)

    // Labels, derived from the above and from the sources running now.
    Q_PROPERTY(
        QString selectedInputDeviceName READ selectedInputDeviceName NOTIFY sourceLabelsChanged)
    Q_PROPERTY(bool isSelectedInputDeviceVirtual READ isSelectedInputDeviceVirtual NOTIFY
                   sourceLabelsChanged)
    Q_PROPERTY(
        QString selectedSystemDisplayName READ selectedSystemDisplayName NOTIFY sourceLabelsChanged)
    Q_PROPERTY(QString micStatusLabel READ micStatusLabel NOTIFY sourceLabelsChanged)

public:
    /// Takes the stored choices from `settings`. Lists nothing yet: the owner calls
    /// `refreshInputDevices` when it is ready. Everything referenced must outlive the object.
    AudioSources(AudioInputBackend& inputBackend, SystemAudioBackend& systemBackend,
                 const Timing& timing, RecordingSettings& settings, StatusLine& status,
                 const PermissionPanel& permissions, QObject* parent = nullptr);
    /// Stops both sources, so that no capture thread outlives what its hooks use.
    ~AudioSources() override;

    MicrophoneCapture& microphone() { return m_microphone; }
    const MicrophoneCapture& microphone() const { return m_microphone; }
    SystemAudioCapture& systemAudio() { return m_systemAudio; }
    const SystemAudioCapture& systemAudio() const { return m_systemAudio; }

    InputDeviceListModel* inputDeviceModel() { return &m_inputDevices; }
    SystemDisplayListModel* systemDisplayModel() { return &m_systemDisplays; }
    SystemApplicationListModel* systemApplicationModel() { return &m_systemApplications; }

    const QList<AudioInputDeviceOption>& availableInputDevices() const {
        return m_inputDevices.items();
    }
    quint32 selectedInputDeviceID() const { return m_selectedInputDeviceID; }
    const QString& recommendedInputDeviceName() const {
        return m_inputDevices.recommendedInputDeviceName();
    }
    const QList<SystemAudioDisplayOption>& availableSystemDisplays() const {
        return m_systemDisplays.items();
    }
    quint32 selectedSystemDisplayID() const { return m_selectedSystemDisplayID; }
    const QList<SystemAudioApplicationOption>& availableSystemApplications() const {
        return m_systemApplications.items();
    }
    const QString& selectedSystemApplicationBundleID() const {
        return m_selectedSystemApplicationBundleID;
    }
    AudioInputMode inputMode() const { return m_inputMode; }
    void setInputMode(AudioInputMode mode);

    /// "Auto" at 0, the device's name when listed, otherwise "Tuntematon".
    QString selectedInputDeviceName() const;
    bool isSelectedInputDeviceVirtual() const;
    /// "Auto" at 0, the output's name when listed, otherwise the unknown output's text.
    QString selectedSystemDisplayName() const;
    /// The source names of `inputMode`: the microphone, the system audio source running now
    /// ("Järjestelmä" when none), or both joined by " + ".
    QString micStatusLabel() const;
    /// The running system audio source's name, or "Järjestelmä" when none runs.
    QString systemAudioSourceName() const;

    /// Lists the microphones again (real devices before virtual ones, each by name), names the
    /// recommended one, and drops or normalises a selection that is no longer listed. A listing
    /// that fails keeps the list and the stored choice as they were.
    Q_INVOKABLE void refreshInputDevices();
    /// Lists the outputs for system audio; without `allowAccessAttempt` and without the
    /// permission the list is emptied and nobody is asked. A failed listing empties the list
    /// and keeps the stored choice.
    Q_INVOKABLE void refreshSystemAudioDisplays(bool allowAccessAttempt);
    Q_INVOKABLE void refreshSystemAudioApplications(bool allowAccessAttempt);
    /// The microphone picker: stores the choice (a wireless headset is kept and only explained)
    /// and tells the recording through `inputDeviceChosen`.
    Q_INVOKABLE void setPreferredInputDevice(quint32 id);
    /// The output picker; takes effect at the next start of system capture.
    Q_INVOKABLE void setPreferredSystemDisplay(quint32 id);
    /// The application filter (trimmed; blank means all); takes effect at the next start.
    Q_INVOKABLE void setPreferredSystemApplication(const QString& bundleID);

    /// Makes `id` the microphone, stored at once; a repair's choice, with no texts of its own.
    void selectInputDevice(quint32 id);
    /// The device a start uses in place of `selected`, with the texts that explain it.
    StableInputSelection stableInputDeviceSelection(quint32 selected) const;
    /// A source started or stopped: the labels may read differently.
    void notifyActiveSourcesChanged();

Q_SIGNALS:
    void availableInputDevicesChanged();
    void selectedInputDeviceIDChanged();
    void recommendedInputDeviceNameChanged();
    void availableSystemDisplaysChanged();
    void selectedSystemDisplayIDChanged();
    void availableSystemApplicationsChanged();
    void selectedSystemApplicationBundleIDChanged();
    void inputModeChanged();
    /// The device or source names that the labels show may have changed.
    void sourceLabelsChanged();
    /// The sound server's devices or its connection changed, and the listings were taken anew;
    /// what depends on the server (the permission snapshots) may read differently too.
    void soundServerChanged();
    /// The user picked a microphone: `selection` is stored; `previous` was the one before.
    void inputDeviceChosen(quint32 previous, const vesnara::StableInputSelection& selection);

private:
    void setSelectedInputDeviceID(quint32 id);
    void setSelectedSystemDisplayID(quint32 id);
    void setSelectedSystemApplicationBundleID(const QString& bundleID);
    void setAvailableInputDevices(QList<AudioInputDeviceOption> devices);
    void setRecommendedInputDeviceName(const QString& name);
    void setAvailableSystemDisplays(QList<SystemAudioDisplayOption> displays);
    void setAvailableSystemApplications(QList<SystemAudioApplicationOption> applications);

    MicrophoneCapture m_microphone;
    SystemAudioCapture m_systemAudio;
    RecordingSettings& m_settings;
    StatusLine& m_status;
    const PermissionPanel& m_permissions;

    InputDeviceListModel m_inputDevices;
    quint32 m_selectedInputDeviceID = 0;
    SystemDisplayListModel m_systemDisplays;
    quint32 m_selectedSystemDisplayID = 0;
    SystemApplicationListModel m_systemApplications;
    QString m_selectedSystemApplicationBundleID;
    AudioInputMode m_inputMode = AudioInputMode::microphone;
};

} // namespace vesnara
