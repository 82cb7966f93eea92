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

/// The process's one connection to the sound server: a libpulse threaded main loop and its
/// context, shared by every backend through `acquire()` and released with the last holder.
///
/// It keeps a snapshot of the sources, sinks, playback streams and defaults, kept current by
/// subscription events, so that a listing never waits on the server. A server that is absent
/// or dies is reported (`ensureConnected` gives an error, the snapshot empties), never waited
/// on without a limit; a later `ensureConnected` or `reconnectInBackground` connects afresh.
///
/// Callbacks of libpulse run on the loop's own thread with the loop lock held; nothing there
/// touches a QObject.
class PulseContext {
public:
    using Clock = std::chrono::steady_clock;

    /// The shared instance; made, started and given one bounded connection attempt when none
    /// exists. Never null, even when the server is absent.
    static std::shared_ptr<PulseContext> acquire();

    ~PulseContext();
    PulseContext(const PulseContext&) = delete;
    PulseContext& operator=(const PulseContext&) = delete;

    /// A copy of the current state. Never waits on the server or on the loop; any thread.
    PulseSnapshot snapshot() const;

    /// Waits at most `limit` for a connection whose first listing is complete, connecting anew
    /// when the previous one failed. Gives the reason when there is none (at once on the loop
    /// thread, which cannot wait for itself).
    std::optional<AudioBackendError> ensureConnected(std::chrono::milliseconds limit);

    /// Starts a new connection when the last one failed, at most once a second, without
    /// waiting. Does nothing on the loop thread.
    void reconnectInBackground();

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
    /// snapshot and after the connection is lost. Add and remove with the loop lock held.
    int addListenerLocked(std::function<void()> listener);
    void removeListenerLocked(int id);

    static AudioBackendError error(int paErrno);
    static AudioBackendError ownError(int code, const QString& description);

private:
    PulseContext();
    void startConnectionLocked();
    void dropContextLocked();
    void markDisconnectedLocked();
    void notifyListenersLocked();
    template <typename Edit> void editSnapshot(Edit edit);

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
    std::map<int, std::function<void()>> m_listeners;
    int m_nextListenerId = 1;

    mutable std::mutex m_snapshotMutex;
    PulseSnapshot m_snapshot;
};

} // namespace vesnara
