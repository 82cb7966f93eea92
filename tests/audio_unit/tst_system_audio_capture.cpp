#include "audio/SystemAudioCapture.h"
#include "storage/AppLog.h"

#include "FrameCollector.h"
#include "support/AwaitTask.h"
#include "support/FakeAudioBackends.h"

#include <QTemporaryDir>
#include <QTest>

#include <atomic>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace vesnara;
using vesnara::test::FakeSystemAudioBackend;
using vesnara::test::ScriptedAudioBuffer;

Q_DECLARE_METATYPE(vesnara::SystemAudioCaptureError::Kind)

namespace {

/// 1024 frames of 48 kHz planar stereo float: 682 bytes once converted.
ScriptedAudioBuffer streamBuffer() {
    return ScriptedAudioBuffer::float32Planar(
        48000, {QList<float>(1024, 0.25f), QList<float>(1024, 0.25f)});
}

/// A steady clock that moves only when the test says so.
struct ManualClock {
    std::atomic<qint64> ms{0};
    std::function<SystemAudioCapture::Clock::time_point()> function() {
        return [this] { return SystemAudioCapture::Clock::time_point() + 1000h + 1ms * ms.load(); };
    }
};

int occurrences(const QString& text, const QString& line) {
    return static_cast<int>(text.count(line));
}

void script(FakeSystemAudioBackend& backend) {
    backend.nextStartError.reset();
    backend.startDelay = 0ms;
    backend.gate.release();
    backend.content = {std::nullopt,
                       {{7, u"Speakers"_s}, {9, u"HDMI"_s}},
                       {{u"firefox"_s, u"Firefox"_s, {10}},
                        {u"spotify"_s, u"Spotify"_s, {11}},
                        {u"tst_system_audio_capture"_s, u"Self"_s, {}}}};
}

} // namespace

class SystemAudioCaptureTest : public QObject {
    Q_OBJECT

    FakeSystemAudioBackend m_backend;
    QTemporaryDir m_logDir;
    int m_logFile = 0;

    QString log() const { return AppLog::snapshot(1 << 20); }

private Q_SLOTS:
    void init() {
        // A fresh log per test, so "once" means once in this test.
        AppLog::setLogFilePath(m_logDir.filePath(u"log%1.txt"_s.arg(++m_logFile)));
        script(m_backend);
    }

    void startCapturesTheOutputAndNamesTheSource() {
        SystemAudioCapture capture(m_backend);
        capture.ownApplication = {u"tst_system_audio_capture"_s, 0};
        QVERIFY(test::succeeds(capture.startAsync()));
        QVERIFY(capture.isRunning());
        QCOMPARE(m_backend.startedTargets().last(), (SystemAudioCaptureTarget{7, QString()}));
        QCOMPARE(capture.activeSourceName(), u"Speakers • Kaikki sovellukset"_s);
        QVERIFY(log().contains(
            u"SystemAudioCapture started display=7 apps=2 selectedApp=Kaikki sovellukset"_s));

        QVERIFY(test::succeeds(capture.stopAsync()));
        capture.preferredDisplayID = 9;
        capture.preferredApplicationBundleID = u"spotify"_s;
        QVERIFY(test::succeeds(capture.startAsync()));
        QCOMPARE(m_backend.startedTargets().last(), (SystemAudioCaptureTarget{9, u"spotify"_s}));
        QCOMPARE(capture.activeSourceName(), u"HDMI • Spotify"_s);
        QVERIFY(
            log().contains(u"SystemAudioCapture started display=9 apps=1 selectedApp=Spotify"_s));
    }

    void startFailuresAreTyped_data() {
        QTest::addColumn<int>("failure");
        QTest::addColumn<SystemAudioCaptureError::Kind>("kind");
        QTest::addColumn<QString>("logLine");
        QTest::newRow("server not reachable")
            << 0 << SystemAudioCaptureError::Kind::permissionDenied
            << u"SystemAudioCapture shareableContent error domain=pulseaudio code=6 desc=Connection refused"_s;
        QTest::newRow("no output") << 1 << SystemAudioCaptureError::Kind::noDisplay << QString();
        QTest::newRow("stream does not start")
            << 2 << SystemAudioCaptureError::Kind::streamSetupFailed
            << u"SystemAudioCapture startCapture error domain=pulseaudio code=5 desc=No such entity"_s;
    }
    void startFailuresAreTyped() {
        QFETCH(int, failure);
        QFETCH(SystemAudioCaptureError::Kind, kind);
        QFETCH(QString, logLine);
        if (failure == 0)
            m_backend.content = {
                AudioBackendError{u"pulseaudio"_s, 6, u"Connection refused"_s}, {}, {}};
        else if (failure == 1)
            m_backend.content.displays.clear();
        else
            m_backend.nextStartError = AudioBackendError{u"pulseaudio"_s, 5, u"No such entity"_s};

        SystemAudioCapture capture(m_backend);
        const auto started = test::awaitTask(capture.startAsync());
        QVERIFY(started.finished);
        const auto error = started.errorAs<SystemAudioCaptureError>();
        QVERIFY(error.has_value());
        QCOMPARE(error->kind(), kind);
        QCOMPARE(QString::fromUtf8(error->what()), error->description());
        QVERIFY(!capture.isRunning());
        QCOMPARE(capture.activeSourceName(), QString());
        if (!logLine.isEmpty())
            QVERIFY2(log().contains(logLine), qPrintable(log()));
    }

