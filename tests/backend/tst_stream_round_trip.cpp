// One recording's road through both clients and the reference backend: a session is created over
// REST, a 2-second tone goes out through the stream client, and what the server kept (its meta,
// its WAV file, its memo as a Word document) is read back.
#include "backend/HttpTransport.h"
#include "backend/STTAPIClient.h"
#include "backend/WebSocketStreamClient.h"
#include "refbackend/DocxReading.h"
#include "refbackend/ServerSession.h"
#include "refbackend/WavWriter.h"
#include "support/AwaitTask.h"
#include "support/RefBackendFixture.h"
#include "support/TestAudio.h"

#include <QTest>

#include <cmath>
#include <numbers>

using namespace Qt::StringLiterals;
using namespace vesnara;
using vesnara::test::awaitTask;

class StreamRoundTripTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aRecordingFromCreationToItsMemoDocument() {
        test::RefBackendFixture server;
        QVERIFY(server.isListening());
        HttpTransport transport;
        STTAPIClient api(transport);
        const STTConfiguration config = server.config();
        const auto created = awaitTask(api.createSession(
            config, STTSessionCreateRequest{.language = u"fi-FI"_s, .sttModel = u"chirp_3"_s}));
        QVERIFY(created.value);
        const QString id = created.value->sessionId;

        WebSocketStreamClient stream;
        QList<StreamEvent> events;
        stream.open(created.value->wsUrl, u"fi-FI"_s, u"chirp_3"_s,
                    [&events](const StreamEvent& event) { events.append(event); });
        QTRY_VERIFY_WITH_TIMEOUT(!events.isEmpty(), 10'000);            // "listening"
        const QByteArray pcm = test::sineTonePcm16(1000.0, 0.5, 32000); // 2 s
        for (qsizetype offset = 0; offset < pcm.size(); offset += 3200)
            stream.sendAudio(pcm.mid(offset, 3200));
        stream.sendStop();
        QTRY_COMPARE_WITH_TIMEOUT(server->session(id)->audioFrameCount, 20, 10'000);
        stream.close();

        const auto meta = awaitTask(api.getSessionMeta(config, id));
        QVERIFY(meta.value);
        QCOMPARE(meta.value->audioFrameCount, 20);
        QCOMPARE(meta.value->audioBytes, 64000);
        const auto wav = refbackend::WavWriter::read(server->audioPath(id));
        QVERIFY(wav);
        QCOMPARE(wav->sampleRate, 16000);
        QCOMPARE(wav->channels, 1);
        QCOMPARE(wav->bitsPerSample, 16);
        QCOMPARE(wav->pcm, pcm);
        // The mean absolute level of what arrived, 0…1: 2/π of the tone's amplitude.
        QVERIFY(meta.value->avgAudioLevel && meta.value->peakAudioLevel);
        QCOMPARE(*meta.value->avgAudioLevel, refbackend::frameLevel(wav->pcm));
        QVERIFY(std::abs(*meta.value->avgAudioLevel - 0.5 * 2 / std::numbers::pi) < 0.01);
        QCOMPARE(*meta.value->peakAudioLevel, refbackend::frameLevel(pcm.first(3200)));

        // With no finals on the server, the memo is made of the lines the client sends; the
        // Word document holds exactly that stored memo.
        const auto memo = awaitTask(api.generateSummary(
            config, id,
            {{.text = u"Budjetti hyväksyttiin yksimielisesti."_s, .ts = u"2026-03-04T09:15:02Z"_s},
             {.text = u"Seuraava kokous on maanantaina."_s, .ts = u"2026-03-04T09:16:40Z"_s}}));
        QVERIFY(memo.value);
        const auto& content = memo.value->summary;
        QVERIFY(content.title && content.summary && content.cleanTranscript);
        QVERIFY(content.cleanTranscript->startsWith(u"Budjetti hyväksyttiin"_s));
        const auto docx = awaitTask(api.downloadSummaryDocx(config, id));
        QVERIFY(docx.value);
        QStringList expected{u"Title|"_s + *content.title};
        for (const QString& line : content.summary->split(u'\n'))
            expected << u"|"_s + line;
        expected << u"Heading1|Puhtaaksikirjoitus"_s;
        for (const QString& line : content.cleanTranscript->split(u'\n'))
            expected << u"|"_s + line;
        QCOMPARE(test::docxParagraphs(*docx.value), expected);
    }
};

QTEST_GUILESS_MAIN(StreamRoundTripTest)
#include "tst_stream_round_trip.moc"
