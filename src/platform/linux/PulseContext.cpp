#include "PulseContext.h"

#include "storage/AppLog.h"

#include <pulse/error.h>
#include <pulse/introspect.h>
#include <pulse/proplist.h>
#include <pulse/subscribe.h>
#include <pulse/timeval.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

constexpr auto kReconnectInterval = std::chrono::seconds(1);

PulseProperties propertiesOf(const pa_proplist* list) {
    PulseProperties properties;
    if (!list)
        return properties;
    void* state = nullptr;
    while (const char* key = pa_proplist_iterate(list, &state)) {
        if (const char* value = pa_proplist_gets(list, key))
            properties.insert(QByteArray(key), QByteArray(value));
    }
    return properties;
}

QString utf8(const char* text) {
    return text ? QString::fromUtf8(text) : QString();
}

template <typename Info> void upsertByIndex(QList<Info>& list, Info info) {
    const auto at = std::lower_bound(list.begin(), list.end(), info.index,
                                     [](const Info& i, uint32_t index) { return i.index < index; });
    if (at != list.end() && at->index == info.index)
        *at = std::move(info);
    else
        list.insert(at, std::move(info));
}

template <typename Info> bool eraseByIndex(QList<Info>& list, uint32_t index) {
    return list.removeIf([index](const Info& i) { return i.index == index; }) > 0;
}

void unrefOperation(pa_operation* operation) {
    if (operation)
        pa_operation_unref(operation);
}

} // namespace

std::shared_ptr<PulseContext> PulseContext::acquire() {
    static std::mutex mutex;
    static std::weak_ptr<PulseContext> shared;
    std::lock_guard guard(mutex);
    if (auto existing = shared.lock())
        return existing;
    auto context = std::shared_ptr<PulseContext>(new PulseContext());
    static_cast<void>(context->ensureConnected());
    shared = context;
    return context;
}

PulseContext::PulseContext() {
    m_loop = pa_threaded_mainloop_new();
    if (m_loop && pa_threaded_mainloop_start(m_loop) < 0) {
        pa_threaded_mainloop_free(m_loop);
        m_loop = nullptr;
    }
    if (m_loop)
        pa_threaded_mainloop_set_name(m_loop, "vesnara-pulse");
}

PulseContext::~PulseContext() {
    if (!m_loop)
        return;
    {
        Lock lock(*this);
        dropContextLocked();
        m_listeners.clear();
    }
    pa_threaded_mainloop_stop(m_loop);
    pa_threaded_mainloop_free(m_loop);
}

PulseContext::Lock::Lock(PulseContext& context)
    : m_loop(context.m_loop) {
    if (m_loop)
        pa_threaded_mainloop_lock(m_loop);
}

PulseContext::Lock::~Lock() {
    if (m_loop)
        pa_threaded_mainloop_unlock(m_loop);
}

PulseSnapshot PulseContext::snapshot() const {
    std::lock_guard guard(m_snapshotMutex);
    return m_snapshot;
}

bool PulseContext::isReady() const {
    return m_context && pa_context_get_state(m_context) == PA_CONTEXT_READY;
}

AudioBackendError PulseContext::error(int paErrno) {
    return {u"pulseaudio"_s, paErrno, QString::fromUtf8(pa_strerror(paErrno))};
}

AudioBackendError PulseContext::ownError(int code, const QString& description) {
    return {u"vesnara.audio"_s, code, description};
}

AudioBackendError PulseContext::contextError() const {
    if (!m_loop)
        return ownError(1, u"no PulseAudio main loop"_s);
    if (!m_context)
        return ownError(2, u"not connected to the sound server"_s);
    const int code = pa_context_errno(m_context);
    if (code == PA_OK)
        return ownError(3, u"the sound server did not answer in time"_s);
    return error(code);
}

std::optional<AudioBackendError> PulseContext::connectionErrorLocked() const {
    if (isReady() && m_initialListsDone)
        return std::nullopt;
    if (m_context && PA_CONTEXT_IS_GOOD(pa_context_get_state(m_context)))
        return ownError(5, u"still connecting to the sound server"_s);
    return contextError();
}

std::optional<AudioBackendError> PulseContext::connectedSnapshot(PulseSnapshot& out) {
    if (auto error = ensureConnected())
        return error;
    out = snapshot();
    if (!out.isConnected) // lost since
        return ownError(2, u"not connected to the sound server"_s);
    return std::nullopt;
}

