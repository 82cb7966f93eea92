#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

namespace vesnara::test {

/// Word errors of a hypothesis against a reference: substitutions, deletions and insertions of
/// the cheapest alignment. Words compare case-insensitively, punctuation other than apostrophes
/// ignored.
struct WordErrors {
    int errors = 0;
    int referenceWords = 0;

    /// Errors per reference word, in percent (0 for an empty reference without errors).
    double ratePercent() const;
    WordErrors& operator+=(const WordErrors& other);
};

/// The words of a transcript as they are compared: lower case, split at whitespace and
/// punctuation, apostrophes kept inside words.
QStringList comparableWords(const QString& text);
WordErrors wordErrors(const QString& reference, const QString& hypothesis);

/// A recorded clip of read speech with its reference transcript.
struct SpeechClip {
    QString name;
    QString wavPath;
    QString reference;
};

/// Where the speech test data package keeps its clips.
QString librivoxDirectory();
/// The clips listed in `<directory>/transcription` whose WAV exists, in the file's order; empty
/// with `error` set when there are none.
QList<SpeechClip> speechClips(const QString& directory, QString* error);
/// The PCM of a 16-bit mono WAV (its `data` chunk), or empty when the file is not one.
QByteArray wavPcm16(const QString& path, int* sampleRate = nullptr);

} // namespace vesnara::test
