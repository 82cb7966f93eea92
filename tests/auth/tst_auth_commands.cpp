// The commands the screens call on the accounts client: each ends in its result signal, with
// what the awaited task would have given, and an error text a user can read.
#include "AuthTestBench.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

constexpr int kWaitMs = 10'000;

/// A command refused before anything is sent reports at once, before a wait could begin.
bool hasReported(QSignalSpy& spy) {
    return !spy.isEmpty() || spy.wait(kWaitMs);
}

} // namespace

class AuthCommandsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_bench = std::make_unique<AuthBench>();
        QVERIFY(m_bench->isListening());
        m_manager = m_bench->makeCheckedManager();
        QVERIFY(m_manager);
    }
    void cleanup() {
        m_manager.reset();
        m_bench.reset();
    }

    void loginReportsItsOutcome() {
        QSignalSpy finished(m_manager.get(), &AuthManager::loginFinished);
        m_manager->startLogin(AuthBench::email, u"väärä"_s, false);
        QVERIFY(hasReported(finished));
        QCOMPARE(finished.takeFirst().at(0).toBool(), false);
        QVERIFY(!m_manager->errorMessage().isEmpty());

        m_manager->startLogin(AuthBench::email, AuthBench::password, false);
        QVERIFY(hasReported(finished));
        QCOMPARE(finished.takeFirst().at(0).toBool(), true);
        QVERIFY(m_manager->isAuthenticated());
    }

    void administrationReportsUsersAndRefusals() {
        QSignalSpy listed(m_manager.get(), &AuthManager::adminUsersListed);
        m_manager->startAdminListUsers(AuthBench::adminKey);
        QVERIFY(hasReported(listed));
        auto arguments = listed.takeFirst();
        QCOMPARE(arguments.at(1).toString(), QString());
        const QVariantList users = arguments.at(0).toList();
        QCOMPARE(users.size(), 1);
        const QVariantMap user = users.first().toMap();
        QCOMPARE(user.value(u"email"_s).toString(), AuthBench::email);
        QCOMPARE(user.value(u"isActive"_s).toBool(), true);
        QVERIFY(!user.value(u"createdAt"_s).toString().isEmpty());

        m_manager->startAdminListUsers(u"väärä-avain"_s);
        QVERIFY(hasReported(listed));
        arguments = listed.takeFirst();
        QVERIFY(arguments.at(0).toList().isEmpty());
        QVERIFY(!arguments.at(1).toString().isEmpty());

        QSignalSpy finished(m_manager.get(), &AuthManager::adminRequestFinished);
        m_manager->startAdminCreateUser(u"uusi@example.test"_s, u"salasana-2"_s, u"user"_s,
                                        AuthBench::adminKey);
        QVERIFY(hasReported(finished));
        QCOMPARE(finished.takeFirst(), (QVariantList{u"createUser"_s, QString()}));
        // Checked before anything is sent: a role that does not exist.
        m_manager->startAdminCreateUser(u"toinen@example.test"_s, u"salasana-3"_s, u"root"_s,
                                        AuthBench::adminKey);
        QVERIFY(hasReported(finished));
        arguments = finished.takeFirst();
        QCOMPARE(arguments.at(0).toString(), u"createUser"_s);
        QVERIFY(!arguments.at(1).toString().isEmpty());
    }

    void aManagerGoneBeforeTheAnswerReportsNothing() {
        auto* manager = m_manager.get();
        QSignalSpy finished(manager, &AuthManager::passwordResetFinished);
        m_bench->backend().faults().httpFaults.push_back(
            {refbackend::HttpFault::Kind::delay, 0, {}, std::chrono::milliseconds(200), {}});
        manager->startPasswordReset(AuthBench::email);
        m_manager.reset();
        QVERIFY(QTest::qWaitFor([this] { return m_bench->transport.requestsInFlight() == 0; },
                                kWaitMs));
        QCOMPARE(finished.count(), 0);
    }

private:
    std::unique_ptr<AuthBench> m_bench;
    std::unique_ptr<AuthManager> m_manager;
};

QTEST_GUILESS_MAIN(AuthCommandsTest)
#include "tst_auth_commands.moc"