    void countsBuffersAndLogsEachFirstEventOnce() {
        ManualClock clock;
        SystemAudioCapture capture(m_backend, Timing{}, clock.function());
        FrameCollector collector;
        std::atomic<int> raw = 0;
        capture.onPCMFrame = collector.sink();
        capture.onRawAudioSample = [&] { ++raw; };
        QVERIFY(test::succeeds(capture.startAsync()));

        auto notReady = streamBuffer();
        notReady.isDataReady = false;
        auto float64 = streamBuffer();
        float64.format.bitsPerChannel = 64;
        m_backend.deliver(notReady);
        m_backend.deliver(float64);
        m_backend.deliver(float64);
        QCOMPARE(capture.rawSampleCount(), 3);
        QCOMPARE(capture.pcmFrameCount(), 0);

        m_backend.deliver(streamBuffer()); // at 0 ms: out at once
        clock.ms = 100;
        m_backend.deliver(streamBuffer()); // waits
        clock.ms = 180;
        m_backend.deliver(streamBuffer()); // 1364 after 180 ms
        QCOMPARE(collector.sizes(), (QList<int>{682, 1364}));
        QCOMPARE(raw.load(), 6);
        QCOMPARE(capture.rawSampleCount(), 6);
        QCOMPARE(capture.pcmFrameCount(), 3);
        QCOMPARE(capture.emittedChunkCount(), 2);

        const QString text = log();
        QCOMPARE(occurrences(text, u"SystemAudioCapture received first raw audio sample"_s), 1);
        QCOMPARE(occurrences(text, u"SystemAudioCapture unsupported format bits=64 flags=33"_s), 1);
        QCOMPARE(occurrences(text, u"SystemAudioCapture produced first PCM frame"_s), 1);
        QCOMPARE(occurrences(text, u"SystemAudioCapture emitted first chunk bytes=682"_s), 1);
    }

    void stopClearsStateAndLogsOnlyWhenRunning() {
        ManualClock clock;
        SystemAudioCapture capture(m_backend, Timing{}, clock.function());
        FrameCollector collector;
        capture.onPCMFrame = collector.sink();
        QVERIFY(test::succeeds(capture.stopAsync()));
        QVERIFY(!log().contains(u"SystemAudioCapture stopped"_s));

        QVERIFY(test::succeeds(capture.startAsync()));
        m_backend.deliver(streamBuffer());
        m_backend.deliver(streamBuffer()); // 682 waiting
        QVERIFY(test::succeeds(capture.stopAsync()));
        QCOMPARE(capture.rawSampleCount(), 0);
        QCOMPARE(capture.emittedChunkCount(), 0);
        QCOMPARE(capture.activeSourceName(), QString());
        QVERIFY(!m_backend.isCapturing());
        QCOMPARE(occurrences(log(), u"SystemAudioCapture stopped"_s), 1);

        // After a stop the first 640 bytes go out at once again, and the waiting bytes are gone.
        QVERIFY(test::succeeds(capture.startAsync()));
        m_backend.deliver(streamBuffer());
        QCOMPARE(collector.sizes(), (QList<int>{682, 682}));
        QCOMPARE(occurrences(log(), u"SystemAudioCapture emitted first chunk bytes=682"_s), 2);
    }

    void aStreamThatStopsByItselfIsOnlyReported() {
        SystemAudioCapture capture(m_backend);
        QString reported;
        capture.onStreamStopped = [&](const QString& details) { reported = details; };
        QVERIFY(test::succeeds(capture.startAsync()));
        m_backend.stopBySelf({u"pulseaudio"_s, 12, u"Entity killed"_s});
        QCOMPARE(reported, u"domain=pulseaudio code=12 desc=Entity killed"_s);
        QVERIFY(capture.isRunning());
        QVERIFY(log().contains(
            u"SystemAudioCapture stream stopped error=domain=pulseaudio code=12 desc=Entity killed"_s));
    }

