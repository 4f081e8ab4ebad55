// SPDX-License-Identifier: MIT
#include "app/resolutionbox.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QWheelEvent>

using namespace Qt::StringLiterals;

QSize readResolution(const QString &text)
{
    const QString size = text.trimmed();
    return {size.section(u'x', 0, 0).toInt(), size.section(u'x', 1).toInt()};
}

QString resolutionText(int width, int height)
{
    return u"%1x%2"_s.arg(width).arg(height);
}

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
    const QString text = resolutionText(width, height);
    setCurrentIndex(findText(text));
    setEditText(text);
}

void ResolutionBox::setRefused(const QString &why)
{
    setToolTip(why);
    setAccessibleDescription(why);
    lineEdit()->setAccessibleDescription(why);
    QPalette own; // colours that it does not set stay the box's
    if (!why.isEmpty()) {
        const bool isDark = palette().color(QPalette::Base).lightness() < 128;
        own.setColor(QPalette::Text, isDark ? QColor(255, 128, 128) : QColor(176, 0, 0));
    }
    lineEdit()->setPalette(own);
}

void ResolutionBox::keyPressEvent(QKeyEvent *event)
{
    const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    const int key = event->key();
    if (key == Qt::Key_PageUp || (plain && key == Qt::Key_Up))
        step(true);
    else if (key == Qt::Key_PageDown || (plain && key == Qt::Key_Down))
        step(false);
    else
        ChoiceBox::keyPressEvent(event);
}

void ResolutionBox::wheelEvent(QWheelEvent *event)
{
    if (const int turned = event->angleDelta().y())
        step(turned > 0);
}

void ResolutionBox::step(bool toLarger)
{
    const int shownWidth = readResolution(currentText()).width();
    int next = -1;
    for (int i = 0; i < count(); ++i) {
        const bool isLarger = readResolution(itemText(i)).width() > shownWidth;
        const bool isFirstOther = next < 0 && !isLarger && itemText(i) != currentText();
        if (toLarger ? isLarger : isFirstOther)
            next = i;
    }
    if (next >= 0)
        setCurrentIndex(next);
}
