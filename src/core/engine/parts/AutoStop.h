#pragma once

#include "model/Timing.h"

#include <QObject>
#include <QString>
#include <QTimer>

namespace vesnara {

/// Stops a forgotten recording: after the set minutes of silence on every source with no new
/// line, a notice counts down and then asks for the stop, unless the user keeps recording or
/// sound or a line comes back first.
///
/// Silence is a source frame whose level (mean |sample| on the engine's one level scale) stays
/// below `silenceLevel`, the level the engine already treats as speech; a source that delivers
/// nothing is silent too. The owner arms it only while a recording runs unpaused, so a pause
/// never ends in an auto-stop, and disarms it at every other state.
class AutoStop : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool noticeVisible READ noticeVisible NOTIFY noticeVisibleChanged)
    Q_PROPERTY(int secondsLeft READ secondsLeft NOTIFY secondsLeftChanged)
    Q_PROPERTY(QString noticeText READ noticeText NOTIFY noticeTextChanged)

public:
    /// A frame at or above this level is sound.
    static constexpr double silenceLevel = 0.005;

    explicit AutoStop(const Timing& timing, QObject* parent = nullptr);

    bool noticeVisible() const { return m_noticeVisible; }
    /// The countdown's whole seconds left while the notice shows.
    int secondsLeft() const { return m_secondsLeft; }
    /// Empty while the notice is hidden.
    const QString& noticeText() const { return m_noticeText; }
    bool isArmed() const { return m_minutes > 0; }

    /// Watches anew for `silenceMinutes` (0: not at all), from now.
    void arm(int silenceMinutes);
    /// Stops watching and hides the notice.
    void disarm();
    /// One source frame's level reached the engine.
    void noteSourceLevel(double level);
    /// A new line arrived.
    void noteNewLine();

    /// The notice's button: the recording goes on and the silence is counted from now.
    Q_INVOKABLE void keepRecording();

Q_SIGNALS:
    void noticeVisibleChanged();
    void secondsLeftChanged();
    void noticeTextChanged();
    /// The countdown ran out: the owner stops and saves as the stop command does.
    void stopRequested();

private:
    void restartSilence();
    void showNotice();
    void tick();
    void setNotice(bool visible, int secondsLeft);

    const Timing& m_timing;
    int m_minutes = 0;
    bool m_noticeVisible = false;
    int m_secondsLeft = 0;
    QString m_noticeText;
    QTimer m_silenceTimer;
    QTimer m_countdownTimer;
};

} // namespace vesnara
