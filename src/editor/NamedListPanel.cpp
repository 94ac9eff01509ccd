#include "editor/NamedListPanel.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>

#include "translate/messages.h"

namespace kirva {

NamedListPanel::NamedListPanel(const Layout& layout, QWidget* parent) : QWidget(parent) {
    setObjectName(QString::fromUtf8(layout.panelName));
    auto* frame = new QGroupBox(QString::fromUtf8(layout.frameTitle), this);
    frame->setObjectName(QString::fromUtf8(layout.frameName));

    list_ = new QListWidget(frame);
    list_->setObjectName(QString::fromUtf8(layout.listName));

    auto* fields = new QGridLayout;
    const int count = static_cast<int>(layout.fieldLabels.size());
    for (int i = 0; i < count; ++i) {
        auto* field = new QLineEdit(frame);
        field->setObjectName(QString::fromUtf8(layout.fieldPrefix) + QString::number(i));
        auto* label = new QLabel(QString::fromUtf8(layout.fieldLabels[static_cast<std::size_t>(i)]), frame);
        label->setBuddy(field);
        fields->addWidget(label, i, 0);
        fields->addWidget(field, i, 1);
        fields_.push_back(field);
    }
    int rows = count;
    if (layout.checkName != nullptr) {
        check_ = new QCheckBox(QString::fromUtf8(layout.checkCaption), frame);
        check_->setObjectName(QString::fromUtf8(layout.checkName));
        fields->addWidget(check_, rows++, 1);
    }
    fields->setRowStretch(rows, 1);

    static const char* const kButtons[3] = {"Ajouter", "Modifier", "Supprimer"};
    auto* buttons = new QHBoxLayout;
    QPushButton* cmd[3];
    for (int i = 0; i < 3; ++i) {
        cmd[i] = new QPushButton(QString::fromUtf8(kButtons[i]), frame);
        cmd[i]->setObjectName(QString::fromUtf8(layout.buttonPrefix) + QString::number(i));
        buttons->addWidget(cmd[i]);
    }
    buttons->addStretch();

    auto* grid = new QGridLayout(frame);
    grid->addWidget(list_, 0, 0);
    grid->addLayout(fields, 0, 1);
    grid->addLayout(buttons, 1, 0, 1, 2);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(1, 2);
    auto* outer = new QHBoxLayout(this);
    outer->addWidget(frame);

    QWidget* previous = list_;
    for (QLineEdit* field : fields_) {
        setTabOrder(previous, field);
        previous = field;
    }
    if (check_ != nullptr) {
        setTabOrder(previous, check_);
        previous = check_;
    }
    for (QPushButton* button : cmd) {
        setTabOrder(previous, button);
        previous = button;
    }

    connect(list_, &QListWidget::currentRowChanged, this, [this] { ShowSelected(); });
    connect(cmd[0], &QPushButton::clicked, this, [this] { AddFromFields(); });
    connect(cmd[1], &QPushButton::clicked, this, [this] { ModifyFromFields(); });
    connect(cmd[2], &QPushButton::clicked, this, [this] { DeleteFromFields(); });
}

// The subclass (and its list) is gone by now: the list must not reach the hooks while the children
// are torn down.
NamedListPanel::~NamedListPanel() {
    disconnect(list_, nullptr, this, nullptr);
}

void NamedListPanel::Refill() {
    const QSignalBlocker block(list_);
    list_->clear();
    const int count = RecordCount();
    for (int i = 1; i <= count; ++i) list_->addItem(QString::fromStdString(NameAt(i)));
}

void NamedListPanel::Select(const std::string& name) {
    const auto found =
        list_->findItems(QString::fromStdString(name), Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (!found.isEmpty()) list_->setCurrentItem(found.front());
}

void NamedListPanel::ShowSelected() {
    QListWidgetItem* item = list_->currentItem();
    if (item == nullptr) return;
    fields_[0]->setText(item->text());
    ShowRecord(item->text().toStdString());
}

void NamedListPanel::AddFromFields() {
    AddRecord();
    Refill();
    list_->setCurrentRow(list_->count() - 1);
}

void NamedListPanel::ModifyFromFields() {
    QListWidgetItem* item = list_->currentItem();
    const std::string oldName = item != nullptr ? item->text().toStdString() : std::string();
    const std::string name = Field(0);
    const int before = RecordCount();
    if (!ModifyRecord(oldName)) {
        ShowMessage("Le nom x1x est déjà utilisé !", IconCritical, MsgButtons::Ok, name);
        return;
    }
    Refill();
    if (RecordCount() > before)
        list_->setCurrentRow(list_->count() - 1);
    else
        Select(name);
}

void NamedListPanel::DeleteFromFields() {
    DeleteRecord(Field(0));
    Refill();
}

std::string NamedListPanel::Field(int index) const {
    return fields_[static_cast<std::size_t>(index)]->text().toStdString();
}

void NamedListPanel::SetField(int index, const std::string& text) {
    fields_[static_cast<std::size_t>(index)]->setText(QString::fromStdString(text));
}

bool NamedListPanel::Checked() const {
    return check_ != nullptr && check_->isChecked();
}

void NamedListPanel::SetChecked(bool checked) {
    if (check_ != nullptr) check_->setChecked(checked);
}

} // namespace kirva
