// The pocketsphinx recogniser on a shipped clip of read English: the words, the order of its
// events, their times, and what a missing model does.
#include "refbackend/PocketSphinxDecoder.h"
#include "refbackend/PocketSphinxRecognizer.h"
#include "support/RefBackendFixture.h"
#include "support/SpeechClips.h"
#include "support/TestHttp.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWebSocket>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::refbackend;
using namespace vesnara::test;

namespace {

constexpr int kWaitMs = 30000;
const Timestamp kSessionStart = Timestamp::fromUnixSeconds(1.8e9);

/// "he was not an ill disposed young man": short, and the model gets most of it.
const QString kClipName = u"sense_and_sensibility_01_austen_64kb-0880"_s;

struct Events {
    QList<QJsonObject> all;

    QStringList types() const {
        QStringList result;
        for (const QJsonObject& event : all)
            result.append(event.value(u"type"_s).toString());
        return result;
    }
    QList<QJsonObject> ofType(const QString& type) const {
        QList<QJsonObject> result;
        for (const QJsonObject& event : all) {
            if (event.value(u"type"_s).toString() == type)
                result.append(event);
        }
        return result;
    }
    QString finalText() const {
        QStringList texts;
        for (const QJsonObject& event : ofType(u"final"_s))
            texts.append(event.value(u"text"_s).toString());
        return texts.join(u' ');
    }
};

void feed(Recognizer& recognizer, const QByteArray& pcm, qsizetype chunkBytes) {
    for (qsizetype at = 0; at < pcm.size(); at += chunkBytes)
        recognizer.audio(QByteArrayView(pcm).sliced(at, std::min(chunkBytes, pcm.size() - at)));
}

} // namespace

class PocketSphinxRecognizerTest : public QObject {
    Q_OBJECT

    SpeechClip m_clip;
    QByteArray m_pcm;

private Q_SLOTS:
    void initTestCase() {
        if (const QString missing =
                PocketSphinxDecoder::missingModelPath(PocketSphinxDecoder::defaultModelDirectory());
            !missing.isEmpty())
            QSKIP(qPrintable(u"no speech model (scripts/setup installs it): "_s + missing));
        QString error;
        const QList<SpeechClip> clips = speechClips(librivoxDirectory(), &error);
        for (const SpeechClip& clip : clips) {
            if (clip.name == kClipName)
                m_clip = clip;
        }
        if (m_clip.wavPath.isEmpty())
            QSKIP(qPrintable(u"no recorded speech (scripts/setup installs it): "_s + error));
        int rate = 0;
        m_pcm = wavPcm16(m_clip.wavPath, &rate);
        QVERIFY(!m_pcm.isEmpty());
        QCOMPARE(rate, PocketSphinxDecoder::kSampleRate);
    }

    // The detector ends the utterance in the trailing silence, or the stop cuts it short: either
    // way one final with the words, after partials of the running hypothesis. How the audio is cut
    // into chunks (odd byte counts split samples) must not change what is heard.
    void transcribesTheClip_data() {
        QTest::addColumn<qsizetype>("chunkBytes");
        QTest::addColumn<int>("trailingSilenceMs");
        QTest::newRow("100 ms chunks, silence after") << qsizetype(3200) << 1500;
        QTest::newRow("odd chunks, silence after") << qsizetype(1001) << 1500;
        QTest::newRow("100 ms chunks, stopped at the last word") << qsizetype(3200) << 0;
    }
    void transcribesTheClip() {
        QFETCH(qsizetype, chunkBytes);
        QFETCH(int, trailingSilenceMs);
        Events events;
        PocketSphinxRecognizer recognizer(kSessionStart,
                                          PocketSphinxDecoder::defaultModelDirectory());
        recognizer.setEventSink([&events](const QJsonObject& event) { events.all.append(event); });
        recognizer.start(u"en-US"_s, u"chirp_3"_s);
        QCOMPARE(events.types(), QStringList{u"status"_s});

        feed(recognizer, m_pcm, chunkBytes);
        feed(recognizer, QByteArray(trailingSilenceMs * 32, '\0'), chunkBytes);
        if (trailingSilenceMs > 0)
            QTRY_VERIFY_WITH_TIMEOUT(!events.ofType(u"final"_s).isEmpty(), kWaitMs);
        recognizer.stop();
        QTRY_VERIFY_WITH_TIMEOUT(!events.ofType(u"final"_s).isEmpty(), kWaitMs);

        const QStringList types = events.types();
        QVERIFY2(types.indexOf(u"partial"_s) > 0, qPrintable(types.join(u' ')));
        QVERIFY2(types.indexOf(u"partial"_s) < types.indexOf(u"final"_s),
                 qPrintable(types.join(u' ')));
        QVERIFY(!types.contains(u"error"_s));
        const WordErrors errors = wordErrors(m_clip.reference, events.finalText());
        QVERIFY2(errors.ratePercent() <= 50.0, qPrintable(u"heard \"%1\" for \"%2\""_s.arg(
                                                   events.finalText(), m_clip.reference)));
        // The speech starts within the clip's first second.
        QCOMPARE(events.ofType(u"final"_s).first().value(u"ts"_s).toString(),
                 kSessionStart.toIso8601());
        for (const QJsonObject& partial : events.ofType(u"partial"_s))
            QVERIFY(!partial.value(u"text"_s).toString().isEmpty());
    }

