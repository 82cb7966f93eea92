// Accessibility over every screen of the real window: each control in the QAccessible tree has
// a name, the first focus is where a keyboard user expects it, and Tab visits the controls in
// the order they are seen (top to bottom, then left to right). The walk knows no screen's
// controls by name, so controls added to a screen later are checked as they come.
#include "AppHarness.h"
#include "QmlDialogs.h"
#include "WindowDriver.h"
#include "auth/AuthManager.h"
#include "refbackend/RefBackendFaults.h"
#include "support/AwaitTask.h"
#include "text/UiText.h"

#include <QQmlProperty>
#include <QQuickWindow>

using namespace vesnara;
using namespace vesnara::test;

namespace {

// The roles a user operates; each must carry a name.
bool isControlRole(QAccessible::Role role) {
    switch (role) {
    case QAccessible::Button:
    case QAccessible::CheckBox:
    case QAccessible::RadioButton:
    case QAccessible::ComboBox:
    case QAccessible::Slider:
    case QAccessible::SpinBox:
    case QAccessible::Dial:
    case QAccessible::EditableText:
    case QAccessible::ButtonMenu:
    case QAccessible::ButtonDropDown:
    case QAccessible::PageTab:
        return true;
    default:
        return false;
    }
}

struct Control {
    QQuickItem* item = nullptr;
    QString name;
    QAccessible::Role role = QAccessible::NoRole;
    QRectF scene;
};

QString describe(const QQuickItem* item) {
    if (!item)
        return u"nothing"_s;
    const QRectF scene = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
    return u"%1 objectName='%2' name='%3' at (%4, %5)"_s.arg(
        QString::fromUtf8(item->metaObject()->className()), item->objectName(),
        QAccessible::queryAccessibleInterface(const_cast<QQuickItem*>(item))
            ? QAccessible::queryAccessibleInterface(const_cast<QQuickItem*>(item))
                  ->text(QAccessible::Name)
            : QString(),
        QString::number(scene.x()), QString::number(scene.y()));
}

void collect(QAccessibleInterface* node, QQuickItem* scope, QList<Control>* found) {
    if (!node || node->state().invisible)
        return;
    auto* item = qobject_cast<QQuickItem*>(node->object());
    if (item && isControlRole(node->role()) && (item == scope || scope->isAncestorOf(item))) {
        found->append({item, node->text(QAccessible::Name), node->role(),
                       item->mapRectToScene(QRectF(0, 0, item->width(), item->height()))});
    }
    for (int i = 0; i < node->childCount(); ++i)
        collect(node->child(i), scope, found);
}

// Rows first: a control joins the row of the one above it when its middle lies within that
// one's height (a check box beside a taller button); each row reads left to right.
QList<QQuickItem*> inVisualOrder(QList<Control> controls) {
    std::stable_sort(controls.begin(), controls.end(),
                     [](const Control& a, const Control& b) { return a.scene.y() < b.scene.y(); });
    QList<QList<Control>> rows;
    for (const Control& control : std::as_const(controls)) {
        if (!rows.isEmpty()) {
            const QRectF& first = rows.last().constFirst().scene;
            const qreal middle = control.scene.center().y();
            if (middle >= first.top() && middle <= first.bottom()) {
                rows.last().append(control);
                continue;
            }
        }
        rows.append({control});
    }
    QList<QQuickItem*> ordered;
    for (QList<Control>& row : rows) {
        std::stable_sort(row.begin(), row.end(), [](const Control& a, const Control& b) {
            return a.scene.x() < b.scene.x();
        });
        for (const Control& control : std::as_const(row))
            ordered.append(control.item);
    }
    return ordered;
}

QQuickItem* popupItemOf(QQuickItem* item) {
    for (QQuickItem* up = item; up; up = up->parentItem()) {
        if (up->inherits("QQuickPopupItem"))
            return up;
    }
    return nullptr;
}

} // namespace

class AccessibilityTest : public QObject, WindowDriver {
    Q_OBJECT

