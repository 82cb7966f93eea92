#include "storage/STTConfigurationStore.h"
#include "storage/SettingsPreferences.h"
#include "support/InMemoryPreferences.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace vesnara;

// Both implementations must behave alike: the application uses one, the tests the other.
class PreferencesTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Preferences> make(const QString& kind) {
        if (kind == u"settings"_s)
            return std::make_unique<SettingsPreferences>(m_dir.filePath(u"prefs.ini"_s));
        return std::make_unique<InMemoryPreferences>();
    }

    static void addKinds() {
        QTest::addColumn<QString>("kind");
        QTest::newRow("QSettings") << u"settings"_s;
        QTest::newRow("in memory") << u"memory"_s;
    }

    QTemporaryDir m_dir;

private Q_SLOTS:

    void valuesComeBackAsTheyWereSet_data() { addKinds(); }
    void valuesComeBackAsTheyWereSet() {
        QFETCH(QString, kind);
        QFile::remove(m_dir.filePath(u"prefs.ini"_s));
        auto preferences = make(kind);
        const QByteArray json = R"({"baseURL":"https://x/ä","apiKey":""})";
        preferences->setBytes(u"vesnara.mac.config"_s, json);
        preferences->setString(u"vesnara.auth.email"_s, u"maija@example.test"_s);
        preferences->setBoolean(u"vesnara.auth.remember"_s, false);

        QCOMPARE(preferences->bytes(u"vesnara.mac.config"_s), json);
        QCOMPARE(preferences->string(u"vesnara.auth.email"_s), u"maija@example.test"_s);
        QCOMPARE(preferences->boolean(u"vesnara.auth.remember"_s), false);
        QVERIFY(!preferences->bytes(u"missing"_s));
        // A value of another kind reads as nothing rather than as a converted value.
        QVERIFY(!preferences->boolean(u"vesnara.auth.email"_s));
        QVERIFY(!preferences->bytes(u"vesnara.auth.email"_s));

        preferences->remove(u"vesnara.auth.email"_s);
        QVERIFY(!preferences->string(u"vesnara.auth.email"_s));
    }

    void settingsSurviveANewInstance() {
        const QString path = m_dir.filePath(u"persist.ini"_s);
        STTConfiguration config = STTConfiguration::defaults();
        config.apiKey = u"tallessa"_s;
        config.preferredInputDeviceID = 3735928559u;
        {
            SettingsPreferences preferences(path);
            STTConfigurationStore(preferences).save(config);
            preferences.setBoolean(u"flag"_s, true);
            preferences.setString(u"text"_s, u"true"_s);
        }
        SettingsPreferences reopened(path);
        QCOMPARE(STTConfigurationStore(reopened).load(), config);
        QCOMPARE(reopened.boolean(u"flag"_s), true);
        QCOMPARE(reopened.string(u"text"_s), u"true"_s);
    }
};

QTEST_GUILESS_MAIN(PreferencesTest)
#include "tst_preferences.moc"
