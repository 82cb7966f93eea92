#include "AtspiClient.h"

#include <atspi/atspi.h>

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

using namespace Qt::StringLiterals;

namespace vesnara::test::atspi {

namespace {

struct Unref {
    void operator()(gpointer object) const {
        if (object)
            g_object_unref(object);
    }
};
using Ref = std::unique_ptr<AtspiAccessible, Unref>;

QString takeString(gchar* text) {
    const QString result = text ? QString::fromUtf8(text) : QString();
    g_free(text);
    return result;
}

bool hasKind(AtspiRole role, Kind kind) {
    switch (kind) {
    case Kind::field:
        return role == ATSPI_ROLE_ENTRY || role == ATSPI_ROLE_TEXT ||
               role == ATSPI_ROLE_PASSWORD_TEXT;
    case Kind::button:
        return role == ATSPI_ROLE_PUSH_BUTTON || role == ATSPI_ROLE_TOGGLE_BUTTON;
    }
    return false;
}

bool isShowing(AtspiAccessible* node) {
    AtspiStateSet* states = atspi_accessible_get_state_set(node);
    const bool showing = states && atspi_state_set_contains(states, ATSPI_STATE_SHOWING);
    if (states)
        g_object_unref(states);
    return showing;
}

// A control answers to its name, or for a field also to its description: Qt 6.4 puts no name
// on a masked field on the bus, so the application repeats the field's label there.
Ref search(AtspiAccessible* node, const QString& name, Kind kind, int depth) {
    if (!node || depth > 64)
        return nullptr;
    GError* error = nullptr;
    const AtspiRole role = atspi_accessible_get_role(node, &error);
    if (error) {
        g_clear_error(&error);
        return nullptr;
    }
    if (hasKind(role, kind) && isShowing(node)) {
        const QString nodeName = takeString(atspi_accessible_get_name(node, nullptr));
        if (nodeName == name ||
            (kind == Kind::field && nodeName.isEmpty() &&
             takeString(atspi_accessible_get_description(node, nullptr)) == name))
            return Ref(static_cast<AtspiAccessible*>(g_object_ref(node)));
    }
    const gint children = atspi_accessible_get_child_count(node, nullptr);
    for (gint i = 0; i < children; ++i) {
        Ref child(atspi_accessible_get_child_at_index(node, i, nullptr));
        if (Ref found = search(child.get(), name, kind, depth + 1))
            return found;
    }
    return nullptr;
}

Ref findNode(const QString& name, Kind kind) {
    Ref desktop(atspi_get_desktop(0));
    if (!desktop)
        return nullptr;
    // Screens change under the client; a cached tree would show the one before.
    atspi_accessible_clear_cache(desktop.get());
    const gint apps = atspi_accessible_get_child_count(desktop.get(), nullptr);
    for (gint i = 0; i < apps; ++i) {
        Ref app(atspi_accessible_get_child_at_index(desktop.get(), i, nullptr));
        if (!app)
            continue;
        atspi_accessible_set_cache_mask(app.get(), ATSPI_CACHE_NONE);
        if (Ref found = search(app.get(), name, kind, 0))
            return found;
    }
    return nullptr;
}

void describe(AtspiAccessible* node, int depth, QString* out) {
    if (!node || depth > 64)
        return;
    const QString role = takeString(atspi_accessible_get_role_name(node, nullptr));
    const QString name = takeString(atspi_accessible_get_name(node, nullptr));
    *out += QString(depth * 2, u' ') + role + u" '"_s + name +
            (isShowing(node) ? u"'\n"_s : u"' (hidden)\n"_s);
    const gint children = atspi_accessible_get_child_count(node, nullptr);
    for (gint i = 0; i < children; ++i) {
        Ref child(atspi_accessible_get_child_at_index(node, i, nullptr));
        describe(child.get(), depth + 1, out);
    }
}

} // namespace

QString describeTree() {
    QString out;
    Ref desktop(atspi_get_desktop(0));
    if (!desktop)
        return out;
    atspi_accessible_clear_cache(desktop.get());
    describe(desktop.get(), 0, &out);
    return out;
}

bool connect(QString* error) {
    const int status = atspi_init();
    // 1: already initialised.
    if (status != 0 && status != 1) {
        *error = u"atspi_init failed with %1"_s.arg(status);
        return false;
    }
    Ref desktop(atspi_get_desktop(0));
    if (!desktop) {
        *error = u"no accessibility bus in this session"_s;
        return false;
    }
    return true;
}

QStringList applications() {
    QStringList names;
    Ref desktop(atspi_get_desktop(0));
    if (!desktop)
        return names;
    atspi_accessible_clear_cache(desktop.get());
    const gint apps = atspi_accessible_get_child_count(desktop.get(), nullptr);
    for (gint i = 0; i < apps; ++i) {
        Ref app(atspi_accessible_get_child_at_index(desktop.get(), i, nullptr));
        if (app)
            names << takeString(atspi_accessible_get_name(app.get(), nullptr));
    }
    return names;
}

std::optional<ControlInfo> find(const QString& name, Kind kind) {
    const Ref node = findNode(name, kind);
    if (!node)
        return std::nullopt;
    ControlInfo info;
    if (AtspiComponent* component = atspi_accessible_get_component_iface(node.get())) {
        if (AtspiRect* rect =
                atspi_component_get_extents(component, ATSPI_COORD_TYPE_SCREEN, nullptr)) {
            info = {rect->x, rect->y, rect->width, rect->height, false, {}, std::nullopt};
            g_free(rect);
        }
        g_object_unref(component);
    }
    if (AtspiEditableText* editable = atspi_accessible_get_editable_text_iface(node.get())) {
        info.editable = true;
        g_object_unref(editable);
    }
    if (AtspiAction* action = atspi_accessible_get_action_iface(node.get())) {
        const gint count = atspi_action_get_n_actions(action, nullptr);
        for (gint i = 0; i < count; ++i)
            info.actions << takeString(atspi_action_get_action_name(action, i, nullptr));
        g_object_unref(action);
    }
    if (AtspiText* text = atspi_accessible_get_text_iface(node.get())) {
        info.text = takeString(atspi_text_get_text(text, 0, -1, nullptr));
        g_object_unref(text);
    }
    return info;
}

std::unique_ptr<XInput> XInput::open(const QString& display) {
    Display* connection = XOpenDisplay(display.toLocal8Bit().constData());
    if (!connection)
        return nullptr;
    int event = 0;
    int error = 0;
    int major = 0;
    int minor = 0;
    if (!XTestQueryExtension(connection, &event, &error, &major, &minor)) {
        XCloseDisplay(connection);
        return nullptr;
    }
    return std::unique_ptr<XInput>(new XInput(connection));
}

XInput::XInput(void* display)
    : m_display(display) {}

XInput::~XInput() {
    XCloseDisplay(static_cast<Display*>(m_display));
}

void XInput::click(int x, int y) {
    auto* display = static_cast<Display*>(m_display);
    XTestFakeMotionEvent(display, -1, x, y, CurrentTime);
    XTestFakeButtonEvent(display, 1, True, CurrentTime);
    XTestFakeButtonEvent(display, 1, False, CurrentTime);
    XFlush(display);
}

bool XInput::type(const QString& text) {
    auto* display = static_cast<Display*>(m_display);
    const KeyCode shift = XKeysymToKeycode(display, XK_Shift_L);
    for (const QChar character : text) {
        const char16_t unit = character.unicode();
        if (unit < 0x20 || unit > 0x7e)
            return false;
        // Printable ASCII has the keysyms of its own codes.
        const KeySym symbol = unit;
        const KeyCode code = XKeysymToKeycode(display, symbol);
        if (code == 0)
            return false;
        const bool shifted = XkbKeycodeToKeysym(display, code, 0, 0) != symbol;
        if (shifted)
            XTestFakeKeyEvent(display, shift, True, CurrentTime);
        XTestFakeKeyEvent(display, code, True, CurrentTime);
        XTestFakeKeyEvent(display, code, False, CurrentTime);
        if (shifted)
            XTestFakeKeyEvent(display, shift, False, CurrentTime);
    }
    XFlush(display);
    return true;
}

} // namespace vesnara::test::atspi
