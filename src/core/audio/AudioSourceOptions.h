#pragma once

#include <QString>

#include <optional>

namespace vesnara {

/// A picker's device id as a preference: 0 stands for "Auto", which prefers nothing.
inline std::optional<quint32> preferredDeviceId(quint32 pickerId) {
    return pickerId == 0 ? std::nullopt : std::optional(pickerId);
}

/// The application picker's choice as a preference: blank stands for "all applications".
inline std::optional<QString> preferredApplicationId(const QString& pickerId) {
    return pickerId.isEmpty() ? std::nullopt : std::optional(pickerId);
}

/// An entry of the microphone picker.
struct AudioInputDeviceOption {
    /// The stable device id that the settings store as the preferred device.
    quint32 id = 0;
    QString name;
    bool isVirtual = false;

    friend bool operator==(const AudioInputDeviceOption&, const AudioInputDeviceOption&) = default;
};

/// An entry of the system audio source picker: an output to capture.
struct SystemAudioDisplayOption {
    quint32 id = 0;
    QString name;

    friend bool operator==(const SystemAudioDisplayOption&,
                           const SystemAudioDisplayOption&) = default;
};

/// An entry of the application picker: one per application, however many streams it plays.
struct SystemAudioApplicationOption {
    /// The same as `bundleIdentifier`; stored as the preferred application.
    QString id;
    QString name;
    QString bundleIdentifier;

    friend bool operator==(const SystemAudioApplicationOption&,
                           const SystemAudioApplicationOption&) = default;
};

} // namespace vesnara