    void framesFromTheAudioThreadAreWholeAndOrdered() {
        ManualClock clock; // frozen: no partial flush however slow the machine
        SystemAudioCapture capture(m_backend, Timing{}, clock.function());
        FrameCollector collector;
        capture.onPCMFrame = collector.sink();
        QVERIFY(test::succeeds(capture.startAsync()));
        // 20 buffers of 682 bytes delivered at once: the first goes out alone, the rest in frames.
        m_backend.play(QList<ScriptedAudioBuffer>(20, streamBuffer()));
        m_backend.waitUntilPlayed();
        const auto sizes = collector.sizes();
        QCOMPARE(sizes.first(), 682);
        for (qsizetype i = 1; i < sizes.size(); ++i)
            QCOMPARE(sizes[i], 3200);
        QVERIFY(collector.threads().first() != std::this_thread::get_id());
        QVERIFY(test::succeeds(capture.stopAsync()));
    }

    void listingsLeaveThisProgramOutAndFailLikeStart() {
        SystemAudioCapture capture(m_backend);
        capture.ownApplication = {u"tst_system_audio_capture"_s, 0};
        QCOMPARE(capture.listDisplaySources(),
                 (QList<SystemAudioDisplayOption>{{7, u"Speakers"_s}, {9, u"HDMI"_s}}));
        const auto apps = capture.listApplicationSources();
        QCOMPARE(apps.size(), 2);
        QCOMPARE(apps.first().name, u"Firefox"_s);

        m_backend.content.error = AudioBackendError{u"pulseaudio"_s, 6, u"Connection refused"_s};
        QVERIFY_THROWS_EXCEPTION(SystemAudioCaptureError, capture.listApplicationSources());
    }

    // The backend's calls run on the capture's worker thread one at a time, in the order asked;
    // a start that a stop overtook ends quietly and its stream feeds nothing.
    void aStopBeatsAPendingStartAndLaterCallsKeepTheirOrder() {
        FakeSystemAudioBackend backend;
        script(backend);
        ManualClock clock;
        SystemAudioCapture capture(backend, Timing{}, clock.function());
        FrameCollector collector;
        QString stoppedBySelf;
        capture.onPCMFrame = collector.sink();
        capture.onStreamStopped = [&stoppedBySelf](const QString& details) {
            stoppedBySelf = details;
        };

        const auto held = backend.gate.holdInScope();
        const auto first = test::startTask(capture.startAsync());
        QVERIFY(backend.gate.waitUntilWaiting(1));
        const auto stopped = test::startTask(capture.stopAsync());
        capture.preferredDisplayID = 9;
        const auto second = test::startTask(capture.startAsync());
        backend.gate.passOne(); // the first start runs its stream; the stop waits at the gate
        QTRY_VERIFY(backend.isCapturing());
        backend.deliver(streamBuffer());
        backend.stopBySelf({u"pulseaudio"_s, 12, u"Entity killed"_s});
        QVERIFY(collector.frames().isEmpty());
        QCOMPARE(stoppedBySelf, QString());
        QCOMPARE(capture.rawSampleCount(), 0);
        backend.gate.release();

        QVERIFY(test::waitFor(first).finished && !first->error);
        QVERIFY(test::waitFor(stopped).finished);
        QVERIFY(test::waitFor(second).finished && !second->error);
        QCOMPARE(backend.calls(), (QStringList{u"start 7"_s, u"stop"_s, u"start 9"_s}));
        QVERIFY(capture.isRunning());
        QCOMPARE(capture.activeSourceName(), u"HDMI • Kaikki sovellukset"_s);
        backend.deliver(streamBuffer());
        QCOMPARE(collector.sizes(), QList<int>{682});
    }

    void destroyingTheCaptureDuringAStartEndsItQuietly() {
        FakeSystemAudioBackend backend;
        script(backend);
        backend.startDelay = 50ms; // a slow server
        std::shared_ptr<test::OutcomeOf<void>> started;
        {
            SystemAudioCapture capture(backend);
            started = test::startTask(capture.startAsync());
        } // waits for the start, then stops it
        QVERIFY(!backend.isCapturing());
        QCOMPARE(backend.calls(), (QStringList{u"start 7"_s, u"stop"_s}));
        QVERIFY(test::waitFor(started).finished);
        QVERIFY(!started->error);
    }
};

QTEST_GUILESS_MAIN(SystemAudioCaptureTest)
#include "tst_system_audio_capture.moc"
