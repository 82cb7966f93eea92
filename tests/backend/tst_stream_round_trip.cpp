// One recording's road through both clients and the reference backend: a session is created over
// REST, a 2-second tone goes out through the stream client, and what the server kept (its meta,
// its WAV file, its memo as a Word document) is read back.
#include "backend/HttpTransport.h"
#include "backend/STTAPIClient.h"
#include "backend/WebSocketStreamClient.h"
#include "refbackend/ServerSession.h"
#include "refbackend/WavWriter.h"
#include "support/AwaitTask.h"
#include "support/RefBackendFixture.h"
#include "support/TestAudio.h"

#include <QSignalSpy>
#include <QTest>
#include <QtEndian>

#include <zip.h>

#include <cmath>
#include <numbers>

using namespace Qt::StringLiterals;
using namespace vesnara;
using vesnara::test::awaitTask;
using vesnara::test::RefBackendFixture;

namespace {

constexpr int kWaitMs = 10000;

// The named entry of a zip archive held in memory; empty when the archive or entry is missing.
QByteArray zipEntry(const QByteArray& archive, const char* name) {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source = zip_source_buffer_create(archive.constData(), archive.size(), 0, &error);
    zip_t* zip = source ? zip_open_from_source(source, ZIP_RDONLY, &error) : nullptr;
    QByteArray content;
    if (zip) {
        zip_stat_t stat;
        if (zip_stat(zip, name, 0, &stat) == 0) {
            if (zip_file_t* file = zip_fopen(zip, name, 0)) {
                content.resize(static_cast<qsizetype>(stat.size));
                if (zip_fread(file, content.data(), stat.size) !=
                    static_cast<zip_int64_t>(stat.size))
                    content.clear();
                zip_fclose(file);
            }
        }
        zip_close(zip);
    } else if (source) {
        zip_source_free(source);
    }
    zip_error_fini(&error);
    return content;
}

} // namespace

class StreamRoundTripTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aToneLeavesItsLevelAndAudioOnTheServer() {
        RefBackendFixture server;
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
        stream.connect(created.value->wsUrl, u"fi-FI"_s, u"chirp_3"_s,
                       [&events](const StreamEvent& event) { events.append(event); });
        QTRY_VERIFY_WITH_TIMEOUT(!events.isEmpty(), kWaitMs); // "listening"

        const QByteArray pcm = vesnara::test::sineTonePcm16(1000.0, 0.5, 32000); // 2 s
        for (qsizetype offset = 0; offset < pcm.size(); offset += 3200)
            stream.sendAudio(pcm.mid(offset, 3200));
        stream.sendStop();
        QTRY_COMPARE_WITH_TIMEOUT(server->session(id)->audioFrameCount, 20, kWaitMs);
        stream.disconnect();

        const auto meta = awaitTask(api.getSessionMeta(config, id));
        QVERIFY(meta.value);
        QCOMPARE(meta.value->audioFrameCount, 20);
        QCOMPARE(meta.value->audioBytes, 64000);

        const auto wav = refbackend::WavWriter::read(server->audioPath(id));
        QVERIFY(wav);
        QCOMPARE(wav->sampleRate, 16000);
        QCOMPARE(wav->channels, 1);
        QCOMPARE(wav->bitsPerSample, 16);
        QCOMPARE(wav->pcm.size(), 64000); // 2 s
        QCOMPARE(wav->pcm, pcm);
        // The meta reports the mean absolute level of what arrived: 2/π of the tone's amplitude.
        QVERIFY(meta.value->avgAudioLevel);
        QCOMPARE(*meta.value->avgAudioLevel, refbackend::frameLevel(wav->pcm));
        QVERIFY(std::abs(*meta.value->avgAudioLevel - 0.5 * 2 / std::numbers::pi) < 0.01);
    }

    void theMemoDocumentIsAWordPackageWithTheMemoText() {
        RefBackendFixture server;
        QVERIFY(server.isListening());
        HttpTransport transport;
        STTAPIClient api(transport);
        const STTConfiguration config = server.config();
        const auto created = awaitTask(api.createSession(
            config, STTSessionCreateRequest{.language = u"fi-FI"_s, .sttModel = u"chirp_3"_s}));
        QVERIFY(created.value);
        const QString id = created.value->sessionId;

        const auto memo = awaitTask(api.generateSummary(
            config, id,
            {SummaryGenerateRequest::Segment{.text = u"Budjetti hyväksyttiin yksimielisesti."_s,
                                             .ts = u"2026-03-04T09:15:02Z"_s},
             SummaryGenerateRequest::Segment{.text = u"Seuraava kokous on maanantaina."_s,
                                             .ts = u"2026-03-04T09:16:40Z"_s}}));
        QVERIFY(memo.value);
        const auto docx = awaitTask(api.downloadSummaryDocx(config, id));
        QVERIFY(docx.value);

        const QString document = QString::fromUtf8(zipEntry(*docx.value, "word/document.xml"));
        QVERIFY2(!document.isEmpty(), "word/document.xml is missing");
        QVERIFY(document.contains(u"Budjetti hyväksyttiin yksimielisesti."_s));
        QVERIFY(!zipEntry(*docx.value, "[Content_Types].xml").isEmpty());
    }
};

QTEST_GUILESS_MAIN(StreamRoundTripTest)
#include "tst_stream_round_trip.moc"