std::optional<AudioBackendError> PulseContext::ensureConnected() {
    if (!m_loop)
        return contextError();
    if (pa_threaded_mainloop_in_thread(m_loop)) {
        if (snapshot().isConnected)
            return std::nullopt;
        return ownError(2, u"not connected to the sound server"_s);
    }
    Lock lock(*this);
    const bool failed = !m_context || !PA_CONTEXT_IS_GOOD(pa_context_get_state(m_context));
    if (failed &&
        (!m_lastConnectAttempt || Clock::now() - *m_lastConnectAttempt >= kReconnectInterval)) {
        // The reason reported is the failure that made us try again.
        auto reason = connectionErrorLocked();
        startConnectionLocked();
        return reason;
    }
    return connectionErrorLocked();
}

std::optional<AudioBackendError> PulseContext::waitUntilConnected(std::chrono::milliseconds limit) {
    if (!m_loop)
        return contextError();
    if (pa_threaded_mainloop_in_thread(m_loop))
        return ownError(4, u"cannot wait for the sound server on its own thread"_s);
    Lock lock(*this);
    if (!m_context || !PA_CONTEXT_IS_GOOD(pa_context_get_state(m_context)))
        startConnectionLocked();
    if (!m_context)
        return contextError();
    waitLocked(
        [this] {
            const auto state = pa_context_get_state(m_context);
            return (state == PA_CONTEXT_READY && m_initialListsDone) || !PA_CONTEXT_IS_GOOD(state);
        },
        limit);
    return connectionErrorLocked();
}

bool PulseContext::waitLocked(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    if (done())
        return true;
    struct Timer {
        pa_threaded_mainloop* loop;
        bool expired = false;
    } timer{m_loop};
    auto* api = pa_threaded_mainloop_get_api(m_loop);
    timeval when{};
    pa_gettimeofday(&when);
    pa_timeval_add(&when, static_cast<pa_usec_t>(limit.count()) * PA_USEC_PER_MSEC);
    pa_time_event* event = api->time_new(
        api, &when,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* userdata) {
            auto* t = static_cast<Timer*>(userdata);
            t->expired = true;
            pa_threaded_mainloop_signal(t->loop, 0);
        },
        &timer);
    while (!done() && !timer.expired)
        pa_threaded_mainloop_wait(m_loop);
    api->time_free(event);
    return done();
}

void PulseContext::signal() {
    pa_threaded_mainloop_signal(m_loop, 0);
}

int PulseContext::addListenerLocked(std::function<void(unsigned)> listener) {
    const int id = m_nextListenerId++;
    m_listeners.emplace(id, std::move(listener));
    return id;
}

void PulseContext::removeListenerLocked(int id) {
    m_listeners.erase(id);
}

void PulseContext::startConnectionLocked() {
    dropContextLocked();
    m_lastConnectAttempt = Clock::now();
    pa_proplist* properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_APPLICATION_NAME, "Vesnara");
    pa_proplist_sets(properties, PA_PROP_APPLICATION_ID, "fi.vesnara.Vesnara");
    m_context =
        pa_context_new_with_proplist(pa_threaded_mainloop_get_api(m_loop), "Vesnara", properties);
    pa_proplist_free(properties);
    if (!m_context)
        return;
    pa_context_set_state_callback(m_context, &PulseContext::onStateChanged, this);
    // A failed connect leaves the context FAILED with its errno, which is what callers report.
    // The connection itself proceeds on the loop thread: pa_context_connect never waits for it.
    pa_context_connect(m_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
}

void PulseContext::dropContextLocked() {
    if (!m_context)
        return;
    pa_context_set_state_callback(m_context, nullptr, nullptr);
    pa_context_set_subscribe_callback(m_context, nullptr, nullptr);
    pa_context_disconnect(m_context);
    pa_context_unref(m_context);
    m_context = nullptr;
    markDisconnectedLocked();
}

void PulseContext::markDisconnectedLocked() {
    const bool wasConnected = m_initialListsDone;
    m_initialListsDone = false;
    m_pendingInitialLists = 0;
    editSnapshot(wasConnected ? PulseChange::connection : 0u, [](PulseSnapshot& s) {
        const bool failed = s.connectionFailed;
        s = PulseSnapshot{};
        s.connectionFailed = failed;
    });
}

