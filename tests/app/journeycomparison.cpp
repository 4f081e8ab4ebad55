// SPDX-License-Identifier: MIT
#include "journey.h"

#include "app/gameitem.h"

using namespace Qt::StringLiterals;

// Everything that is seen after a step of a journey, beside what the model says.

namespace
{

class Comparison
{
public:
    void text(const QString &what, const QString &is, const QString &shouldBe)
    {
        if (is != shouldBe)
            differences.append(
                u"%1\n    is        \"%2\"\n    should be \"%3\""_s.arg(what, is, shouldBe));
    }
    void text(const QString &what, const QString &is, const std::string &shouldBe)
    {
        text(what, is, QString::fromStdString(shouldBe));
    }
    void number(const QString &what, qsizetype is, qsizetype shouldBe)
    {
        text(what, QString::number(is), QString::number(shouldBe));
    }
    void flag(const QString &what, bool is, bool shouldBe)
    {
        text(what, is ? u"yes"_s : u"no"_s, shouldBe ? u"yes"_s : u"no"_s);
    }
    QStringList differences;
};

void compareList(Comparison &compare, const QListWidget *list, const model::Window &window)
{
    compare.number(u"games in the list"_s, list->count(), qsizetype(window.rows.size()));
    compare.number(u"current row"_s, list->currentRow(), window.currentRow);
    for (int i = 0; i < list->count() && i < int(window.rows.size()); ++i) {
        const model::Row &row = window.rows[std::size_t(i)];
        const QListWidgetItem *item = list->item(i);
        const QString name = u"row %1, "_s.arg(i);
        compare.text(name + "name"_L1, item->text(), row.name);
        compare.text(name + "app id"_L1, item->data(Qt::UserRole).toString(), row.appid);
        compare.flag(name + "ticked"_L1, item->checkState() == Qt::Checked, row.ticked);
        compare.text(name + "tool tip"_L1, item->toolTip(), row.toolTip);
        compare.text(name + "description"_L1, item->data(Qt::AccessibleDescriptionRole).toString(),
                     row.toolTip);
        compare.flag(name + "pending"_L1, item->data(GameItem::PendingRole).toBool(), row.pending);
    }
}

void compareControls(Comparison &compare, const WindowUser &user, const model::Shown &shown)
{
    compare.flag(u"group enabled"_s, user.settingsGroup->isEnabled(), shown.groupEnabled);
    compare.text(u"group title"_s, user.settingsGroup->title(), shown.groupTitle);
    compare.flag(u"upscaling"_s, user.upscalingCheck->isChecked(), shown.upscaling);
    compare.text(u"render size"_s, user.renderResCombo->currentText(), shown.renderSize);
    compare.text(u"output size"_s, user.outputResCombo->currentText(), shown.outputSize);
    compare.number(u"render sizes offered"_s, user.renderResCombo->count(), 7);
    compare.number(u"output sizes offered"_s, user.outputResCombo->count(), 7);
    compare.flag(u"frame generation"_s, user.framegenCheck->isChecked(), shown.framegen);
    compare.number(u"method"_s, user.methodCombo->currentIndex(), shown.method);
    compare.number(u"hold-back"_s, user.holdbackCombo->currentIndex(), shown.holdback);
    compare.flag(u"frame cap"_s, user.frameCapCheck->isChecked(), shown.frameCap);
    compare.text(u"frame cap's text"_s, user.frameCapCheck->text(), shown.frameCapText);
    compare.text(u"preview"_s, user.previewLabel->text(), shown.preview);
    compare.text(u"status"_s, user.statusLabel->text(), shown.status);
    compare.flag(u"Apply enabled"_s, user.applyButton->isEnabled(), shown.applyEnabled);
    compare.flag(u"Refresh enabled"_s, user.refreshButton->isEnabled(), true);

    // Beside the group's own state.
    const auto enabled = [&](const QWidget *widget, bool shouldBe) {
        compare.flag(widget->objectName() + " enabled"_L1, widget->isEnabledTo(user.settingsGroup),
                     shouldBe);
    };
    enabled(user.upscalingCheck, true);
    enabled(user.renderResCombo, shown.renderSizeEnabled);
    enabled(user.outputResCombo, true);
    enabled(user.framegenCheck, true);
    enabled(user.methodCombo, shown.methodEnabled);
    enabled(user.holdbackCombo, shown.holdbackEnabled);
    enabled(user.frameCapCheck, true);
    enabled(user.advancedButton, true);
}

void compareGpuPanel(Comparison &compare, const WindowUser &user, const model::Window &window,
                     const QStringList &gpuTexts)
{
    compare.text(
        u"GPU label"_s, user.gpuLabel->text(),
        gpuTexts.isEmpty()
            ? u"<b>No GPU detected.</b> Marrowpulse needs /sys/class/drm access."_s
            : u"Compositing GPU (drives the display): <b>Navi 21 [Radeon RX 6800] (1002:73bf)</b><br>Link: PCIe x16 @ 16.0 GT/s (~31.50 GB/s)"_s);
    QStringList texts;
    for (int i = 0; i < user.renderGpuCombo->count(); ++i)
        texts.append(user.renderGpuCombo->itemText(i));
    compare.text(u"GPUs"_s, texts.join(u'\n'), gpuTexts.join(u'\n'));
    compare.number(u"rendering GPU"_s, user.renderGpuCombo->currentIndex(), window.renderGpu);
    compare.flag(u"rendering GPU enabled"_s, user.renderGpuCombo->isEnabled(), true);
}

} // namespace

QStringList Journey::differences()
{
    Comparison compare;
    compare.differences = dialogDifferences;
    compareList(compare, user->gameList, *window);
    compareControls(compare, *user, window->shown);
    compareGpuPanel(compare, *user, *window, gpuTexts);

    const std::string file = machine.readLocalConfig().toStdString();
    compare.text(u"Steam's file"_s, QString::fromStdString(file), computer.steamFile.value_or(""));
    compare.flag(u"Steam's file, byte for byte"_s, file == computer.steamFile.value_or(""), true);
    compare.flag(u"Steam runs"_s, machine.isSteamClientRunning(), computer.steamRuns);
    QStringList calls;
    for (const std::string &call : computer.steamCalls)
        calls.append(QString::fromStdString(call));
    compare.text(u"calls of Steam"_s, machine.steamCalls().join(u'\n'), calls.join(u'\n'));

    // A step adds one backup at most; those of before stay.
    QStringList added = machine.backups();
    compare.number(u"backups"_s, added.size(), qsizetype(computer.backups.size()));
    for (const QString &known : knownBackups)
        compare.flag(known + " is there"_L1, added.removeOne(known), true);
    for (const QString &name : added) {
        const QString path = machine.localConfig().section(u'/', 0, -2) + u'/' + name;
        compare.text("backup "_L1 + name, QString::fromUtf8(machine.read(path)),
                     computer.backups.empty() ? std::string() : computer.backups.back());
    }
    knownBackups += added;

    QString stored;
    QString shouldBeStored;
    const QMap<QString, QString> values = machine.storedValues();
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        stored += it.key() + " = "_L1 + it.value() + u'\n';
    for (const auto &[key, value] : computer.store)
        shouldBeStored += QString::fromStdString(key + " = " + value + "\n");
    compare.text(u"store"_s, stored, shouldBeStored);
    return compare.differences;
}
