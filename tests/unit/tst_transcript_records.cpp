#include "model/JsonReader.h"
#include "model/JsonWriting.h"
#include "model/TranscriptPin.h"
#include "model/TranscriptSegment.h"

#include <QJsonDocument>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

QJsonObject parse(const char* json) {
    return QJsonDocument::fromJson(QByteArray(json)).object();
}

QJsonObject validSegment() {
    return parse(R"({"id":"0F8FAD5B-D9CB-469F-A165-70867728950E","text":"Hei kaikki",
                     "timestamp":794307302.125,"speakerLabel":"S1"})");
}

QJsonObject validPin() {
    return parse(R"({"id":"7C9E6679-7425-40DE-944B-E07FC1F90AE7","timestamp":794307302.5,
                     "createdAt":794307310.25,"label":"Päätös","note":"","kind":"topicChange",
                     "linkedSegmentId":"0F8FAD5B-D9CB-469F-A165-70867728950E"})");
}

} // namespace

class TranscriptRecordsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void recordsRoundTripWithUpperCaseIds() {
        const auto segment = TranscriptSegment::fromJson(JsonReader(validSegment()));
        QCOMPARE(segment.text, u"Hei kaikki"_s);
        QCOMPARE(segment.timestamp.secondsSinceReferenceDate(), 794307302.125);
        QCOMPARE(segment.speakerLabel, u"S1"_s);
        QCOMPARE(segment.toJson(), validSegment());

        // A lower-case id reads as the same id; unknown keys are ignored.
        QJsonObject json = validSegment();
        json[u"id"_s] = u"0f8fad5b-d9cb-469f-a165-70867728950e"_s;
        json[u"confidence"_s] = 0.9;
        QCOMPARE(TranscriptSegment::fromJson(JsonReader(json)), segment);

        const auto pin = TranscriptPin::fromJson(JsonReader(validPin()));
        QCOMPARE(pin.kind, TranscriptPinKind::topicChange);
        QCOMPARE(pin.label, u"Päätös"_s);
        QCOMPARE(pin.createdAt.secondsSinceReferenceDate(), 794307310.25);
        QCOMPARE(pin.toJson(), validPin());
    }

    void optionalKeysWithoutValueAreLeftOut() {
        QJsonObject segmentJson = validSegment();
        segmentJson[u"speakerLabel"_s] = QJsonValue::Null;
        const auto segment = TranscriptSegment::fromJson(JsonReader(segmentJson));
        QVERIFY(!segment.speakerLabel);
        QVERIFY(!segment.toJson().contains(u"speakerLabel"_s));

        QJsonObject pinJson = validPin();
        pinJson.remove(u"linkedSegmentId"_s);
        const auto pin = TranscriptPin::fromJson(JsonReader(pinJson));
        QVERIFY(!pin.linkedSegmentId);
        QCOMPARE(pin.toJson(), pinJson);
    }

    void brokenRecordsFailNamingTheKey_data() {
        QTest::addColumn<bool>("isPin");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value"); // undefined: the key is removed
        const QJsonValue missing(QJsonValue::Undefined);
        QTest::newRow("id missing") << false << u"id"_s << missing;
        QTest::newRow("id not a UUID") << false << u"id"_s << QJsonValue(u"abc"_s);
        QTest::newRow("id in braces")
            << false << u"id"_s << QJsonValue(u"{0F8FAD5B-D9CB-469F-A165-70867728950E}"_s);
        QTest::newRow("text null") << false << u"text"_s << QJsonValue(QJsonValue::Null);
        QTest::newRow("text a number") << false << u"text"_s << QJsonValue(5);
        QTest::newRow("timestamp as ISO text")
            << false << u"timestamp"_s << QJsonValue(u"2026-03-04T09:15:02Z"_s);
        QTest::newRow("speaker a number") << false << u"speakerLabel"_s << QJsonValue(1);
        QTest::newRow("pin note missing (no default)") << true << u"note"_s << missing;
        QTest::newRow("pin createdAt missing") << true << u"createdAt"_s << missing;
        QTest::newRow("unknown pin kind") << true << u"kind"_s << QJsonValue(u"urgent"_s);
        QTest::newRow("pin kind differently cased")
            << true << u"kind"_s << QJsonValue(u"TopicChange"_s);
        QTest::newRow("linked id not a UUID") << true << u"linkedSegmentId"_s << QJsonValue(u""_s);
        QTest::newRow("pin label an array") << true << u"label"_s << QJsonValue(QJsonArray{});
    }
    void brokenRecordsFailNamingTheKey() {
        QFETCH(bool, isPin);
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);
        QJsonObject json = isPin ? validPin() : validSegment();
        if (value.isUndefined())
            json.remove(key);
        else
            json[key] = value;
        const QString path = isPin ? u"pins[3]"_s : u"segments[3]"_s;
        try {
            if (isPin)
                TranscriptPin::fromJson(JsonReader(json, path));
            else
                TranscriptSegment::fromJson(JsonReader(json, path));
            QFAIL("decoding should have failed");
        } catch (const JsonDecodeError& error) {
            QCOMPARE(error.key(), path + u'.' + key);
        }
    }

    void aTimeThatIsNotFiniteCannotBeWritten() {
        TranscriptSegment segment = TranscriptSegment::fromJson(JsonReader(validSegment()));
        segment.timestamp = Timestamp::fromSecondsSinceReferenceDate(qInf());
        QVERIFY_THROWS_EXCEPTION(JsonEncodeError, segment.toJson());
    }
};

QTEST_GUILESS_MAIN(TranscriptRecordsTest)
#include "tst_transcript_records.moc"
