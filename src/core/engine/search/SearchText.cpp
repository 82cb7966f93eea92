#include "engine/search/SearchText.h"

#include <QChar>

#include <array>
#include <cstring>
#include <memory>

namespace vesnara {

namespace {

bool isMark(char32_t c) {
    switch (QChar::category(c)) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_SpacingCombining:
    case QChar::Mark_Enclosing:
        return true;
    default:
        return false;
    }
}

QString withoutMarks(const QString& text) {
    QString kept;
    kept.reserve(text.size());
    for (const char32_t c : text.toUcs4()) {
        if (!isMark(c))
            kept.append(QChar::fromUcs4(c));
    }
    return kept;
}

/// The slow, complete rule. Folding the case can bring back a decomposable character
/// (U+0130 folds to "i" + a dot above), hence the second decomposition.
QByteArray foldSlowly(QStringView text) {
    const QString once =
        withoutMarks(text.toString().normalized(QString::NormalizationForm_KD)).toCaseFolded();
    return withoutMarks(once.normalized(QString::NormalizationForm_KD)).toUtf8();
}

/// Every UTF-16 unit outside the surrogates, folded once: a transcript of an hour is folded
/// in well under a millisecond instead of normalising it piece by piece.
class FoldTable {
public:
    FoldTable() {
        for (char32_t c = 0x80; c < 0x10000; ++c) {
            if (QChar::isSurrogate(c))
                continue;
            const char16_t unit = static_cast<char16_t>(c);
            m_folded[c] = foldSlowly(QStringView(&unit, 1));
        }
        // Qt folds one character to one; the sharp s is the full folding a user will expect.
        m_folded[0x00DF] = m_folded[0x1E9E] = "ss";
    }
    const QByteArray& operator[](char16_t unit) const { return m_folded[unit]; }

private:
    std::array<QByteArray, 0x10000> m_folded;
};

const FoldTable& foldTable() {
    static const auto table = std::make_unique<FoldTable>();
    return *table;
}

bool isAsciiBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

} // namespace

QByteArray SearchText::fold(QStringView text) {
    QByteArray folded;
    folded.reserve(text.size());
    const FoldTable* table = nullptr;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text.at(i).unicode();
        if (unit < 0x80) {
            folded.append(static_cast<char>(unit >= u'A' && unit <= u'Z' ? unit + 32 : unit));
            continue;
        }
        if (QChar::isHighSurrogate(unit) && i + 1 < text.size() &&
            QChar::isLowSurrogate(text.at(i + 1).unicode())) {
            folded.append(foldSlowly(text.sliced(i, 2)));
            ++i;
            continue;
        }
        if (QChar::isSurrogate(unit))
            continue; // a lone half of a pair is no character
        if (!table)
            table = &foldTable();
        folded.append((*table)[unit]);
    }
    return folded;
}

SearchQuery::SearchQuery(QStringView text) {
    const QByteArray folded = SearchText::fold(text);
    qsizetype start = -1;
    for (qsizetype i = 0; i <= folded.size(); ++i) {
        const bool blank = i == folded.size() || isAsciiBlank(folded.at(i));
        if (!blank && start < 0)
            start = i;
        else if (blank && start >= 0) {
            m_words.append(folded.sliced(start, i - start));
            start = -1;
        }
    }
}

bool SearchQuery::matchesFolded(QByteArrayView folded) const {
    for (const QByteArray& word : m_words) {
        if (!memmem(folded.data(), static_cast<size_t>(folded.size()), word.constData(),
                    static_cast<size_t>(word.size())))
            return false;
    }
    return true;
}

bool SearchQuery::matches(QStringView text) const {
    return isBlank() || matchesFolded(SearchText::fold(text));
}

} // namespace vesnara
