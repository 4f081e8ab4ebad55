// SPDX-License-Identifier: MIT
#include "app/resolutionbox.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QWheelEvent>

#include <cmath>

using namespace Qt::StringLiterals;

namespace
{

int widthOf(const QString &resolution)
{
    return resolution.trimmed().section(u'x', 0, 0).toInt();
}

/// From 0 for black to 1 for white, by WCAG 2's definition of relative luminance.
double luminance(const QColor &colour)
{
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

/// The red nearest to a plain one that can be read on the ground, with a contrast of 5 to 1, above
/// the 4.5 that WCAG 2 asks for, since the colours of a screen are rounded; black or white where no
/// red has it.
QColor legibleRed(const QColor &ground)
{
    const double groundLuminance = luminance(ground);
    const bool isLight = groundLuminance > 0.18; // where black and white can be read as well
    for (int lightness = 128; lightness > 0 && lightness < 256; lightness += isLight ? -4 : 4) {
        const QColor red = QColor::fromHsl(0, 220, lightness);
        const double contrast = (luminance(red) + 0.05) / (groundLuminance + 0.05);
        if (contrast >= 5 || 1 / contrast >= 5)
            return red;
    }
    return isLight ? Qt::black : Qt::white;
}

} // namespace

ResolutionBox::ResolutionBox()
{
    setEditable(true);
    addItems({u"3840x2160"_s, u"2560x1440"_s, u"1920x1080"_s, u"1600x900"_s, u"1280x720"_s,
              u"960x540"_s, u"854x480"_s});
    setCompleter(nullptr);
    setInsertPolicy(QComboBox::NoInsert);
}

void ResolutionBox::showResolution(int width, int height)
{
    const QString text = u"%1x%2"_s.arg(width).arg(height);
    setCurrentIndex(findText(text));
    setEditText(text);
}

void ResolutionBox::setRefused(bool isRefused)
{
    if (refused == isRefused)
        return;
    refused = isRefused;
    colourText();
}

void ResolutionBox::colourText()
{
    QPalette own; // what it does not set is the box's
    if (refused)
        own.setColor(QPalette::Text, legibleRed(palette().color(QPalette::Base)));
    lineEdit()->setPalette(own);
}

void ResolutionBox::changeEvent(QEvent *event)
{
    ChoiceBox::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::EnabledChange)
        colourText();
}

void ResolutionBox::keyPressEvent(QKeyEvent *event)
{
    const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    const int key = event->key();
    if (key == Qt::Key_PageUp || (plain && key == Qt::Key_Up))
        stepToLarger();
    else if (key == Qt::Key_PageDown || (plain && key == Qt::Key_Down))
        stepToSmaller();
    else
        ChoiceBox::keyPressEvent(event);
}

void ResolutionBox::wheelEvent(QWheelEvent *event)
{
    // A touchpad sends a wheel's notch in many small parts.
    constexpr int notch = 120;
    wheelRest += event->angleDelta().y();
    for (; wheelRest >= notch; wheelRest -= notch)
        stepToLarger();
    for (; wheelRest <= -notch; wheelRest += notch)
        stepToSmaller();
}

void ResolutionBox::stepToLarger()
{
    choose(firstNotLarger() - 1);
}

void ResolutionBox::stepToSmaller()
{
    const int index = firstNotLarger();
    choose(itemText(index) == currentText() ? index + 1 : index);
}

void ResolutionBox::choose(int index)
{
    if (index >= 0 && index < count())
        setCurrentIndex(index);
}

/// The item that is shown or, for any other size, the first that is not wider; count() for none.
int ResolutionBox::firstNotLarger() const
{
    const int shown = findText(currentText());
    if (shown >= 0)
        return shown;
    int index = 0;
    while (index < count() && widthOf(itemText(index)) > widthOf(currentText()))
        ++index;
    return index;
}
