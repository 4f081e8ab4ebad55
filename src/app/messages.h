// SPDX-License-Identifier: MIT
#pragma once

class QString;
class QWidget;

/// Shows a warning with an OK button and waits until it is closed. The text can be selected and
/// copied. A text of several lines has the keyboard focus, and scrolls if it is long.
void warn(QWidget *parent, const QString &text);

/// Asks a question with Yes and No and waits for the answer. True for Yes; closing the box is No.
bool ask(QWidget *parent, const QString &text);
