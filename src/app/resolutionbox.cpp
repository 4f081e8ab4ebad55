// SPDX-License-Identifier: MIT
#include "app/resolutionbox.h"

#include <QKeyEvent>
#include <QWheelEvent>

using namespace Qt::StringLiterals;

namespace
{

int widthOf(const QString &resolution)
{
    return resolution.trimmed().section(u'x', 0, 0).toInt();
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
