#include "PulseDeviceClassification.h"

namespace vesnara {

namespace {

QByteArray prop(const PulseSourceInfo& source, const char* key) {
    return source.properties.value(QByteArray(key)).trimmed().toLower();
}

bool isVirtual(const PulseSourceInfo& source) {
    const auto deviceClass = prop(source, "device.class");
    if (deviceClass == "abstract" || deviceClass == "filter")
        return true;
    if (prop(source, "node.virtual") == "true")
        return true;
    if (prop(source, "factory.name").startsWith("support."))
        return true;
    const auto api = prop(source, "device.api");
    if (api.isEmpty())
        return true;
    const auto driver = source.driver.toLower();
    const bool moduleDriver = driver.contains("module-null") || driver.contains("module-remap") ||
                              driver.contains("module-pipe");
    return moduleDriver && deviceClass != "sound";
}

bool isWirelessHeadset(const PulseSourceInfo& source) {
    return prop(source, "device.bus") == "bluetooth" || prop(source, "device.api") == "bluez5" ||
           source.name.startsWith("bluez_");
}

bool isBuiltIn(const PulseSourceInfo& source) {
    auto formFactor = prop(source, "device.form_factor");
    if (formFactor.isEmpty())
        formFactor = prop(source, "device.form-factor");
    if (formFactor == "internal")
        return true;
    return prop(source, "device.bus") == "pci" &&
           (formFactor.isEmpty() || formFactor == "microphone");
}

} // namespace

quint32 stableDeviceId(const QByteArray& name) {
    quint32 hash = 2166136261u;
    for (const char c : name) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 16777619u;
    }
    return hash == 0 ? 1 : hash;
}

bool isMonitorSource(const PulseSourceInfo& source) {
    return source.monitorOfSink != UINT32_MAX || prop(source, "device.class") == "monitor";
}

AudioTransportKind classifySource(const PulseSourceInfo& source) {
    if (isVirtual(source))
        return AudioTransportKind::virtualDevice;
    if (isWirelessHeadset(source))
        return AudioTransportKind::bluetooth;
    if (isBuiltIn(source))
        return AudioTransportKind::builtIn;
    return prop(source, "device.bus") == "usb" ? AudioTransportKind::usb
                                               : AudioTransportKind::other;
}

QString applicationKey(const PulseSinkInputInfo& sinkInput) {
    const auto binary = sinkInput.processBinary.trimmed();
    return binary.isEmpty() ? sinkInput.applicationName.trimmed() : binary;
}

} // namespace vesnara
