#include "audio/SystemAudioSources.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

SystemAudioApplication app(const QString& bundle, const QString& name, qint64 pid = 0) {
    return {bundle, name, pid ? QList<qint64>{pid} : QList<qint64>{}};
}

const OwnApplication self{u"vesnara"_s, 4242};

SystemAudioContent content() {
    return {std::nullopt,
            {{7, u"Speakers"_s}, {9, QString()}},
            {app(u"firefox"_s, u"Firefox"_s, 10), app(u"vesnara"_s, u"Vesnara"_s, 4242),
             app(u"spotify"_s, u"Spotify"_s, 11), app(u"paplay"_s, u"x"_s, 4242)}};
}

} // namespace

class SystemAudioSourcesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void applicationsAreGroupedNamedAndSorted() {
        const QList<SystemAudioApplication> apps{
            app(u"zoom"_s, u" zoom \n"_s),     app(u"firefox"_s, u"Firefox Nightly"_s),
            app(u"firefox"_s, u"Firefox"_s),   app(u""_s, u"Nameless"_s),
            app(u"chromium"_s, u"  "_s),       app(u"banshee"_s, u"Banshee"_s),
            app(u"audacity"_s, u"audacity"_s),
        };
        const auto options = applicationSourceOptions(apps);
        QStringList names;
        for (const auto& option : options) {
            names << option.name;
            QCOMPARE(option.id, option.bundleIdentifier);
        }
        // One Firefox entry, named after the first of its names in order; a name is trimmed and
        // a blank one falls back to the identifier; case does not order; empty ids are dropped.
        QCOMPARE(names, (QStringList{u"audacity"_s, u"Banshee"_s, u"chromium"_s, u"Firefox"_s,
                                     u"zoom"_s}));
    }

    void ownApplicationIsLeftOutByIdentifierOrProcess() {
        const auto others = withoutOwnApplication(content().applications, self);
        QCOMPARE(others.size(), 2);
        QCOMPARE(others.first().bundleIdentifier, u"firefox"_s);
        QCOMPARE(others.last().bundleIdentifier, u"spotify"_s);
    }

    void displaysAreNamedAfterTheirOutput() {
        const auto options = displaySourceOptions(content().displays);
        QCOMPARE(options,
                 (QList<SystemAudioDisplayOption>{{7, u"Speakers"_s}, {9, u"Äänilähtö 9"_s}}));
    }

    void selectionFollowsPreferencesThatStillHold_data() {
        QTest::addColumn<int>("preferredDisplay"); // 0: none
        QTest::addColumn<QString>("preferredApp"); // "-": none
        QTest::addColumn<int>("display");
        QTest::addColumn<QString>("targetApp");
        QTest::addColumn<int>("appCount");
        QTest::addColumn<QString>("appName");
        QTest::newRow("no preferences")
            << 0 << u"-"_s << 7 << QString() << 2 << u"Kaikki sovellukset"_s;
        QTest::newRow("preferred display")
            << 9 << u"-"_s << 9 << QString() << 2 << u"Kaikki sovellukset"_s;
        QTest::newRow("vanished display")
            << 5 << u"-"_s << 7 << QString() << 2 << u"Kaikki sovellukset"_s;
        QTest::newRow("running app, trimmed")
            << 0 << u" spotify\n"_s << 7 << u"spotify"_s << 1 << u"Spotify"_s;
        QTest::newRow("app that quit")
            << 0 << u"zoom"_s << 7 << QString() << 2 << u"Kaikki sovellukset"_s;
        QTest::newRow("blank app")
            << 0 << u"  "_s << 7 << QString() << 2 << u"Kaikki sovellukset"_s;
        QTest::newRow("this program is never chosen")
            << 0 << u"vesnara"_s << 7 << QString() << 2 << u"Kaikki sovellukset"_s;
    }
    void selectionFollowsPreferencesThatStillHold() {
        QFETCH(int, preferredDisplay);
        QFETCH(QString, preferredApp);
        QFETCH(int, display);
        QFETCH(QString, targetApp);
        QFETCH(int, appCount);
        QFETCH(QString, appName);
        const auto selection = selectSystemAudioSource(
            content(),
            preferredDisplay ? std::optional(static_cast<quint32>(preferredDisplay)) : std::nullopt,
            preferredApp == u"-"_s ? std::nullopt : std::optional(preferredApp), self);
        QVERIFY(selection);
        QCOMPARE(selection->display.id, static_cast<quint32>(display));
        QCOMPARE(selection->target,
                 (SystemAudioCaptureTarget{static_cast<quint32>(display), targetApp}));
        QCOMPARE(selection->applications.size(), appCount);
        QCOMPARE(selection->applicationName(), appName);
    }

    void onlyOneOtherApplicationNamesItButCapturesTheOutput() {
        SystemAudioContent c = content();
        c.applications = {app(u"firefox"_s, u"Firefox"_s)};
        const auto selection = selectSystemAudioSource(c, std::nullopt, std::nullopt, self);
        QCOMPARE(selection->applicationName(), u"Firefox"_s);
        QVERIFY(selection->target.applicationBundleIdentifier.isEmpty());
    }

    void noDisplayNoSelection() {
        SystemAudioContent c = content();
        c.displays.clear();
        QVERIFY(!selectSystemAudioSource(c, 7, std::nullopt, self));
    }
};

QTEST_GUILESS_MAIN(SystemAudioSourcesTest)
#include "tst_system_audio_sources.moc"
