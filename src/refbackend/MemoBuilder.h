#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace vesnara::refbackend {

/// One final line of a session's transcript, as the memo builder takes it.
struct MemoLine {
    QString text;
    /// ISO 8601 time of the line; the first one that can be read dates the memo.
    QString ts;
    std::optional<QString> speakerLabel;
};

/// A memo of a transcript, as delivered in JSON and in the DOCX file.
struct Memo {
    /// How the memo was made; "extractive" here: every summary line is a sentence of the
    /// transcript, nothing is reworded.
    QString memoType;
    /// 0…1: how much text the memo had to work with (no text gives 0, a few hundred words
    /// approach 1). It says nothing about whether the chosen sentences are the right ones.
    double confidence = 0.0;
    /// "Muistio 4.3.2026", "Minnesanteckningar 2026-03-04", "Memo 2026-03-04"; without a date
    /// when no line has a readable time.
    QString title;
    /// Bullet lines ("• …") separated by "\n"; a Finnish note when there was nothing to summarise.
    QString summary;
    /// The transcript one line each ("Puhuja: teksti" when a line has a speaker), separated by
    /// "\n": white space collapsed (line breaks inside a line included), empty lines and
    /// consecutive exact repeats (same speaker, same text) dropped.
    QString cleanTranscript;
};

/// Builds an extractive memo: the transcript cleaned up, and a summary of its most informative
/// sentences in their original order.
///
/// A sentence's score is the sum, over the distinct words in it that are not stop words
/// (Finnish, English and Swedish), of how often that word occurs in the whole transcript: a
/// sentence scores high when it carries the words the conversation keeps coming back to. About
/// a quarter of the sentences are kept, at least one and at most five; ties go to the earlier
/// sentence, repeated sentences are kept once. `language` (a BCP 47 tag such as "fi-FI") only
/// chooses the title; the date is the first readable line time's date in the local time zone.
Memo buildExtractiveMemo(const QList<MemoLine>& lines, const QString& language);

} // namespace vesnara::refbackend
