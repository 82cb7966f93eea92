#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringView>

namespace vesnara {

/// Text as a search compares it: compatibility-decomposed, without combining marks and case
/// folded, so that "ÄÄNITYS", "äänitys" and "aanitys" read the same. Kept as UTF-8: Finnish
/// text folds to nearly pure ASCII, half the size of UTF-16, and a byte search on UTF-8 finds
/// exactly the same places as a search on characters.
namespace SearchText {

QByteArray fold(QStringView text);

} // namespace SearchText

/// What the user typed into a search field: its words, folded. A text matches when it holds
/// every word somewhere (in any order, inside other words too); a query of blanks matches all.
class SearchQuery {
public:
    SearchQuery() = default;
    explicit SearchQuery(QStringView text);

    bool isBlank() const { return m_words.isEmpty(); }
    const QList<QByteArray>& words() const { return m_words; }

    /// `folded` is the `SearchText::fold` of the text.
    bool matchesFolded(QByteArrayView folded) const;
    bool matches(QStringView text) const;

    friend bool operator==(const SearchQuery&, const SearchQuery&) = default;

private:
    QList<QByteArray> m_words;
};

} // namespace vesnara
