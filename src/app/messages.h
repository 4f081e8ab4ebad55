// SPDX-License-Identifier: MIT
#pragma once

class QString;
class QWidget;

/// Shows a warning with an OK button and waits for its end. The text can be selected and copied;
/// one that is taller than the screen is scrolled in the box.
void warn(QWidget *parent, const QString &text);

/// Asks a question with Yes and No and waits for the answer; closing the box is a No.
bool ask(QWidget *parent, const QString &text);
