#pragma once

#include <QColor>
#include <QFont>
#include <QObject>
#include <QQmlEngine>
#include <QUrl>

namespace vesnara {

/// The brand's colours for light and dark windows and its fonts. Dark means the palette's
/// window colour is below half lightness (the toolkit here has no colour-scheme API); a change
/// of the application's palette is followed live. The brand fonts are used when a deployment
/// registered them, else the system's sans at the matching weight.
class Theme : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ dark NOTIFY themeChanged)
    Q_PROPERTY(QColor background READ background NOTIFY themeChanged)
    Q_PROPERTY(QColor cardSurface READ cardSurface NOTIFY themeChanged)
    Q_PROPERTY(QColor secondaryCardBackground READ secondaryCardBackground NOTIFY themeChanged)
    Q_PROPERTY(QColor realtimeBadgeBackground READ realtimeBadgeBackground NOTIFY themeChanged)
    Q_PROPERTY(QColor realtimeBadgeForeground READ realtimeBadgeForeground NOTIFY themeChanged)
    Q_PROPERTY(QColor infoAccent READ infoAccent NOTIFY themeChanged)
    Q_PROPERTY(QColor outline READ outline NOTIFY themeChanged)
    Q_PROPERTY(QColor primaryText READ primaryText NOTIFY themeChanged)
    Q_PROPERTY(QColor secondaryText READ secondaryText NOTIFY themeChanged)
    Q_PROPERTY(QColor errorText READ errorText CONSTANT)
    Q_PROPERTY(QColor successText READ successText CONSTANT)
    Q_PROPERTY(QList<QColor> sectionBars READ sectionBars CONSTANT)
    Q_PROPERTY(QColor idleDot READ idleDot CONSTANT)
    Q_PROPERTY(QColor recordingDot READ recordingDot CONSTANT)
    /// Milliseconds of hovering before a button shows its tooltip.
    Q_PROPERTY(int toolTipDelay READ toolTipDelay CONSTANT)
    Q_PROPERTY(QColor pausedDot READ pausedDot CONSTANT)
    Q_PROPERTY(qreal cardShadowOpacity READ cardShadowOpacity NOTIFY themeChanged)
    Q_PROPERTY(qreal sessionsCardShadowOpacity READ sessionsCardShadowOpacity NOTIFY themeChanged)
    /// Text of a destructive command and of an orange hint.
    Q_PROPERTY(QColor destructiveText READ destructiveText NOTIFY themeChanged)
    Q_PROPERTY(QColor warningText READ warningText NOTIFY themeChanged)
    /// A transcript line that a pin lights, and a selected or lit pin's row.
    Q_PROPERTY(
        QColor segmentHighlightBackground READ segmentHighlightBackground NOTIFY themeChanged)
    Q_PROPERTY(QColor segmentHighlightOutline READ segmentHighlightOutline NOTIFY themeChanged)
    Q_PROPERTY(QColor pinActiveBackground READ pinActiveBackground NOTIFY themeChanged)
    Q_PROPERTY(QColor pinActiveOutline READ pinActiveOutline NOTIFY themeChanged)
    Q_PROPERTY(QColor pinSurface READ pinSurface NOTIFY themeChanged)
    // The controls' palette: the toolkit's own controls keep a light palette whatever the
    // window's scheme, so the screens hand them these.
    Q_PROPERTY(QColor controlButton READ controlButton NOTIFY themeChanged)
    Q_PROPERTY(QColor controlButtonText READ controlButtonText NOTIFY themeChanged)
    Q_PROPERTY(QColor controlPressed READ controlPressed NOTIFY themeChanged)
    Q_PROPERTY(QColor controlDisabledText READ controlDisabledText NOTIFY themeChanged)
    Q_PROPERTY(QColor prominentButton READ prominentButton NOTIFY themeChanged)
    Q_PROPERTY(QColor prominentButtonDisabled READ prominentButtonDisabled NOTIFY themeChanged)
    Q_PROPERTY(QColor prominentText READ prominentText NOTIFY themeChanged)
    Q_PROPERTY(QColor fieldBackground READ fieldBackground NOTIFY themeChanged)
    Q_PROPERTY(QColor placeholderText READ placeholderText NOTIFY themeChanged)
    Q_PROPERTY(QColor focusHighlight READ focusHighlight NOTIFY themeChanged)
    /// The logo for the current scheme, or an empty URL when no logo file was found.
    Q_PROPERTY(QUrl logoSource READ logoSource NOTIFY themeChanged)
    Q_PROPERTY(bool hasLogo READ hasLogo CONSTANT)

public:
    enum Weight { Regular, Medium, Heavy, Black };
    Q_ENUM(Weight)

    explicit Theme(bool hasLogo = false, QObject* parent = nullptr);
    /// The application's theme, with the logo it found.
    static Theme* create(QQmlEngine* engine, QJSEngine* scriptEngine);

    bool dark() const { return m_dark; }
    QColor background() const;
    QColor cardSurface() const;
    QColor secondaryCardBackground() const;
    QColor realtimeBadgeBackground() const;
    QColor realtimeBadgeForeground() const;
    QColor infoAccent() const;
    QColor outline() const;
    QColor primaryText() const;
    QColor secondaryText() const;
    static QColor errorText();
    static QColor successText();
    static QList<QColor> sectionBars();
    static QColor idleDot();
    static QColor recordingDot();
    static int toolTipDelay() { return 600; }
    static QColor pausedDot();
    qreal cardShadowOpacity() const { return m_dark ? 0.36 : 0.12; }
    qreal sessionsCardShadowOpacity() const { return m_dark ? 0.36 : 0.08; }
    QColor destructiveText() const;
    QColor warningText() const;
    QColor segmentHighlightBackground() const;
    QColor segmentHighlightOutline() const;
    QColor pinActiveBackground() const;
    QColor pinActiveOutline() const;
    QColor pinSurface() const;
    QColor controlButton() const;
    QColor controlButtonText() const;
    QColor controlPressed() const;
    QColor controlDisabledText() const;
    QColor prominentButton() const;
    QColor prominentButtonDisabled() const;
    QColor prominentText() const;
    QColor fieldBackground() const;
    QColor placeholderText() const;
    QColor focusHighlight() const;
    QUrl logoSource() const;
    bool hasLogo() const { return m_hasLogo; }

    /// The brand face of `weight` at `pixelSize`, or the system's sans at that weight.
    Q_INVOKABLE static QFont brandFont(vesnara::Theme::Weight weight, qreal pixelSize);
    /// The system's fixed-pitch face at `pixelSize`.
    Q_INVOKABLE static QFont monoFont(qreal pixelSize);
    /// The size of the text that stands in for a missing logo of `height`.
    Q_INVOKABLE static qreal logoTextSize(qreal height);

    /// Whether a palette's window colour makes a dark scheme.
    static bool isDarkPalette(const QPalette& palette);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    void themeChanged();

private:
    void refresh();

    bool m_hasLogo = false;
    bool m_dark = false;
};

} // namespace vesnara
