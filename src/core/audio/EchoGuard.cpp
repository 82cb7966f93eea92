#include "audio/EchoGuard.h"

#include <QtEndian>

#include <speex/speex_echo.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

namespace vesnara {

namespace {

constexpr int kSampleRate = 16000;
// A gap in the reference up to this long is filled with silence, a longer one starts it again.
constexpr qint64 kLongestFilledGap = kSampleRate;
// The reference kept: the delay search looks up to 2.8 s back, and the microphone may lag.
constexpr qsizetype kMostReferenceKept = 4 * kSampleRate;
// The delay is measured on 5 ms envelopes over the last 2 s of microphone audio, every 0.5 s.
constexpr qsizetype kEnvelopeBlock = 80;
constexpr qsizetype kDelayWindow = 2 * kSampleRate;
constexpr qsizetype kShortestDelayWindow = kSampleRate / 2;
constexpr qint64 kRealignEvery = kSampleRate / 4;
// How alike the envelopes must be at the best delay for it to count: the echo alone gives
// about 0.9, echo under a local voice less; unrelated speech stays under 0.3. From
// kSureDelay on, one measurement is enough to move the reference, else two must agree.
constexpr double kDelayConfidence = 0.5;
constexpr double kSureDelay = 0.8;

qint64 arrivalPosition(qint64 arrivalUs) {
    return arrivalUs * kSampleRate / 1'000'000;
}

void appendSamples(std::deque<qint16>& to, const QByteArray& pcm) {
    const char* data = pcm.constData();
    const qsizetype count = pcm.size() / 2;
    for (qsizetype i = 0; i < count; ++i)
        to.push_back(qFromLittleEndian<qint16>(data + 2 * i));
}

/// The mean absolute sample of each block of `count` samples from `begin` of `samples`, whose
/// first sample sits at `first`; a block outside them is 0.
std::vector<double> envelope(const std::deque<qint16>& samples, qint64 first, qint64 begin,
                             qsizetype blocks) {
    std::vector<double> out(static_cast<std::size_t>(blocks), 0.0);
    const auto size = static_cast<qint64>(samples.size());
    for (qsizetype b = 0; b < blocks; ++b) {
        const qint64 from = std::max<qint64>(begin + b * kEnvelopeBlock - first, 0);
        const qint64 to = std::min<qint64>(begin + (b + 1) * kEnvelopeBlock - first, size);
        double sum = 0.0;
        for (qint64 i = from; i < to; ++i)
            sum += std::abs(samples[static_cast<std::size_t>(i)]);
        out[static_cast<std::size_t>(b)] = sum / kEnvelopeBlock;
    }
    // Less its 100 ms moving average: what is left are the syllables, not whether someone
    // speaks at all, which two unrelated voices have in common.
    constexpr qsizetype kHalfSpan = 10;
    std::vector<double> detail(out.size(), 0.0);
    for (qsizetype b = 0; b < blocks; ++b) {
        const qsizetype from = std::max<qsizetype>(b - kHalfSpan, 0);
        const qsizetype to = std::min<qsizetype>(b + kHalfSpan + 1, blocks);
        double mean = 0.0;
        for (qsizetype i = from; i < to; ++i)
            mean += out[static_cast<std::size_t>(i)];
        mean /= static_cast<double>(to - from);
        detail[static_cast<std::size_t>(b)] = out[static_cast<std::size_t>(b)] - mean;
    }
    return detail;
}

} // namespace

bool EchoGuardTuning::isValid() const {
    return frameSamples > 0 && filterSamples >= 2 * frameSamples && targetTapSamples >= 0 &&
           targetTapSamples < filterSamples && maxHoldSamples >= 0 && gapSamples > 0 &&
           maxDelaySamples >= 0;
}

EchoGuard::EchoGuard(const EchoGuardTuning& tuning)
    : m_tuning(tuning)
    // Until the delay is measured, the reference runs 20 ms ahead of the microphone's clock, so
    // an echo that comes a little before its reference still falls inside the filter.
    , m_lead(-kEnvelopeBlock * 4) {
    if (!m_tuning.isValid())
        return;
    m_state = speex_echo_state_init(m_tuning.frameSamples, m_tuning.filterSamples);
    if (!m_state)
        return;
    int rate = kSampleRate;
    speex_echo_ctl(m_state, SPEEX_ECHO_SET_SAMPLING_RATE, &rate);
}

EchoGuard::~EchoGuard() {
    if (m_state)
        speex_echo_state_destroy(m_state);
}

qint64 EchoGuard::place(qint64& next, bool& started, qint64 count, qint64 arrivalUs) const {
    const qint64 natural = arrivalPosition(arrivalUs) - count;
    if (started && std::abs(natural - next) <= m_tuning.gapSamples) {
        // Jitter: the stream goes on sample by sample.
        next += count;
        return 0;
    }
    const qint64 gap = started ? natural - next : -1;
    started = true;
    next = natural + count;
    return gap;
}

QList<QByteArray> EchoGuard::pushFarEnd(const QByteArray& pcm, qint64 arrivalUs) {
    if (!m_state)
        return {};
    const qsizetype count = pcm.size() / 2;
    const qint64 gap = place(m_farNext, m_farStarted, count, arrivalUs);
    if (gap < 0 || gap > kLongestFilledGap)
        m_far.clear();
    else
        m_far.insert(m_far.end(), static_cast<std::size_t>(gap), 0);
    appendSamples(m_far, pcm);
    while (static_cast<qsizetype>(m_far.size()) > kMostReferenceKept)
        m_far.pop_front();
    m_lastFarArrival = arrivalPosition(arrivalUs);
    m_latestArrival = std::max(m_latestArrival, m_lastFarArrival);
    return process(false);
}

QList<QByteArray> EchoGuard::pushNearEnd(const QByteArray& pcm, qint64 arrivalUs) {
    if (!m_state)
        return {pcm};
    const qsizetype count = pcm.size() / 2;
    if (count == 0)
        return {};
    // Held audio moves with the clock: it is what came before the next sample.
    place(m_nearNext, m_nearStarted, count, arrivalUs);
    appendSamples(m_held, pcm.left(2 * count));
    m_frameSizes.push_back(count);
    m_latestArrival = std::max(m_latestArrival, arrivalPosition(arrivalUs));
    return process(false);
}

QList<QByteArray> EchoGuard::drain() {
    if (!m_state)
        return {};
    return process(true);
}

bool EchoGuard::referenceReady(qint64 nearPosition) const {
    const qint64 end = nearPosition - m_lead + m_tuning.frameSamples;
    if (m_farNext >= end)
        return true;
    const bool waitedLongEnough =
        m_latestArrival - (nearPosition + m_tuning.frameSamples) > m_tuning.maxHoldSamples;
    const bool referenceStopped = m_latestArrival - m_lastFarArrival > m_tuning.maxHoldSamples;
    return waitedLongEnough || referenceStopped;
}

QList<QByteArray> EchoGuard::process(bool all) {
    const qsizetype step = m_tuning.frameSamples;
    while (!m_held.empty()) {
        const auto held = static_cast<qsizetype>(m_held.size());
        if (held < step && !all)
            break;
        if (!all && !referenceReady(m_nearNext - held))
            break;
        cleanStep(std::min(held, step));
    }
    return takeFinishedFrames(all);
}

void EchoGuard::cleanStep(qsizetype count) {
    const qsizetype step = m_tuning.frameSamples;
    std::vector<spx_int16_t> near(static_cast<std::size_t>(step), 0);
    std::vector<spx_int16_t> far(static_cast<std::size_t>(step), 0);
    std::vector<spx_int16_t> out(static_cast<std::size_t>(step), 0);
    std::copy_n(m_held.begin(), count, near.begin());
    m_nearRaw.insert(m_nearRaw.end(), m_held.begin(), m_held.begin() + count);
    while (static_cast<qsizetype>(m_nearRaw.size()) > kDelayWindow)
        m_nearRaw.pop_front();

    const qint64 nearPosition = m_nearNext - static_cast<qint64>(m_held.size());
    const qint64 referenceStart = nearPosition - m_lead;
    const qint64 farStart = m_farNext - static_cast<qint64>(m_far.size());
    for (qsizetype i = 0; i < step; ++i) {
        const qint64 at = referenceStart + i - farStart;
        if (at >= 0 && at < static_cast<qint64>(m_far.size()))
            far[static_cast<std::size_t>(i)] = m_far[static_cast<std::size_t>(at)];
    }
    speex_echo_cancellation(m_state, near.data(), far.data(), out.data());

    m_cleaned.insert(m_cleaned.end(), out.begin(), out.begin() + count);
    m_held.erase(m_held.begin(), m_held.begin() + count);
    m_sinceRealign += count;
    if (m_sinceRealign >= kRealignEvery) {
        m_sinceRealign = 0;
        realign();
    }
}

void EchoGuard::realign() {
    const auto window = static_cast<qsizetype>(m_nearRaw.size()) / kEnvelopeBlock;
    if (window * kEnvelopeBlock < kShortestDelayWindow)
        return;
    // The microphone's envelope over its last `window` blocks; the reference's over the same
    // stretch widened by the largest delay on both sides.
    const qint64 nearEnd = m_nearNext - static_cast<qint64>(m_held.size());
    const qint64 nearBegin = nearEnd - window * kEnvelopeBlock;
    const qint64 nearFirst = nearEnd - static_cast<qint64>(m_nearRaw.size());
    const std::vector<double> near = envelope(m_nearRaw, nearFirst, nearBegin, window);
    const qsizetype lags = m_tuning.maxDelaySamples / kEnvelopeBlock;
    const qint64 farFirst = m_farNext - static_cast<qint64>(m_far.size());
    const std::vector<double> far =
        envelope(m_far, farFirst, nearBegin - lags * kEnvelopeBlock, window + 2 * lags);

    const auto n = static_cast<double>(window);
    double nearMean = 0.0;
    for (const double v : near)
        nearMean += v / n;
    double nearPower = 0.0;
    for (const double v : near)
        nearPower += (v - nearMean) * (v - nearMean);
    if (nearPower <= 0.0)
        return;

    double best = kDelayConfidence;
    std::optional<qsizetype> bestDelay;
    // A delay of d blocks pairs microphone block k with reference block k - d.
    for (qsizetype d = -lags; d <= lags; ++d) {
        const std::size_t offset = static_cast<std::size_t>(lags - d);
        double farMean = 0.0;
        for (qsizetype k = 0; k < window; ++k)
            farMean += far[offset + static_cast<std::size_t>(k)] / n;
        double cross = 0.0, farPower = 0.0;
        for (qsizetype k = 0; k < window; ++k) {
            const double f = far[offset + static_cast<std::size_t>(k)] - farMean;
            cross += (near[static_cast<std::size_t>(k)] - nearMean) * f;
            farPower += f * f;
        }
        if (farPower <= 0.0)
            continue;
        const double correlation = cross / std::sqrt(nearPower * farPower);
        if (correlation > best) {
            best = correlation;
            bestDelay = d;
        }
    }
    // Unless sure, two measurements in a row must agree within 10 ms before the reference moves.
    const std::optional<qint64> previous = std::exchange(m_lastDelay, std::nullopt);
    if (!bestDelay)
        return;
    const qint64 delay = *bestDelay * kEnvelopeBlock;
    const qint64 tap = delay - m_lead;
    // The filter has the echo where it adapts fastest, early, with the tail inside, and where
    // it adapted to it: a path that moved (a dropout in either stream) must be learnt afresh.
    const bool early = tap >= kEnvelopeBlock && tap <= m_tuning.targetTapSamples + 720;
    const bool moved = m_settledTap && std::abs(tap - *m_settledTap) > 2 * kEnvelopeBlock;
    if (early && !moved) {
        if (!m_settledTap)
            m_settledTap = tap;
        return;
    }
    m_lastDelay = delay;
    const bool confirmed = previous && std::abs(*previous - delay) <= 2 * kEnvelopeBlock;
    if (best < kSureDelay && !confirmed)
        return;
    m_lastDelay.reset();
    m_lead = delay - m_tuning.targetTapSamples;
    m_settledTap = m_tuning.targetTapSamples;
    ++m_realignments;
    speex_echo_state_reset(m_state);
}

QList<QByteArray> EchoGuard::takeFinishedFrames(bool all) {
    QList<QByteArray> frames;
    while (!m_frameSizes.empty()) {
        const qsizetype size =
            std::min(m_frameSizes.front(), static_cast<qsizetype>(m_cleaned.size()));
        if (size < m_frameSizes.front() && !(all && size > 0))
            break;
        QByteArray frame(2 * size, Qt::Uninitialized);
        for (qsizetype i = 0; i < size; ++i)
            qToLittleEndian(m_cleaned[static_cast<std::size_t>(i)], frame.data() + 2 * i);
        m_cleaned.erase(m_cleaned.begin(), m_cleaned.begin() + size);
        m_frameSizes.pop_front();
        frames.append(frame);
    }
    return frames;
}

} // namespace vesnara
