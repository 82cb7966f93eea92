#pragma once

// The view model wired to real parts: the in-process reference backend over loopback, real
// HTTP and WebSocket clients, preferences in memory, saved sessions in a temporary directory.
// Only the platform's services are fakes: the audio backends, the clipboard, the desktop and,
// when a test sets one, the permission probe.

#include "backend/HttpTransport.h"
#include "engine/TranscriptionViewModel.h"
#include "platform/Clipboard.h"
#include "platform/DesktopServices.h"
#include "refbackend/ScriptedRecognizer.h"
#include "refbackend/ServerSession.h"
#include "storage/STTConfigurationStore.h"
#include "support/FakeAudioBackends.h"
#include "support/InMemoryPreferences.h"
#include "support/RefBackendFixture.h"
#include "support/ScriptedDialogs.h"
#include "support/ScriptedFilePanels.h"
#include "support/ScriptedPermissionProbe.h"

#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <memory>
#include <numbers>

namespace vesnara::test {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

inline constexpr int kEngineWaitMs = 8000;

class FakeClipboard final : public Clipboard {
public:
    std::optional<QString> content;
    std::optional<QString> text() const override { return content; }
    void setText(const QString& text) override { content = text; }
};

/// 100 ms of a 48 kHz stereo float tone of `amplitude` (a mean absolute level of about
/// 2/π × amplitude once converted).
class FakeDesktopServices final : public DesktopServices {
public:
    /// The places that open; every other place fails.
    QList<SettingsPlace> openablePlaces;
    /// What `startNewInstance` fails with; nothing means it starts.
    std::optional<QString> startError;
    QList<SettingsPlace> openedPlaces;
    QList<QUrl> openedUrls;
    QStringList revealedFiles;
    int newInstances = 0;
    int terminations = 0;

    bool openSettings(SettingsPlace place) override {
        if (!openablePlaces.contains(place))
            return false;
        openedPlaces << place;
        return true;
    }
    bool openUrl(const QUrl& url) override {
        openedUrls << url;
        return true;
    }
    bool revealFile(const QString& filePath) override {
        revealedFiles << filePath;
        return true;
    }
    std::optional<QString> startNewInstance() override {
        if (!startError)
            ++newInstances;
        return startError;
    }
    void terminate() override { ++terminations; }
};

inline ScriptedAudioBuffer toneBuffer(float amplitude, double frequency = 440.0) {
    QList<float> samples;
    samples.reserve(4800 * 2);
    for (int i = 0; i < 4800; ++i) {
        const auto value = static_cast<float>(
            amplitude * std::sin(2.0 * std::numbers::pi * frequency * i / 48000.0));
        samples << value << value;
    }
    return ScriptedAudioBuffer::float32Interleaved(48000, 2, samples);
}

inline QList<ScriptedAudioBuffer> toneBuffers(int count, float amplitude) {
    QList<ScriptedAudioBuffer> buffers;
    for (int i = 0; i < count; ++i)
        buffers << toneBuffer(amplitude);
    return buffers;
}

/// `count` buffers of system audio that arrive but never convert to PCM.
inline QList<ScriptedAudioBuffer> buffersWithoutPCM(int count) {
    QList<ScriptedAudioBuffer> buffers;
    for (int i = 0; i < count; ++i) {
        auto buffer = ScriptedAudioBuffer::constant(48000, 2, 4800, 0.3f);
        buffer.isDataReady = false;
        buffers << buffer;
    }
    return buffers;
}

inline QStringList textsOf(const QList<TranscriptSegment>& segments) {
    QStringList texts;
    for (const auto& segment : segments)
        texts << segment.text;
    return texts;
}

inline QJsonObject finalEvent(const QString& text, const QString& ts) {
    return QJsonObject{{u"type"_s, u"final"_s}, {u"text"_s, text}, {u"ts"_s, ts}};
}

inline QJsonObject partialEvent(const QString& text) {
    return QJsonObject{{u"type"_s, u"partial"_s}, {u"text"_s, text}};
}

struct EngineHarness {
    RefBackendFixture server;
    InMemoryPreferences preferences;
    HttpTransport transport;
    FakeAudioInputBackend microphoneBackend;
    FakeSystemAudioBackend systemBackend;
    QTemporaryDir historyDirectory;
    FakeClipboard clipboard;
    FakeDesktopServices desktop;
    ScriptedDialogs dialogs;
    ScriptedFilePanels filePanels;
    /// The user's Downloads and the temporary directory, private to the test.
    QTemporaryDir downloads;
    QTemporaryDir temporary;
    /// Set before `make` to run with permissions; without it both sources count as permitted.
    std::shared_ptr<ScriptedPermissionProbe> permissionProbe;
    Timing timing;
    std::unique_ptr<TranscriptionViewModel> viewModel;
    /// Every status text and every hint shown, in order.
    QStringList statuses;
    QStringList hints;

