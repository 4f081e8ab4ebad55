// SPDX-License-Identifier: MIT
#pragma once

#include <QApplication>
#include <QList>
#include <QMessageBox>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <functional>

// Dialogs run inside the call that opens them, so what a person does in one is set up beforehand.

/// How a warning of the program with that text is noted: only OK.
QString warningBox(const QString &text);
/// How a question of the program is noted: Yes and No, neither of them the explicit default.
QString questionBox(const QString &text);

/// The questions of an Apply.
inline const QString closeQuestion = QStringLiteral(
    "Steam stores launch options in a file it rewrites on exit, so it must be closed to apply "
    "changes.\n\nClose Steam now? (It will be restarted afterwards.)");
inline const QString restartQuestion = QStringLiteral("Changes applied. Restart Steam now?");

/// Waits for message boxes while it lives and clicks the next of `answers` in each. Compare shown()
/// with what was to come: a box that did not come is missing there, one that was not expected is
/// there as well (it is closed with Esc). Noted are kind, title, buttons and text and, where it is
/// so, that the box is not the main window's, or that the wait cursor shows over it.
class MessageBoxAnswers
{
public:
    explicit MessageBoxAnswers(const QList<QMessageBox::StandardButton> &answers = {});
    const QStringList &shown() const { return boxes; }
    /// Called before the box with that index is answered.
    std::function<void(qsizetype index)> whileShown;

private:
    void answer(QMessageBox *box);

    QList<QMessageBox::StandardButton> answers;
    QStringList boxes;
    QTimer timer;
};

/// Calls `visit` once, as soon as a modal dialog of that type is up and `ready` (if any) is true.
/// A dialog that is still open afterwards is rejected, so that no test hangs.
template <typename Dialog>
class DialogVisit
{
public:
    explicit DialogVisit(std::function<void(Dialog *)> visit, std::function<bool()> ready = {})
    {
        QObject::connect(&timer, &QTimer::timeout, [this, visit, ready] {
            auto *dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget());
            if (!dialog || !dialog->isVisible() || (ready && !ready()))
                return;
            timer.stop();
            came = true;
            visit(dialog);
            if (dialog->isVisible())
                dialog->reject();
        });
        timer.start(10);
    }
    bool hasCome() const { return came; }

private:
    QTimer timer;
    bool came = false;
};
