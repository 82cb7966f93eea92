#include "refbackend/EnergyRecognizer.h"
#include "support/TestAudio.h"

#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;
using vesnara::Timestamp;
using vesnara::refbackend::EnergyRecognizer;

namespace {

constexpr int kRate = 16000;

// 2026-03-04T09:14:59.5Z: a session start that is not a whole second.
const Timestamp kSessionStart = Timestamp::fromUnixSeconds(1772615699.5);

/// A 1 kHz sine of the given peak amplitude (0…1 of full scale).
QByteArray tone(double seconds, double amplitude) {
    return vesnara::test::sineTonePcm16(1000.0, amplitude, int(std::lround(seconds * kRate)));
}

QByteArray silence(double seconds) {
    return QByteArray(qsizetype(std::lround(seconds * kRate)) * 2, '\0');
}

/// Everything the recogniser emits for the audio, fed in chunks of `chunkBytes` (0: one chunk).
QList<QJsonObject> run(const QByteArray& audio, int chunkBytes = 0,
                       EnergyRecognizer::Settings settings = {}) {
    QList<QJsonObject> events;
    EnergyRecognizer recognizer(kSessionStart, settings);
    recognizer.setEventSink([&events](const QJsonObject& event) { events.append(event); });
    recognizer.start(u"fi-FI"_s, u"chirp_3"_s);
    const int step = chunkBytes > 0 ? chunkBytes : int(audio.size());
    for (qsizetype at = 0; at < audio.size(); at += step)
        recognizer.audio(
            QByteArrayView(audio).sliced(at, std::min<qsizetype>(step, audio.size() - at)));
    recognizer.stop();
    return events;
}

QList<QJsonObject> ofType(const QList<QJsonObject>& events, const QString& type) {
    QList<QJsonObject> matching;
    for (const QJsonObject& event : events)
        if (event.value(u"type"_s).toString() == type)
            matching.append(event);
    return matching;
}

/// The seconds each final states; NaN for a text not of the one honest form.
QList<double> lengthsOf(const QList<QJsonObject>& events) {
    static const QRegularExpression form(uR"(^\[Puhetta (\d+),(\d) s\]$)"_s);
    QList<double> lengths;
    for (const QJsonObject& final : ofType(events, u"final"_s)) {
        const auto match = form.match(final.value(u"text"_s).toString());
        lengths.append(match.hasMatch()
                           ? match.captured(1).toInt() + match.captured(2).toInt() / 10.0
                           : std::nan(""));
    }
    return lengths;
}

} // namespace

class EnergyRecognizerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void reportsEachSegmentWithItsLengthAndStart_data() {
        QTest::addColumn<double>("lead");
        QTest::newRow("on block boundaries") << 0.0;
        QTest::newRow("half a block late") << 0.05;
    }
    void reportsEachSegmentWithItsLengthAndStart() {
        QFETCH(double, lead);
        const QByteArray audio =
            silence(lead) + tone(2.0, 0.3) + silence(1.0) + tone(1.5, 0.3) + silence(1.0);
        const QList<QJsonObject> events = run(audio);

        QCOMPARE(events.first(),
                 (QJsonObject{{u"type"_s, u"status"_s}, {u"state"_s, u"listening"_s}}));
        const QList<QJsonObject> finals = ofType(events, u"final"_s);
        const QList<double> lengths = lengthsOf(events);
        QCOMPARE(lengths.size(), 2);
        for (int i : {0, 1}) {
            QVERIFY2(std::abs(lengths[i] - (i ? 1.5 : 2.0)) <= 0.1 + 1e-9,
                     qPrintable(finals[i].value(u"text"_s).toString()));
        }
        // Session start 09:14:59.5 plus 0.0–0.1 s and 3.0–3.1 s of audio.
        QCOMPARE(finals[0].value(u"ts"_s).toString(), u"2026-03-04T09:14:59Z"_s);
        QCOMPARE(finals[1].value(u"ts"_s).toString(), u"2026-03-04T09:15:02Z"_s);
        QCOMPARE(events.last(), finals.last());
    }

    void sameEventsHoweverTheAudioIsCut_data() {
        QTest::addColumn<int>("chunkBytes");
        QTest::newRow("1 byte") << 1;
        QTest::newRow("3 bytes") << 3;
        QTest::newRow("one block and a byte") << 3201;
    }
    void sameEventsHoweverTheAudioIsCut() {
        QFETCH(int, chunkBytes);
        const QByteArray audio = silence(0.37) + tone(1.33, 0.2) + silence(0.9) + tone(0.71, 0.5);
        const QList<QJsonObject> whole = run(audio);
        QCOMPARE(ofType(whole, u"final"_s).size(), 2);
        QCOMPARE(run(audio, chunkBytes), whole);
    }

    void levelIsMeanAbsoluteAgainstTheThreshold_data() {
        QTest::addColumn<double>("amplitude");
        QTest::addColumn<bool>("reported");
        // A sine's mean absolute value is 0.637 of its peak, its RMS 0.707.
        QTest::newRow("below, though its RMS is above") << 0.030 << false;
        QTest::newRow("just above") << 0.033 << true;
        QTest::newRow("full scale") << 1.0 << true;
    }
    void levelIsMeanAbsoluteAgainstTheThreshold() {
        QFETCH(double, amplitude);
        QFETCH(bool, reported);
        const QList<QJsonObject> events = run(tone(2.0, amplitude) + silence(1.0));
        QCOMPARE(ofType(events, u"final"_s).size(), reported ? 1 : 0);
        QCOMPARE(ofType(events, u"partial"_s).isEmpty(), !reported);
    }

    void segmentsNeedEnoughSpeechAndEnoughPause_data() {
        QTest::addColumn<QByteArray>("audio");
        QTest::addColumn<QList<double>>("lengths");
        QTest::newRow("100 ms click") << tone(0.1, 0.5) + silence(1.0) << QList<double>{};
        QTest::newRow("200 ms word") << tone(0.2, 0.5) + silence(1.0) << QList<double>{0.2};
        QTest::newRow("400 ms pause stays inside")
            << tone(1.0, 0.3) + silence(0.4) + tone(1.0, 0.3) + silence(1.0) << QList<double>{2.4};
        QTest::newRow("600 ms pause ends it")
            << tone(1.0, 0.3) + silence(0.6) + tone(1.0, 0.3) + silence(1.0)
            << QList<double>{1.0, 1.0};
        QTest::newRow("stop cuts a segment short") << tone(1.23, 0.3) << QList<double>{1.2};
        QTest::newRow("a click at stop is dropped") << tone(0.1, 0.3) << QList<double>{};
    }
    void segmentsNeedEnoughSpeechAndEnoughPause() {
        QFETCH(QByteArray, audio);
        QFETCH(QList<double>, lengths);
        QCOMPARE(lengthsOf(run(audio)), lengths);
    }

    void partialsFollowSpeechAtMostEveryHalfSecond() {
        const QList<QJsonObject> events = run(tone(2.0, 0.3) + silence(1.0));
        QStringList texts;
        for (const QJsonObject& partial : ofType(events, u"partial"_s))
            texts.append(partial.value(u"text"_s).toString());
        QCOMPARE(texts, (QStringList{u"Puhetta havaittu… 0,2 s"_s, u"Puhetta havaittu… 0,7 s"_s,
                                     u"Puhetta havaittu… 1,2 s"_s, u"Puhetta havaittu… 1,7 s"_s}));
        QCOMPARE(events.size(), 1 + texts.size() + 1);
    }

    void settingsChangeTheRules() {
        EnergyRecognizer::Settings strict;
        strict.threshold = 0.25;
        strict.minSpeechMs = 500;
        strict.hangoverMs = 300;
        strict.partialIntervalMs = 100;
        const QByteArray audio = tone(0.4, 0.9) + silence(1.0) + tone(1.0, 0.3) + silence(1.0) +
                                 tone(1.0, 0.9) + silence(0.3) + tone(1.0, 0.9) + silence(0.3);
        const QList<QJsonObject> events = run(audio, 0, strict);
        // Too short, then too quiet (0.19 mean absolute), then two segments split by 300 ms.
        QCOMPARE(lengthsOf(events), (QList<double>{1.0, 1.0}));
        QCOMPARE(ofType(events, u"partial"_s).size(), 2 * 6);
    }

    void stopWithoutAudioSendsOnlyTheStatus() {
        const QList<QJsonObject> events = run({});
        QCOMPARE(events.size(), 1);
        QCOMPARE(events.first().value(u"state"_s).toString(), u"listening"_s);
    }
};

QTEST_GUILESS_MAIN(EnergyRecognizerTest)
#include "tst_energy_recognizer.moc"
