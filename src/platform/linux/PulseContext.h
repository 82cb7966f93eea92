#pragma once

#include "PulseSnapshot.h"
#include "audio/AudioBackendError.h"

#include <pulse/context.h>
#include <pulse/introspect.h>
#include <pulse/subscribe.h>
#include <pulse/thread-mainloop.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace vesnara {

/// What a change of the snapshot touched; listeners are given a combination of these bits.
namespace PulseChange {
constexpr unsigned sources = 1u << 0;
constexpr unsigned sinks = 1u << 1;
constexpr unsigned sinkInputs = 1u << 2;
/// The server's default source or sink.
constexpr unsigned defaults = 1u << 3;
/// Connected (the first listing complete), or the connection lost.
constexpr unsigned connection = 1u << 4;
} // namespace PulseChange

/// The process's one connection to the sound server: a libpulse threaded main loop and its
/// context, shared by every backend through `acquire()` and released with the last holder.
///
/// It keeps a snapshot of the sources, sinks, playback streams and defaults, kept current by
/// subscription events, so that a listing never waits on the server. Connecting never blocks the
/// caller: `acquire` and `ensureConnected` only start a connection and report how things stand;
/// only `waitUntilConnected`, meant for worker threads, waits, and always within a limit. A
/// server that is absent or dies is reported (the snapshot empties), never waited on without a
/// limit.
///
/// Callbacks of libpulse run on the loop's own thread with the loop lock held; nothing there
/// touches a QObject.
class PulseContext {
public:
    using Clock = std::chrono::steady_clock;

    /// The shared instance; made, started and set connecting when none exists. Never waits and
    /// never gives null, even when the server is absent.
    static std::shared_ptr<PulseContext> acquire();

    ~PulseContext();
    PulseContext(const PulseContext&) = delete;
    PulseContext& operator=(const PulseContext&) = delete;

    /// A copy of the current state. Never waits on the server or on the loop; any thread.
    PulseSnapshot snapshot() const;

    /// Never waits on the server: nothing when connected with the first listing complete, else
    /// the reason (still connecting, or the last failure), after starting a new connection when
    /// the last one failed (at most once a second). Any thread but the loop's, where it only
    /// reports.
    std::optional<AudioBackendError> ensureConnected();

    /// `ensureConnected`, then the state into `out` when still connected; the listings start here.
    std::optional<AudioBackendError> connectedSnapshot(PulseSnapshot& out);

    /// Waits at most `limit` for a connection whose first listing is complete, connecting anew
    /// when the last one failed; gives the reason when there is none. It waits on the server:
    /// for worker threads, never the main thread. At once on the loop thread, which cannot wait
    /// for itself.
    std::optional<AudioBackendError> waitUntilConnected(std::chrono::milliseconds limit);

    /// Holds the loop lock for a scope. Not on the loop thread (it already holds the lock there).
    class Lock {
    public:
        explicit Lock(PulseContext& context);
        ~Lock();
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        pa_threaded_mainloop* m_loop;
    };

    /// The context, or null when none is connected. Only with the loop lock held.
    pa_context* context() const { return m_context; }
    /// True while `context()` is READY. Only with the loop lock held.
    bool isReady() const;
    /// The error of the current context as an AudioBackendError. Only with the loop lock held.
    AudioBackendError contextError() const;

    /// With the loop lock held (not on the loop thread): waits until `done()` holds or `limit`
    /// passes, waking at every signal of a callback. Gives `done()`.
    bool waitLocked(const std::function<bool()>& done, std::chrono::milliseconds limit);
    /// Wakes `waitLocked`; from loop callbacks.
    void signal();

    /// `listener` runs on the loop thread, with the lock held, after every change of the
    /// snapshot, given what changed (`PulseChange` bits). While a connection's first listing is
    /// still arriving only its completion (`connection`) is told. Add and remove with the loop
    /// lock held.
    int addListenerLocked(std::function<void(unsigned changes)> listener);
    void removeListenerLocked(int id);

    static AudioBackendError error(int paErrno);
    static AudioBackendError ownError(int code, const QString& description);

private:
    PulseContext();
    void startConnectionLocked();
    std::optional<AudioBackendError> connectionErrorLocked() const;
    void dropContextLocked();
    void markDisconnectedLocked();
    void notifyListenersLocked(unsigned changes);
    template <typename Edit> void editSnapshot(unsigned changes, Edit edit);

    static void onStateChanged(pa_context* c, void* userdata);
    static void onSubscriptionEvent(pa_context* c, pa_subscription_event_type_t type,
                                    uint32_t index, void* userdata);
    static void onSourceInfo(pa_context* c, const pa_source_info* info, int eol, void* userdata);
    static void onSinkInfo(pa_context* c, const pa_sink_info* info, int eol, void* userdata);
    static void onSinkInputInfo(pa_context* c, const pa_sink_input_info* info, int eol,
                                void* userdata);
    static void onServerInfo(pa_context* c, const pa_server_info* info, void* userdata);
    void initialListArrivedLocked();

    pa_threaded_mainloop* m_loop = nullptr;
    pa_context* m_context = nullptr;
    int m_pendingInitialLists = 0;
    bool m_initialListsDone = false;
    std::optional<Clock::time_point> m_lastConnectAttempt;
    std::map<int, std::function<void(unsigned)>> m_listeners;
    int m_nextListenerId = 1;

    mutable std::mutex m_snapshotMutex;
    PulseSnapshot m_snapshot;
};

} // namespace vesnara
