// What `cmake --install` and the Debian package put on a system, checked the way a distribution
// checks it: installed into a private DESTDIR, the launcher entry and the software-centre
// description through their validators, and the .deb through dpkg-deb.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

using namespace Qt::StringLiterals;

namespace {

const QString kBuildDirectory = QString::fromUtf8(VESNARA_BUILD_DIR);
const QString kVersion = QString::fromUtf8(VESNARA_VERSION);
const QString kPrefix = u"/usr"_s;
const QString kDesktopFile = u"share/applications/vesnara.desktop"_s;
const QString kIconFile = u"share/icons/hicolor/scalable/apps/vesnara.svg"_s;
const QString kMetainfoFile = u"share/metainfo/local.vesnara.vesnara.metainfo.xml"_s;

struct Ran {
    int exitCode = -1;
    QString output;
};

// Standard output and error together: the validators report on either.
Ran run(const QString& program, const QStringList& arguments,
        const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(90'000) || process.exitStatus() != QProcess::NormalExit)
        return {-1, u"%1 did not finish: %2"_s.arg(program, process.errorString())};
    return {process.exitCode(), QString::fromUtf8(process.readAll())};
}

// "Key=value" lines of a desktop entry's main group.
QHash<QString, QString> desktopEntry(const QString& path) {
    QFile file(path);
    QHash<QString, QString> entry;
    if (!file.open(QIODevice::ReadOnly))
        return entry;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    for (const QString& line : lines) {
        const qsizetype equals = line.indexOf(u'=');
        if (equals > 0 && !line.startsWith(u'#'))
            entry.insert(line.left(equals), line.mid(equals + 1));
    }
    return entry;
}

// The text of the first element called `name`; empty when there is none or the XML is broken.
QString firstElementText(const QString& path, const QString& name) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == name)
            return xml.readElementText();
    }
    return {};
}

} // namespace

class InstallTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_work;
    QString m_root;
    QString m_package;

    QString installed(const QString& relative) const { return m_root + kPrefix + u'/' + relative; }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_work.isValid());
        m_root = m_work.filePath(u"root"_s);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"DESTDIR"_s, m_root);
        const Ran install =
            run(u"cmake"_s, {u"--install"_s, kBuildDirectory, u"--prefix"_s, kPrefix}, environment);
        QVERIFY2(install.exitCode == 0, qPrintable(install.output));

        const QString packageDirectory = m_work.filePath(u"package"_s);
        const Ran cpack =
            run(u"cpack"_s, {u"-G"_s, u"DEB"_s, u"-B"_s, packageDirectory, u"--config"_s,
                             kBuildDirectory + u"/CPackConfig.cmake"_s});
        QVERIFY2(cpack.exitCode == 0, qPrintable(cpack.output));
        const QStringList debs = QDir(packageDirectory).entryList({u"*.deb"_s}, QDir::Files);
        QVERIFY2(debs.size() == 1, qPrintable(cpack.output));
        m_package = QDir(packageDirectory).filePath(debs.first());
    }

    void installsInStandardPlaces_data() {
        QTest::addColumn<QString>("relative");
        QTest::addColumn<bool>("executable");
        QTest::newRow("program") << u"bin/vesnara"_s << true;
        QTest::newRow("desktop entry") << kDesktopFile << false;
        QTest::newRow("icon") << kIconFile << false;
        QTest::newRow("metainfo") << kMetainfoFile << false;
        QTest::newRow("brand files note") << u"share/vesnara/README"_s << false;
    }
    void installsInStandardPlaces() {
        QFETCH(QString, relative);
        QFETCH(bool, executable);
        const QFileInfo file(installed(relative));
        QVERIFY2(file.isFile(), qPrintable(file.filePath()));
        QCOMPARE(file.isExecutable(), executable);
    }

    // desktop-file-validate keeps its exit code for errors; a warning fails here too. Its
    // "hint" about two main categories is on purpose: the program belongs under Audio and Office.
    void validatorsAcceptWhatWasInstalled_data() {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("desktop entry")
            << u"desktop-file-validate"_s << QStringList{installed(kDesktopFile)};
        QTest::newRow("metainfo") << u"appstreamcli"_s
                                  << QStringList{u"validate"_s, u"--no-net"_s, u"--no-color"_s,
                                                 installed(kMetainfoFile)};
    }
    void validatorsAcceptWhatWasInstalled() {
        QFETCH(QString, program);
        QFETCH(QStringList, arguments);
        const Ran validated = run(program, arguments);
        QVERIFY2(validated.exitCode == 0, qPrintable(validated.output));
        static const QRegularExpression complaint(u"(^|\\s)(error|warning):|^[EW]: "_s,
                                                  QRegularExpression::MultilineOption);
        QVERIFY2(!complaint.match(validated.output).hasMatch(), qPrintable(validated.output));
    }

    // The validators look at each file alone; these names must also agree with each other and
    // with the name the program gives the desktop, or the launcher shows no icon and the
    // software centre cannot start it.
    void namesAgree() {
        const auto entry = desktopEntry(installed(kDesktopFile));
        QVERIFY(QFileInfo(installed(u"bin/"_s + entry.value(u"Exec"_s))).isExecutable());
        QCOMPARE(entry.value(u"Icon"_s), QFileInfo(kIconFile).completeBaseName());
        QVERIFY(entry.value(u"Categories"_s).split(u';').contains(u"Audio"_s));
        QVERIFY(entry.value(u"Categories"_s).split(u';').contains(u"Office"_s));
        QVERIFY(!entry.value(u"GenericName[fi]"_s).isEmpty());
        QVERIFY(!entry.value(u"Comment[fi]"_s).isEmpty());
        QCOMPARE(firstElementText(installed(kMetainfoFile), u"launchable"_s),
                 QFileInfo(kDesktopFile).fileName());
        QCOMPARE(firstElementText(installed(kMetainfoFile), u"id"_s) + u".metainfo.xml"_s,
                 QFileInfo(kMetainfoFile).fileName());
        QCOMPARE(firstElementText(installed(kIconFile), u"title"_s), u"Vesnara"_s);
    }

    // The installed copy has no build tree to lean on.
    void installedProgramRuns() {
        const Ran version = run(installed(u"bin/vesnara"_s), {u"--version"_s});
        QCOMPARE(version.exitCode, 0);
        QVERIFY2(version.output.startsWith(u"vesnara "_s + kVersion), qPrintable(version.output));
    }

    void packageHoldsTheInstalledFiles_data() {
        QTest::addColumn<QString>("relative");
        for (const QString& relative :
             {u"bin/vesnara"_s, kDesktopFile, kIconFile, kMetainfoFile, u"share/vesnara/README"_s})
            QTest::newRow(qPrintable(relative)) << relative;
    }
    void packageHoldsTheInstalledFiles() {
        QFETCH(QString, relative);
        const Ran listing = run(u"dpkg-deb"_s, {u"--contents"_s, m_package});
        QCOMPARE(listing.exitCode, 0);
        QVERIFY2(listing.output.contains(u" ./usr/"_s + relative + u'\n'),
                 qPrintable(listing.output));
        QVERIFY(!listing.output.contains(u"refbackend"_s));
    }

    // dpkg-shlibdeps names the Qt libraries the program links; the QML modules, loaded at run
    // time, are listed by hand.
    void packageDependsOnWhatTheProgramLoads_data() {
        QTest::addColumn<QString>("package");
        QTest::newRow("Qt core library") << u"libqt6core6"_s;
        QTest::newRow("Qt Quick library") << u"libqt6quick6"_s;
        QTest::newRow("C++ runtime") << u"libstdc++6"_s;
        QTest::newRow("sound server client") << u"libpulse0"_s;
        QTest::newRow("controls module") << u"qml6-module-qtquick-controls"_s;
        QTest::newRow("dialogs module") << u"qml6-module-qtquick-dialogs"_s;
        QTest::newRow("platform plugins") << u"qt6-qpa-plugins"_s;
    }
    void packageDependsOnWhatTheProgramLoads() {
        QFETCH(QString, package);
        const Ran depends = run(u"dpkg-deb"_s, {u"--field"_s, m_package, u"Depends"_s});
        QCOMPARE(depends.exitCode, 0);
        const QRegularExpression named(u"(^|, )"_s + QRegularExpression::escape(package) +
                                       u"( |,|$)"_s);
        QVERIFY2(named.match(depends.output.trimmed()).hasMatch(), qPrintable(depends.output));
    }
};

QTEST_GUILESS_MAIN(InstallTest)
#include "tst_install.moc"