    // Every control below `scope` has a name; gives the controls found.
    QList<Control> checkNames(QQuickItem* scope) {
        QList<Control> controls;
        collect(QAccessible::queryAccessibleInterface(m_window), scope, &controls);
        QStringList unnamed;
        for (const Control& control : std::as_const(controls)) {
            if (control.name.trimmed().isEmpty())
                unnamed << describe(control.item);
            // With an assistive technology on, Qt 6.4 reports a masked field without its name;
            // the description must carry it then.
            const bool masked = control.item->property("echoMode").toInt() == 2;
            if (masked && QAccessible::queryAccessibleInterface(control.item)
                              ->text(QAccessible::Description)
                              .trimmed()
                              .isEmpty())
                unnamed << u"(masked, no description) "_s + describe(control.item);
        }
        [&] {
            QVERIFY2(unnamed.isEmpty(), qPrintable(u"without a name: "_s + unnamed.join(u"; "_s)));
        }();
        return controls;
    }

    // Names below `scope`, then Tab from `first` (or from the first control seen) through every
    // control that takes the keyboard, and round to the first again.
    void checkScreen(const QString& screen, QQuickItem* scope, QQuickItem* first = nullptr) {
        const QList<Control> controls = checkNames(scope);
        if (QTest::currentTestFailed())
            return;
        QList<Control> focusable;
        for (const Control& control : controls) {
            // An editable spin box takes Tab in its text field, not in itself.
            const auto* content = control.item->property("contentItem").value<QQuickItem*>();
            const bool takesTab =
                control.item->activeFocusOnTab() || (content && content->activeFocusOnTab());
            if (control.item->isVisible() && control.item->isEnabled() && takesTab)
                focusable.append(control);
        }
        const QList<QQuickItem*> expected = inVisualOrder(focusable);
        if (expected.isEmpty())
            return;
        if (first) {
            QVERIFY2(expected.contains(first), qPrintable(screen + u": first focus "_s +
                                                          describe(first) + u" takes no Tab"_s));
            QTRY_VERIFY2(first->hasActiveFocus(),
                         qPrintable(screen + u": first focus is on "_s +
                                    describe(m_window->activeFocusItem())));
        } else {
            expected.constFirst()->forceActiveFocus(Qt::TabFocusReason);
        }
        const qsizetype start = expected.indexOf(first ? first : expected.constFirst());
        QStringList visited;
        QStringList wanted;
        for (qsizetype i = 1; i <= expected.size(); ++i) {
            QTest::keyClick(m_window, Qt::Key_Tab);
            QQuickItem* focus = m_window->activeFocusItem();
            QQuickItem* control = focus;
            while (control && !expected.contains(control))
                control = control->parentItem();
            visited << describe(control ? control : focus);
            wanted << describe(expected.at((start + i) % expected.size()));
        }
        // QTest cuts a long message short; the whole lists go to the log.
        if (visited != wanted)
            qWarning().noquote() << screen << "Tab visits:\n " << visited.join(u"\n  "_s)
                                 << "\ninstead of:\n " << wanted.join(u"\n  "_s);
        QVERIFY2(visited == wanted,
                 qPrintable(screen + u": Tab visits\n  "_s + visited.join(u"\n  "_s) +
                            u"\ninstead of\n  "_s + wanted.join(u"\n  "_s)));
    }

    // A sheet opened by its button, its first field focused first; Escape closes it again.
    void checkSheet(const QString& screen, const QString& opener, const QString& firstField) {
        click(control(opener, QAccessible::Button));
        QQuickItem* field = waitForControl(firstField, QAccessible::EditableText);
        QVERIFY(field);
        checkScreen(screen, popupItemOf(field), field);
        if (QTest::currentTestFailed())
            return;
        QTest::keyClick(m_window, Qt::Key_Escape);
        QTRY_VERIFY(!control(firstField, QAccessible::EditableText));
    }

private Q_SLOTS:
    void cleanup() { finishCancelledRequests(); }
    void initTestCase() { QAccessible::setActive(true); }

    // While a remembered session is checked, only the start check's screen is up.
    void checkingScreen() {
        AppHarness h;
        h.preferences.setBoolean(AuthManager::rememberSessionKey, true);
        h.preferences.setString(AuthManager::sessionTokenKey, u"remembered-token"_s);
        refbackend::HttpFault slow;
        slow.kind = refbackend::HttpFault::Kind::delay;
        slow.delay = std::chrono::hours(1);
        h.server->faults().httpFaults.push_back(slow);
        VesnaraApplication& application = h.make();
        QQmlApplicationEngine engine;
        QVERIFY(loadWindow(application, engine));
        QVERIFY(application.auth().isChecking());
        QTRY_VERIFY(showsText(root(), UiText::checkingLogin));
        screenshot(u"checking"_s);
        checkScreen(u"checking"_s, root());
        m_window = nullptr;
    }

