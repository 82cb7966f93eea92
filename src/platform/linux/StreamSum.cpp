#include "StreamSum.h"

#include <algorithm>

namespace vesnara {

StreamSum::StreamSum(int channels, qsizetype maxLagFrames)
    : m_channels(std::max(channels, 1))
    , m_maxLagFrames(maxLagFrames) {}

void StreamSum::addInput(uint32_t id) {
    m_inputs.try_emplace(id);
}

void StreamSum::removeInput(uint32_t id) {
    m_inputs.erase(id);
}

std::vector<float> StreamSum::push(uint32_t id, const float* samples, qsizetype frames) {
    const auto found = m_inputs.find(id);
    if (found == m_inputs.end() || frames <= 0)
        return {};
    auto& queue = found->second;
    const auto count = static_cast<size_t>(frames) * static_cast<size_t>(m_channels);
    if (samples)
        queue.insert(queue.end(), samples, samples + count);
    else
        queue.insert(queue.end(), count, 0.0f);

    size_t shortest = SIZE_MAX;
    size_t longest = 0;
    for (const auto& [inputId, samplesQueued] : m_inputs) {
        shortest = std::min(shortest, samplesQueued.size());
        longest = std::max(longest, samplesQueued.size());
    }
    const auto maxLag = static_cast<size_t>(m_maxLagFrames) * static_cast<size_t>(m_channels);
    const size_t ready = longest > maxLag ? longest : shortest;
    if (ready == 0)
        return {};

    std::vector<float> sum(ready, 0.0f);
    for (auto& [inputId, queued] : m_inputs) {
        const size_t take = std::min(ready, queued.size());
        for (size_t i = 0; i < take; ++i)
            sum[i] += queued[i];
        queued.erase(queued.begin(), queued.begin() + static_cast<std::ptrdiff_t>(take));
    }
    return sum;
}

} // namespace vesnara
