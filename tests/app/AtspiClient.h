#pragma once

// A small assistive-technology client for the AT-SPI test: it finds controls of any application
// on the accessibility bus by role and name, as a screen reader would, and acts on them with
// real input through XTest. Kept apart from Qt's headers: GLib's and Xlib's macros clash with
// them.

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace vesnara::test::atspi {

enum class Kind { field, button };

/// What the bus tells of one control.
struct ControlInfo {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    /// The editable-text interface, which a filling client would use.
    bool editable = false;
    QStringList actions;
    /// What the text interface reads, when the control has one.
    std::optional<QString> text;
};

/// Connects to the accessibility bus of the session; false with `error` when there is none.
bool connect(QString* error);
/// The applications on the bus by name.
QStringList applications();
/// Every node of every application as "role 'name'" lines, for a failure's message.
QString describeTree();
/// The first showing control of `kind` named `name` in any application; looked up afresh.
std::optional<ControlInfo> find(const QString& name, Kind kind);

/// Real pointer and key input on one X display through XTest.
class XInput {
public:
    /// Null when the display does not open or has no XTest.
    static std::unique_ptr<XInput> open(const QString& display);
    ~XInput();
    void click(int x, int y);
    /// Types printable ASCII; false for a character the keyboard map lacks.
    bool type(const QString& text);

private:
    explicit XInput(void* display);
    void* m_display;
};

} // namespace vesnara::test::atspi
