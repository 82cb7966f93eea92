// The memo of a finished session through the view model: the backend writes it, the document is
// fetched and saved where the panel says, and every way out of a run ends in its status text.
#include "EngineHarness.h"

#include "refbackend/DocxReading.h"
#include "text/UiText.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

using namespace vesnara;
using namespace vesnara::test;

namespace {

const QString kLineTime = u"2026-03-04T09:15:02Z"_s;

/// Records one line and stops, leaving the view model with a finished session on screen; the
/// session's id, or empty when the recording did not get that far.
QString recordOneLine(EngineHarness& h) {
    TranscriptionViewModel& vm = *h.viewModel;
    if (!h.startRecordingIn(AudioInputMode::microphone))
        return {};
    const QString id = vm.sessionId();
    h.backend().sendStreamEvent(id,
                                finalEvent(u"Budjetti hyväksyttiin yksimielisesti"_s, kLineTime));
    if (!QTest::qWaitFor([&vm] { return vm.transcript()->segmentCount() == 1; }, kEngineWaitMs))
        return {};
    vm.stopRecording();
    if (!QTest::qWaitFor([&vm] { return vm.status()->statusText() == UiText::statusStopped; },
                         kEngineWaitMs))
        return {};
    return id;
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The bodies of the memo requests the server received, in order.
QList<QJsonObject> summaryRequestBodies(EngineHarness& h) {
    QList<QJsonObject> bodies;
    for (const auto& request : h.server->requests()) {
        if (request.method == "POST" && request.path.endsWith(u"/summary"_s))
            bodies << QJsonDocument::fromJson(request.body).object();
    }
    return bodies;
}

} // namespace

class ViewModelMemoTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void savedMemoIsAWordDocumentWithItsTitle() {
        EngineHarness h;
        QVERIFY(h.server.isListening());
        auto& vm = h.make();
        // Nothing to write a memo of yet: the press is silent.
        QVERIFY(!vm.canSummary());
        const QString before = vm.status()->statusText();
        vm.support()->generateSummaryDocx();
        QCOMPARE(vm.status()->statusText(), before);

        const QString id = recordOneLine(h);
        QVERIFY(!id.isEmpty());
        QVERIFY(vm.canSummary());
        h.filePanels.saveDirectory = h.downloads.path();
        vm.support()->generateSummaryDocx();
        QCOMPARE(vm.status()->statusText(), UiText::memoGenerating);
        // The run took its configuration at the press: an address edited meanwhile is not its.
        vm.settings()->setBaseURL(u"http://127.0.0.1:9"_s);
        const QString fileName = id + u"-muistio.docx"_s;
        QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::memoSaved(fileName),
                                  kEngineWaitMs);
        QCOMPARE(h.filePanels.proposedNames, QStringList{fileName});
        QCOMPARE(h.filePanels.filters, QStringList{UiText::memoFileFilter});

        // The local lines went along, time to the second in UTC.
        const QList<QJsonObject> bodies = summaryRequestBodies(h);
        QCOMPARE(bodies.size(), 1);
        const QJsonArray lines = bodies.first().value(u"transcriptSegments"_s).toArray();
        QCOMPARE(lines.size(), 1);
        QCOMPARE(lines.first().toObject().value(u"text"_s),
                 u"Budjetti hyväksyttiin yksimielisesti"_s);
        QCOMPARE(lines.first().toObject().value(u"ts"_s), kLineTime);

