// Every error the user can meet reaches the screen in Finnish through userErrorDescription:
// the errors with words of their own give them, an answer that did not decode gives the
// invalid-response text, and anything else the generic text, its English kept for the log.
#include "audio/MicrophoneCaptureError.h"
#include "audio/SystemAudioCaptureError.h"
#include "auth/AuthRequestError.h"
#include "backend/APIClientError.h"
#include "backend/HttpTransport.h"
#include "model/JsonReader.h"
#include "storage/AppLog.h"
#include "text/UiText.h"
#include "text/UserErrorDescription.h"

#include <QTemporaryDir>
#include <QTest>

#include <new>

using namespace Qt::StringLiterals;
using namespace vesnara;

Q_DECLARE_METATYPE(std::exception_ptr)

namespace {

std::exception_ptr transportFailure(TransportError::Kind kind) {
    return std::make_exception_ptr(TransportError(kind, u"Connection refused (1)"_s));
}

} // namespace

class UserErrorDescriptionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachErrorReachesTheUserInFinnish_data() {
        QTest::addColumn<std::exception_ptr>("error");
        QTest::addColumn<QString>("shown");
        using Transport = TransportError::Kind;
        using Microphone = MicrophoneCaptureError::Kind;
        using SystemAudio = SystemAudioCaptureError::Kind;

        QTest::newRow("speech backend: the server's words")
            << std::make_exception_ptr(APIClientError::serverError(u"Sessiota ei löytynyt"_s))
            << u"Sessiota ei löytynyt"_s;
        QTest::newRow("speech backend: bad address")
            << std::make_exception_ptr(APIClientError::invalidBaseURL())
            << UiText::backendInvalidBaseURL;
        QTest::newRow("speech backend: bad answer")
            << std::make_exception_ptr(APIClientError::invalidResponse())
            << UiText::backendInvalidResponse;

        QTest::newRow("no answer: refused")
            << transportFailure(Transport::ConnectionRefused) << UiText::networkConnectionRefused;
        QTest::newRow("no answer: unknown host")
            << transportFailure(Transport::HostNotFound) << UiText::networkHostNotFound;
        QTest::newRow("no answer: timed out")
            << transportFailure(Transport::TimedOut) << UiText::networkTimedOut;
        QTest::newRow("no answer: TLS")
            << transportFailure(Transport::Tls) << UiText::networkTlsFailed;
        QTest::newRow("no answer: connection lost")
            << transportFailure(Transport::ConnectionLost) << UiText::networkConnectionLost;
        QTest::newRow("no answer: cancelled")
            << transportFailure(Transport::Cancelled) << UiText::networkCancelled;
        QTest::newRow("no answer: other")
            << transportFailure(Transport::Other) << UiText::networkFailed;

        QTest::newRow("auth: the service's words")
            << std::make_exception_ptr(
                   AuthRequestError::server(u"Väärä sähköposti tai salasana."_s))
            << u"Väärä sähköposti tai salasana."_s;
        QTest::newRow("auth: bad address")
            << std::make_exception_ptr(AuthRequestError::invalidURL()) << UiText::authInvalidURL;
        QTest::newRow("auth: offline")
            << std::make_exception_ptr(AuthRequestError::offline()) << UiText::authConnectionFailed;

        QTest::newRow("microphone: not allowed")
            << std::make_exception_ptr(MicrophoneCaptureError(Microphone::permissionDenied))
            << UiText::microphonePermissionDenied;
        QTest::newRow("microphone: not ready")
            << std::make_exception_ptr(MicrophoneCaptureError(Microphone::engineNotReady))
            << UiText::microphoneEngineNotReady;

        QTest::newRow("system audio: not allowed")
            << std::make_exception_ptr(SystemAudioCaptureError(SystemAudio::permissionDenied))
            << UiText::systemAudioPermissionDenied;
        QTest::newRow("system audio: restart needed")
            << std::make_exception_ptr(
                   SystemAudioCaptureError(SystemAudio::restartRequiredAfterPermissionGrant))
            << UiText::systemAudioRestartRequiredAfterPermissionGrant;
        QTest::newRow("system audio: no output")
            << std::make_exception_ptr(SystemAudioCaptureError(SystemAudio::noDisplay))
            << UiText::systemAudioNoDisplay;
        QTest::newRow("system audio: stream failed")
            << std::make_exception_ptr(SystemAudioCaptureError(SystemAudio::streamSetupFailed))
            << UiText::systemAudioStreamSetupFailed;

        QTest::newRow("answer that did not decode")
            << std::make_exception_ptr(JsonDecodeError(u"sessionId"_s, u"missing"_s))
            << UiText::backendInvalidResponse;
        QTest::newRow("any other exception")
            << std::make_exception_ptr(std::runtime_error("socket exploded"))
            << UiText::unexpectedError;
        QTest::newRow("out of memory")
            << std::make_exception_ptr(std::bad_alloc()) << UiText::unexpectedError;
        QTest::newRow("not an exception") << std::make_exception_ptr(42) << UiText::unexpectedError;
        QTest::newRow("no error at all") << std::exception_ptr() << UiText::unexpectedError;
    }
    void eachErrorReachesTheUserInFinnish() {
        QFETCH(std::exception_ptr, error);
        QFETCH(QString, shown);
        QCOMPARE(userErrorDescription(error), shown);
    }

    // The shared base changed none of the errors' old faces.
    void theErrorsAreStillWhatTheyWere() {
        const TransportError transport(TransportError::Kind::TimedOut, u"timeout (4)"_s);
        QCOMPARE(QString::fromUtf8(transport.what()), u"timeout (4)"_s);
        QCOMPARE(transport.detail(), u"timeout (4)"_s);
        const APIClientError client = APIClientError::serverError(u"ei"_s);
        QCOMPARE(QString::fromUtf8(client.what()), u"ei"_s);
        QCOMPARE(client.kind(), APIClientError::Kind::ServerError);
        const AuthRequestError auth = AuthRequestError::offline();
        QCOMPARE(QString::fromUtf8(auth.what()), UiText::authConnectionFailed);
        try {
            throw MicrophoneCaptureError(MicrophoneCaptureError::Kind::engineNotReady);
        } catch (const std::runtime_error& e) {
            QCOMPARE(QString::fromUtf8(e.what()), UiText::microphoneEngineNotReady);
        }
    }

    void theEnglishOfAnUnexpectedErrorGoesToTheLog() {
        QTemporaryDir directory;
        QVERIFY(directory.isValid());
        AppLog::setLogFilePath(directory.filePath(u"desktop.log"_s));
        QCOMPARE(userErrorDescription(std::make_exception_ptr(std::runtime_error("disk on fire"))),
                 UiText::unexpectedError);
        QCOMPARE(userErrorDescription(
                     std::make_exception_ptr(JsonDecodeError(u"segments[2].text"_s, u"missing"_s))),
                 UiText::backendInvalidResponse);
        const QString log = AppLog::snapshot(1 << 20);
        QVERIFY2(log.contains(u"userError type=unexpected detail=disk on fire"_s), qPrintable(log));
        QVERIFY2(log.contains(u"userError type=invalidResponse detail="_s) &&
                     log.contains(u"segments[2].text"_s),
                 qPrintable(log));
    }
};

QTEST_GUILESS_MAIN(UserErrorDescriptionTest)
#include "tst_user_error_description.moc"
