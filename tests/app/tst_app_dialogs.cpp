// The window's own questions through the composition root: the core's prompts, confirmations
// and save panels shown by the real QML (Qt Quick's own FileDialog included) on the offscreen
// platform, answered by keys and clicks as a user would.
#include "AppHarness.h"
#include "QmlDialogs.h"
#include "QmlFilePanels.h"
#include "WindowDriver.h"
#include "engine/export/TranscriptFormats.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/parts/SessionTranscript.h"
#include "support/AwaitTask.h"
#include "text/UiText.h"

#include <QFile>

using namespace vesnara;
using namespace vesnara::test;

namespace {

enum class Answer { saveButton, returnKey, escapeKey, cancelButton };

} // namespace

class AppDialogsTest : public QObject, WindowDriver {
    Q_OBJECT

    // Owned here, so that cleanup takes the window down before the application it shows.
    std::unique_ptr<AppHarness> m_harness;
    std::unique_ptr<QQmlApplicationEngine> m_engine;

    // The application with the window's own questions, its window up on the login screen.
    VesnaraApplication* open(AppHarness& h) {
        h.windowQuestions = true;
        VesnaraApplication* application = h.makeChecked();
        if (!application)
            return nullptr;
        m_engine = std::make_unique<QQmlApplicationEngine>();
        return loadWindow(*application, *m_engine) ? application : nullptr;
    }

    // One pin on screen, as a recording would have left it.
    QUuid insertPin(VesnaraApplication& application, const QString& label) {
        TranscriptPin pin;
        pin.id = QUuid::createUuid();
        pin.label = label;
        pin.kind = TranscriptPinKind::revisit;
        application.viewModel().transcript()->insertPin(pin);
        return pin.id;
    }

    QString pinLabel(VesnaraApplication& application, const QUuid& id) {
        const TranscriptPin* pin = application.viewModel().transcript()->pin(id);
        return pin ? pin->label : QString();
    }

    // A button of Qt Quick's own file dialog, found by its text: its words are Qt's, not ours.
    // Qt 6.4 labels the accepting button "Open" in save mode too.
    QQuickItem* fileDialogButton(bool accept) {
        if (!accept)
            return findButton(root(), u"Cancel"_s);
        QQuickItem* save = findButton(root(), u"Save"_s);
        return save ? save : findButton(root(), u"Open"_s);
    }

    static QQuickItem* findButton(QQuickItem* item, const QString& text) {
        if (item->isVisible() && item->inherits("QQuickAbstractButton") &&
            item->property("text").toString() == text)
            return item;
        for (QQuickItem* child : item->childItems()) {
            if (QQuickItem* found = findButton(child, text))
                return found;
        }
        return nullptr;
    }

private Q_SLOTS:
    void initTestCase() { QAccessible::setActive(true); }

    void cleanup() {
        m_window = nullptr;
        m_engine.reset();
        m_harness.reset();
    }

    // The pin's rename prompt: the field has the first focus and the pin's label; what is typed
    // reaches the command by the save button or Return, and nothing by Escape or cancel.
    void renamePromptAnswers_data() {
        QTest::addColumn<Answer>("answer");
        QTest::addColumn<QString>("expected");
        QTest::newRow("Tallenna") << Answer::saveButton << u"Päätös budjetista"_s;
        QTest::newRow("Return in the field") << Answer::returnKey << u"Päätös budjetista"_s;
        QTest::newRow("Escape") << Answer::escapeKey << u"Palaa tähän"_s;
        QTest::newRow("Peruuta") << Answer::cancelButton << u"Palaa tähän"_s;
    }
    void renamePromptAnswers() {
        QFETCH(Answer, answer);
        QFETCH(QString, expected);
        m_harness = std::make_unique<AppHarness>();
        AppHarness& h = *m_harness;
        VesnaraApplication* application = open(h);
        QVERIFY(application);
        const QUuid id = insertPin(*application, u"Palaa tähän"_s);
        QVERIFY(!control(UiText::promptRenamePinTitle, QAccessible::EditableText));

        application->viewModel().transcript()->promptRenamePin(id);
        QQuickItem* field = waitForControl(UiText::promptRenamePinTitle, QAccessible::EditableText);
        QVERIFY(field);
        QTRY_VERIFY(field->hasActiveFocus());
        QCOMPARE(field->property("text").toString(), u"Palaa tähän"_s);
        QVERIFY(control(UiText::promptSave, QAccessible::Button));

        QTest::keyClick(m_window, Qt::Key_A, Qt::ControlModifier);
        for (const QChar character : u"  Päätös budjetista "_s)
            QTest::sendKeyEvent(QTest::Click, m_window, Qt::Key_unknown, QString(character),
                                Qt::NoModifier);
        switch (answer) {
        case Answer::saveButton:
            click(control(UiText::promptSave, QAccessible::Button));
            break;
        case Answer::returnKey:
            QTest::keyClick(m_window, Qt::Key_Return);
            break;
        case Answer::escapeKey:
            QTest::keyClick(m_window, Qt::Key_Escape);
            break;
        case Answer::cancelButton:
            click(control(UiText::promptCancel, QAccessible::Button));
            break;
        }
        QTRY_VERIFY(!control(UiText::promptRenamePinTitle, QAccessible::EditableText));
        QTRY_COMPARE(pinLabel(*application, id), expected);
        QVERIFY(!application->windowDialogs().promptOpen());

        // The next prompt starts from its own text, not from what was typed into the last one.
        application->viewModel().transcript()->promptRenamePin(id);
        QVERIFY((field = waitForControl(UiText::promptRenamePinTitle, QAccessible::EditableText)));
        QCOMPARE(field->property("text").toString(), expected);
        if (answer == Answer::saveButton)
            screenshot(u"prompt"_s);
        QTest::keyClick(m_window, Qt::Key_Escape);
        QTRY_VERIFY(!application->windowDialogs().promptOpen());
    }

