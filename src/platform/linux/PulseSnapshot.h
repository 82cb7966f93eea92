#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include <pulse/channelmap.h>
#include <pulse/sample.h>

#include <cstdint>

namespace vesnara {

/// The properties of a PulseAudio object that classification reads, by key.
using PulseProperties = QHash<QByteArray, QByteArray>;

/// One source (an input, or the monitor of an output) as last reported by the server.
struct PulseSourceInfo {
    uint32_t index = 0;
    QByteArray name;
    QString description;
    pa_sample_spec sampleSpec{};
    pa_channel_map channelMap{};
    /// The sink this source monitors, or PA_INVALID_INDEX for a real input.
    uint32_t monitorOfSink = UINT32_MAX;
    QByteArray driver;
    PulseProperties properties;
};

/// One sink (an output) as last reported by the server.
struct PulseSinkInfo {
    uint32_t index = 0;
    QByteArray name;
    QString description;
    QByteArray monitorSourceName;
    pa_sample_spec sampleSpec{};
    pa_channel_map channelMap{};
};

/// One playback stream of an application (a sink input).
struct PulseSinkInputInfo {
    uint32_t index = 0;
    uint32_t sink = UINT32_MAX;
    /// `application.process.binary`, `application.name`, `application.process.id` ("" / 0).
    QString processBinary;
    QString applicationName;
    qint64 processId = 0;
};

/// Everything the backends list, as of the last event from the server. Empty while the server
/// is not connected.
struct PulseSnapshot {
    /// Connected, and the first listing of the connection is complete.
    bool isConnected = false;
    /// The last connection failed or was lost, and none has completed since. False while the
    /// first connection is still under way.
    bool connectionFailed = false;
    QList<PulseSourceInfo> sources;
    QList<PulseSinkInfo> sinks;
    QList<PulseSinkInputInfo> sinkInputs;
    QByteArray defaultSourceName;
    QByteArray defaultSinkName;
};

} // namespace vesnara
