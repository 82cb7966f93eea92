// The sheets for a forgotten password and for changing one's own, against the reference
// backend: what each form refuses before sending, what it shows afterwards and which fields it
// keeps.
#include "auth/AuthTestBench.h"

#include "forms/ChangePasswordForm.h"
#include "forms/PasswordResetForm.h"
#include "text/UiText.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

const QString resetPath = u"/auth/request-password-reset"_s;
const QString resetFallbackPath = u"/auth/forgot-password"_s;
const QString changePath = u"/auth/change-password"_s;
const QString changeFallbackPath = u"/auth/change_password"_s;
const QString backendResetText = u"Jos osoite on rekisteröity, palautusohje on lähetetty."_s;

/// What a fault row does to the backend before the form sends.
enum class Service { asIs, refuses400, knowsNoPath };

} // namespace

Q_DECLARE_METATYPE(Service)

class PasswordFormsTest : public QObject {
    Q_OBJECT

    AuthBench& bench() { return *m_bench; }

    bool logIn() {
        return awaitTask(m_manager->login(AuthBench::email, AuthBench::password)).value == true;
    }

    void breakService(Service service, const QString& path, const QString& fallbackPath) {
        if (service == Service::refuses400)
            bench().backend().faults().httpFaults.push_back(
                respond(path, 400, R"({"detail":"Palvelu sanoo ei."})"));
        if (service == Service::knowsNoPath) {
            bench().backend().faults().notFoundPaths.insert(path);
            bench().backend().faults().notFoundPaths.insert(fallbackPath);
        }
    }

    qsizetype requestsTo(const QString& path, const QString& fallbackPath) const {
        return m_bench->received(path).size() + m_bench->received(fallbackPath).size();
    }

private Q_SLOTS:
    void init() {
        m_bench = std::make_unique<AuthBench>();
        QVERIFY2(m_bench->isListening(), qPrintable(m_bench->backend().errorString()));
        m_manager = m_bench->makeCheckedManager();
        QVERIFY(m_manager);
    }
    void cleanup() {
        m_manager.reset();
        m_bench.reset();
    }

