#pragma once

#include "audio/AudioStreamDescription.h"

#include <QByteArrayView>

#include <span>

namespace vesnara {

/// One buffer of captured audio as a backend hands it to a callback, without copying.
///
/// The view and the bytes it points at are valid only for the duration of the callback that
/// receives it; whoever needs the audio later converts or copies it there.
struct AudioBufferView {
    AudioStreamDescription format;
    /// Frames in the buffer (a frame holds one sample of every channel).
    qsizetype frameCount = 0;
    /// Interleaved: one entry holding `frameCount` x channels samples. Planar: one entry per
    /// channel holding `frameCount` samples. An entry may be a null view (no data pointer).
    std::span<const QByteArrayView> buffers;
    /// False for a buffer the backend received but cannot read (a hole in a PulseAudio stream):
    /// it still counts as received, and is then dropped.
    bool isDataReady = true;
};

} // namespace vesnara
