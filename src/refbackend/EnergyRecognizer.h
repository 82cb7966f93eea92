#pragma once

#include "model/Timestamp.h"
#include "refbackend/Recognizer.h"

#include <QtGlobal>

namespace vesnara::refbackend {

/// A voice-activity detector behind the recogniser interface. It reports where there was sound
/// loud enough to be speech and how long it lasted; it does not transcribe, and its texts say so.
///
/// Audio is measured in blocks of 100 ms (1,600 samples at 16 kHz). A block's level is its mean
/// absolute sample value / 32768, from 0 to 1 (the same scale as the client's meters). Speech
/// begins when the level stays at or above the threshold for `minSpeechMs`, from the first loud
/// block; it ends after `hangoverMs` below it, at the end of the last loud block. Time is counted
/// in samples received, never wall clock, so the same audio gives the same events however it is
/// cut into chunks.
///
/// Events: `start` sends {"type":"status","state":"listening"}; while speech goes on, a partial
/// {"type":"partial","text":"Puhetta havaittu… 1,2 s"} at its onset and then at most once per
/// `partialIntervalMs` of audio, only while it is loud; when a segment ends (or `stop` cuts it
/// short) a final {"type":"final","text":"[Puhetta 2,4 s]","ts":…} whose `ts` is the session
/// start plus the segment's sample offset, in ISO 8601 UTC whole seconds.
class EnergyRecognizer final : public Recognizer {
public:
    struct Settings {
        /// Level (mean absolute value / 32768) at or above which a block counts as loud.
        double threshold = 0.02;
        /// Loud audio needed before a segment is reported; shorter bursts are ignored.
        int minSpeechMs = 200;
        /// Quiet audio that ends a segment; shorter pauses stay inside it.
        int hangoverMs = 600;
        /// Least audio between two partials of one segment.
        int partialIntervalMs = 500;
    };

    static constexpr int kSampleRate = 16000;
    static constexpr int kBlockSamples = kSampleRate / 10;

    EnergyRecognizer(Timestamp sessionStart, Settings settings);
    explicit EnergyRecognizer(Timestamp sessionStart)
        : EnergyRecognizer(sessionStart, Settings{}) {}

    /// Sends the listening status. The sample clock runs on across restarts of the stream, so a
    /// reconnection continues the same time line.
    void start(const QString& language, const QString& sttModel) override;
    /// Accepts any length; an odd trailing byte waits for the next chunk.
    void audio(QByteArrayView pcm) override;
    /// Measures the partly filled block, if any, and closes an open segment with its final.
    /// A loud burst still shorter than `minSpeechMs` is dropped, as it would be mid-stream.
    void stop() override;

private:
    void addSample(qint16 sample);
    void finishBlock();
    void closeSegment();

    Timestamp m_sessionStart;
    Settings m_settings;

    qint64 m_samples = 0;        // samples measured so far, the clock of every event
    qint64 m_blockSum = 0;       // sum of absolute values in the current block
    int m_blockFill = 0;         // samples in the current block
    int m_pendingByte = -1;      // low byte waiting for its high byte, or -1
    qint64 m_loudRunStart = -1;  // first sample of the current loud run, or -1
    qint64 m_quietRunStart = -1; // first sample of the current quiet run in a segment, or -1
    bool m_inSpeech = false;
    qint64 m_segmentStart = 0;   // first sample of the open segment
    qint64 m_segmentEnd = 0;     // end of its last loud block
    qint64 m_lastPartialAt = -1; // sample at which the last partial was sent, or -1
};

} // namespace vesnara::refbackend
