// What the application does before its window: the command line, the search for the brand's
// files and what the start logs, the fonts registered once, and the wordmark's size.
#include "AppHarness.h"
#include "BrandImageProvider.h"
#include "MainScreen.h"
#include "Theme.h"
#include "text/UiText.h"

#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QPalette>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QQuickWindow>

using namespace vesnara;
using namespace vesnara::test;

namespace {

void touch(const QString& path) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
}

} // namespace

class AppStartupTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // A real face under a brand file name is registered on the first call only. First of the
    // slots: the flag is the process's, and every application made later sets it too.
    void fontsAreRegisteredOncePerProcess() {
        const QString face = u"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"_s;
        if (!QFileInfo::exists(face))
            QSKIP("the DejaVu face is not installed");
        QTemporaryDir root;
        QDir().mkpath(root.filePath(u"data/vesnara/Fonts"_s));
        QVERIFY(QFile::copy(face, root.filePath(u"data/vesnara/Fonts/MarkOffcPro.ttf"_s)));
        StartupDiagnostics::Environment environment;
        environment.dataHome = root.filePath(u"data"_s);
        const int familiesBefore = QFontDatabase::families().size();
        QVERIFY(StartupDiagnostics::registerFonts(environment));
        QVERIFY(QFontDatabase::families().size() >= familiesBefore);
        QVERIFY(QFontDatabase::hasFamily(u"DejaVu Sans"_s));
        QVERIFY(!StartupDiagnostics::registerFonts(environment));
    }

    void commandLine_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("backendURL");
        QTest::addColumn<QString>("error");
        QTest::newRow("none") << QStringList{} << QString() << QString();
        QTest::newRow("origin") << QStringList{u"--backend-url"_s, u"http://127.0.0.1:9000"_s}
                                << u"http://127.0.0.1:9000"_s << QString();
        QTest::newRow("trailing slashes and blanks")
            << QStringList{u"--backend-url= https://stt.example.test// "_s}
            << u"https://stt.example.test"_s << QString();
        QTest::newRow("no scheme") << QStringList{u"--backend-url"_s, u"127.0.0.1:9000"_s}
                                   << QString() << u"--backend-url needs"_s;
        QTest::newRow("other scheme") << QStringList{u"--backend-url"_s, u"ftp://host"_s}
                                      << QString() << u"--backend-url needs"_s;
        QTest::newRow("no value") << QStringList{u"--backend-url"_s} << QString()
                                  << u"Missing value"_s;
        QTest::newRow("unknown option")
            << QStringList{u"--backend"_s, u"x"_s} << QString() << u"Unknown option"_s;
        QTest::newRow("stray argument")
            << QStringList{u"http://127.0.0.1:9000"_s} << QString() << u"unexpected argument"_s;
    }
    void commandLine() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, backendURL);
        QFETCH(QString, error);
        const auto parsed = AppOptions::parse(QStringList{u"vesnara"_s} + arguments);
        if (!error.isEmpty()) {
            QVERIFY(std::holds_alternative<QString>(parsed));
            QVERIFY2(std::get<QString>(parsed).contains(error),
                     qPrintable(std::get<QString>(parsed)));
            return;
        }
        QVERIFY(std::holds_alternative<AppOptions>(parsed));
        QCOMPARE(std::get<AppOptions>(parsed).backendURL.value_or(QString()), backendURL);
    }

    // The override reaches both services before the start check runs, replacing what the user
    // had stored.
    void theBackendOverrideIsWhatTheApplicationUses() {
        AppHarness h;
        h.preferences.setString(AuthManager::authURLKey, u"https://auth.example.test"_s);
        STTConfiguration stored = STTConfigurationStore(h.preferences).load();
        stored.baseURL = u"https://stt.example.test"_s;
        STTConfigurationStore(h.preferences).save(stored);
        VesnaraApplication* application = h.makeChecked();
        QVERIFY(application);
        QCOMPARE(application->auth().authURL(), h.backendURL());
        QCOMPARE(STTConfigurationStore(h.preferences).load().baseURL, h.backendURL());
        application->auth().startLogin(AppHarness::email, AppHarness::password, false);
        QTRY_VERIFY_WITH_TIMEOUT(application->auth().isAuthenticated(), kEngineWaitMs);
    }

    void candidatesInSearchOrder() {
        StartupDiagnostics::Environment environment;
        environment.moduleResources = u":/Vesnara"_s;
        environment.applicationDirectory = u"/opt/vesnara/bin"_s;
        environment.dataHome = u"/home/u/.local/share"_s;
        environment.dataDirectories = {u"/usr/share/"_s, u"/opt/vesnara/share"_s, u"/usr/share"_s};
        QCOMPARE(StartupDiagnostics::candidates(environment),
                 (QStringList{u":/Vesnara"_s, u"/opt/vesnara/share/vesnara"_s,
                              u"/home/u/.local/share/vesnara"_s, u"/usr/share/vesnara"_s}));
    }

    void lookup_data() {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QString>("found");
        QTest::newRow("only in a nested Fonts directory")
            << QStringList{u"b/Fonts/MarkOffcPro.ttf"_s} << u"b/Fonts/MarkOffcPro.ttf"_s;
        QTest::newRow("flat before nested in one candidate")
            << QStringList{u"b/Fonts/MarkOffcPro.ttf"_s, u"b/MarkOffcPro.ttf"_s}
            << u"b/MarkOffcPro.ttf"_s;
        QTest::newRow("the earlier candidate wins")
            << QStringList{u"b/MarkOffcPro.ttf"_s, u"a/Fonts/MarkOffcPro.ttf"_s}
            << u"a/Fonts/MarkOffcPro.ttf"_s;
        QTest::newRow("a directory of the name is no file")
            << QStringList{u"a/MarkOffcPro.ttf/x"_s} << QString();
        QTest::newRow("nowhere") << QStringList{} << QString();
    }
    void lookup() {
        QFETCH(QStringList, files);
        QFETCH(QString, found);
        QTemporaryDir root;
        for (const QString& file : std::as_const(files))
            touch(root.filePath(file));
        const auto path =
            StartupDiagnostics::locate({root.filePath(u"a"_s), root.filePath(u"b"_s)},
                                       StartupDiagnostics::variantsOf(u"MarkOffcPro.ttf"_s));
        QCOMPARE(path.value_or(QString()), found.isEmpty() ? QString() : root.filePath(found));
    }

    void startLogLinesInOrder() {
        AppHarness h;
        StartupDiagnostics::Environment environment = h.resourceEnvironment();
        environment.build.clear();
        touch(h.resources.filePath(u"data/vesnara/Fonts/MarkOffcPro-Heavy.ttf"_s));
        touch(h.resources.filePath(u"share/vesnara/Tamberly-Logo-Black.png"_s));
        const QString share = QDir::cleanPath(h.resources.filePath(u"share/vesnara"_s));
        const QString data = h.resources.filePath(u"data/vesnara"_s);
        QCOMPARE(
            StartupDiagnostics::resourceStatusLines(environment),
            (QStringList{
                u"startup begin bundleId=vesnara version=0.1.0 build=- resourceRoot="_s + share,
                u"startup permissions keys mic=true screen=true systemAudio=true"_s,
                u"startup resources bundleCandidates=2"_s,
                u"startup resources candidate[0] name=vesnara path="_s + share,
                u"startup resources candidate[1] name=vesnara path="_s + data,
                u"startup resources logo=ok path="_s + share + u"/Tamberly-Logo-Black.png"_s,
                u"startup resources font-regular=missing "
                "variants=MarkOffcPro.ttf,Fonts/MarkOffcPro.ttf"_s,
                u"startup resources font-medium=missing "
                "variants=MarkOffcPro-Medium.ttf,Fonts/MarkOffcPro-Medium.ttf"_s,
                u"startup resources font-heavy=ok path="_s + data +
                    u"/Fonts/MarkOffcPro-Heavy.ttf"_s,
                u"startup resources font-black=missing "
                "variants=MarkOffcPro-Black.ttf,Fonts/MarkOffcPro-Black.ttf"_s,
                u"startup pre-ui resource scan complete"_s,
            }));
    }

    // The black logo turns light for a dark window; a missing file gives no image.
    void logoImages() {
        QTemporaryDir root;
        const QString path = root.filePath(u"Tamberly-Logo-Black.png"_s);
        QImage logo(40, 10, QImage::Format_ARGB32);
        logo.fill(QColor(0, 0, 0, 255));
        logo.setPixelColor(0, 0, QColor(0, 0, 0, 0));
        QVERIFY(logo.save(path));
        BrandImageProvider provider(path);
        QSize size;
        const QImage light = provider.requestImage(u"logo"_s, &size, {});
        QCOMPARE(size, QSize(40, 10));
        QCOMPARE(light.pixelColor(5, 5), QColor(Qt::black));
        const QImage dark = provider.requestImage(u"logo-inverted"_s, &size, QSize(20, 20));
        QCOMPARE(size, QSize(20, 5));
        QCOMPARE(dark.pixelColor(10, 2), QColor(Qt::white));
        QCOMPARE(provider.requestImage(u"logo-inverted"_s, &size, {}).pixelColor(0, 0).alpha(), 0);
        BrandImageProvider missing(root.filePath(u"none.png"_s));
        QVERIFY(missing.requestImage(u"logo"_s, &size, {}).isNull());
    }

    void wordmarkSize_data() {
        QTest::addColumn<qreal>("height");
        QTest::addColumn<qreal>("size");
        QTest::newRow("small logo keeps the floor") << 20.0 << 14.0;
        QTest::newRow("tall logo scales") << 50.0 << 21.0;
        QTest::newRow("no height") << 0.0 << 14.0;
    }
    void wordmarkSize() {
        QFETCH(qreal, height);
        QFETCH(qreal, size);
        QCOMPARE(Theme::logoTextSize(height), size);
    }

    // The window's own logo, without a logo file, draws the wordmark at that size.
    void wordmarkInTheWindow_data() {
        QTest::addColumn<qreal>("height");
        QTest::addColumn<int>("pixelSize");
        QTest::newRow("20") << 20.0 << 14;
        QTest::newRow("50") << 50.0 << 21;
    }
    void wordmarkInTheWindow() {
        QFETCH(qreal, height);
        QFETCH(int, pixelSize);
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        AppHarness h;
        VesnaraApplication& application = h.make();
        QQmlApplicationEngine engine;
        QVERIFY(application.load(engine));
        QQmlComponent component(&engine);
        component.setData("import Vesnara\nBrandLogo {}", QUrl());
        const std::unique_ptr<QObject> logo(
            component.createWithInitialProperties({{u"logoHeight"_s, height}}));
        QVERIFY2(logo, qPrintable(component.errorString()));
        const auto* wordmark = logo->findChild<QObject*>(u"brandWordmark"_s);
        QVERIFY(wordmark);
        QCOMPARE(wordmark->property("text").toString(), UiText::brandWordmark);
        QCOMPARE(wordmark->property("font").value<QFont>().pixelSize(), pixelSize);
    }

    void adminGate_data() {
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("open");
        QTest::newRow("1") << u"1"_s << true;
        QTest::newRow("true") << u"true"_s << false;
        QTest::newRow("padded") << u" 1"_s << false;
        QTest::newRow("unset") << QString() << false;
    }
    void adminGate() {
        QFETCH(QString, value);
        QFETCH(bool, open);
        QCOMPARE(MainScreen::adminGateOpen(value), open);
    }

    // A palette change while running switches the scheme, its colours and the logo's image.
    void theSchemeIsFollowedLive() {
        const QPalette original = QGuiApplication::palette();
        QPalette light;
        light.setColor(QPalette::Window, QColor(239, 239, 239));
        QGuiApplication::setPalette(light);
        Theme theme(true);
        QSignalSpy changed(&theme, &Theme::themeChanged);
        QVERIFY(!theme.dark());
        QCOMPARE(theme.background(), QColor::fromRgbF(0.968f, 0.976f, 0.984f));
        QCOMPARE(theme.logoSource(), QUrl(u"image://brand/logo"_s));

        QPalette dark;
        dark.setColor(QPalette::Window, QColor(30, 30, 30));
        QGuiApplication::setPalette(dark);
        QTRY_VERIFY(!changed.isEmpty());
        QVERIFY(theme.dark());
        QCOMPARE(theme.background(), QColor(30, 30, 30));
        QCOMPARE(theme.logoSource(), QUrl(u"image://brand/logo-inverted"_s));
        QCOMPARE(theme.cardShadowOpacity(), 0.36);
        QGuiApplication::setPalette(original);
        QVERIFY(!Theme(false).logoSource().isValid());
    }

    void darkSchemeFollowsTheWindowColour_data() {
        QTest::addColumn<QColor>("window");
        QTest::addColumn<bool>("dark");
        QTest::newRow("light grey") << QColor(239, 239, 239) << false;
        QTest::newRow("dark grey") << QColor(48, 48, 48) << true;
        QTest::newRow("mid grey just below half") << QColor(127, 127, 127) << true;
    }
    void darkSchemeFollowsTheWindowColour() {
        QFETCH(QColor, window);
        QFETCH(bool, dark);
        QPalette palette;
        palette.setColor(QPalette::Window, window);
        QCOMPARE(Theme::isDarkPalette(palette), dark);
    }
};

QTEST_MAIN(AppStartupTest)
#include "tst_app_startup.moc"
