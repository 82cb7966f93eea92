#pragma once

#include "audio/AudioSourceOptions.h"
#include "audio/MicrophoneCaptureError.h"
#include "audio/PcmChunker.h"
#include "platform/AudioInputBackend.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>
#include <optional>

namespace vesnara {

/// The microphone source: picks an input device by the program's fixed preference, records from it
/// through an `AudioInputBackend`, converts each buffer to 16 kHz mono PCM16 and hands the audio on
/// in frames of exactly 3200 bytes.
///
/// Lives as long as its owner and is started and stopped many times; `start`, `stop` and the
/// fields are used from the main thread. The backend must outlive the object. Permission checks
/// and requests are not here (the permission module asks before `start`).
class MicrophoneCapture {
public:
    explicit MicrophoneCapture(AudioInputBackend& backend);
    /// Stops a running capture.
    ~MicrophoneCapture();
    MicrophoneCapture(const MicrophoneCapture&) = delete;
    MicrophoneCapture& operator=(const MicrophoneCapture&) = delete;

    /// Receives each 3200-byte frame on the backend's audio thread: it must return quickly and
    /// must not touch a QObject (post the frame on). Read by `start`; stays across `stop`.
    std::function<void(QByteArray)> onPCMFrame;
    /// Told, on the backend's audio thread, that the running stream died by itself; the details
    /// are for the log. Read by `start`.
    std::function<void(const QString& details)> onStreamFailure;

    /// The device that the user or a fallback chose; nothing means choose automatically. Read by
    /// `start`; survives `stop`.
    std::optional<quint32> preferredInputDeviceID;

    /// Selects the device and starts recording; on a running object it restarts. Audio short of a
    /// frame from an earlier run is kept unless `stop` came between. Throws
    /// `MicrophoneCaptureError` (`engineNotReady`) when the input has no channels or its stream
    /// does not start.
    void start();
    /// Ends capture and drops audio short of a frame; safe when not running. When it returns, no
    /// callback runs any more.
    void stop();

    bool isRunning() const { return m_isRunning; }
    /// The device in use: its name, "Oletuslaite" when none was chosen by name; empty until
    /// `start` and again after `stop`.
    const QString& activeInputDeviceName() const { return m_activeInputDeviceName; }

    /// The devices that can record, in the backend's order.
    QList<AudioInputDeviceOption> listAvailableInputDevices() const;
    /// Where to go from the wireless headset `current` (see `stableFallbackInputDevice` in
    /// InputDeviceSelection.h).
    std::optional<AudioInputDeviceOption> stableFallbackInputDevice(quint32 current) const;
    /// A stable device other than `excluding` (see InputDeviceSelection.h).
    std::optional<AudioInputDeviceOption>
    preferredStableInputDevice(std::optional<quint32> excluding) const;

    AudioInputBackend& backend() const { return m_backend; }

private:
    void handleBuffer(const AudioBufferView& buffer);

    AudioInputBackend& m_backend;
    QString m_activeInputDeviceName;
    bool m_isRunning = false;
    // Touched by the audio thread while a stream runs, by `start`/`stop` only when none does.
    MicrophoneChunker m_chunker;
    std::function<void(QByteArray)> m_frameSink;
};

} // namespace vesnara
