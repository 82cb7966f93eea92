// The search fields in the window: the saved sessions filtered as one types, and the open
// transcript's matches marked and stepped with Enter and Shift+Enter, the list following.
#include "AppHarness.h"
#include "Theme.h"
#include "WindowDriver.h"
#include "engine/parts/SessionHistory.h"
#include "engine/parts/SessionTranscript.h"
#include "storage/SessionHistoryStore.h"
#include "text/UiText.h"

using namespace vesnara;
using namespace vesnara::test;

namespace {

// 40 lines, a line every ten seconds; "budjetti" in lines 5 and 32 only.
SavedSession meeting(const QString& id, double start, const QString& topic) {
    SavedSession session;
    session.id = id;
    session.createdAt = Timestamp::fromUnixSeconds(start);
    session.endedAt = session.createdAt.addingSeconds(400.0);
    session.language = u"fi-FI"_s;
    session.sttModel = u"chirp_3"_s;
    for (int i = 0; i < 40; ++i) {
        const QString text =
            i == 5 || i == 32 ? u"Budjetistä päätetään nyt"_s : u"Rivi %1: %2"_s.arg(i).arg(topic);
        session.segments.append(
            {QUuid::createUuid(), text, session.createdAt.addingSeconds(10.0 * i), std::nullopt});
    }
    return session;
}

} // namespace

class SearchWindowTest : public QObject, WindowDriver {
    Q_OBJECT

    // Whether the history lists the session (its row shows its label).
    bool listed(const SavedSession& session) {
        return showsText(root(),
                         SavedSessionListModel::sessionLabel(SavedSessionListItem::from(session)));
    }

    // Focused as a click would, without scrolling the column to the field first.
    void focusField(QQuickItem* field) {
        QVERIFY(field);
        field->forceActiveFocus();
        QTRY_VERIFY(field->hasActiveFocus());
    }

    static bool lineInView(QQuickItem* lines, int row) {
        QQuickItem* line = nullptr;
        QMetaObject::invokeMethod(lines, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, line),
                                  Q_ARG(int, row));
        const qreal top = lines->property("contentY").toReal();
        return line && line->isVisible() && line->y() >= top &&
               line->y() + line->height() <= top + lines->height();
    }

private Q_SLOTS:
    void initTestCase() { QAccessible::setActive(true); }

    void searchingSessionsAndTheTranscript() {
        AppHarness h;
        const SavedSession budget = meeting(u"budjetti"_s, 1'767'261'600.0, u"kokous"_s);
        const SavedSession lunch = meeting(u"lounas"_s, 1'767'272'400.0, u"Lounastauko"_s);
        SessionHistoryStore store(h.historyDirectory.path());
        store.save(budget);
        store.save(lunch);
        VesnaraApplication& application = h.make();
        QQmlApplicationEngine engine;
        QVERIFY(loadWindow(application, engine));
        QVERIFY(logIn(AppHarness::password));
        QTRY_VERIFY(listed(budget) && listed(lunch));

        // Typed without diacritics and in capitals; blanks list everything again.
        QQuickItem* sessionSearch = control(UiText::sessionSearchName, QAccessible::EditableText);
        focusField(sessionSearch);
        for (const QChar c : u"LOUNASTAUKO"_s)
            QTest::sendKeyEvent(QTest::Click, m_window, Qt::Key_unknown, QString(c),
                                Qt::NoModifier);
        QTRY_VERIFY_WITH_TIMEOUT(!listed(budget), kEngineWaitMs);
        QVERIFY(listed(lunch));
        // Deleting all still means the whole history, so the command stays usable.
        QVERIFY(control(UiText::mainDeleteAllSessions, QAccessible::Button)->isEnabled());
        application.viewModel().history()->setSessionQuery(u"ei mitaan tallaista"_s);
        QTRY_VERIFY_WITH_TIMEOUT(!listed(lunch), kEngineWaitMs);
        QVERIFY(control(UiText::mainDeleteAllSessions, QAccessible::Button)->isEnabled());
        QTest::keyClick(m_window, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(m_window, Qt::Key_Space);
        QTRY_VERIFY(listed(budget) && listed(lunch));

        // Loading is the history's own command; the window's load button is tested elsewhere.
        application.viewModel().history()->loadSession(budget.id);
        QQuickItem* lines = item(u"transcriptLines"_s);
        QTRY_COMPARE_WITH_TIMEOUT(lines->property("count").toInt(), 40, kEngineWaitMs);

        // The first match is current and in sight; Enter goes on, Shift+Enter back.
        QQuickItem* search = control(UiText::transcriptSearchName, QAccessible::EditableText);
        focusField(search);
        for (const QChar c : u"budjetista"_s)
            QTest::sendKeyEvent(QTest::Click, m_window, Qt::Key_unknown, QString(c),
                                Qt::NoModifier);
        QQuickItem* summary = item(u"transcriptMatchSummary"_s);
        QTRY_COMPARE(summary->property("text").toString(), UiText::searchMatchSummary(1, 2));
        QTRY_VERIFY(lineInView(lines, 5));
        QTest::keyClick(m_window, Qt::Key_Return);
        QTRY_COMPARE(summary->property("text").toString(), UiText::searchMatchSummary(2, 2));
        QTRY_VERIFY(lineInView(lines, 32));
        QVERIFY(!lineInView(lines, 5));
        QTest::keyClick(m_window, Qt::Key_Return, Qt::ShiftModifier);
        QTRY_COMPARE(summary->property("text").toString(), UiText::searchMatchSummary(1, 2));
        QTRY_VERIFY(lineInView(lines, 5));
        QCOMPARE(application.viewModel().transcript()->currentMatchRow(), 5);
        screenshot(u"main-transcript-search"_s);
        m_window = nullptr;
    }
};

QTEST_MAIN(SearchWindowTest)
#include "tst_search_window.moc"
