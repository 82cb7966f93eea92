// A recording client to be killed: records from a scripted microphone against the backend it is
// given and says on stdout what it has got, so a test can kill it at a known point.
//
//   crash_recorder_child <base url> <auth token> <history directory> <checkpoint ms>
//
// Prints "recording <session id>" once live, "lines <n>" whenever the transcript grows and
// "checkpoint <n>" whenever a checkpoint of n lines is on disk.
#include "backend/HttpTransport.h"
#include "engine/TranscriptionViewModel.h"
#include "model/DeploymentDefaults.h"
#include "storage/STTConfigurationStore.h"
#include "support/FakeAudioBackends.h"
#include "support/InMemoryPreferences.h"

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

void say(const QString& line) {
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

/// Half a second of a loud square wave, then a second of silence, over and over: each loud
/// stretch is one line for the energy recogniser.
QList<ScriptedAudioBuffer> speechAndPauses(int rounds) {
    QList<ScriptedAudioBuffer> buffers;
    for (int round = 0; round < rounds; ++round) {
        for (int i = 0; i < 5; ++i) {
            QList<float> samples;
            samples.reserve(4800 * 2);
            for (int s = 0; s < 4800; ++s) {
                const float value = (s / 120) % 2 ? 0.4f : -0.4f;
                samples << value << value;
            }
            buffers << ScriptedAudioBuffer::float32Interleaved(48000, 2, samples);
        }
        for (int i = 0; i < 10; ++i)
            buffers << ScriptedAudioBuffer::constant(48000, 2, 4800, 0.0f);
    }
    return buffers;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() != 5) {
        std::fprintf(stderr, "usage: crash_recorder_child <base url> <token> <history dir> <ms>\n");
        return 2;
    }

    InMemoryPreferences preferences;
    STTConfiguration config = STTConfiguration::defaults();
    config.baseURL = arguments[1];
    config.apiKey = QString::fromUtf16(DeploymentDefaults::sharedAPIKey);
    STTConfigurationStore(preferences).save(config);

    FakeAudioInputBackend microphone;
    microphone.devices = {{7, u"Sisäinen mikrofoni"_s, AudioTransportKind::builtIn, 1}};
    microphone.defaultDeviceId = 7;
    FakeSystemAudioBackend systemAudio;
    HttpTransport transport;
    Timing timing;
    timing.recordingCheckpointInterval = std::chrono::milliseconds(arguments[4].toInt());
    timing.microphoneLivenessDelay = std::chrono::hours(1);

    TranscriptionViewModel viewModel(
        {preferences, transport, microphone, systemAudio, arguments[3], nullptr, nullptr, timing});
    viewModel.settings()->updateAuthContext(arguments[2]);

    QObject::connect(
        viewModel.transcript(), &SessionTranscript::segmentsChanged, &app,
        [&viewModel] { say(u"lines %1"_s.arg(viewModel.transcript()->segmentCount())); });
    QObject::connect(&viewModel.support()->recordingCheckpoint(), &RecordingCheckpoint::written,
                     &app,
                     [](const QString&, qsizetype lines) { say(u"checkpoint %1"_s.arg(lines)); });
    QObject::connect(&viewModel, &TranscriptionViewModel::isRecordingChanged, &app,
                     [&viewModel, &microphone] {
                         if (!viewModel.isRecording())
                             return;
                         say(u"recording "_s + viewModel.sessionId());
                         // Paced so that the lines come one by one, well before the end.
                         microphone.play(speechAndPauses(200), std::chrono::milliseconds(10));
                     });
    QObject::connect(viewModel.status(), &StatusLine::statusTextChanged, &app, [&viewModel] {
        std::fprintf(stderr, "status: %s\n", qPrintable(viewModel.status()->statusText()));
    });
    viewModel.sources()->setInputMode(AudioInputMode::microphone);
    viewModel.startRecording();
    return app.exec();
}
