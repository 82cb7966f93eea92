#pragma once

#include "PulseContext.h"

#include <QByteArray>
#include <QByteArrayView>

#include <pulse/stream.h>

#include <chrono>
#include <functional>
#include <memory>

namespace vesnara {

/// What to record and how.
struct PulseRecordStreamOptions {
    QByteArray streamName;
    /// The source to record; the stream never moves to another one (a removed source fails it).
    QByteArray sourceName;
    /// The sample format, rate and channels the server is asked to deliver.
    pa_sample_spec sampleSpec{};
    /// The channel layout; the server's default for the channel count when invalid.
    pa_channel_map channelMap{};
    /// Records only this playback stream from the monitor `sourceName` (PA_INVALID_INDEX: all).
    uint32_t monitoredSinkInput = UINT32_MAX;
    /// The fragment the server is asked for; the reads still come at the server's own pace.
    std::chrono::milliseconds fragment{20};
};

/// One libpulse record stream. Made, used and destroyed with the loop lock held; its callbacks
/// run on the loop thread.
class PulseRecordStream {
public:
    /// `data` is the interleaved samples of `frames` frames, or a null view for a hole of that
    /// many frames. Called for every non-empty read.
    using OnData = std::function<void(QByteArrayView data, qsizetype frames)>;
    /// The stream failed or ended by itself; called at most once, and no data follows.
    using OnFailure = std::function<void(const AudioBackendError&)>;

    /// Creates and starts connecting the stream; gives null and sets `error` when even that
    /// fails. Lock held.
    static std::unique_ptr<PulseRecordStream> create(PulseContext& context,
                                                     const PulseRecordStreamOptions& options,
                                                     OnData onData, OnFailure onFailure,
                                                     AudioBackendError& error);

    /// Disconnects without waiting; no callback runs after it. Lock held.
    ~PulseRecordStream();
    PulseRecordStream(const PulseRecordStream&) = delete;
    PulseRecordStream& operator=(const PulseRecordStream&) = delete;

    bool isReady() const;
    /// Failed, or ended by itself. Lock held.
    bool hasEnded() const;
    /// Why it failed (the context's error). Lock held.
    AudioBackendError failure() const;
    uint32_t monitoredSinkInput() const { return m_monitoredSinkInput; }

private:
    PulseRecordStream(PulseContext& context, pa_stream* stream, OnData onData, OnFailure onFailure,
                      uint32_t monitoredSinkInput);
    static void onRead(pa_stream* stream, size_t bytes, void* userdata);
    static void onState(pa_stream* stream, void* userdata);

    PulseContext& m_context;
    pa_stream* m_stream;
    OnData m_onData;
    OnFailure m_onFailure;
    uint32_t m_monitoredSinkInput;
    bool m_failureReported = false;
};

} // namespace vesnara