template <typename Edit> void PulseContext::editSnapshot(unsigned changes, Edit edit) {
    {
        std::lock_guard guard(m_snapshotMutex);
        edit(m_snapshot);
    }
    // Until a connection's first listing is complete, its pieces are not worth telling.
    if (!m_initialListsDone)
        changes &= PulseChange::connection;
    if (changes != 0)
        notifyListenersLocked(changes);
}

void PulseContext::notifyListenersLocked(unsigned changes) {
    // A listener may remove itself; iterate over a copy of the ids.
    std::vector<int> ids;
    for (const auto& [id, listener] : m_listeners)
        ids.push_back(id);
    for (const int id : ids) {
        const auto found = m_listeners.find(id);
        if (found != m_listeners.end())
            found->second(changes);
    }
}

void PulseContext::initialListArrivedLocked() {
    if (m_initialListsDone || --m_pendingInitialLists > 0)
        return;
    m_initialListsDone = true;
    editSnapshot(PulseChange::connection, [](PulseSnapshot& s) {
        s.isConnected = true;
        s.connectionFailed = false;
    });
    signal();
}

void PulseContext::onStateChanged(pa_context* c, void* userdata) {
    auto* self = static_cast<PulseContext*>(userdata);
    if (c != self->m_context)
        return;
    const auto state = pa_context_get_state(c);
    if (state == PA_CONTEXT_READY) {
        self->m_initialListsDone = false;
        self->editSnapshot(0, [](PulseSnapshot& s) {
            const bool failed = s.connectionFailed;
            s = PulseSnapshot{};
            s.connectionFailed = failed;
        });
        self->m_pendingInitialLists = 4;
        pa_context_set_subscribe_callback(c, &PulseContext::onSubscriptionEvent, self);
        unrefOperation(
            pa_context_subscribe(c,
                                 static_cast<pa_subscription_mask_t>(
                                     PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SINK |
                                     PA_SUBSCRIPTION_MASK_SINK_INPUT | PA_SUBSCRIPTION_MASK_SERVER),
                                 nullptr, nullptr));
        unrefOperation(pa_context_get_server_info(
            c,
            [](pa_context* cc, const pa_server_info* info, void* ud) {
                onServerInfo(cc, info, ud);
                auto* s = static_cast<PulseContext*>(ud);
                if (cc == s->m_context)
                    s->initialListArrivedLocked();
            },
            self));
        unrefOperation(pa_context_get_source_info_list(
            c,
            [](pa_context* cc, const pa_source_info* info, int eol, void* ud) {
                onSourceInfo(cc, info, eol, ud);
                auto* s = static_cast<PulseContext*>(ud);
                if (eol != 0 && cc == s->m_context)
                    s->initialListArrivedLocked();
            },
            self));
        unrefOperation(pa_context_get_sink_info_list(
            c,
            [](pa_context* cc, const pa_sink_info* info, int eol, void* ud) {
                onSinkInfo(cc, info, eol, ud);
                auto* s = static_cast<PulseContext*>(ud);
                if (eol != 0 && cc == s->m_context)
                    s->initialListArrivedLocked();
            },
            self));
        unrefOperation(pa_context_get_sink_input_info_list(
            c,
            [](pa_context* cc, const pa_sink_input_info* info, int eol, void* ud) {
                onSinkInputInfo(cc, info, eol, ud);
                auto* s = static_cast<PulseContext*>(ud);
                if (eol != 0 && cc == s->m_context)
                    s->initialListArrivedLocked();
            },
            self));
    } else if (!PA_CONTEXT_IS_GOOD(state)) {
        AppLog::write(u"pulse context lost "_s + self->contextError().details());
        self->markDisconnectedLocked();
        self->editSnapshot(0, [](PulseSnapshot& s) { s.connectionFailed = true; });
    }
    self->signal();
}

