#include "editor/PanelTree.h"

#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <QVariant>

#include "ini/helpers.h"
#include "translate/translate.h"

namespace kirva {

namespace {

QString Translated(const char* text) {
    return QString::fromStdString(TK_TRANSLATE::TranslateText(text, kDicoSection));
}

} // namespace

QString PanelTag(const char* panel) {
    return QStringLiteral("pan:") + QString::fromUtf8(panel) + QStringLiteral("|");
}

QString PanelOfTag(const QString& tag) {
    return QString::fromStdString(GetTagValue(tag.toStdString(), "pan:"));
}

QTreeWidgetItem* FindTreeNode(QTreeWidget* nodes, const QString& key) {
    for (QTreeWidgetItemIterator it(nodes); *it != nullptr; ++it) {
        if ((*it)->data(0, kNodeKeyRole).toString() == key) return *it;
    }
    return nullptr;
}

QTreeWidgetItem* AddTreeNode(QTreeWidget* nodes, const QString& parentKey, const QString& text,
                             const QString& tag) {
    if (FindTreeNode(nodes, text) != nullptr) return nullptr;
    QTreeWidgetItem* item = nullptr;
    if (parentKey.isEmpty()) {
        item = new QTreeWidgetItem(nodes);
    } else {
        QTreeWidgetItem* parent = FindTreeNode(nodes, parentKey);
        if (parent == nullptr) return nullptr;
        item = new QTreeWidgetItem(parent);
    }
    item->setText(0, text);
    item->setData(0, kNodeKeyRole, text);
    for (QTreeWidgetItem* up = item->parent(); up != nullptr; up = up->parent()) up->setExpanded(true);
    item->setData(0, kNodeTagRole, tag);
    return item;
}

void BuildPanelTree(QTreeWidget* nodes) {
    nodes->clear();
    for (const TreeNodeDef& node : TreeNodes()) {
        AddTreeNode(nodes, node.Parent ? Translated(node.Parent) : QString(), Translated(node.Text),
                    PanelTag(node.Panel));
    }
}

QString WidgetTag(const QWidget* widget) {
    return widget == nullptr ? QString() : widget->property("Tag").toString();
}

} // namespace kirva
