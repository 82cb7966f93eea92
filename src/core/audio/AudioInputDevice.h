#pragma once

#include <QString>

namespace vesnara {

/// How an input device is attached, as far as device selection cares. The first four are the
/// platform transport codes `bltn`, `blue`, `blea` and `virt`; everything else is `usb`,
/// `other`, or `unknown` when the backend could not tell.
enum class AudioTransportKind {
    builtIn,
    bluetooth,
    bluetoothLE,
    virtualDevice,
    usb,
    other,
    unknown,
};

/// An input device as the backend lists it.
struct AudioInputDevice {
    /// Stable, non-zero, and the same across re-plugs and server restarts (a stored preference
    /// refers to it). 0 never names a device.
    quint32 id = 0;
    /// The human-readable name; empty when the backend could not read one.
    QString name;
    AudioTransportKind transport = AudioTransportKind::unknown;
    /// Channels the device records; a device with 0 cannot record and is never offered.
    int inputChannels = 0;

    friend bool operator==(const AudioInputDevice&, const AudioInputDevice&) = default;
};

} // namespace vesnara
