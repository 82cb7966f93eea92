#pragma once

#include "audio/AudioInputDevice.h"
#include "audio/AudioSourceOptions.h"

#include <QList>
#include <QString>

#include <optional>

namespace vesnara {

/// A recording device with the classification that device choice works on.
struct InputDeviceInfo {
    quint32 id = 0;
    QString name;
    bool isVirtual = false;
    bool isBuiltIn = false;
    bool isWirelessHeadset = false;

    /// Neither virtual nor a wireless headset: a device worth falling back to.
    bool isStable() const { return !isVirtual && !isWirelessHeadset; }
    AudioInputDeviceOption option() const { return {id, name, isVirtual}; }

    friend bool operator==(const InputDeviceInfo&, const InputDeviceInfo&) = default;
};

/// The name tests work on the lower-cased name by plain substring search.
/// Virtual: "blackhole", "zoomaudio", "teams audio", "rode connect", "loopback", "virtual", or the
/// transport is virtual.
bool isVirtualDeviceName(const QString& name, AudioTransportKind transport);
/// Built-in: "macbook", "built-in", "internal".
bool isBuiltInDeviceName(const QString& name);
/// Wireless headset: "wh1000", "airpods", "bluetooth".
bool isWirelessHeadsetName(const QString& name);

/// The devices that can record, classified, in the backend's order. A device with no input
/// channels is left out; one without a name is called "AudioDevice-<id>". Built-in also by a
/// built-in transport, wireless headset also by a Bluetooth or Bluetooth LE transport.
QList<InputDeviceInfo> classifyInputDevices(const QList<AudioInputDevice>& devices);

/// The device to record from, by the first rule that gives one: the preferred device if listed
/// (even a virtual one or a headset: an explicit choice always wins); of the stable devices, the
/// first built-in one, the default device, the first one; then the first non-virtual device; the
/// default device; the first device. Nothing for an empty list. `defaultId` 0 means none.
std::optional<InputDeviceInfo> pickPreferredInputDevice(const QList<InputDeviceInfo>& devices,
                                                        std::optional<quint32> preferredId,
                                                        quint32 defaultId);

/// A stable device other than `excluding`: the first built-in one, else the default device, else
/// the first; nothing when no stable device remains.
std::optional<InputDeviceInfo> preferredStableInputDevice(const QList<InputDeviceInfo>& devices,
                                                          std::optional<quint32> excluding,
                                                          quint32 defaultId);

/// Where to go from the wireless headset `current`: the first built-in stable device, else the
/// default device if stable, else the first stable device. Nothing when `current` is not listed,
/// is no wireless headset, no stable device exists, or the choice would be `current` itself.
std::optional<InputDeviceInfo> stableFallbackInputDevice(const QList<InputDeviceInfo>& devices,
                                                         quint32 current, quint32 defaultId);

} // namespace vesnara