    void aResetRequestShowsWhatTheServiceSaid_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<Service>("service");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("error");
        QTest::addColumn<int>("requests");
        QTest::newRow("blank address: refused, nothing sent")
            << u" \t\n"_s << Service::asIs << QString() << UiText::authEnterEmail << 0;
        QTest::newRow("address trimmed and sent, the service's words in green")
            << u"  Maija@Example.TEST \n"_s << Service::asIs << backendResetText << QString() << 1;
        QTest::newRow("a refusal's words in red")
            << AuthBench::email << Service::refuses400 << QString() << u"Palvelu sanoo ei."_s << 1;
        QTest::newRow("neither path known") << AuthBench::email << Service::knowsNoPath << QString()
                                            << UiText::authPasswordResetUnavailable << 2;
    }
    void aResetRequestShowsWhatTheServiceSaid() {
        QFETCH(QString, typed);
        QFETCH(Service, service);
        QFETCH(QString, message);
        QFETCH(QString, error);
        QFETCH(int, requests);
        breakService(service, resetPath, resetFallbackPath);
        PasswordResetForm form(*m_manager);
        QSignalSpy finished(&form, &PasswordResetForm::finished);
        form.open(typed);
        QCOMPARE(form.email(), typed);
        QVERIFY(form.isOpen());

        form.send();
        if (requests > 0) {
            QVERIFY(form.isSending());
            QCOMPARE(form.sendButtonText(), u"Lähetetään..."_s);
            QVERIFY(finished.wait());
        }
        QVERIFY(!form.isSending());
        QCOMPARE(form.sendButtonText(), u"Lähetä"_s);
        QCOMPARE(form.message(), message);
        QCOMPARE(form.error(), error);
        QCOMPARE(requestsTo(resetPath, resetFallbackPath), requests);
        if (requests > 0) {
            QCOMPARE(jsonOf(bench().received(resetPath).first().body),
                     (QJsonObject{{u"email"_s, AuthBench::email}}));
        }
        // The sheet stays up and leaves the login form's own state alone.
        QVERIFY(form.isOpen());
        QCOMPARE(form.email(), typed);
        QCOMPARE(m_manager->errorMessage(), QString());
        QVERIFY(!m_manager->isBusy());
    }

    void aSecondResetClearsTheRedLineAtOnceAndReopeningClearsBoth() {
        bench().backend().faults().httpFaults.push_back(respond(resetPath, 500, {}));
        PasswordResetForm form(*m_manager);
        QSignalSpy finished(&form, &PasswordResetForm::finished);
        form.open(AuthBench::email);
        form.send();
        QVERIFY(finished.wait());
        QCOMPARE(form.error(), UiText::authPasswordResetFailed);

        const qsizetype sentBefore = bench().sent.size();
        form.send();
        QCOMPARE(form.error(), QString());
        form.send(); // ignored while the first runs
        QCOMPARE(bench().sent.size(), sentBefore + 1);
        QVERIFY(finished.wait());
        QCOMPARE(form.message(), backendResetText);
        QCOMPARE(bench().received(resetPath).size(), 2);

        form.close();
        QVERIFY(!form.isOpen());
        form.open(u"toinen@example.test"_s);
        QCOMPARE(form.email(), u"toinen@example.test"_s);
        QCOMPARE(form.message(), QString());
        QCOMPARE(form.error(), QString());
    }

    void theNewPasswordIsCheckedInOrderBeforeAnythingIsSent_data() {
        QTest::addColumn<QString>("current");
        QTest::addColumn<QString>("next");
        QTest::addColumn<QString>("repeat");
        QTest::addColumn<QString>("error");
        const QString enterBoth = UiText::authEnterCurrentAndNewPassword;
        const QString mismatch = UiText::changePasswordMismatch;
        const QString tooShort = UiText::changePasswordTooShort;
        QTest::newRow("all empty") << QString() << QString() << QString() << enterBoth;
        QTest::newRow("current only blanks")
            << u" \n"_s << u"uusi-salasana"_s << u"uusi-salasana"_s << enterBoth;
        QTest::newRow("new missing comes before the mismatch")
            << AuthBench::password << QString() << u"jotain"_s << enterBoth;
        QTest::newRow("mismatch comes before the length")
            << AuthBench::password << u"lyhyt"_s << u"toinen"_s << mismatch;
        QTest::newRow("9 characters")
            << AuthBench::password << u"123456789"_s << u"123456789"_s << tooShort;
        QTest::newRow("9 characters and a trailing blank")
            << AuthBench::password << u"123456789 "_s << u"123456789 "_s << tooShort;
        QTest::newRow("repetition differing only in blanks still matches")
            << AuthBench::password << u"123456789\t"_s << u" 123456789"_s << tooShort;
        QTest::newRow("9 characters, one an emoji of two code units")
            << AuthBench::password << u"salasan\U0001F600a"_s << u"salasan\U0001F600a"_s
            << tooShort;
        QTest::newRow("9 characters written with combining marks")
            << AuthBench::password << u"pa\u0308a\u0308ssa\u0308nsa"_s
            << u"pa\u0308a\u0308ssa\u0308nsa"_s << tooShort;
    }
    void theNewPasswordIsCheckedInOrderBeforeAnythingIsSent() {
        QFETCH(QString, current);
        QFETCH(QString, next);
        QFETCH(QString, repeat);
        QFETCH(QString, error);
        QVERIFY(logIn());
        ChangePasswordForm form(*m_manager);
        form.open();
        form.setCurrentPassword(current);
        form.setNewPassword(next);
        form.setConfirmPassword(repeat);
        form.submit();
        QCOMPARE(form.error(), error);
        QCOMPARE(form.message(), QString());
        QVERIFY(!form.isChanging());
        QCOMPARE(requestsTo(changePath, changeFallbackPath), 0);
        // What the user typed stays to be corrected.
        QCOMPARE(form.currentPassword(), current);
        QCOMPARE(form.newPassword(), next);
        QCOMPARE(form.confirmPassword(), repeat);
    }

    void aChangeThatPassesTheChecksIsSentTrimmed_data() {
        QTest::addColumn<QString>("next");
        QTest::addColumn<QString>("repeat");
        QTest::addColumn<Service>("service");
        QTest::addColumn<bool>("loggedIn");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("error");
        const QString ten = u"1234567890"_s;
        QTest::newRow("exactly 10 characters")
            << ten << ten << Service::asIs << true << u"Salasana vaihdettu."_s << QString();
        QTest::newRow("10 characters inside blanks")
            << u"  1234567890\n"_s << ten << Service::asIs << true << u"Salasana vaihdettu."_s
            << QString();
        QTest::newRow("the service refuses")
            << ten << ten << Service::refuses400 << true << QString() << u"Palvelu sanoo ei."_s;
        QTest::newRow("neither path known") << ten << ten << Service::knowsNoPath << true
                                            << QString() << UiText::authPasswordChangeUnavailable;
        QTest::newRow("not logged in")
            << ten << ten << Service::asIs << false << QString() << UiText::authSessionMissing;
    }
    void aChangeThatPassesTheChecksIsSentTrimmed() {
        QFETCH(QString, next);
        QFETCH(QString, repeat);
        QFETCH(Service, service);
        QFETCH(bool, loggedIn);
        QFETCH(QString, message);
        QFETCH(QString, error);
        if (loggedIn)
            QVERIFY(logIn());
        breakService(service, changePath, changeFallbackPath);
        ChangePasswordForm form(*m_manager);
        QSignalSpy finished(&form, &ChangePasswordForm::finished);
        form.open();
        form.setCurrentPassword(u" "_s + AuthBench::password);
        form.setNewPassword(next);
        form.setConfirmPassword(repeat);

        const qsizetype sentBefore = bench().sent.size();
        form.submit();
        if (loggedIn) {
            QVERIFY(form.isChanging());
            QCOMPARE(form.saveButtonText(), u"Tallennetaan..."_s);
            form.submit(); // ignored while the first runs
            QCOMPARE(bench().sent.size(), sentBefore + 1);
        }
        QTRY_COMPARE(finished.size(), 1);
        QVERIFY(!form.isChanging());
        QCOMPARE(form.saveButtonText(), u"Tallenna"_s);
        QCOMPARE(form.message(), message);
        QCOMPARE(form.error(), error);
        QVERIFY(form.isOpen());

        const bool succeeded = error.isEmpty();
        QCOMPARE(form.currentPassword().isEmpty(), succeeded);
        QCOMPARE(form.newPassword().isEmpty(), succeeded);
        QCOMPARE(form.confirmPassword().isEmpty(), succeeded);
        if (succeeded) {
            const auto sent = jsonOf(bench().received(changePath).first().body);
            QCOMPARE(sent.value(u"newPassword"_s).toString(), u"1234567890"_s);
            QCOMPARE(sent.value(u"currentPassword"_s).toString(), AuthBench::password);
            QVERIFY(bench().backend().users().authenticate(AuthBench::email, u"1234567890"_s));
        }
        // A refusal never logs the user out.
        QCOMPARE(m_manager->isAuthenticated(), loggedIn);
    }

    void openingTheSheetEmptiesFieldsAndLines() {
        ChangePasswordForm form(*m_manager);
        QSignalSpy finished(&form, &ChangePasswordForm::finished);
        form.setCurrentPassword(u"a"_s);
        form.setNewPassword(u"b"_s);
        form.setConfirmPassword(u"c"_s);
        form.submit();
        QCOMPARE(form.error(), UiText::changePasswordMismatch);
        form.close();
        form.open();
        QVERIFY(form.isOpen());
        QCOMPARE(form.currentPassword(), QString());
        QCOMPARE(form.newPassword(), QString());
        QCOMPARE(form.confirmPassword(), QString());
        QCOMPARE(form.error(), QString());
        QCOMPARE(finished.size(), 0);
    }

private:
    std::unique_ptr<AuthBench> m_bench;
    std::unique_ptr<AuthManager> m_manager;
};

QTEST_GUILESS_MAIN(PasswordFormsTest)
#include "tst_password_forms.moc"