    // The API key's prompt is masked and saves what is typed, trimmed; a newer question cancels
    // the open one, whose command then changes nothing.
    void maskedPromptAndANewerQuestion() {
        m_harness = std::make_unique<AppHarness>();
        AppHarness& h = *m_harness;
        VesnaraApplication* application = open(h);
        QVERIFY(application);
        RecordingSettings& settings = *application->viewModel().settings();
        const QString storedKey = settings.apiKey();
        QVERIFY(!storedKey.isEmpty());

        settings.promptForAPIKey();
        QQuickItem* field = waitForControl(UiText::promptAPIKeyTitle, QAccessible::EditableText);
        QVERIFY(field);
        QTRY_VERIFY(field->hasActiveFocus());
        QCOMPARE(field->property("text").toString(), storedKey);
        retype(field, u" uusi-avain-2026 "_s);
        QVERIFY(!field->property("displayText").toString().contains(u"uusi-avain"_s));
        click(control(UiText::promptSave, QAccessible::Button));
        QTRY_COMPARE(settings.apiKey(), u"uusi-avain-2026"_s);

        settings.promptForAPIKey();
        QVERIFY((field = waitForControl(UiText::promptAPIKeyTitle, QAccessible::EditableText)));
        QCOMPARE(field->property("text").toString(), u"uusi-avain-2026"_s);
        retype(field, u"hylätty"_s);
        const QUuid id = insertPin(*application, u"Palaa tähän"_s);
        application->viewModel().transcript()->promptRenamePin(id);
        QVERIFY((field = waitForControl(UiText::promptRenamePinTitle, QAccessible::EditableText)));
        QVERIFY(!control(UiText::promptAPIKeyTitle, QAccessible::EditableText));
        QTRY_VERIFY(field->hasActiveFocus());
        QCOMPARE(field->property("echoMode").toInt(), 0);
        retype(field, u"Uusi nimi"_s);
        click(control(UiText::promptSave, QAccessible::Button));
        QTRY_COMPARE(pinLabel(*application, id), u"Uusi nimi"_s);
        QCOMPARE(settings.apiKey(), u"uusi-avain-2026"_s);
    }

    void confirmAnswers_data() {
        QTest::addColumn<Answer>("answer");
        QTest::addColumn<bool>("confirmed");
        QTest::newRow("Vahvista") << Answer::saveButton << true;
        QTest::newRow("Escape") << Answer::escapeKey << false;
        QTest::newRow("Peruuta") << Answer::cancelButton << false;
        QTest::newRow("Return on the first focus") << Answer::returnKey << false;
    }
    void confirmAnswers() {
        QFETCH(Answer, answer);
        QFETCH(bool, confirmed);
        m_harness = std::make_unique<AppHarness>();
        AppHarness& h = *m_harness;
        VesnaraApplication* application = open(h);
        QVERIFY(application);
        const auto outcome = startTask(application->windowDialogs().confirm(
            UiText::adminDeleteUserTitle, UiText::adminDeleteUserText));
        QQuickItem* accept = waitForControl(UiText::confirmAccept, QAccessible::Button);
        QVERIFY(accept);
        QQuickItem* cancel = control(UiText::promptCancel, QAccessible::Button);
        QVERIFY(cancel);
        QTRY_VERIFY(cancel->hasActiveFocus());
        QVERIFY(showsText(root(), UiText::adminDeleteUserText));
        if (answer == Answer::saveButton)
            screenshot(u"confirm"_s);
        switch (answer) {
        case Answer::saveButton:
            click(accept);
            break;
        case Answer::returnKey:
            // Whatever the style makes of Return on a button, it is not the confirming one.
            QTest::keyClick(m_window, Qt::Key_Return);
            if (application->windowDialogs().confirmOpen())
                QTest::keyClick(m_window, Qt::Key_Escape);
            break;
        case Answer::escapeKey:
            QTest::keyClick(m_window, Qt::Key_Escape);
            break;
        case Answer::cancelButton:
            click(cancel);
            break;
        }
        QTRY_VERIFY(outcome->finished);
        QCOMPARE(outcome->value.value_or(!confirmed), confirmed);
        QTRY_VERIFY(!control(UiText::confirmAccept, QAccessible::Button));
    }

