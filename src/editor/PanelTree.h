// The panel tree: the nineteen nodes of TvwCat, each joined to its panel by the identifier
// "pan:" + panel number + "|" held in the node's tag and in the panel's tag.
#pragma once

#include <span>
#include <string>

#include <QString>

#include "app/FieldTable.h"

class QTreeWidget;
class QTreeWidgetItem;
class QWidget;

namespace kirva {

// "pan:" + panel + "|".
QString PanelTag(const char* panel);
// The panel number held in a tag ("pan:" looked up without regard to case), "" when absent.
QString PanelOfTag(const QString& tag);

// Item data roles of a node.
inline constexpr int kNodeKeyRole = 0x0100 + 1; // Qt::UserRole + 1
inline constexpr int kNodeTagRole = 0x0100 + 2;

// Adds a node: a top node when parentKey is empty, otherwise a child of the node with that key;
// key and text are both `text`. Expands its ancestors and sets its tag. Returns nullptr (and adds
// nothing) when the key is already taken or the parent key is unknown.
QTreeWidgetItem* AddTreeNode(QTreeWidget* nodes, const QString& parentKey, const QString& text,
                             const QString& tag);
// The node with that key, nullptr when none.
QTreeWidgetItem* FindTreeNode(QTreeWidget* nodes, const QString& key);
// Clears the tree and adds the nineteen nodes in order, their texts translated (section "KIRVA").
void BuildPanelTree(QTreeWidget* nodes);

// The tag of a widget (dynamic property "Tag").
QString WidgetTag(const QWidget* widget);

} // namespace kirva
