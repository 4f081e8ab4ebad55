// SPDX-License-Identifier: MIT
#include "modaldialogs.h"

#include "app/mainwindow.h"

#include <QAbstractButton>
#include <QMap>
#include <QTest>

using namespace Qt::StringLiterals;

QString warningBox(const QString &text)
{
    return "warning \"Marrowpulse\" [OK]: "_L1 + text;
}

QString questionBox(const QString &text)
{
    return "question \"Marrowpulse\" [Yes No]: "_L1 + text;
}

MessageBoxAnswers::MessageBoxAnswers(const QList<QMessageBox::StandardButton> &buttons)
    : answers(buttons)
{
    QObject::connect(&timer, &QTimer::timeout, [this] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (box && box->isVisible())
            answer(box);
    });
    timer.start(10);
}

void MessageBoxAnswers::answer(QMessageBox *box)
{
    const QMap<QMessageBox::Icon, QString> kinds{{QMessageBox::Warning, u"warning"_s},
                                                 {QMessageBox::Question, u"question"_s}};
    QStringList buttons;
    for (const auto button : {QMessageBox::Ok, QMessageBox::Yes, QMessageBox::No}) {
        if (box->button(button))
            buttons.append(box->button(button)->text().remove(u'&'));
    }
    if (buttons.size() < box->buttons().size())
        buttons.append(u"and others"_s);
    QString note = u"%1 \"%2\" [%3]: %4"_s.arg(kinds.value(box->icon(), u"other kind"_s),
                                               box->windowTitle(), buttons.join(u' '), box->text());
    if (!qobject_cast<MainWindow *>(box->parentWidget()))
        note += " (not of the main window)"_L1;
    if (QGuiApplication::overrideCursor())
        note += " (under the wait cursor)"_L1;
    if (box->icon() == QMessageBox::Question && box->defaultButton())
        note += " (with an explicit default)"_L1;
    boxes.append(note);
    if (whileShown)
        whileShown(boxes.size() - 1);

    QAbstractButton *wanted = answers.isEmpty() ? nullptr : box->button(answers.takeFirst());
    if (wanted)
        QTest::mouseClick(wanted, Qt::LeftButton);
    else
        box->reject();
}
