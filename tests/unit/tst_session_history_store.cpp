#include "model/JsonReader.h"
#include "storage/SessionHistoryStore.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>

using namespace Qt::StringLiterals;
using namespace vesnara;
using vesnara::test::readFile;
using vesnara::test::writeFile;

namespace {

SavedSession makeSession(const QString& id, double endedAt, int segmentCount = 1) {
    SavedSession session;
    session.id = id;
    session.createdAt = Timestamp::fromSecondsSinceReferenceDate(endedAt - 60.0);
    session.endedAt = Timestamp::fromSecondsSinceReferenceDate(endedAt);
    session.language = u"fi-FI"_s;
    session.sttModel = u"chirp_3"_s;
    for (int i = 0; i < segmentCount; ++i) {
        session.segments.append(TranscriptSegment{QUuid::createUuid(), u"rivi %1"_s.arg(i),
                                                  session.createdAt.addingSeconds(i),
                                                  std::nullopt});
    }
    return session;
}

QStringList listedIds(const SessionHistoryStore& store) {
    QStringList ids;
    for (const auto& item : store.list())
        ids << item.id;
    return ids;
}

// A session file as another writer (or an older version) may have left it.
QByteArray sessionFileWithout(const QString& id, const QString& missingKey) {
    QJsonObject json = makeSession(id, 800000000.0).toJson();
    json.remove(missingKey);
    return QJsonDocument(json).toJson();
}

bool sameBits(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

} // namespace

class SessionHistoryStoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_dir.emplace();
        QVERIFY(m_dir->isValid());
        m_sessions = m_dir->filePath(u"sessions"_s);
    }

    void aMissingDirectoryListsEmptyAndIsCreated() {
        SessionHistoryStore store(m_sessions);
        QDir(m_sessions).removeRecursively();
        QVERIFY(store.list().isEmpty());
        QVERIFY(QFileInfo(m_sessions).isDir());
    }

    void savedSessionsRoundTripBitForBit() {
        SessionHistoryStore store(m_sessions);
        SavedSession session = makeSession(u"sess-1"_s, 794307302.0 + 1.0 / 3.0, 2);
        session.segments[0].speakerLabel = u"S1"_s;
        session.pins.append(TranscriptPin{QUuid::createUuid(), session.endedAt.addingSeconds(-0.1),
                                          session.endedAt, u"Tärkeä"_s, u"muistiinpano"_s,
                                          TranscriptPinKind::important, session.segments[1].id});
        store.save(session);

        const auto loaded = store.load(u"sess-1"_s);
        QVERIFY(loaded);
        QCOMPARE(*loaded, session);
        const auto items = store.list();
        QCOMPARE(items.size(), 1);
        QVERIFY(sameBits(items[0].endedAt.secondsSinceReferenceDate(),
                         session.endedAt.secondsSinceReferenceDate()));
        QCOMPARE(items[0].segmentCount, 2);
    }

    void filesArePrettyPrintedWithSortedKeysAndUpperCaseIds() {
        SessionHistoryStore store(m_sessions);
        SavedSession session = makeSession(u"sess-2"_s, 800000000.5);
        store.save(session);
        const QString text = QString::fromUtf8(readFile(m_sessions + u"/sess-2.json"_s));
        QVERIFY(text.contains(u'\n'));
        QStringList topLevelKeys;
        for (const QString& line : text.split(u'\n')) {
            if (line.startsWith(u"    \""_s) && !line.startsWith(u"     "_s))
                topLevelKeys << line.section(u'"', 1, 1);
        }
        QCOMPARE(topLevelKeys, (QStringList{u"createdAt"_s, u"endedAt"_s, u"id"_s, u"language"_s,
                                            u"pins"_s, u"segments"_s, u"sttModel"_s}));
        QVERIFY(text.contains(session.segments[0].id.toString(QUuid::WithoutBraces).toUpper()));
        QVERIFY(!text.contains(session.segments[0].id.toString(QUuid::WithoutBraces).toLower()));
    }

    void savingTheSameIdReplacesTheFile() {
        SessionHistoryStore store(m_sessions);
        store.save(makeSession(u"same"_s, 800000000.0, 1));
        store.save(makeSession(u"same"_s, 800000100.0, 3));
        const auto items = store.list();
        QCOMPARE(items.size(), 1);
        QCOMPARE(items[0].segmentCount, 3);
        QCOMPARE(QDir(m_sessions).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    void listingFollowsChangesMadeBehindTheStoresBack() {
        SessionHistoryStore store(m_sessions);
        store.save(makeSession(u"a"_s, 800000000.0, 1));
        store.save(makeSession(u"b"_s, 800000100.0, 1));
        QCOMPARE(listedIds(store), (QStringList{u"b"_s, u"a"_s}));

        // Another writer replaces one file, breaks another and adds a third.
        SessionHistoryStore(m_sessions).save(makeSession(u"a"_s, 800000200.0, 3));
        writeFile(m_sessions + u"/b.json"_s, "{ not json");
        SessionHistoryStore(m_sessions).save(makeSession(u"c"_s, 800000050.0, 1));
        const auto items = store.list();
        QCOMPARE(listedIds(store), (QStringList{u"a"_s, u"c"_s}));
        QCOMPARE(items[0].segmentCount, 3);

        // A broken file that is mended comes back.
        SessionHistoryStore(m_sessions).save(makeSession(u"b"_s, 800000300.0, 2));
        QCOMPARE(listedIds(store), (QStringList{u"b"_s, u"a"_s, u"c"_s}));
        QFile::remove(m_sessions + u"/a.json"_s);
        QCOMPARE(listedIds(store), (QStringList{u"b"_s, u"c"_s}));
    }

    void listingIsNewestFirstAndStableForEqualEndTimes() {
        SessionHistoryStore store(m_sessions);
        store.save(makeSession(u"c"_s, 800000000.0));
        store.save(makeSession(u"a"_s, 800000000.0));
        store.save(makeSession(u"newest"_s, 800000500.0));
        store.save(makeSession(u"b"_s, 800000000.0));
        store.save(makeSession(u"oldest"_s, 700000000.0));
        QCOMPARE(listedIds(store), (QStringList{u"newest"_s, u"a"_s, u"b"_s, u"c"_s, u"oldest"_s}));
    }

    void unreadableAndForeignFilesAreSkippedAndKept() {
        SessionHistoryStore store(m_sessions);
        store.save(makeSession(u"good-1"_s, 800000000.0));
        store.save(makeSession(u"good-2"_s, 800000100.0));
        writeFile(m_sessions + u"/damaged.json"_s, "{\"id\": \"damaged\", \"createdAt\": ");
        writeFile(m_sessions + u"/no-segments.json"_s,
                  sessionFileWithout(u"no-segments"_s, u"segments"_s));
        writeFile(m_sessions + u"/no-language.json"_s,
                  sessionFileWithout(u"no-language"_s, u"language"_s));
        writeFile(m_sessions + u"/array.json"_s, "[1, 2, 3]");
        writeFile(m_sessions + u"/notes.txt"_s, "not a session");
        QDir(m_sessions).mkdir(u"folder.json"_s);

        QCOMPARE(listedIds(store), (QStringList{u"good-2"_s, u"good-1"_s}));
        QVERIFY(!store.load(u"damaged"_s));
        QVERIFY(!store.load(u"no-segments"_s));
        QVERIFY(!store.load(u"no-language"_s));
        QVERIFY(QFileInfo::exists(m_sessions + u"/damaged.json"_s));
    }

    void pinsMayBeAbsentButAreDecodedStrictly() {
        SessionHistoryStore store(m_sessions);
        writeFile(m_sessions + u"/old.json"_s, sessionFileWithout(u"old"_s, u"pins"_s));
        const auto loaded = store.load(u"old"_s);
        QVERIFY(loaded);
        QVERIFY(loaded->pins.isEmpty());

        QJsonObject json = makeSession(u"bad-pin"_s, 800000000.0).toJson();
        json[u"pins"_s] = QJsonArray{QJsonObject{{u"label"_s, u"x"_s}}};
        writeFile(m_sessions + u"/bad-pin.json"_s, QJsonDocument(json).toJson());
        QVERIFY(!store.load(u"bad-pin"_s));
        QCOMPARE(listedIds(store), QStringList{u"old"_s});
    }

    void theListShowsTheIdInsideTheFile() {
        SessionHistoryStore store(m_sessions);
        writeFile(m_sessions + u"/file-name.json"_s,
                  makeSession(u"inner-id"_s, 800000000.0).toFileBytes());
        QCOMPARE(listedIds(store), QStringList{u"inner-id"_s});
        QVERIFY(!store.load(u"inner-id"_s));
        QVERIFY(store.load(u"file-name"_s));
    }

    void onlyVisibleLowerCaseJsonFilesCount() {
        SessionHistoryStore store(m_sessions);
        const QByteArray bytes = makeSession(u"x"_s, 800000000.0).toFileBytes();
        writeFile(m_sessions + u"/x.JSON"_s, bytes);
        writeFile(m_sessions + u"/.abc.json"_s, bytes);
        writeFile(m_sessions + u"/keep.txt"_s, "text");
        QVERIFY(store.list().isEmpty());

        store.save(makeSession(u"gone"_s, 800000000.0));
        store.deleteAll();
        QCOMPARE(QDir(m_sessions).entryList(QDir::Files | QDir::Hidden, QDir::Name),
                 (QStringList{u".abc.json"_s, u"keep.txt"_s, u"x.JSON"_s}));
    }

    void deletingRemovesOneFileAndAMissingOneIsFine() {
        SessionHistoryStore store(m_sessions);
        store.save(makeSession(u"one"_s, 800000000.0));
        store.save(makeSession(u"two"_s, 800000001.0));
        store.deleteSession(u"one"_s);
        store.deleteSession(u"never-existed"_s);
        QCOMPARE(listedIds(store), QStringList{u"two"_s});
    }

    void idsThatWouldLeaveTheDirectoryAreRefused_data() {
        QTest::addColumn<QString>("id");
        QTest::newRow("empty") << QString();
        QTest::newRow("dot") << u"."_s;
        QTest::newRow("dot dot") << u".."_s;
        QTest::newRow("parent path") << u"../escaped"_s;
        QTest::newRow("absolute path") << u"/tmp/escaped"_s;
        QTest::newRow("backslash") << u"..\\escaped"_s;
        QTest::newRow("NUL") << u"abc"_s + QChar(QChar::Null) + u"def"_s;
    }
    void idsThatWouldLeaveTheDirectoryAreRefused() {
        QFETCH(QString, id);
        SessionHistoryStore store(m_sessions);
        // A file a refused id would reach if it were used as it stands.
        writeFile(m_dir->filePath(u"escaped.json"_s), makeSession(u"x"_s, 1.0).toFileBytes());

        QVERIFY_THROWS_EXCEPTION(SessionHistoryError, store.save(makeSession(id, 800000000.0)));
        QVERIFY_THROWS_EXCEPTION(SessionHistoryError, store.deleteSession(id));
        QVERIFY(!store.load(id));
        QVERIFY(!store.filePathFor(id));
        QVERIFY(QFileInfo::exists(m_dir->filePath(u"escaped.json"_s)));
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 2);
    }

    void unsafeIdsAreSavedUnderADerivedNameThatKeepsTheId_data() {
        QTest::addColumn<QString>("id");
        QTest::newRow("parent path") << u"../escaped"_s;
        QTest::newRow("absolute path") << u"/tmp/escaped"_s;
        QTest::newRow("leading dot") << u".hidden"_s;
        QTest::newRow("empty") << QString();
    }
    void unsafeIdsAreSavedUnderADerivedNameThatKeepsTheId() {
        QFETCH(QString, id);
        SessionHistoryStore store(m_sessions);
        const QString fileId = SessionHistoryStore::fileIdFor(id);
        QVERIFY(fileId.startsWith(u"session-"_s));
        QCOMPARE(SessionHistoryStore::fileIdFor(id), fileId);
        QVERIFY(SessionHistoryStore::fileIdFor(id + u"x"_s) != fileId);

        store.save(makeSession(id, 800000000.0), fileId);
        QCOMPARE(QDir(m_sessions).entryList(QDir::Files), QStringList{fileId + u".json"_s});
        QCOMPARE(store.load(fileId)->id, id);
        QCOMPARE(listedIds(store), QStringList{id});
    }

    void idsWithDotsAndSpacesAreOrdinaryNames() {
        SessionHistoryStore store(m_sessions);
        store.save(makeSession(u"..hidden-looking"_s, 800000000.0));
        store.save(makeSession(u"v1.2 kokous"_s, 800000001.0));
        QVERIFY(store.load(u"v1.2 kokous"_s));
        // A leading dot makes a hidden file, which the listing skips by design.
        QCOMPARE(listedIds(store), QStringList{u"v1.2 kokous"_s});
    }

    void aDirectoryThatCannotBeMadeListsEmptyAndRefusesSaves() {
        writeFile(m_dir->filePath(u"blocker"_s), "a file where the directory should be");
        SessionHistoryStore store(m_dir->filePath(u"blocker/sessions"_s));
        QVERIFY(store.list().isEmpty());
        QVERIFY_THROWS_EXCEPTION(SessionHistoryError, store.save(makeSession(u"s"_s, 1.0)));
        QVERIFY(!store.load(u"s"_s));
    }

private:
    std::optional<QTemporaryDir> m_dir;
    QString m_sessions;
};

QTEST_GUILESS_MAIN(SessionHistoryStoreTest)
#include "tst_session_history_store.moc"