    // The sample clock runs on across streams: a second utterance is dated after the first.
    void aLaterUtteranceIsDatedByItsSamples() {
        Events events;
        PocketSphinxRecognizer recognizer(kSessionStart,
                                          PocketSphinxDecoder::defaultModelDirectory());
        recognizer.setEventSink([&events](const QJsonObject& event) { events.all.append(event); });
        recognizer.start(u"en-US"_s, {});
        feed(recognizer, QByteArray(5 * 32000, '\0'), 3200);
        feed(recognizer, m_pcm, 3200);
        recognizer.stop();
        QTRY_COMPARE_WITH_TIMEOUT(events.ofType(u"final"_s).size(), qsizetype(1), kWaitMs);
        const QString ts = events.ofType(u"final"_s).first().value(u"ts"_s).toString();
        // Five seconds of silence, then speech within the next second.
        QVERIFY2(ts == kSessionStart.addingSeconds(5).toIso8601() ||
                     ts == kSessionStart.addingSeconds(4).toIso8601(),
                 qPrintable(ts));
    }

    void aMissingModelIsReportedOnceByName() {
        QTemporaryDir empty;
        const QString model = empty.filePath(u"en-us-model"_s);
        Events events;
        PocketSphinxRecognizer recognizer(kSessionStart, model);
        recognizer.setEventSink([&events](const QJsonObject& event) { events.all.append(event); });
        recognizer.start(u"en-US"_s, {});
        feed(recognizer, m_pcm, 3200);
        recognizer.stop();
        QTRY_COMPARE_WITH_TIMEOUT(events.ofType(u"error"_s).size(), qsizetype(1), kWaitMs);
        const QString message = events.ofType(u"error"_s).first().value(u"message"_s).toString();
        QVERIFY2(message.contains(model), qPrintable(message));
        // Everything queued behind the failure is dropped without another word.
        QTRY_COMPARE_WITH_TIMEOUT(events.types(), (QStringList{u"status"_s, u"error"_s}), kWaitMs);
    }

    void theModelCheckNamesTheFirstMissingPart_data() {
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<QString>("missing");
        QTest::newRow("no directory") << QStringList{u"-"_s} << QString();
        QTest::newRow("empty directory") << QStringList{} << u"en-us"_s;
        QTest::newRow("no language model") << QStringList{u"en-us/mdef"_s} << u"en-us.lm.bin"_s;
        QTest::newRow("no dictionary")
            << QStringList{u"en-us/mdef"_s, u"en-us.lm.bin"_s} << u"cmudict-en-us.dict"_s;
        QTest::newRow("acoustic model without its definition")
            << QStringList{u"en-us/means"_s, u"en-us.lm.bin"_s, u"cmudict-en-us.dict"_s}
            << u"en-us/mdef"_s;
    }
    void theModelCheckNamesTheFirstMissingPart() {
        QFETCH(QStringList, present);
        QFETCH(QString, missing);
        QTemporaryDir root;
        const QString model = root.filePath(u"model"_s);
        if (present != QStringList{u"-"_s}) {
            QVERIFY(QDir().mkpath(model));
            for (const QString& file : std::as_const(present)) {
                QVERIFY(QDir(model).mkpath(QFileInfo(file).path()));
                QFile touched(QDir(model).filePath(file));
                QVERIFY(touched.open(QIODevice::WriteOnly));
            }
        }
        const QString expected = missing.isEmpty() ? model : QDir(model).filePath(missing);
        QCOMPARE(PocketSphinxDecoder::missingModelPath(model), expected);
        QString error;
        QVERIFY(!PocketSphinxDecoder::create(model, &error));
        QVERIFY2(error.contains(expected), qPrintable(error));
    }

