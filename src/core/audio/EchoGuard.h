#pragma once

#include <QByteArray>
#include <QList>

#include <deque>
#include <limits>
#include <memory>
#include <optional>

struct SpeexEchoState_;

namespace vesnara {

/// How the echo guard works; the defaults suit 16 kHz speech through laptop speakers.
struct EchoGuardTuning {
    /// The canceller's step: 10 ms.
    int frameSamples = 160;
    /// The echo tail the adaptive filter covers: 160 ms. Longer filters adapt more slowly.
    int filterSamples = 2560;
    /// Where in the filter the bulk delay puts the echo's start: 15 ms, room for an echo that
    /// comes a little earlier than measured. The filter adapts fastest at its start.
    int targetTapSamples = 240;
    /// How long microphone audio waits for the reference that covers it before it is cleaned
    /// against what there is (silence for the rest): 500 ms.
    int maxHoldSamples = 8000;
    /// An arrival off the stream's clock by more than this is a gap or a restart of the source,
    /// not jitter: 500 ms.
    int gapSamples = 8000;
    /// The bulk delay is looked for within ± this: 800 ms.
    int maxDelaySamples = 12800;

    bool isValid() const;
};

/// Removes the system audio's echo from the microphone signal, before the two are mixed.
///
/// Far-end frames (the captured system audio) and near-end frames (the microphone), both 16 kHz
/// PCM16 mono, come in with their arrival time on one monotonic clock. Each stream is laid on a
/// timeline by its first frame's arrival; later frames continue it sample by sample, so
/// arrival jitter never moves the alignment, unless a frame is off the clock by more than
/// `gapSamples` (a source that paused or restarted: the reference's gap is filled with
/// silence, the clock set again). The bulk delay between microphone and reference (the
/// acoustic path plus whatever the two capture paths and first arrivals add) is measured
/// every quarter second by cross-correlating the two signals' 5 ms envelopes (less their
/// 100 ms trend); when a clear measurement, or two in a row, put the echo outside the filter's
/// first 60 ms or more than 10 ms from where the filter learnt it (a dropout in either stream
/// moves it), the reference is shifted so the echo starts `targetTapSamples`
/// in and the filter starts over. Microphone audio is cleaned 10 ms at a time by a linear
/// adaptive filter (speexdsp's multi-delay block filter, without its residual-echo suppressor,
/// so a local voice speaking over the remote one keeps its level). Microphone audio whose
/// reference has not arrived yet is held, at most `maxHoldSamples`, or not at all while the
/// reference has been silent that long (a source that stopped).
///
/// Cleaned audio goes out in frames of the sizes that came in, in order. Not thread-safe: one
/// thread at a time.
class EchoGuard {
public:
    explicit EchoGuard(const EchoGuardTuning& tuning = {});
    ~EchoGuard();
    EchoGuard(const EchoGuard&) = delete;
    EchoGuard& operator=(const EchoGuard&) = delete;

    /// False when the canceller could not start (an invalid tuning, or no memory): then
    /// near-end frames come back as they are and far-end frames are ignored.
    bool isActive() const { return m_state != nullptr; }

    /// Takes a frame of system audio that arrived at `arrivalUs`; gives the microphone frames
    /// it completed.
    QList<QByteArray> pushFarEnd(const QByteArray& pcm, qint64 arrivalUs);
    /// Takes a microphone frame that arrived at `arrivalUs`; gives the cleaned frames that are
    /// ready.
    QList<QByteArray> pushNearEnd(const QByteArray& pcm, qint64 arrivalUs);
    /// Cleans everything held against the reference there is and gives it out, a last partial
    /// step included.
    QList<QByteArray> drain();

    /// How often the measured delay moved the reference.
    int realignments() const { return m_realignments; }

private:
    using Samples = std::deque<qint16>;

    /// Lays `count` samples that arrived at `arrivalUs` on a stream whose next sample is due
    /// at `next`; gives how many samples of silence go before them (0 unless a short gap), or
    /// -1 when the stream starts again (a first frame or a long gap).
    qint64 place(qint64& next, bool& started, qint64 count, qint64 arrivalUs) const;
    bool referenceReady(qint64 nearPosition) const;
    /// Measures the bulk delay on the recent microphone audio and shifts the reference when
    /// the echo would fall outside the filter.
    void realign();
    QList<QByteArray> process(bool all);
    void cleanStep(qsizetype count);
    QList<QByteArray> takeFinishedFrames(bool all);

    EchoGuardTuning m_tuning;
    SpeexEchoState_* m_state = nullptr;

    // The far end: the samples before timeline position m_farNext, where the next arrives.
    // Positions count 16 kHz samples of the arrival clock.
    Samples m_far;
    qint64 m_farNext = 0;
    bool m_farStarted = false;
    qint64 m_lastFarArrival = std::numeric_limits<qint64>::min() / 2;

    // The near end waiting to be cleaned, from timeline position m_nearNext - m_held.size().
    Samples m_held;
    qint64 m_nearNext = 0;
    bool m_nearStarted = false;
    qint64 m_latestArrival = 0;

    // The raw microphone audio already cleaned, the last 2 s, ending at m_nearNext less what
    // is held; and how the reference is shifted: the reference for microphone position p is
    // at p - m_lead.
    Samples m_nearRaw;
    qint64 m_lead = 0;
    qint64 m_sinceRealign = 0;
    std::optional<qint64> m_lastDelay;
    // Where in the filter the echo was when it was last placed or first found in place.
    std::optional<qint64> m_settledTap;
    int m_realignments = 0;

    // Cleaned samples waiting to fill the frame sizes that came in.
    Samples m_cleaned;
    std::deque<qsizetype> m_frameSizes;
};

} // namespace vesnara
