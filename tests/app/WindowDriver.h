#pragma once

// Drives the real window as a user would: controls are found by their accessible names (a
// missing name fails), clicked and typed into with mouse and key events, and each screen can be
// saved as a PNG under the build directory for a look.

#include "AppHarness.h"
#include "text/UiText.h"

#include <QAccessible>
#include <QCoreApplication>
#include <QDir>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSet>
#include <QTest>

namespace vesnara::test {

inline QAccessibleInterface* findAccessible(QAccessibleInterface* node, const QString& name,
                                            QAccessible::Role role) {
    if (!node)
        return nullptr;
    if (node->role() == role && node->text(QAccessible::Name) == name && !node->state().invisible)
        return node;
    for (int i = 0; i < node->childCount(); ++i) {
        if (QAccessibleInterface* found = findAccessible(node->child(i), name, role))
            return found;
    }
    return nullptr;
}

inline QQuickItem* findItem(QQuickItem* item, const QString& objectName) {
    if (item->objectName() == objectName)
        return item;
    for (QQuickItem* child : item->childItems()) {
        if (QQuickItem* found = findItem(child, objectName))
            return found;
    }
    return nullptr;
}

inline bool showsText(QQuickItem* item, const QString& text) {
    if (item->isVisible() && item->property("text").toString() == text)
        return true;
    const QList<QQuickItem*> children = item->childItems();
    return std::any_of(children.begin(), children.end(),
                       [&text](QQuickItem* child) { return showsText(child, text); });
}

/// Requests still in flight when an application goes end as cancelled on a later turn of the
/// event loop; this gives them that turn, so that their coroutines finish before the next test.
inline void finishCancelledRequests() {
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

class WindowDriver {
public:
    QQuickWindow* m_window = nullptr;

    QQuickItem* root() const { return m_window->contentItem(); }
    QQuickItem* item(const QString& objectName) const { return findItem(root(), objectName); }

    QQuickItem* control(const QString& name, QAccessible::Role role) {
        QAccessibleInterface* found =
            findAccessible(QAccessible::queryAccessibleInterface(m_window), name, role);
        return found ? qobject_cast<QQuickItem*>(found->object()) : nullptr;
    }

    void click(QQuickItem* item) {
        const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
        QTest::mouseClick(m_window, Qt::LeftButton, {}, centre.toPoint());
    }

    void type(QQuickItem* field, const QString& text) {
        click(field);
        QTRY_VERIFY(field->hasActiveFocus());
        for (const QChar character : text)
            QTest::sendKeyEvent(QTest::Click, m_window, Qt::Key_unknown, QString(character),
                                Qt::NoModifier);
    }

    // Replaces whatever the field holds.
    void retype(QQuickItem* field, const QString& text) {
        click(field);
        QTRY_VERIFY(field->hasActiveFocus());
        QTest::keyClick(m_window, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(m_window, Qt::Key_Backspace);
        QCOMPARE(field->property("text").toString(), QString());
        type(field, text);
    }

    // Null when the QML failed or the window never showed.
    QQuickItem* loadWindow(VesnaraApplication& application, QQmlApplicationEngine& engine) {
        if (!application.load(engine))
            return nullptr;
        m_window = qobject_cast<QQuickWindow*>(engine.rootObjects().constFirst());
        if (!m_window)
            return nullptr;
        m_window->requestActivate();
        return QTest::qWaitForWindowExposed(m_window) ? m_window->contentItem() : nullptr;
    }

    // From the login screen by Return; gives the main screen's start button.
    QQuickItem* logIn(const QString& password) {
        QQuickItem* email = nullptr;
        if (!QTest::qWaitFor(
                [&] {
                    return (email = control(UiText::loginEmailLabel, QAccessible::EditableText));
                },
                kEngineWaitMs))
            return nullptr;
        retype(email, AppHarness::email);
        retype(control(UiText::loginPasswordLabel, QAccessible::EditableText), password);
        QTest::keyClick(m_window, Qt::Key_Return);
        QQuickItem* start = nullptr;
        const bool shown = QTest::qWaitFor(
            [&] { return (start = control(UiText::mainStart, QAccessible::Button)); },
            kEngineWaitMs);
        return shown ? start : nullptr;
    }

    // The window's questions and accessibility
    // The control once it shows; null when it never did.
    QQuickItem* waitForControl(const QString& name, QAccessible::Role role) {
        QQuickItem* found = nullptr;
        const bool shown = QTest::qWaitFor([&] { return (found = control(name, role)) != nullptr; },
                                           kEngineWaitMs);
        return shown ? found : nullptr;
    }

    // Saves the window; fails for an image of one or two colours, which nothing drew on.
    void screenshot(const QString& name) {
        const QImage image = m_window->grabWindow();
        QVERIFY(!image.isNull());
        QSet<QRgb> colours;
        for (int y = 0; y < image.height(); y += 4) {
            for (int x = 0; x < image.width(); x += 4)
                colours.insert(image.pixel(x, y));
        }
        QVERIFY2(colours.size() > 8, qPrintable(name));
        QDir().mkpath(QStringLiteral(VESNARA_SCREENSHOT_DIR));
        QVERIFY(image.save(QStringLiteral(VESNARA_SCREENSHOT_DIR) + u'/' + name + u".png"_s));
    }
};

} // namespace vesnara::test
