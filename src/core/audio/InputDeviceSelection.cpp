#include "audio/InputDeviceSelection.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

bool containsAny(const QString& name, const QStringList& needles) {
    const QString lower = name.toLower();
    return std::ranges::any_of(needles, [&](const QString& n) { return lower.contains(n); });
}

std::optional<InputDeviceInfo> findById(const QList<InputDeviceInfo>& devices, quint32 id) {
    const auto it = std::ranges::find(devices, id, &InputDeviceInfo::id);
    return it == devices.end() ? std::nullopt : std::optional(*it);
}

std::optional<InputDeviceInfo> firstWhere(const QList<InputDeviceInfo>& devices, auto predicate) {
    const auto it = std::ranges::find_if(devices, predicate);
    return it == devices.end() ? std::nullopt : std::optional(*it);
}

QList<InputDeviceInfo> stableDevices(const QList<InputDeviceInfo>& devices) {
    QList<InputDeviceInfo> stable;
    std::ranges::copy_if(devices, std::back_inserter(stable), &InputDeviceInfo::isStable);
    return stable;
}

/// First built-in, else the default device, else the first entry.
std::optional<InputDeviceInfo> bestOf(const QList<InputDeviceInfo>& candidates, quint32 defaultId) {
    if (auto builtIn = firstWhere(candidates, &InputDeviceInfo::isBuiltIn))
        return builtIn;
    if (auto byDefault = findById(candidates, defaultId))
        return byDefault;
    if (!candidates.isEmpty())
        return candidates.first();
    return std::nullopt;
}

} // namespace

bool isVirtualDeviceName(const QString& name, AudioTransportKind transport) {
    static const QStringList needles{u"blackhole"_s,    u"zoomaudio"_s, u"teams audio"_s,
                                     u"rode connect"_s, u"loopback"_s,  u"virtual"_s};
    return transport == AudioTransportKind::virtualDevice || containsAny(name, needles);
}

bool isBuiltInDeviceName(const QString& name) {
    static const QStringList needles{u"macbook"_s, u"built-in"_s, u"internal"_s};
    return containsAny(name, needles);
}

bool isWirelessHeadsetName(const QString& name) {
    static const QStringList needles{u"wh1000"_s, u"airpods"_s, u"bluetooth"_s};
    return containsAny(name, needles);
}

QList<InputDeviceInfo> classifyInputDevices(const QList<AudioInputDevice>& devices) {
    QList<InputDeviceInfo> result;
    for (const AudioInputDevice& device : devices) {
        if (device.inputChannels <= 0)
            continue;
        const QString name =
            device.name.isEmpty() ? u"AudioDevice-"_s + QString::number(device.id) : device.name;
        const auto transport = device.transport;
        result.append({
            device.id,
            name,
            isVirtualDeviceName(name, transport),
            isBuiltInDeviceName(name) || transport == AudioTransportKind::builtIn,
            isWirelessHeadsetName(name) || transport == AudioTransportKind::bluetooth ||
                transport == AudioTransportKind::bluetoothLE,
        });
    }
    return result;
}

std::optional<InputDeviceInfo> pickPreferredInputDevice(const QList<InputDeviceInfo>& devices,
                                                        std::optional<quint32> preferredId,
                                                        quint32 defaultId) {
    if (devices.isEmpty())
        return std::nullopt;
    if (preferredId) {
        if (auto preferred = findById(devices, *preferredId))
            return preferred;
    }
    if (auto stable = bestOf(stableDevices(devices), defaultId))
        return stable;
    if (auto physical = firstWhere(devices, [](const auto& d) { return !d.isVirtual; }))
        return physical;
    if (auto byDefault = findById(devices, defaultId))
        return byDefault;
    return devices.first();
}

std::optional<InputDeviceInfo> preferredStableInputDevice(const QList<InputDeviceInfo>& devices,
                                                          std::optional<quint32> excluding,
                                                          quint32 defaultId) {
    QList<InputDeviceInfo> candidates = stableDevices(devices);
    if (excluding)
        candidates.removeIf([&](const InputDeviceInfo& d) { return d.id == *excluding; });
    return bestOf(candidates, defaultId);
}

std::optional<InputDeviceInfo> stableFallbackInputDevice(const QList<InputDeviceInfo>& devices,
                                                         quint32 current, quint32 defaultId) {
    const auto currentDevice = findById(devices, current);
    if (!currentDevice || !currentDevice->isWirelessHeadset)
        return std::nullopt;
    auto choice = bestOf(stableDevices(devices), defaultId);
    if (choice && choice->id == current)
        return std::nullopt;
    return choice;
}

} // namespace vesnara
