#include "engine/parts/AutoStop.h"

#include "storage/AppLog.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

AutoStop::AutoStop(const Timing& timing, QObject* parent)
    : QObject(parent)
    , m_timing(timing) {
    m_silenceTimer.setSingleShot(true);
    QObject::connect(&m_silenceTimer, &QTimer::timeout, this, [this] { showNotice(); });
    m_countdownTimer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_countdownTimer, &QTimer::timeout, this, [this] { tick(); });
}

void AutoStop::arm(int silenceMinutes) {
    m_minutes = silenceMinutes > 0 ? silenceMinutes : 0;
    if (m_minutes == 0) {
        disarm();
        return;
    }
    restartSilence();
}

void AutoStop::disarm() {
    m_minutes = 0;
    m_silenceTimer.stop();
    m_countdownTimer.stop();
    setNotice(false, 0);
}

void AutoStop::noteSourceLevel(double level) {
    if (level >= silenceLevel && isArmed())
        restartSilence();
}

void AutoStop::noteNewLine() {
    if (isArmed())
        restartSilence();
}

void AutoStop::keepRecording() {
    if (!isArmed())
        return;
    AppLog::write(u"autoStop kept by user"_s);
    restartSilence();
}

void AutoStop::restartSilence() {
    m_countdownTimer.stop();
    setNotice(false, 0);
    m_silenceTimer.start(m_timing.autoStopMinute * m_minutes);
}

void AutoStop::showNotice() {
    if (!isArmed())
        return;
    const auto tickLength = std::max(m_timing.autoStopCountdownTick, Timing::Duration(1));
    const int seconds = static_cast<int>(m_timing.autoStopCountdown / tickLength);
    AppLog::write(u"autoStop notice silenceMinutes=%1 countdown=%2"_s.arg(m_minutes).arg(seconds));
    setNotice(true, seconds);
    m_countdownTimer.start(tickLength);
}

void AutoStop::tick() {
    if (!m_noticeVisible) {
        m_countdownTimer.stop();
        return;
    }
    if (m_secondsLeft > 1) {
        setNotice(true, m_secondsLeft - 1);
        return;
    }
    disarm();
    AppLog::write(u"autoStop stopping recording"_s);
    Q_EMIT stopRequested();
}

void AutoStop::setNotice(bool visible, int secondsLeft) {
    const QString text = visible ? UiText::autoStopNotice(m_minutes, secondsLeft) : QString();
    const bool visibleChanged = visible != m_noticeVisible;
    const bool secondsChanged = secondsLeft != m_secondsLeft;
    const bool textChanged = text != m_noticeText;
    m_noticeVisible = visible;
    m_secondsLeft = secondsLeft;
    m_noticeText = text;
    if (visibleChanged)
        Q_EMIT noticeVisibleChanged();
    if (secondsChanged)
        Q_EMIT secondsLeftChanged();
    if (textChanged)
        Q_EMIT noticeTextChanged();
}

} // namespace vesnara
