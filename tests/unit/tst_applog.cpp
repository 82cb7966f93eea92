#include "storage/AppLog.h"
#include "support/TestFiles.h"

#include <QDateTime>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using vesnara::AppLog;
using vesnara::test::readFile;
using vesnara::test::writeFile;

namespace {

const QRegularExpression kLinePattern(uR"(^(\d+\.\d+) (.*)$)"_s);

QStringList linesOf(const QString& text) {
    QStringList lines = text.split(u'\n');
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

} // namespace

class AppLogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_dir.emplace();
        m_path = m_dir->filePath(u"vesnara/desktop.log"_s);
        AppLog::setLogFilePath(m_path);
    }

    void theFirstWriteCreatesDirectoryAndFile() {
        QVERIFY(!QFileInfo::exists(QFileInfo(m_path).absolutePath()));
        const double before = QDateTime::currentMSecsSinceEpoch() / 1000.0;
        AppLog::write(u"startRecording mode=microphone"_s);
        const QString text = AppLog::snapshot(1 << 20);
        const double after = QDateTime::currentMSecsSinceEpoch() / 1000.0;

        QVERIFY(text.endsWith(u'\n'));
        const auto lines = linesOf(text);
        QCOMPARE(lines.size(), 1);
        const auto match = kLinePattern.match(lines[0]);
        QVERIFY2(match.hasMatch(), qPrintable(lines[0]));
        QCOMPARE(match.captured(2), u"startRecording mode=microphone"_s);
        const double seconds = match.captured(1).toDouble();
        QVERIFY(seconds >= before - 0.002 && seconds <= after + 0.002);
        QCOMPARE(AppLog::currentLogURL().toLocalFile(), m_path);
    }

    void aSnapshotSeesWritesQueuedJustBeforeIt() {
        for (int i = 0; i < 200; ++i)
            AppLog::write(u"line=%1 äö€"_s.arg(i));
        const auto lines = linesOf(AppLog::snapshot(1 << 20));
        QCOMPARE(lines.size(), 200);
        QVERIFY(lines.last().endsWith(u" line=199 äö€"_s));
    }

    void writesFromManyThreadsKeepWholeLines() {
        constexpr int kThreads = 8;
        constexpr int kLinesEach = 250;
        const QString padding(1500, u'x'); // long lines would tear first if writes interleaved
        std::vector<std::thread> writers;
        for (int t = 0; t < kThreads; ++t) {
            writers.emplace_back([t, &padding] {
                for (int i = 0; i < kLinesEach; ++i)
                    AppLog::write(u"writer=%1 n=%2 %3 end"_s.arg(t).arg(i).arg(padding));
            });
        }
        for (auto& writer : writers)
            writer.join();

        const auto lines = linesOf(AppLog::snapshot(1 << 30));
        QCOMPARE(lines.size(), kThreads * kLinesEach);
        std::vector<int> nextPerWriter(kThreads, 0);
        const QRegularExpression body(uR"(^writer=(\d+) n=(\d+) x{1500} end$)"_s);
        for (const QString& line : lines) {
            const auto match = body.match(kLinePattern.match(line).captured(2));
            QVERIFY2(match.hasMatch(), qPrintable(line.left(80)));
            // Each writer's lines keep the order in which that writer wrote them.
            const int writer = match.captured(1).toInt();
            QCOMPARE(match.captured(2).toInt(), nextPerWriter[writer]++);
        }
    }

    void aMessageWithALineFeedContinuesUnmarked() {
        AppLog::write(u"first\nsecond"_s);
        const auto lines = linesOf(AppLog::snapshot(1 << 20));
        QCOMPARE(lines.size(), 2);
        QVERIFY(lines[0].endsWith(u" first"_s));
        QCOMPARE(lines[1], u"second"_s);
    }

    void aMissingOrEmptyFileSnapshotsAsNothing() {
        QCOMPARE(AppLog::snapshot(100), QString());
        writeFile(m_path, QByteArray());
        QCOMPARE(AppLog::snapshot(100), QString());
    }

    void aFileOfExactlyMaxBytesIsWhole() {
        const QByteArray content = "1.5 alku\n2.5 ääkköset\n";
        writeFile(m_path, content);
        QCOMPARE(AppLog::snapshot(content.size()), QString::fromUtf8(content));
        QCOMPARE(AppLog::snapshot(content.size() - 1), QString::fromUtf8(content.mid(1)));
    }

    void aTailCutInsideACharacterIsRepaired() {
        // "ä" is two bytes; the last 6 bytes of "ääää\n" start halfway through the second one.
        writeFile(m_path, "1.5 ääää\n");
        QCOMPARE(AppLog::snapshot(6), QString(QChar::ReplacementCharacter) + u"ää\n"_s);
    }

    void damagedBytesInAWholeFileGiveNothingButATailIsRepaired() {
        writeFile(m_path, "1.5 ok\n2.5 \xff\xfe bad\n3.5 tail\n");
        QCOMPARE(AppLog::snapshot(1000), QString());
        QCOMPARE(AppLog::snapshot(9), u"3.5 tail\n"_s);
        QCOMPARE(AppLog::snapshot(16), u"\uFFFD\uFFFD bad\n3.5 tail\n"_s);
    }

    void linesBeforeAPathChangeStayInTheOldFile() {
        AppLog::write(u"old"_s);
        const QString newPath = m_dir->filePath(u"other/desktop.log"_s);
        AppLog::setLogFilePath(newPath);
        QCOMPARE(AppLog::currentLogURL().toLocalFile(), newPath);
        AppLog::write(u"new"_s);
        QVERIFY(linesOf(AppLog::snapshot(100)).last().endsWith(u" new"_s));
        QVERIFY(QString::fromUtf8(readFile(m_path)).endsWith(u" old\n"_s));
    }

private:
    std::optional<QTemporaryDir> m_dir;
    QString m_path;
};

QTEST_GUILESS_MAIN(AppLogTest)
#include "tst_applog.moc"
