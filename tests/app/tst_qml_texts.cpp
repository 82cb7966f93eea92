// No user-visible literal in a QML file: every text a screen shows, accessible names included,
// comes from the catalogue through `Texts` or from the C++ objects.
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// Properties whose value a user sees or hears, bound to a string literal or a translation call.
const QRegularExpression kVisibleLiteral(
    uR"((?:^|[\s;{])((?:text|title|placeholderText|Accessible\.name|Accessible\.description|ToolTip\.text|label)\s*:\s*.*(?:"[^"]*\p{L}[^"]*"|'[^']*\p{L}[^']*'|qsTr\s*\()))"_s);

QStringList visibleLiterals(const QString& source) {
    QStringList found;
    const QStringList lines = source.split(u'\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        QString line = lines[i];
        const qsizetype comment = line.indexOf(u"//"_s);
        if (comment >= 0)
            line.truncate(comment);
        if (const auto match = kVisibleLiteral.match(line); match.hasMatch())
            found << u"%1: %2"_s.arg(i + 1).arg(match.captured(1).trimmed());
    }
    return found;
}

} // namespace

class QmlTextsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theScanFindsLiterals_data() {
        QTest::addColumn<QString>("source");
        QTest::addColumn<int>("found");
        QTest::newRow("text literal") << u"Label { text: \"Aloita\" }"_s << 1;
        QTest::newRow("accessible name") << u"    Accessible.name: 'Sulje'"_s << 1;
        QTest::newRow("literal in a condition")
            << u"text: busy ? \"Odota\" : Texts.loginTitle"_s << 1;
        QTest::newRow("translation call") << u"title: qsTr(name)"_s << 1;
        QTest::newRow("catalogue") << u"text: Texts.mainStart"_s << 0;
        QTest::newRow("colour literal") << u"color: \"transparent\""_s << 0;
        QTest::newRow("object name") << u"objectName: \"statusDot\""_s << 0;
        QTest::newRow("commented out") << u"// text: \"Aloita\""_s << 0;
        QTest::newRow("digits only") << u"text: \"42\""_s << 0;
    }
    void theScanFindsLiterals() {
        QFETCH(QString, source);
        QFETCH(int, found);
        QCOMPARE(visibleLiterals(source).size(), qsizetype(found));
    }

    void noQmlFileHasAVisibleLiteral() {
        QStringList offences;
        int files = 0;
        QDirIterator it(QStringLiteral(VESNARA_QML_DIR), {u"*.qml"_s}, QDir::Files,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            QFile file(path);
            QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(path));
            ++files;
            for (const QString& literal : visibleLiterals(QString::fromUtf8(file.readAll())))
                offences << QFileInfo(path).fileName() + u':' + literal;
        }
        QVERIFY(files > 0);
        QCOMPARE(offences, QStringList{});
    }
};

QTEST_GUILESS_MAIN(QmlTextsTest)
#include "tst_qml_texts.moc"
