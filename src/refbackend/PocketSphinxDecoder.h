#pragma once

#include <QString>
#include <QtGlobal>

#include <memory>
#include <span>

struct ps_decoder_s;

namespace vesnara::refbackend {

/// One pocketsphinx decoder with a US-English acoustic model, language model and dictionary,
/// fed 16 kHz mono signed 16-bit samples. Not thread-safe: one thread drives one decoder.
///
/// A model directory holds `en-us/` (the acoustic model), `en-us.lm.bin` and
/// `cmudict-en-us.dict`, as Debian's model package installs them.
class PocketSphinxDecoder {
public:
    static constexpr int kSampleRate = 16000;

    /// Where the Debian package puts the model.
    static QString defaultModelDirectory();
    /// The first file or directory of the model that is missing under `modelDirectory`, as a
    /// full path; empty when all are present.
    static QString missingModelPath(const QString& modelDirectory);
    /// A decoder with its first utterance started, or null with `error` saying why. The decoder
    /// library ends the whole process on some broken model files: `probe` first when the files
    /// are not known to load.
    static std::unique_ptr<PocketSphinxDecoder>
    create(const QString& modelDirectory, QString* error, const QString& logFile = QString());
    /// Loads the model once in a child process, so that a broken model ends only the child.
    /// Empty when it loads; otherwise what is missing or the decoder's own complaint.
    static QString probe(const QString& modelDirectory);

    ~PocketSphinxDecoder();
    PocketSphinxDecoder(const PocketSphinxDecoder&) = delete;
    PocketSphinxDecoder& operator=(const PocketSphinxDecoder&) = delete;

    /// Decodes the samples; false when the decoder failed.
    bool process(std::span<const qint16> samples);
    /// Whether the decoder's voice-activity detector heard speech in the last samples.
    bool inSpeech() const;
    /// The best hypothesis of the utterance so far, words separated by single spaces.
    QString hypothesis() const;
    /// Ends the utterance, returns its final hypothesis and starts the next one.
    QString finishUtterance();

private:
    explicit PocketSphinxDecoder(ps_decoder_s* decoder);

    ps_decoder_s* m_decoder;
};

} // namespace vesnara::refbackend
