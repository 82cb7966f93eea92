#pragma once

#include "model/Timestamp.h"
#include "refbackend/Recognizer.h"

#include <QObject>

#include <memory>

namespace vesnara::refbackend {

/// Transcribes English speech with pocketsphinx on a thread of its own, so a slow decoder
/// delays only its own session, never the server's event loop.
///
/// The decoder's voice-activity detector cuts the audio into utterances. While one goes on, the
/// running hypothesis goes out as {"type":"partial","text":…} whenever it changed and at least
/// `kPartialIntervalMs` of audio has passed since the previous one; when the detector hears its
/// end (or `stop` cuts it short) the final hypothesis goes out as {"type":"final","text":…,"ts":…}
/// with the session start plus the utterance's sample offset. Utterances with no words give no
/// final. Time is counted in samples received, as in the other recognisers.
///
/// The decoder is loaded on the worker at the first audio; a model that cannot be loaded, or a
/// decoder that fails, is reported once as {"type":"error","message":…} saying why, and the
/// session's audio is then dropped.
class PocketSphinxRecognizer final : public Recognizer {
public:
    static constexpr int kPartialIntervalMs = 300;

    PocketSphinxRecognizer(Timestamp sessionStart, QString modelDirectory);
    /// Returns at once: audio not yet decoded is dropped, and the worker ends on its own after
    /// the step it is in (loading a model takes seconds), sending nothing more.
    ~PocketSphinxRecognizer() override;
    PocketSphinxRecognizer(const PocketSphinxRecognizer&) = delete;
    PocketSphinxRecognizer& operator=(const PocketSphinxRecognizer&) = delete;

    void start(const QString& language, const QString& sttModel) override;
    void audio(QByteArrayView pcm) override;
    void stop() override;

private:
    class Worker;

    /// Lives on the owner's thread; events the worker queued for it die with it.
    std::unique_ptr<QObject> m_ownerSide;
    std::shared_ptr<Worker> m_worker;
};

} // namespace vesnara::refbackend
