#include "PulseRecordStream.h"

#include <pulse/channelmap.h>
#include <pulse/timeval.h>

namespace vesnara {

std::unique_ptr<PulseRecordStream>
PulseRecordStream::create(PulseContext& context, const PulseRecordStreamOptions& options,
                          OnData onData, OnFailure onFailure, AudioBackendError& error) {
    if (!context.isReady()) {
        error = context.contextError();
        return nullptr;
    }
    pa_channel_map map = options.channelMap;
    if (!pa_channel_map_valid(&map) || map.channels != options.sampleSpec.channels)
        pa_channel_map_init_extend(&map, options.sampleSpec.channels, PA_CHANNEL_MAP_DEFAULT);
    pa_stream* stream =
        pa_stream_new(context.context(), options.streamName.constData(), &options.sampleSpec, &map);
    if (!stream) {
        error = context.contextError();
        return nullptr;
    }
    if (options.monitoredSinkInput != UINT32_MAX &&
        pa_stream_set_monitor_stream(stream, options.monitoredSinkInput) < 0) {
        error = context.contextError();
        pa_stream_unref(stream);
        return nullptr;
    }
    std::unique_ptr<PulseRecordStream> self(new PulseRecordStream(
        context, stream, std::move(onData), std::move(onFailure), options.monitoredSinkInput));
    pa_stream_set_state_callback(stream, &PulseRecordStream::onState, self.get());
    pa_stream_set_read_callback(stream, &PulseRecordStream::onRead, self.get());

    pa_buffer_attr attr;
    attr.maxlength = UINT32_MAX;
    attr.tlength = UINT32_MAX;
    attr.prebuf = UINT32_MAX;
    attr.minreq = UINT32_MAX;
    attr.fragsize = static_cast<uint32_t>(pa_usec_to_bytes(
        static_cast<pa_usec_t>(options.fragment.count()) * PA_USEC_PER_MSEC, &options.sampleSpec));
    const auto flags =
        static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE);
    if (pa_stream_connect_record(stream, options.sourceName.constData(), &attr, flags) < 0) {
        error = context.contextError();
        return nullptr;
    }
    return self;
}

PulseRecordStream::PulseRecordStream(PulseContext& context, pa_stream* stream, OnData onData,
                                     OnFailure onFailure, uint32_t monitoredSinkInput)
    : m_context(context)
    , m_stream(stream)
    , m_onData(std::move(onData))
    , m_onFailure(std::move(onFailure))
    , m_monitoredSinkInput(monitoredSinkInput) {}

PulseRecordStream::~PulseRecordStream() {
    // Callbacks are cleared first: libpulse may still deliver a read after the disconnect.
    pa_stream_set_read_callback(m_stream, nullptr, nullptr);
    pa_stream_set_state_callback(m_stream, nullptr, nullptr);
    if (PA_STREAM_IS_GOOD(pa_stream_get_state(m_stream)))
        pa_stream_disconnect(m_stream);
    pa_stream_unref(m_stream);
}

bool PulseRecordStream::isReady() const {
    return pa_stream_get_state(m_stream) == PA_STREAM_READY;
}

bool PulseRecordStream::hasEnded() const {
    return !PA_STREAM_IS_GOOD(pa_stream_get_state(m_stream));
}

AudioBackendError PulseRecordStream::failure() const {
    return m_context.contextError();
}

void PulseRecordStream::onRead(pa_stream* stream, size_t, void* userdata) {
    auto* self = static_cast<PulseRecordStream*>(userdata);
    const size_t frameSize = pa_frame_size(pa_stream_get_sample_spec(stream));
    while (pa_stream_readable_size(stream) > 0) {
        const void* data = nullptr;
        size_t bytes = 0;
        if (pa_stream_peek(stream, &data, &bytes) < 0 || bytes == 0)
            return;
        const auto frames = static_cast<qsizetype>(bytes / frameSize);
        if (frames > 0 && self->m_onData) {
            const QByteArrayView view =
                data ? QByteArrayView(static_cast<const char*>(data), static_cast<qsizetype>(bytes))
                     : QByteArrayView();
            self->m_onData(view, frames);
        }
        // A hole (null data) must be dropped too, or the stream stalls on it.
        pa_stream_drop(stream);
    }
}

void PulseRecordStream::onState(pa_stream* stream, void* userdata) {
    auto* self = static_cast<PulseRecordStream*>(userdata);
    const auto state = pa_stream_get_state(stream);
    self->m_context.signal();
    if (PA_STREAM_IS_GOOD(state) || self->m_failureReported)
        return;
    self->m_failureReported = true;
    if (self->m_onFailure)
        self->m_onFailure(self->failure());
}

} // namespace vesnara
