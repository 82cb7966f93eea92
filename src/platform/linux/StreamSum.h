#pragma once

#include <QtGlobal>

#include <cstdint>
#include <map>
#include <vector>

namespace vesnara {

/// Sums several interleaved float streams of one layout that arrive at their own pace (the
/// playback streams of one application). A block goes out when every input has data, or when
/// one input runs `maxLagFrames` ahead of a silent one (a paused stream sends nothing): the
/// silent ones then count as zeros.
class StreamSum {
public:
    StreamSum(int channels, qsizetype maxLagFrames);

    void addInput(uint32_t id);
    void removeInput(uint32_t id);
    bool isEmpty() const { return m_inputs.empty(); }

    /// Appends `frames` frames to input `id` (null `samples`: silence) and gives the summed
    /// frames that are now complete, or nothing.
    std::vector<float> push(uint32_t id, const float* samples, qsizetype frames);

private:
    int m_channels;
    qsizetype m_maxLagFrames;
    std::map<uint32_t, std::vector<float>> m_inputs;
};

} // namespace vesnara