void PulseContext::onSubscriptionEvent(pa_context* c, pa_subscription_event_type_t type,
                                       uint32_t index, void* userdata) {
    auto* self = static_cast<PulseContext*>(userdata);
    if (c != self->m_context)
        return;
    const auto facility = type & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    const bool removed = (type & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_REMOVE;
    switch (facility) {
    case PA_SUBSCRIPTION_EVENT_SOURCE:
        if (removed)
            self->editSnapshot(PulseChange::sources,
                               [index](PulseSnapshot& s) { eraseByIndex(s.sources, index); });
        else
            unrefOperation(
                pa_context_get_source_info_by_index(c, index, &PulseContext::onSourceInfo, self));
        break;
    case PA_SUBSCRIPTION_EVENT_SINK:
        if (removed)
            self->editSnapshot(PulseChange::sinks,
                               [index](PulseSnapshot& s) { eraseByIndex(s.sinks, index); });
        else
            unrefOperation(
                pa_context_get_sink_info_by_index(c, index, &PulseContext::onSinkInfo, self));
        break;
    case PA_SUBSCRIPTION_EVENT_SINK_INPUT:
        if (removed)
            self->editSnapshot(PulseChange::sinkInputs,
                               [index](PulseSnapshot& s) { eraseByIndex(s.sinkInputs, index); });
        else
            unrefOperation(
                pa_context_get_sink_input_info(c, index, &PulseContext::onSinkInputInfo, self));
        break;
    case PA_SUBSCRIPTION_EVENT_SERVER:
        unrefOperation(pa_context_get_server_info(c, &PulseContext::onServerInfo, self));
        break;
    default:
        break;
    }
}

void PulseContext::onSourceInfo(pa_context* c, const pa_source_info* info, int eol,
                                void* userdata) {
    auto* self = static_cast<PulseContext*>(userdata);
    if (c != self->m_context || eol != 0 || !info)
        return;
    PulseSourceInfo source;
    source.index = info->index;
    source.name = QByteArray(info->name ? info->name : "");
    source.description = utf8(info->description);
    source.sampleSpec = info->sample_spec;
    source.channelMap = info->channel_map;
    source.monitorOfSink = info->monitor_of_sink;
    source.driver = QByteArray(info->driver ? info->driver : "");
    source.properties = propertiesOf(info->proplist);
    self->editSnapshot(PulseChange::sources, [&source](PulseSnapshot& s) {
        upsertByIndex(s.sources, std::move(source));
    });
}

void PulseContext::onSinkInfo(pa_context* c, const pa_sink_info* info, int eol, void* userdata) {
    auto* self = static_cast<PulseContext*>(userdata);
    if (c != self->m_context || eol != 0 || !info)
        return;
    PulseSinkInfo sink;
    sink.index = info->index;
    sink.name = QByteArray(info->name ? info->name : "");
    sink.description = utf8(info->description);
    sink.monitorSourceName = QByteArray(info->monitor_source_name ? info->monitor_source_name : "");
    sink.sampleSpec = info->sample_spec;
    sink.channelMap = info->channel_map;
    self->editSnapshot(PulseChange::sinks,
                       [&sink](PulseSnapshot& s) { upsertByIndex(s.sinks, std::move(sink)); });
}

void PulseContext::onSinkInputInfo(pa_context* c, const pa_sink_input_info* info, int eol,
                                   void* userdata) {
    auto* self = static_cast<PulseContext*>(userdata);
    if (c != self->m_context || eol != 0 || !info)
        return;
    PulseSinkInputInfo input;
    input.index = info->index;
    input.sink = info->sink;
    const auto properties = propertiesOf(info->proplist);
    input.processBinary =
        QString::fromUtf8(properties.value(QByteArray(PA_PROP_APPLICATION_PROCESS_BINARY)));
    input.applicationName =
        QString::fromUtf8(properties.value(QByteArray(PA_PROP_APPLICATION_NAME)));
    input.processId = properties.value(QByteArray(PA_PROP_APPLICATION_PROCESS_ID)).toLongLong();
    self->editSnapshot(PulseChange::sinkInputs, [&input](PulseSnapshot& s) {
        upsertByIndex(s.sinkInputs, std::move(input));
    });
}

void PulseContext::onServerInfo(pa_context* c, const pa_server_info* info, void* userdata) {
    auto* self = static_cast<PulseContext*>(userdata);
    if (c != self->m_context || !info)
        return;
    self->editSnapshot(PulseChange::defaults, [info](PulseSnapshot& s) {
        s.defaultSourceName =
            QByteArray(info->default_source_name ? info->default_source_name : "");
        s.defaultSinkName = QByteArray(info->default_sink_name ? info->default_sink_name : "");
    });
}

} // namespace vesnara
