#include "Theme.h"

#include "VesnaraApplication.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QPalette>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

QColor rgb(double red, double green, double blue, double alpha = 1.0) {
    return QColor::fromRgbF(float(red), float(green), float(blue), float(alpha));
}

QColor withAlpha(QColor color, double alpha) {
    color.setAlphaF(float(alpha));
    return color;
}

// `base` moved towards `towards` by `amount` (0..1), opaque.
QColor blend(const QColor& base, const QColor& towards, double amount) {
    const auto mix = [amount](float a, float b) { return float(a + (b - a) * amount); };
    return QColor::fromRgbF(mix(base.redF(), towards.redF()), mix(base.greenF(), towards.greenF()),
                            mix(base.blueF(), towards.blueF()));
}

QPalette currentPalette() {
    return QGuiApplication::palette();
}

} // namespace

Theme::Theme(bool hasLogo, QObject* parent)
    : QObject(parent)
    , m_hasLogo(hasLogo) {
    m_dark = isDarkPalette(currentPalette());
    if (qApp)
        qApp->installEventFilter(this);
}

Theme* Theme::create(QQmlEngine*, QJSEngine*) {
    const VesnaraApplication* application = VesnaraApplication::instance();
    return new Theme(application && application->logoPath().has_value());
}

bool Theme::isDarkPalette(const QPalette& palette) {
    return palette.color(QPalette::Window).lightnessF() < 0.5;
}

bool Theme::eventFilter(QObject* watched, QEvent* event) {
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange)
        refresh();
    return QObject::eventFilter(watched, event);
}

void Theme::refresh() {
    m_dark = isDarkPalette(currentPalette());
    // Colours come from the palette in dark mode, so a palette change matters even when the
    // scheme stays.
    Q_EMIT themeChanged();
}

QColor Theme::background() const {
    return m_dark ? currentPalette().color(QPalette::Window) : rgb(0.968, 0.976, 0.984);
}

QColor Theme::cardSurface() const {
    return m_dark ? currentPalette().color(QPalette::Base) : QColor(Qt::white);
}

QColor Theme::secondaryCardBackground() const {
    return m_dark ? withAlpha(currentPalette().color(QPalette::Window), 0.88)
                  : rgb(0.945, 0.953, 0.965);
}

QColor Theme::realtimeBadgeBackground() const {
    return m_dark ? rgb(0.0, 0.28, 0.38, 0.72) : rgb(0.84, 0.94, 1.0);
}

QColor Theme::realtimeBadgeForeground() const {
    return m_dark ? rgb(0.62, 0.9, 1.0) : rgb(0.0, 0.4, 0.6);
}

QColor Theme::infoAccent() const {
    return m_dark ? rgb(0.56, 0.76, 1.0) : rgb(0.1, 0.45, 0.85);
}

QColor Theme::outline() const {
    return m_dark ? rgb(1, 1, 1, 0.14) : rgb(0, 0, 0, 0.08);
}

QColor Theme::primaryText() const {
    return m_dark ? currentPalette().color(QPalette::WindowText) : QColor(Qt::black);
}

QColor Theme::secondaryText() const {
    return withAlpha(primaryText(), 0.6);
}

QColor Theme::errorText() {
    return rgb(0.86, 0.15, 0.15);
}

QColor Theme::successText() {
    return rgb(0.1, 0.6, 0.25);
}

QList<QColor> Theme::sectionBars() {
    return {rgb(0.0, 0.6, 0.8, 0.85), rgb(1.0, 0.6, 0.0, 0.85), rgb(1.0, 0.4, 0.2, 0.85)};
}

QColor Theme::idleDot() {
    return rgb(0.0, 0.6, 0.8);
}

QColor Theme::recordingDot() {
    return rgb(0.2, 0.78, 0.35);
}

QColor Theme::pausedDot() {
    return rgb(1.0, 0.6, 0.0);
}

QColor Theme::destructiveText() const {
    return m_dark ? rgb(1.0, 0.45, 0.42) : errorText();
}

QColor Theme::warningText() const {
    return m_dark ? rgb(1.0, 0.62, 0.04) : rgb(0.85, 0.47, 0.0);
}

QColor Theme::segmentHighlightBackground() const {
    return withAlpha(infoAccent(), 0.12);
}

QColor Theme::segmentHighlightOutline() const {
    return withAlpha(infoAccent(), 0.45);
}

QColor Theme::pinActiveBackground() const {
    return withAlpha(infoAccent(), 0.14);
}

QColor Theme::pinActiveOutline() const {
    return withAlpha(infoAccent(), 0.55);
}

QColor Theme::pinSurface() const {
    return m_dark ? rgb(1, 1, 1, 0.06) : QColor(Qt::white);
}

QColor Theme::controlButton() const {
    return m_dark ? blend(cardSurface(), Qt::white, 0.14) : rgb(0.91, 0.92, 0.94);
}

QColor Theme::controlButtonText() const {
    return m_dark ? primaryText() : rgb(0.11, 0.11, 0.12);
}

QColor Theme::controlPressed() const {
    return m_dark ? blend(cardSurface(), Qt::white, 0.3) : rgb(0.78, 0.8, 0.83);
}

QColor Theme::controlDisabledText() const {
    return withAlpha(controlButtonText(), m_dark ? 0.38 : 0.32);
}

QColor Theme::prominentButton() const {
    return m_dark ? rgb(0.0, 0.45, 0.88) : rgb(0.1, 0.45, 0.85);
}

QColor Theme::prominentButtonDisabled() const {
    return blend(prominentButton(), cardSurface(), 0.6);
}

QColor Theme::prominentText() const {
    return Qt::white;
}

QColor Theme::fieldBackground() const {
    return m_dark ? blend(cardSurface(), Qt::black, 0.25) : QColor(Qt::white);
}

QColor Theme::placeholderText() const {
    return withAlpha(primaryText(), 0.4);
}

QColor Theme::focusHighlight() const {
    return infoAccent();
}

QUrl Theme::logoSource() const {
    if (!m_hasLogo)
        return {};
    return QUrl(m_dark ? u"image://brand/logo-inverted"_s : u"image://brand/logo"_s);
}

QFont Theme::brandFont(Weight weight, qreal pixelSize) {
    static const QString families[] = {u"MarkOffcPro"_s, u"MarkOffcPro-Medium"_s,
                                       u"MarkOffcPro-Heavy"_s, u"MarkOffcPro-Black"_s};
    static const QFont::Weight fallbackWeights[] = {QFont::Normal, QFont::Medium, QFont::ExtraBold,
                                                    QFont::Black};
    QFont font;
    if (QFontDatabase::hasFamily(families[weight])) {
        font.setFamilies({families[weight]});
    } else {
        font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
        font.setWeight(fallbackWeights[weight]);
    }
    font.setPixelSize(std::max(1, qRound(pixelSize)));
    return font;
}

QFont Theme::monoFont(qreal pixelSize) {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPixelSize(std::max(1, qRound(pixelSize)));
    return font;
}

qreal Theme::logoTextSize(qreal height) {
    return std::max(height * 0.42, 14.0);
}

} // namespace vesnara