    /// `keepAliveSilence` false keeps the keep-alive quiet while the sources are dry, so the
    /// server's frame count is exactly what the sources delivered.
    explicit EngineHarness(bool keepAliveSilence = false) {
        microphoneBackend.devices = {{7, u"Sisäinen mikrofoni"_s, AudioTransportKind::builtIn, 1}};
        microphoneBackend.defaultDeviceId = 7;
        systemBackend.content.displays = {{3, u"Kaiuttimet"_s}};
        timing = Timing{}.scaled(0.02);
        timing.httpRequestLimit = 10s;
        if (!keepAliveSilence)
            timing.keepAliveSilenceAfter = 1h;
        // A microphone left dry would be replaced by the supervision; only its tests want that.
        timing.microphoneLivenessDelay = 1h;
        STTConfigurationStore(preferences).save(server.config());
    }

    // A background step still waiting on the server when a test ends would stay suspended for
    // good once the event loop stops; let the answers in flight arrive first.
    ~EngineHarness() {
        viewModel.reset();
        static_cast<void>(
            QTest::qWaitFor([this] { return transport.requestsInFlight() == 0; }, kEngineWaitMs));
    }
    EngineHarness(const EngineHarness&) = delete;
    EngineHarness& operator=(const EngineHarness&) = delete;

    TranscriptionViewModel& make() {
        viewModel = std::make_unique<TranscriptionViewModel>(TranscriptionViewModel::Dependencies{
            preferences, transport, microphoneBackend, systemBackend, historyDirectory.path(),
            &clipboard, permissionProbe, timing, &desktop, &dialogs, &filePanels, downloads.path(),
            temporary.path()});
        viewModel->settings()->updateAuthContext(server.token());
        QObject::connect(viewModel->status(), &StatusLine::statusTextChanged, viewModel.get(),
                         [this] { statuses << viewModel->status()->statusText(); });
        QObject::connect(viewModel->status(), &StatusLine::diagnosticHintChanged, viewModel.get(),
                         [this] { hints << viewModel->status()->diagnosticHint(); });
        return *viewModel;
    }

    refbackend::RefBackend& backend() { return server.backend(); }

    /// Starts a recording in `mode` and waits until it is live; false when it did not go live.
    [[nodiscard]] bool startRecordingIn(AudioInputMode mode) {
        viewModel->sources()->setInputMode(mode);
        viewModel->startRecording();
        return QTest::qWaitFor([this] { return viewModel->isRecording(); }, kEngineWaitMs);
    }

    /// Plays `count` chunks of the constant `value` on both sources at once and waits until
    /// both have played them.
    void playOnBothSources(int count, float value) {
        QList<ScriptedAudioBuffer> chunks;
        for (int i = 0; i < count; ++i)
            chunks << ScriptedAudioBuffer::constant(48000, 2, 4800, value);
        microphoneBackend.play(chunks, 5ms);
        systemBackend.play(chunks, 5ms);
        microphoneBackend.waitUntilPlayed();
        systemBackend.waitUntilPlayed();
    }

    std::optional<refbackend::ServerSession> session(const QString& id) {
        return server->session(id);
    }

    /// Ids of sessions the server was asked to stop, in order.
    QStringList stoppedSessionIds() {
        QStringList ids;
        for (const auto& request : server->requests()) {
            if (request.path.startsWith(u"/v1/sessions/"_s) && request.path.endsWith(u"/stop"_s))
                ids << request.path.section(u'/', 3, 3);
        }
        return ids;
    }

    /// Ids of every session the server created, in order.
    QStringList createdSessionIds() {
        QStringList ids;
        for (const auto& request : server->requests()) {
            if (request.path.startsWith(u"/v1/sessions/"_s))
                ids << request.path.section(u'/', 3, 3);
        }
        ids.removeDuplicates();
        return ids;
    }

    int requestCount(const QString& pathEnd) {
        int count = 0;
        for (const auto& request : server->requests()) {
            if (request.path.endsWith(pathEnd))
                ++count;
        }
        return count;
    }
};

} // namespace vesnara::test
