#include "model/SavedSession.h"
#include "storage/AppLog.h"
#include "storage/SessionHistoryStore.h"
#include "storage/SettingsPreferences.h"
#include "storage/UserDirectories.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <optional>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

constexpr std::array<const char*, 4> kVariables{"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME",
                                                "XDG_STATE_HOME"};

/// Sets `name` to `value`; a null value unsets it.
void setVariable(const char* name, const QByteArray& value) {
    if (value.isNull())
        qunsetenv(name);
    else
        qputenv(name, value);
}

} // namespace

/// Where the settings, the saved sessions and the log go, by the XDG variables of the process.
class UserDirectoriesTest : public QObject {
    Q_OBJECT

private:
    std::optional<QTemporaryDir> m_root;
    std::array<std::optional<QByteArray>, kVariables.size()> m_saved;

    QString root(const QString& relative) const { return m_root->filePath(relative); }

private Q_SLOTS:
    void init() {
        m_root.emplace();
        QVERIFY(m_root->isValid());
        for (size_t i = 0; i < kVariables.size(); ++i)
            if (qEnvironmentVariableIsSet(kVariables[i]))
                m_saved[i] = qgetenv(kVariables[i]);
        qputenv("HOME", QFile::encodeName(root(u"home"_s)));
    }
    void cleanup() {
        for (size_t i = 0; i < kVariables.size(); ++i)
            setVariable(kVariables[i], m_saved[i].value_or(QByteArray()));
        m_saved = {};
    }

    // The XDG rules: an absolute variable is the base; unset, empty or relative means the
    // default below the home directory.
    void eachFileFollowsItsVariableOrTheHomeDefault_data() {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<bool>("variableIsTheBase");
        QTest::newRow("absolute") << QByteArray("absolute") << true;
        QTest::newRow("unset") << QByteArray() << false;
        QTest::newRow("empty") << QByteArray("") << false;
        QTest::newRow("relative is ignored") << QByteArray("relative/base") << false;
    }
    void eachFileFollowsItsVariableOrTheHomeDefault() {
        QFETCH(QByteArray, value);
        QFETCH(bool, variableIsTheBase);
        const auto base = [&](const QString& variableDir, const QString& homeDefault) {
            return variableIsTheBase ? root(variableDir) : root(u"home/"_s + homeDefault);
        };
        const auto valueFor = [&](const QString& variableDir) {
            return value == "absolute" ? QFile::encodeName(root(variableDir)) : value;
        };
        setVariable("XDG_CONFIG_HOME", valueFor(u"cfg"_s));
        setVariable("XDG_DATA_HOME", valueFor(u"dat"_s));
        setVariable("XDG_STATE_HOME", valueFor(u"st"_s));

        QCOMPARE(UserDirectories::settingsFile(),
                 base(u"cfg"_s, u".config"_s) + u"/vesnara/Vesnara.conf"_s);
        QCOMPARE(SessionHistoryStore::defaultDirectory(),
                 base(u"dat"_s, u".local/share"_s) + u"/vesnara/sessions"_s);
        QCOMPARE(AppLog::defaultLogPath(),
                 base(u"st"_s, u".local/state"_s) + u"/vesnara/desktop.log"_s);
    }

    void theDefaultStoresWriteTheirFilesThereAndNowhereElse() {
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(root(u"config"_s)));
        qputenv("XDG_DATA_HOME", QFile::encodeName(root(u"data"_s)));
        qputenv("XDG_STATE_HOME", QFile::encodeName(root(u"state"_s)));

        {
            SettingsPreferences preferences;
            preferences.setString(u"vesnara.test"_s, u"kept"_s);
            preferences.sync();
        }
        QVERIFY(QFileInfo::exists(root(u"config/vesnara/Vesnara.conf"_s)));
        QCOMPARE(SettingsPreferences().string(u"vesnara.test"_s), std::optional(u"kept"_s));

        SavedSession session;
        session.id = u"s1"_s;
        session.createdAt = Timestamp::fromSecondsSinceReferenceDate(1000.0);
        session.endedAt = Timestamp::fromSecondsSinceReferenceDate(1060.0);
        SessionHistoryStore().save(session);
        QVERIFY(QFileInfo::exists(root(u"data/vesnara/sessions/s1.json"_s)));

        AppLog::setLogFilePath(AppLog::defaultLogPath());
        AppLog::write(u"userDirectories probe=1"_s);
        QVERIFY(AppLog::snapshot(4096).endsWith(u" userDirectories probe=1\n"_s));
        QVERIFY(QString::fromUtf8(test::readFile(root(u"state/vesnara/desktop.log"_s)))
                    .endsWith(u" userDirectories probe=1\n"_s));
        AppLog::setLogFilePath(m_root->filePath(u"elsewhere.log"_s));

        // One directory of ours in each base and nothing in the home directory.
        for (const auto& base : {u"config"_s, u"data"_s, u"state"_s})
            QCOMPARE(QDir(root(base)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                     QStringList{u"vesnara"_s});
        QVERIFY(!QFileInfo::exists(root(u"home"_s)) ||
                QDir(root(u"home"_s)).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot));
    }
};

QTEST_GUILESS_MAIN(UserDirectoriesTest)
#include "tst_user_directories.moc"
