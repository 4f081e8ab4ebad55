// SPDX-License-Identifier: MIT
#pragma once

class QString;
class QWidget;

/// Shows a warning with an OK button and waits for its end. The text can be selected and copied;
/// text of several lines has the keyboard focus, and is scrolled in the box where it is long.
void warn(QWidget *parent, const QString &text);

/// Asks a question with Yes and No and waits for the answer; closing the box is a No.
bool ask(QWidget *parent, const QString &text);
