#include "editor/RestoreDialog.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QTextEdit>
#include <QVBoxLayout>

#include "editor/QtText.h"
#include "workshop/Workshop.h"

namespace kirva {

RestoreDialog::RestoreDialog(const std::string& file, QWidget* parent)
    : QDialog(parent), file_(file), backups_(ListBackups(file)) {
    setObjectName(QStringLiteral("frmRestore"));
    setWindowTitle(Tr(kRestoreTitle));
    list_ = new QListWidget;
    list_->setObjectName(QStringLiteral("LstBackups"));
    for (const BackupEntry& b : backups_) list_->addItem(Q(b.When));
    differences_ = new QTextEdit;
    differences_->setObjectName(QStringLiteral("RtbBackupDifferences"));
    differences_->setReadOnly(true);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    buttons->button(QDialogButtonBox::Ok)->setText(Tr("Restaurer"));
    buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("cmdRestoreOk"));
    buttons->button(QDialogButtonBox::Ok)->setEnabled(!backups_.empty());
    buttons->button(QDialogButtonBox::Cancel)->setText(Tr("&Annuler"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(list_, &QListWidget::currentRowChanged, this, [this] { ShowDifferences(); });
    connect(list_, &QListWidget::itemActivated, this, &QDialog::accept); // Enter or a double click

    auto* columns = new QHBoxLayout;
    columns->addWidget(list_, 1);
    columns->addWidget(differences_, 3);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(columns);
    layout->addWidget(buttons);
    resize(900, 420);
    if (backups_.empty()) {
        differences_->setPlainText(Tr(kNoBackup, file_));
    } else {
        list_->setCurrentRow(0);
        list_->setFocus();
    }
}

std::string RestoreDialog::Chosen() const {
    const int row = list_->currentRow();
    return row >= 0 && static_cast<std::size_t>(row) < backups_.size() ? backups_[row].Path : std::string();
}

QString RestoreDialog::Differences() const {
    return differences_->toPlainText();
}

void RestoreDialog::ShowDifferences() {
    const std::string chosen = Chosen();
    if (chosen.empty()) return;
    const auto found =
        workshop::CompareMachines(workshop::ReadMachineFile(chosen), workshop::ReadMachineFile(file_));
    QStringList lines;
    for (const workshop::Difference& d : found) {
        const QString what = d.Label.empty()
                                 ? Q(d.Section + " " + d.Key)
                                 : Q(d.Label) + QStringLiteral(" (") + Q(d.Panel) + QStringLiteral(")");
        auto value = [](const std::optional<std::string>& v) {
            return v ? QStringLiteral("« ") + Q(*v) + QStringLiteral(" »") : QStringLiteral("—");
        };
        lines << what + QStringLiteral(" : ") + value(d.A) + QStringLiteral(" → ") + value(d.B);
    }
    differences_->setPlainText(lines.isEmpty() ? Tr(kNoDifference) : lines.join(QLatin1Char('\n')));
}

} // namespace kirva