        const auto entries = unzip(readFile(QDir(h.downloads.path()).filePath(fileName)));
        QVERIFY(entries.has_value());
        QVERIFY(entries->contains(u"word/document.xml"_s));
        const std::optional<QJsonObject> memo = h.session(id)->summary;
        QVERIFY(memo.has_value());
        const QString title = memo->value(u"title"_s).toString();
        QVERIFY(!title.isEmpty());
        QVERIFY2(paragraphs(entries->value(u"word/document.xml"_s)).join(u'\n').contains(title),
                 qPrintable(title));
    }

    // A refused request ends the run with the server's words; no panel opens, nothing is written.
    void refusedRequestWritesNothing_data() {
        QTest::addColumn<QString>("refusedPath");
        QTest::addColumn<int>("downloads");
        QTest::newRow("generation") << u"/summary"_s << 0;
        QTest::newRow("download") << u"/summary/docx"_s << 1;
    }
    void refusedRequestWritesNothing() {
        QFETCH(QString, refusedPath);
        QFETCH(int, downloads);
        EngineHarness h;
        QVERIFY(h.server.isListening());
        auto& vm = h.make();
        QVERIFY(!recordOneLine(h).isEmpty());
        h.filePanels.saveDirectory = h.downloads.path();
        // "/summary" matches the download's path too; the generation comes first and uses it up.
        h.backend().faults().httpFaults.push_back(
            refbackend::HttpFault{refbackend::HttpFault::Kind::respond,
                                  500,
                                  R"({"error":"Muistiopalvelu ei vastaa"})",
                                  {},
                                  refusedPath});

        vm.support()->generateSummaryDocx();
        QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(),
                                  UiText::memoGenerationFailed(u"Muistiopalvelu ei vastaa"_s),
                                  kEngineWaitMs);
        QCOMPARE(h.requestCount(u"/summary/docx"_s), downloads);
        QVERIFY(h.filePanels.proposedNames.isEmpty());
        QCOMPARE(QDir(h.downloads.path()).entryList(QDir::Files | QDir::Hidden), QStringList{});
    }

    // What the panel answers decides the ending; the document is never kept elsewhere.
    void panelAnswerDecidesTheEnding_data() {
        QTest::addColumn<bool>("cancel");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("status");
        QTest::newRow("cancelled") << true << QString() << UiText::memoReady;
        QTest::newRow("folder gone")
            << false << u"poistettu/muistio.docx"_s << UiText::memoSaveFailed;
    }
    void panelAnswerDecidesTheEnding() {
        QFETCH(bool, cancel);
        QFETCH(QString, target);
        QFETCH(QString, status);
        EngineHarness h;
        QVERIFY(h.server.isListening());
        auto& vm = h.make();
        QVERIFY(!recordOneLine(h).isEmpty());
        h.filePanels.answers.push_back(cancel ? std::nullopt
                                              : std::optional(h.downloads.filePath(target)));
        vm.support()->generateSummaryDocx();
        QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), status, kEngineWaitMs);
        QCOMPARE(h.filePanels.answered, 1);
        QCOMPARE(QDir(h.downloads.path())
                     .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
                 QStringList{});
        QCOMPARE(QDir(h.temporary.path())
                     .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
                 QStringList{});
    }

    // No flag holds a second press back: both runs ask the server and save their own file.
    void twoRunsGoOnSideBySide() {
        EngineHarness h;
        QVERIFY(h.server.isListening());
        auto& vm = h.make();
        const QString id = recordOneLine(h);
        QVERIFY(!id.isEmpty());
        const QString first = h.downloads.filePath(u"eka.docx"_s);
        const QString second = h.downloads.filePath(u"toka.docx"_s);
        h.filePanels.answers = {first, second};

        // The second press comes while the first run waits for the server.
        vm.support()->generateSummaryDocx();
        vm.support()->generateSummaryDocx();
        QVERIFY(vm.canSummary());
        QTRY_COMPARE_WITH_TIMEOUT(h.filePanels.answered, 2, kEngineWaitMs);
        QCOMPARE(summaryRequestBodies(h).size(), 2);
        QCOMPARE(h.requestCount(u"/summary/docx"_s), 2);
        QVERIFY(h.statuses.contains(UiText::memoSaved(u"eka.docx"_s)));
        QVERIFY(h.statuses.contains(UiText::memoSaved(u"toka.docx"_s)));
        QVERIFY(unzip(readFile(first)).has_value());
        QVERIFY(unzip(readFile(second)).has_value());
    }
};

QTEST_GUILESS_MAIN(ViewModelMemoTest)
#include "tst_view_model_memo.moc"
