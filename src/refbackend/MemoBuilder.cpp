#include "refbackend/MemoBuilder.h"

#include "model/Timestamp.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

namespace {

const QString kMemoType = u"extractive"_s;
const QString kTitleFinnish = u"Muistio"_s;
const QString kTitleSwedish = u"Minnesanteckningar"_s;
const QString kTitleOther = u"Memo"_s;
const QString kNothingToSummarise = u"Ei tiivistettävää: puhtaaksikirjoituksessa ei ole tekstiä."_s;
const QString kBullet = u"• "_s;

constexpr int kMaxSummarySentences = 5;
// Confidence is words / (words + this): half at this many words, 0.83 at five times as many.
constexpr double kHalfConfidenceWords = 60.0;

const QSet<QString>& stopWords() {
    static const QSet<QString> words = [] {
        const QString all =
            // Finnish, including the fillers of spoken language.
            u"ja on ei se että oli kun mutta niin tai jos myös vain kuin ole olla ovat olen olet "
            u"olemme olette ollut olisi hän he me te minä sinä mä sä tämä tuo nämä ne joka jotka "
            u"mikä mitä miten siis sitten nyt jo vielä kyllä no eli sekä koska sillä siitä sen "
            u"sitä tässä siinä tähän siihen kanssa mukaan voi ihan vähän sit et en emme eivät "
            u"meidän teidän heidän minun sinun hänen niiden joo okei niinku tota noh tuota "
            u"vaan kaikki jotain jotenkin kai pitää"
            // English.
            u" the a an and or but if of to in on at for with is are was were be been it this "
            u"that these those i you he she we they me him her us them my your our their its do "
            u"does did have has had not no so as by from about just then there here what which "
            u"who will would can could should yes yeah ok okay um uh all also very really some "
            u"any more than too up out into over get got like well"
            // Swedish.
            u" och att det som ett är var på med för den till av om inte har jag du han hon vi "
            u"ni de men så eller kan ska nu här där vad hur också bara ja nej"_s;
        const QStringList list = all.split(u' ', Qt::SkipEmptyParts);
        return QSet<QString>(list.cbegin(), list.cend());
    }();
    return words;
}

QStringList wordsOf(const QString& text) {
    static const QRegularExpression word(uR"([\p{L}\p{N}]+(?:['’-][\p{L}\p{N}]+)*)"_s);
    QStringList words;
    for (auto it = word.globalMatch(text); it.hasNext();)
        words.append(it.next().captured().toLower());
    return words;
}

QStringList contentWordsOf(const QString& text) {
    QStringList words = wordsOf(text);
    words.removeIf([](const QString& w) { return w.size() < 2 || stopWords().contains(w); });
    return words;
}

QStringList sentencesOf(const QString& text) {
    static const QRegularExpression boundary(uR"((?<=[.!?…])\s+)"_s);
    return text.split(boundary, Qt::SkipEmptyParts);
}

QString titleFor(const QString& language, const QList<MemoLine>& lines) {
    const QString primary = language.section(QRegularExpression(u"[-_]"_s), 0, 0).toLower();
    QString title = primary == u"fi"_s   ? kTitleFinnish
                    : primary == u"sv"_s ? kTitleSwedish
                                         : kTitleOther;
    for (const MemoLine& line : lines) {
        const auto ts = Timestamp::parseIso8601(line.ts);
        if (!ts)
            continue;
        const QDate date = ts->toDateTime().toLocalTime().date();
        title += u' ' + date.toString(primary == u"fi"_s ? u"d.M.yyyy"_s : u"yyyy-MM-dd"_s);
        break;
    }
    return title;
}

QString summaryOf(const QStringList& sentences) {
    QHash<QString, int> frequency;
    for (const QString& sentence : sentences)
        for (const QString& word : contentWordsOf(sentence))
            ++frequency[word];

    struct Scored {
        qsizetype index;
        int score;
    };
    QList<Scored> candidates;
    QSet<QString> seen;
    for (qsizetype i = 0; i < sentences.size(); ++i) {
        if (seen.contains(sentences[i].toCaseFolded()))
            continue;
        seen.insert(sentences[i].toCaseFolded());
        const QStringList words = contentWordsOf(sentences[i]);
        const QSet<QString> distinct(words.cbegin(), words.cend());
        int score = 0;
        for (const QString& word : distinct)
            score += frequency.value(word);
        candidates.append({i, score});
    }

    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Scored& a, const Scored& b) { return a.score > b.score; });
    const qsizetype wanted =
        std::clamp<qsizetype>((sentences.size() + 3) / 4, 1, kMaxSummarySentences);
    QList<qsizetype> chosen;
    for (const Scored& c : candidates) {
        if (chosen.size() == wanted)
            break;
        // A sentence of stop words only says nothing, unless nothing else is there.
        if (c.score > 0 || chosen.isEmpty())
            chosen.append(c.index);
    }
    std::sort(chosen.begin(), chosen.end());

    QStringList bullets;
    for (qsizetype index : chosen)
        bullets.append(kBullet + sentences[index]);
    return bullets.join(u'\n');
}

} // namespace

Memo buildExtractiveMemo(const QList<MemoLine>& lines, const QString& language) {
    Memo memo;
    memo.memoType = kMemoType;
    memo.title = titleFor(language, lines);

    QStringList transcript;
    QStringList sentences;
    qsizetype wordCount = 0;
    for (const MemoLine& line : lines) {
        // Collapsed so that a line break inside a line cannot split it in the transcript.
        const QString text = line.text.simplified();
        if (text.isEmpty())
            continue;
        const QString label = line.speakerLabel.value_or(QString()).simplified();
        const QString shown = label.isEmpty() ? text : label + u": "_s + text;
        if (!transcript.isEmpty() && transcript.constLast() == shown)
            continue;
        transcript.append(shown);
        sentences.append(sentencesOf(text));
        wordCount += wordsOf(text).size();
    }

    if (transcript.isEmpty()) {
        memo.summary = kNothingToSummarise;
        return memo;
    }
    memo.cleanTranscript = transcript.join(u'\n');
    memo.summary = summaryOf(sentences);
    const double words = double(wordCount);
    memo.confidence = std::round(words / (words + kHalfConfidenceWords) * 100.0) / 100.0;
    return memo;
}

} // namespace vesnara::refbackend
