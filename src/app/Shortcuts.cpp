#include "Shortcuts.h"

#include "GlobalShortcutsPortal.h"
#include "engine/parts/SessionTranscript.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

const QKeySequence sheetSequence(Qt::Key_F1);

} // namespace

const QList<ShortcutEntry>& shortcutTable() {
    static const QList<ShortcutEntry> table = {
        {ShortcutCommand::startStop, u"start-stop"_s, QKeySequence(Qt::CTRL | Qt::Key_R),
         UiText::shortcutStartStop, true},
        {ShortcutCommand::pauseResume, u"pause-resume"_s, QKeySequence(Qt::CTRL | Qt::Key_P),
         UiText::shortcutPauseResume, true},
        {ShortcutCommand::pin, u"pin"_s, QKeySequence(Qt::CTRL | Qt::Key_M), UiText::mainAddPin,
         true},
        {ShortcutCommand::search, u"search"_s, QKeySequence(Qt::CTRL | Qt::Key_F),
         UiText::shortcutSearch, false},
    };
    return table;
}

namespace {

const ShortcutEntry& entry(ShortcutCommand command) {
    const QList<ShortcutEntry>& table = shortcutTable();
    return *std::find_if(table.begin(), table.end(),
                         [command](const ShortcutEntry& e) { return e.command == command; });
}

} // namespace

Shortcuts::Shortcuts(QObject* parent)
    : QObject(parent) {}

void Shortcuts::setViewModel(TranscriptionViewModel* viewModel) {
    if (m_viewModel)
        disconnect(m_viewModel, nullptr, this, nullptr);
    m_viewModel = viewModel;
    if (m_viewModel) {
        for (auto changed :
             {&TranscriptionViewModel::commandAvailabilityChanged,
              &TranscriptionViewModel::isPausedChanged, &TranscriptionViewModel::isRecordingChanged,
              &TranscriptionViewModel::isResumingRecordingChanged}) {
            connect(m_viewModel, changed, this, &Shortcuts::availabilityChanged);
        }
    }
    Q_EMIT availabilityChanged();
}

void Shortcuts::setGlobalPortal(GlobalShortcutsPortal* portal) {
    if (m_portal)
        disconnect(m_portal, nullptr, this, nullptr);
    m_portal = portal;
    if (m_portal) {
        connect(m_portal, &GlobalShortcutsPortal::stateChanged, this,
                &Shortcuts::globalAvailableChanged);
        connect(m_portal, &GlobalShortcutsPortal::activated, this, [this](const QString& id) {
            for (const ShortcutEntry& shortcut : shortcutTable()) {
                if (shortcut.systemWide && shortcut.id == id)
                    trigger(shortcut.command);
            }
        });
        QList<GlobalShortcutsPortal::Binding> bindings;
        for (const ShortcutEntry& shortcut : shortcutTable()) {
            if (!shortcut.systemWide)
                continue;
            bindings.append(
                {shortcut.id, shortcut.description,
                 GlobalShortcutsPortal::preferredTrigger(portableKeys(shortcut.command))});
        }
        m_portal->start(std::move(bindings));
    }
    Q_EMIT globalAvailableChanged();
}

QString Shortcuts::portableKeys(ShortcutCommand command) {
    return entry(command).keys.toString(QKeySequence::PortableText);
}

QString Shortcuts::keysText(ShortcutCommand command) {
    return entry(command).keys.toString(QKeySequence::NativeText);
}

QString Shortcuts::sheetKeys() const {
    return sheetSequence.toString(QKeySequence::PortableText);
}

bool Shortcuts::isEnabled(ShortcutCommand command) const {
    if (command == ShortcutCommand::search)
        return true;
    if (!m_viewModel)
        return false;
    switch (command) {
    case ShortcutCommand::startStop:
        return m_viewModel->canStart() || m_viewModel->canStop();
    case ShortcutCommand::pauseResume:
        return m_viewModel->canPause() || m_viewModel->canResume();
    case ShortcutCommand::pin:
        return m_viewModel->canAddPin();
    case ShortcutCommand::search:
        break;
    }
    return true;
}

QString Shortcuts::startTooltip() const {
    return UiText::shortcutTooltip(UiText::mainStart, keysText(ShortcutCommand::startStop));
}

QString Shortcuts::stopTooltip() const {
    return UiText::shortcutTooltip(UiText::mainStop, keysText(ShortcutCommand::startStop));
}

QString Shortcuts::pauseTooltip() const {
    const bool paused = m_viewModel && m_viewModel->isPaused();
    return UiText::shortcutTooltip(paused ? UiText::mainResume : UiText::mainPause,
                                   keysText(ShortcutCommand::pauseResume));
}

QString Shortcuts::pinTooltip() const {
    return UiText::shortcutTooltip(UiText::mainAddPin, keysText(ShortcutCommand::pin));
}

QString Shortcuts::searchTooltip() const {
    return UiText::shortcutTooltip(UiText::shortcutSearchButton, keysText(ShortcutCommand::search));
}

QString Shortcuts::sheetTooltip() const {
    return UiText::shortcutTooltip(UiText::shortcutsShow,
                                   sheetSequence.toString(QKeySequence::NativeText));
}

QVariantList Shortcuts::sheetRows() const {
    QVariantList rows;
    for (const ShortcutEntry& shortcut : shortcutTable()) {
        const QString keys = keysText(shortcut.command);
        rows.append(
            QVariantMap{{u"description"_s, shortcut.description},
                        {u"keys"_s, keys},
                        {u"accessibleName"_s, UiText::shortcutRow(shortcut.description, keys)}});
    }
    return rows;
}

bool Shortcuts::globalAvailable() const {
    return m_portal && m_portal->available();
}

QString Shortcuts::globalStatusText() const {
    return globalAvailable() ? UiText::globalShortcutsAvailable
                             : UiText::globalShortcutsUnavailable;
}

bool Shortcuts::trigger(ShortcutCommand command) {
    if (!isEnabled(command))
        return false;
    if (command == ShortcutCommand::search) {
        Q_EMIT searchRequested();
        return true;
    }
    TranscriptionViewModel* vm = m_viewModel;
    switch (command) {
    case ShortcutCommand::startStop:
        if (vm->canStart())
            vm->startRecording();
        else
            vm->stopRecording();
        break;
    case ShortcutCommand::pauseResume:
        if (vm->isPaused())
            vm->resumeRecording();
        else
            vm->pauseRecording();
        break;
    case ShortcutCommand::pin:
        vm->transcript()->addRevisitPin();
        break;
    case ShortcutCommand::search:
        break;
    }
    AppLog::write(u"shortcut triggered id=%1"_s.arg(entry(command).id));
    return true;
}

void Shortcuts::openSheet() {
    if (m_sheetOpen)
        return;
    m_sheetOpen = true;
    Q_EMIT sheetOpenChanged();
}

void Shortcuts::closeSheet() {
    if (!m_sheetOpen)
        return;
    m_sheetOpen = false;
    Q_EMIT sheetOpenChanged();
}

} // namespace vesnara