    // Nothing waits on a question that no window shows any more.
    void closingTheWindowOrLoggingOutCancels_data() {
        QTest::addColumn<bool>("logOut");
        QTest::newRow("window closed") << false;
        QTest::newRow("logged out") << true;
    }
    void closingTheWindowOrLoggingOutCancels() {
        QFETCH(bool, logOut);
        m_harness = std::make_unique<AppHarness>();
        AppHarness& h = *m_harness;
        VesnaraApplication* application = open(h);
        QVERIFY(application);
        if (logOut)
            QVERIFY(logIn(AppHarness::password));
        const auto prompt = startTask(application->windowDialogs().promptText(
            UiText::promptRenamePinTitle, UiText::promptRenamePinText, u"Pinni"_s, QString(),
            false));
        QQuickItem* field = waitForControl(UiText::promptRenamePinTitle, QAccessible::EditableText);
        QVERIFY(field);
        type(field, u" muutettu"_s);
        const auto panel = startTask(
            application->windowFilePanels().chooseSaveFile(u"a.txt"_s, u"Teksti (*.txt)"_s));
        QVERIFY(application->windowFilePanels().isOpen());

        if (logOut)
            application->auth().logout();
        else
            m_window->close();
        QVERIFY(!application->windowDialogs().promptOpen());
        QVERIFY(!application->windowFilePanels().isOpen());
        QTRY_VERIFY(prompt->finished && panel->finished);
        QVERIFY(!prompt->value->has_value());
        QVERIFY(!panel->value->has_value());
    }

    // The transcript saved through Qt Quick's own FileDialog, offscreen: it proposes the file in
    // the downloads folder, and its save button writes exactly the formatted transcript there;
    // its cancel button writes nothing.
    void saveThroughTheRealFileDialog_data() {
        QTest::addColumn<bool>("accept");
        QTest::newRow("saved") << true;
        QTest::newRow("cancelled") << false;
    }
    void saveThroughTheRealFileDialog() {
        QFETCH(bool, accept);
        m_harness = std::make_unique<AppHarness>();
        AppHarness& h = *m_harness;
        VesnaraApplication* application = open(h);
        QVERIFY(application);
        SessionTranscript* transcript = application->viewModel().transcript();
        insertPin(*application, u"Tärkeä kohta"_s);
        const QString expected = formatTranscript(
            application->viewModel().settings()->exportFormat(), transcript->exportInput());

        transcript->saveTranscript();
        QQuickItem* nameField = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT(
            (nameField = item(u"fileNameTextField"_s)) && nameField->isVisible(), kEngineWaitMs);
        const QString proposed = nameField->property("text").toString();
        QVERIFY2(!proposed.isEmpty(), "the panel proposes no name");
        screenshot(u"save-panel"_s);

        QQuickItem* button = nullptr;
        QTRY_VERIFY((button = fileDialogButton(accept)));
        click(button);
        QTRY_VERIFY(!application->windowFilePanels().isOpen());
        const QDir downloads(h.downloads.path());
        if (!accept) {
            QTRY_VERIFY(!nameField->isVisible());
            QVERIFY(downloads.entryList(QDir::Files).isEmpty());
            return;
        }
        QTRY_VERIFY(QFileInfo::exists(downloads.filePath(proposed)));
        QCOMPARE(downloads.entryList(QDir::Files), QStringList{proposed});
        QFile saved(downloads.filePath(proposed));
        QVERIFY(saved.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(saved.readAll()), expected);
    }
};

QTEST_MAIN(AppDialogsTest)
#include "tst_app_dialogs.moc"
