#pragma once

#include "PulseSnapshot.h"
#include "audio/AudioInputDevice.h"

namespace vesnara {

/// A stable, non-zero 32-bit id for a PulseAudio object name (FNV-1a). Server indices change
/// when a device is re-plugged or the server restarts; a stored preference needs the name.
quint32 stableDeviceId(const QByteArray& name);

/// True for a source that only repeats what an output plays: never offered as a microphone.
bool isMonitorSource(const PulseSourceInfo& source);

/// How a (non-monitor) source is attached, from its properties, in this order: virtual, wireless
/// headset, built-in, otherwise external (`usb` when the bus says so, else `other`). Reads the
/// PulseAudio spellings and the PipeWire ones (`device.form-factor`, `node.virtual`,
/// `factory.name`). A null, remap or pipe module counts as virtual unless the source declares
/// itself a sound device with an API: then it stands in for what it declares.
AudioTransportKind classifySource(const PulseSourceInfo& source);

/// The key by which playback streams are grouped into applications: the process binary, else
/// the application name; empty when the stream names neither.
QString applicationKey(const PulseSinkInputInfo& sinkInput);

} // namespace vesnara