    // The login screen, its reset sheet, the main screen and its password sheet, and the
    // window's prompt and confirmation over the main screen.
    void everyScreen() {
        AppHarness h;
        h.windowQuestions = true;
        VesnaraApplication* application = h.makeChecked();
        QVERIFY(application);
        QQmlApplicationEngine engine;
        QVERIFY(loadWindow(*application, engine));

        QQuickItem* email = waitForControl(UiText::loginEmailLabel, QAccessible::EditableText);
        QVERIFY(email);
        checkScreen(u"login"_s, root(), email);
        if (QTest::currentTestFailed())
            return;

        checkSheet(u"reset sheet"_s, UiText::loginForgotPassword, UiText::resetSheetEmailLabel);
        if (QTest::currentTestFailed())
            return;

        QVERIFY(logIn(AppHarness::password));
        checkScreen(u"main"_s, root());
        if (QTest::currentTestFailed())
            return;

        checkSheet(u"password sheet"_s, UiText::mainChangePassword, UiText::changePasswordCurrent);
        if (QTest::currentTestFailed())
            return;

        QmlDialogs& dialogs = application->windowDialogs();
        const auto prompt = startTask(dialogs.promptText(
            UiText::promptRenamePinTitle, UiText::promptRenamePinText, u"Pinni"_s, {}, false));
        QQuickItem* field = waitForControl(UiText::promptRenamePinTitle, QAccessible::EditableText);
        QVERIFY(field);
        checkScreen(u"prompt"_s, popupItemOf(field), field);
        if (QTest::currentTestFailed())
            return;
        QTest::keyClick(m_window, Qt::Key_Escape);
        QTRY_VERIFY(prompt->finished);

        const auto confirmation =
            startTask(dialogs.confirm(UiText::adminDeleteUserTitle, UiText::adminDeleteUserText));
        QQuickItem* accept = waitForControl(UiText::confirmAccept, QAccessible::Button);
        QVERIFY(accept);
        checkScreen(u"confirmation"_s, popupItemOf(accept),
                    control(UiText::promptCancel, QAccessible::Button));
        if (QTest::currentTestFailed())
            return;
        QTest::keyClick(m_window, Qt::Key_Escape);
        QTRY_VERIFY(confirmation->finished);
        m_window = nullptr;
    }

    // The walk itself: an unnamed control fails with what and where it is, and the visual order
    // reads rows left to right.
    void theWalkCatchesAnUnnamedControl() {
        AppHarness h;
        VesnaraApplication* application = h.makeChecked();
        QVERIFY(application);
        QQmlApplicationEngine engine;
        QVERIFY(loadWindow(*application, engine));
        QQuickItem* email = waitForControl(UiText::loginEmailLabel, QAccessible::EditableText);
        QVERIFY(email);
        QList<Control> controls;
        collect(QAccessible::queryAccessibleInterface(m_window), root(), &controls);
        QVERIFY(controls.size() >= 5);
        const QList<QQuickItem*> ordered = inVisualOrder(controls);
        QCOMPARE(ordered.constFirst(), email);
        QQuickItem* login = control(UiText::loginTitle, QAccessible::Button);
        QQuickItem* forgot = control(UiText::loginForgotPassword, QAccessible::Button);
        QCOMPARE(ordered.indexOf(forgot), ordered.indexOf(login) + 1);

        QQmlProperty(email, u"Accessible.name"_s, qmlContext(email)).write(QString());
        controls.clear();
        collect(QAccessible::queryAccessibleInterface(m_window), root(), &controls);
        const auto unnamed = std::find_if(controls.begin(), controls.end(),
                                          [](const Control& c) { return c.name.isEmpty(); });
        QVERIFY(unnamed != controls.end());
        QCOMPARE(unnamed->item, email);
        QVERIFY(describe(email).contains(u"TextField"_s));
        m_window = nullptr;
    }
};

QTEST_MAIN(AccessibilityTest)
#include "tst_accessibility.moc"
