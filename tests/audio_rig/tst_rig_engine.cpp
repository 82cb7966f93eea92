// The recording engine on the real sound server: the view model with the libpulse backends and
// the Linux permission probe, a tone played into the rig's virtual microphone, and the reference
// backend over loopback.
#include "AudioRig.h"
#include "LinuxDesktopServices.h"
#include "LinuxPermissionProbe.h"
#include "PulseAudioInputBackend.h"
#include "PulseSystemAudioBackend.h"
#include "backend/HttpTransport.h"
#include "engine/TranscriptionViewModel.h"
#include "storage/STTConfigurationStore.h"
#include "support/InMemoryPreferences.h"
#include "support/RefBackendFixture.h"
#include "text/UiText.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace vesnara;
using namespace vesnara::rig;

namespace {

constexpr int kWaitMs = 15000;
constexpr double kAmplitude = 0.5;

/// The view model wired to the rig's daemon and an in-process reference backend.
struct RigEngine {
    test::RefBackendFixture server;
    InMemoryPreferences preferences;
    HttpTransport transport;
    PulseAudioInputBackend microphoneBackend;
    PulseSystemAudioBackend systemBackend;
    QTemporaryDir historyDirectory;
    LinuxDesktopServices desktop;
    std::unique_ptr<TranscriptionViewModel> viewModel;

    RigEngine() {
        // The backends connect in the background; the view model reads the permissions at once.
        static_cast<void>(QTest::qWaitFor(
            [this] { return !microphoneBackend.listInputDevices().error.has_value(); }, kWaitMs));
        STTConfigurationStore(preferences).save(server.config());
        Timing timing;
        // Long enough for an idle monitor's first data to arrive and a tone to follow.
        timing.audioTestDuration = 3s;
        viewModel = std::make_unique<TranscriptionViewModel>(TranscriptionViewModel::Dependencies{
            preferences, transport, microphoneBackend, systemBackend, historyDirectory.path(),
            nullptr, std::make_shared<LinuxPermissionProbe>(), timing, &desktop});
        viewModel->settings()->updateAuthContext(server.token());
    }
    ~RigEngine() {
        viewModel.reset();
        static_cast<void>(
            QTest::qWaitFor([this] { return transport.requestsInFlight() == 0; }, kWaitMs));
    }
};

} // namespace

class RigEngineTest : public QObject {
    Q_OBJECT

public:
    static void initMain() { selectRigServer(); }

private:
    QTemporaryDir m_dir;
    QString m_toneWav;

private Q_SLOTS:
    void initTestCase() {
        m_toneWav = m_dir.filePath(u"tone440.wav"_s);
        QVERIFY(writeToneWav(m_toneWav, 440.0, kAmplitude, 8.0));
    }
    void init() { VESNARA_SKIP_WITHOUT_RIG(); }

    void permissionsReadGrantedAndTheAudioTestHearsTheMicrophone() {
        RigEngine rig;
        auto& vm = *rig.viewModel;
        QCOMPARE(vm.permissions()->microphonePermissionSummary(),
                 UiText::microphonePermissionSummaryGranted);
        vm.permissions()->refreshSystemAudioPermissionStatus(false, true);
        QTRY_VERIFY_WITH_TIMEOUT(vm.permissions()->isSystemAudioPermissionGranted(), kWaitMs);

        Player player(m_toneWav, u"mic_feed"_s);
        QVERIFY(player.started());
        vm.support()->runAudioQualityTest();
        QVERIFY(vm.support()->isAudioTestRunning());
        QTRY_VERIFY_WITH_TIMEOUT(!vm.support()->isAudioTestRunning(), kWaitMs);
        QCOMPARE(vm.status()->statusText(), UiText::audioTestLevelOk);
        QVERIFY2(vm.status()->diagnosticHint().endsWith(UiText::audioTestAdviceSourceWorks),
                 qPrintable(vm.status()->diagnosticHint()));
        QVERIFY(rig.server->requests().isEmpty());
    }

    void aRecordingCarriesTheMicrophonesToneToTheServer() {
        RigEngine rig;
        auto& vm = *rig.viewModel;
        vm.startRecording();
        QTRY_VERIFY_WITH_TIMEOUT(vm.isRecording(), kWaitMs);
        const QString id = vm.sessionId();

        Player player(m_toneWav, u"mic_feed"_s);
        QVERIFY(player.started());
        const double expected = sineLevel(kAmplitude);
        QTRY_VERIFY_WITH_TIMEOUT(rig.server->session(id)->peakAudioLevel > expected / 2, kWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(rig.server->session(id)->audioFrameCount >= 10, kWaitMs);
        QVERIFY(vm.meters()->outgoingAudioPeak() > expected / 2);

        vm.stopRecording();
        QTRY_VERIFY_WITH_TIMEOUT(rig.server->session(id)->isStopped(), kWaitMs);
    }
};

QTEST_GUILESS_MAIN(RigEngineTest)
#include "tst_rig_engine.moc"
