#include "engine/search/SearchText.h"
#include "engine/search/SessionSearchIndex.h"
#include "storage/SessionHistoryStore.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

SavedSession session(const QString& id, double endedAt, QStringList lines) {
    SavedSession s;
    s.id = id;
    s.createdAt = Timestamp::fromSecondsSinceReferenceDate(endedAt - 60.0);
    s.endedAt = Timestamp::fromSecondsSinceReferenceDate(endedAt);
    s.language = u"fi-FI"_s;
    s.sttModel = u"chirp_3"_s;
    for (qsizetype i = 0; i < lines.size(); ++i)
        s.segments.append({QUuid::createUuid(), lines.at(i), s.createdAt.addingSeconds(i), {}});
    return s;
}

QStringList find(const SessionSearchIndex& index, const QString& query) {
    const QSet<QString> ids = index.matchingIds(SearchQuery(query));
    QStringList list(ids.cbegin(), ids.cend());
    list.sort();
    return list;
}

} // namespace

class SearchTextTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void foldsAwayCaseAndMarks_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("folded");
        QTest::newRow("finnish upper") << u"ÄÄNITYS"_s << "aanitys"_ba;
        QTest::newRow("finnish lower") << u"äänitys"_s << "aanitys"_ba;
        QTest::newRow("already plain") << u"aanitys"_s << "aanitys"_ba;
        QTest::newRow("swedish ring, ö") << u"Åbo Överby"_s << "abo overby"_ba;
        QTest::newRow("decomposed input") << u"a\u0308a\u0308nitys"_s << "aanitys"_ba;
        QTest::newRow("sharp s folds to ss") << u"Straße"_s << "strasse"_ba;
        QTest::newRow("dotted capital I") << u"\u0130stanbul"_s << "istanbul"_ba;
        QTest::newRow("compatibility forms") << u"\uFB01le \u2460"_s << "file 1"_ba;
        QTest::newRow("no-break space") << u"a\u00A0b"_s << "a b"_ba;
        QTest::newRow("greek keeps its letters") << u"ΣΟΦΊΑ"_s << u"σοφια"_s.toUtf8();
        QTest::newRow("outside the BMP") << u"\U0001D400x"_s << "ax"_ba;
        QTest::newRow("lone surrogate dropped") << QString(QChar(0xD800)) + u"x"_s << "x"_ba;
    }
    void foldsAwayCaseAndMarks() {
        QFETCH(QString, text);
        QFETCH(QByteArray, folded);
        QCOMPARE(SearchText::fold(text), folded);
    }

    void matchesEveryWordAnywhere_data() {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("matches");
        const QString line = u"Äänitys alkoi Öljynjalostamolla kello kymmenen"_s;
        QTest::newRow("plain query, marked text") << u"aanitys"_s << line << true;
        QTest::newRow("upper query") << u"ÖLJYN"_s << line << true;
        QTest::newRow("inside a word") << u"jalosta"_s << line << true;
        QTest::newRow("all words, any order") << u"kello äänitys"_s << line << true;
        QTest::newRow("one word missing") << u"kello yksitoista"_s << line << false;
        QTest::newRow("no match") << u"palaveri"_s << line << false;
        QTest::newRow("marks in the query count as none") << u"kellö"_s << line << true;
        QTest::newRow("blanks between words") << u"  alkoi \t kello  "_s << line << true;
        QTest::newRow("blank matches all") << u" \t "_s << line << true;
        QTest::newRow("empty matches all") << QString() << QString() << true;
        QTest::newRow("word across a space") << u"alkoiöljyn"_s << line << false;
    }
    void matchesEveryWordAnywhere() {
        QFETCH(QString, query);
        QFETCH(QString, text);
        QFETCH(bool, matches);
        QCOMPARE(SearchQuery(query).matches(text), matches);
    }

    void blankQueriesHaveNoWords() {
        QVERIFY(SearchQuery(u"   "_s).isBlank());
        QVERIFY(SearchQuery(u"\u0308"_s).isBlank()); // a lone mark folds to nothing
        QCOMPARE(SearchQuery(u" Kokous  ÄÄNI "_s).words(), (QList<QByteArray>{"kokous", "aani"}));
    }

    // The index finds sessions by text, id and date, and follows the directory: new, changed,
    // removed and unreadable files.
    void indexFollowsTheDirectory() {
        QTemporaryDir dir;
        SessionHistoryStore store(dir.path());
        store.save(session(u"A1"_s, 800000000.0, {u"Äänitys alkoi"_s, u"Budjetti hyväksyttiin"_s}));
        store.save(session(u"B2"_s, 800090000.0, {u"Kahvitauko"_s}));
        QFile foreign(dir.filePath(u"broken.json"_s));
        QVERIFY(foreign.open(QIODevice::WriteOnly));
        foreign.write("{not a session");
        foreign.close();

        SessionSearchIndex index(dir.path());
        index.refresh();
        QCOMPARE(index.size(), 2);
        QCOMPARE(find(index, u"aanitys"_s), QStringList{u"A1"_s});
        QCOMPARE(find(index, u"BUDJETTI äänitys"_s), QStringList{u"A1"_s});
        QCOMPARE(find(index, u"b2"_s), QStringList{u"B2"_s});
        QCOMPARE(find(index, u"  "_s), (QStringList{u"A1"_s, u"B2"_s}));
        QCOMPARE(find(index, u"budjetti kahvitauko"_s), QStringList());
        // The date as the list shows it and as ISO; the model's name from the label.
        const QString shown = session(u"x"_s, 800090000.0, {})
                                  .endedAt.toDateTime()
                                  .toLocalTime()
                                  .toString(u"dd.MM.yyyy"_s);
        QCOMPARE(find(index, shown), QStringList{u"B2"_s});
        QCOMPARE(find(index, u"chirp"_s).size(), 2);

        store.save(session(u"B2"_s, 800090000.0, {u"Kahvitauko ja äänitys"_s}));
        store.save(session(u"C3"_s, 800100000.0, {u"Äänitys päättyi"_s}));
        store.deleteSession(u"A1"_s);
        index.refresh();
        QCOMPARE(find(index, u"äänitys"_s), (QStringList{u"B2"_s, u"C3"_s}));
        QCOMPARE(index.size(), 2);
    }
};

QTEST_GUILESS_MAIN(SearchTextTest)
#include "tst_search_text.moc"
