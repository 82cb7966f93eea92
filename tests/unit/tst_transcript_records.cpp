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
    void segmentRoundTripsWithUpperCaseIds() {
        const auto segment = TranscriptSegment::fromJson(JsonReader(validSegment()));
        QCOMPARE(segment.text, u"Hei kaikki"_s);
        QCOMPARE(segment.timestamp.secondsSinceReferenceDate(), 794307302.125);
        QCOMPARE(segment.speakerLabel, u"S1"_s);

        const QJsonObject written = segment.toJson();
        QCOMPARE(written, validSegment());
        QCOMPARE(TranscriptSegment::fromJson(JsonReader(written)), segment);
    }

    void lowerCaseIdsAreReadAndWrittenUpperCase() {
        QJsonObject json = validSegment();
        json[u"id"_s] = u"0f8fad5b-d9cb-469f-a165-70867728950e"_s;
        const auto segment = TranscriptSegment::fromJson(JsonReader(json));
        QCOMPARE(segment.toJson()[u"id"_s].toString(), u"0F8FAD5B-D9CB-469F-A165-70867728950E"_s);
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

    void pinRoundTrips() {
        const auto pin = TranscriptPin::fromJson(JsonReader(validPin()));
        QCOMPARE(pin.kind, TranscriptPinKind::topicChange);
        QCOMPARE(pin.label, u"Päätös"_s);
        QCOMPARE(pin.createdAt.secondsSinceReferenceDate(), 794307310.25);
        QCOMPARE(pin.toJson(), validPin());
    }

    void brokenSegmentsFailNamingTheKey_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<QString>("expectedKey");
        QTest::newRow("id missing") << u"id"_s << QJsonValue(QJsonValue::Undefined) << u"id"_s;
        QTest::newRow("id not a UUID") << u"id"_s << QJsonValue(u"abc"_s) << u"id"_s;
        QTest::newRow("id in braces")
            << u"id"_s << QJsonValue(u"{0F8FAD5B-D9CB-469F-A165-70867728950E}"_s) << u"id"_s;
        QTest::newRow("text null") << u"text"_s << QJsonValue(QJsonValue::Null) << u"text"_s;
        QTest::newRow("text a number") << u"text"_s << QJsonValue(5) << u"text"_s;
        QTest::newRow("timestamp as ISO text")
            << u"timestamp"_s << QJsonValue(u"2026-03-04T09:15:02Z"_s) << u"timestamp"_s;
        QTest::newRow("speaker a number")
            << u"speakerLabel"_s << QJsonValue(1) << u"speakerLabel"_s;
    }
    void brokenSegmentsFailNamingTheKey() {
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);
        QFETCH(QString, expectedKey);
        QJsonObject json = validSegment();
        if (value.isUndefined())
            json.remove(key);
        else
            json[key] = value;
        try {
            TranscriptSegment::fromJson(JsonReader(json, u"segments[3]"_s));
            QFAIL("decoding should have failed");
        } catch (const JsonDecodeError& error) {
            QCOMPARE(error.key(), u"segments[3]."_s + expectedKey);
        }
    }

    void brokenPinsFail_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value");
        QTest::newRow("note missing (no default)")
            << u"note"_s << QJsonValue(QJsonValue::Undefined);
        QTest::newRow("createdAt missing") << u"createdAt"_s << QJsonValue(QJsonValue::Undefined);
        QTest::newRow("unknown kind") << u"kind"_s << QJsonValue(u"urgent"_s);
        QTest::newRow("kind differently cased") << u"kind"_s << QJsonValue(u"TopicChange"_s);
        QTest::newRow("linked id not a UUID") << u"linkedSegmentId"_s << QJsonValue(u""_s);
        QTest::newRow("label an array") << u"label"_s << QJsonValue(QJsonArray{});
    }
    void brokenPinsFail() {
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);
        QJsonObject json = validPin();
        if (value.isUndefined())
            json.remove(key);
        else
            json[key] = value;
        QVERIFY_THROWS_EXCEPTION(JsonDecodeError, TranscriptPin::fromJson(JsonReader(json)));
    }

    void unknownKeysAreIgnored() {
        QJsonObject json = validSegment();
        json[u"confidence"_s] = 0.9;
        QCOMPARE(TranscriptSegment::fromJson(JsonReader(json)).text, u"Hei kaikki"_s);
    }

    void aTimeThatIsNotFiniteCannotBeWritten() {
        TranscriptSegment segment = TranscriptSegment::fromJson(JsonReader(validSegment()));
        segment.timestamp = Timestamp::fromSecondsSinceReferenceDate(qInf());
        QVERIFY_THROWS_EXCEPTION(JsonEncodeError, segment.toJson());
    }
};

QTEST_GUILESS_MAIN(TranscriptRecordsTest)
#include "tst_transcript_records.moc"