    // The decoder library exits the process on some broken files; the probe keeps that in a
    // child and reports it.
    void theProbeSurvivesABrokenModel() {
        QTemporaryDir root;
        const QString model = root.filePath(u"model"_s);
        QVERIFY(QDir().mkpath(model + u"/en-us"_s));
        for (const QString& file : {u"en-us/mdef"_s, u"en-us.lm.bin"_s, u"cmudict-en-us.dict"_s}) {
            QFile empty(QDir(model).filePath(file));
            QVERIFY(empty.open(QIODevice::WriteOnly));
        }
        QCOMPARE(PocketSphinxDecoder::missingModelPath(model), QString());
        const QString error = PocketSphinxDecoder::probe(model);
        QVERIFY2(error.startsWith(u"the speech decoder could not load the model in "_s + model),
                 qPrintable(error));
        QCOMPARE(PocketSphinxDecoder::probe(PocketSphinxDecoder::defaultModelDirectory()),
                 QString());
    }

    // One session's decoder with a long backlog holds up neither the server nor another
    // session: the other's start is answered and a request served while the first still has
    // most of its audio to decode. Each copy of the clip, with a second of silence after it, is
    // an utterance of its own, so the first session's final count says how far it has got.
    void aBusyDecoderHoldsUpOnlyItsOwnSession() {
        constexpr int kCopies = 20;
        RefBackendFixture server(RecognizerKind::pocketsphinx);
        QVERIFY(server.isListening());
        QNetworkAccessManager network;
        const auto openSession = [&](QWebSocket& socket, QList<QJsonObject>& events) {
            const HttpAnswer created =
                httpCall(network, "POST", server->baseUrl().resolved(QUrl(u"/v1/sessions"_s)),
                         R"({"language":"en-US","enableInterim":true,"sttModel":"chirp_3",
                    "enableSpeakerDiarization":false,"speakerCount":0})",
                         {{"x-api-key", server.config().apiKey.toUtf8()},
                          {"x-auth-token", server.token().toUtf8()}});
            connect(&socket, &QWebSocket::textMessageReceived, this,
                    [&events](const QString& text) {
                        events.append(QJsonDocument::fromJson(text.toUtf8()).object());
                    });
            QSignalSpy connected(&socket, &QWebSocket::connected);
            socket.open(QUrl(created.json().value(u"wsUrl"_s).toString()));
            if (!connected.wait(kWaitMs))
                return false;
            socket.sendTextMessage(uR"({"type":"start","language":"en-US"})"_s);
            return true;
        };
        const auto finals = [](const QList<QJsonObject>& events) {
            return std::count_if(events.cbegin(), events.cend(), [](const QJsonObject& event) {
                return event.value(u"type"_s).toString() == u"final"_s;
            });
        };

        QWebSocket busy;
        QList<QJsonObject> busyEvents;
        QVERIFY(openSession(busy, busyEvents));
        const QByteArray copy = m_pcm + QByteArray(32000, '\0');
        for (int i = 0; i < kCopies; ++i) {
            for (qsizetype at = 0; at < copy.size(); at += 3200)
                busy.sendBinaryMessage(copy.mid(at, 3200));
        }
        // The server answers the ping after it has handled everything sent before it.
        QSignalSpy pong(&busy, &QWebSocket::pong);
        busy.ping();
        QVERIFY(pong.wait(kWaitMs));

        QWebSocket other;
        QList<QJsonObject> otherEvents;
        QVERIFY(openSession(other, otherEvents));
        QTRY_VERIFY_WITH_TIMEOUT(!otherEvents.isEmpty(), kWaitMs);
        QCOMPARE(otherEvents.first().value(u"state"_s).toString(), u"listening"_s);
        QCOMPARE(httpCall(network, "GET", server->baseUrl().resolved(QUrl(u"/health"_s))).status,
                 200);
        qInfo("the busy session had %d of its %d utterances when the other was served",
              int(finals(busyEvents)), kCopies);
        QVERIFY2(finals(busyEvents) < kCopies / 2,
                 qPrintable(u"%1 finals already"_s.arg(finals(busyEvents))));
        // It does get on with its own work.
        QTRY_VERIFY_WITH_TIMEOUT(finals(busyEvents) >= 1, kWaitMs);
    }

    // The owner may go while a backlog is still queued (a session deleted mid-recording).
    void goesAwayWithAudioStillQueued() {
        Events events;
        auto recognizer = std::make_unique<PocketSphinxRecognizer>(
            kSessionStart, PocketSphinxDecoder::defaultModelDirectory());
        recognizer->setEventSink([&events](const QJsonObject& event) { events.all.append(event); });
        for (int i = 0; i < 20; ++i)
            feed(*recognizer, m_pcm, 3200);
        recognizer.reset();
        QCoreApplication::processEvents();
        QVERIFY(events.all.isEmpty());
    }
};

QTEST_GUILESS_MAIN(PocketSphinxRecognizerTest)
#include "tst_pocketsphinx_recognizer.moc"
