#include "editor/TranslateForm.h"

#include <QAbstractButton>
#include <QAction>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QList>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QWidget>

#include "translate/translate.h"

namespace kirva::TK_TRANSLATE {

namespace {

QString Translated(const QString& caption, const std::string& section) {
    return QString::fromStdString(TranslateText(caption.toStdString(), section));
}

bool Translatable(const QString& caption) {
    return !caption.isEmpty() && caption != QStringLiteral("-");
}

void TranslateWidget(QWidget* widget, const std::string& section) {
    if (qobject_cast<QCheckBox*>(widget) || qobject_cast<QPushButton*>(widget) ||
        qobject_cast<QRadioButton*>(widget)) {
        auto* button = static_cast<QAbstractButton*>(widget);
        if (Translatable(button->text())) button->setText(Translated(button->text(), section));
    } else if (auto* label = qobject_cast<QLabel*>(widget)) {
        if (Translatable(label->text())) label->setText(Translated(label->text(), section));
    } else if (auto* group = qobject_cast<QGroupBox*>(widget)) {
        if (Translatable(group->title())) group->setTitle(Translated(group->title(), section));
    } else if (auto* tabs = qobject_cast<QTabBar*>(widget)) {
        // A tab widget keeps its captions in its own tab bar, so every tab is translated once.
        for (int i = 0; i < tabs->count(); ++i) {
            if (!tabs->tabText(i).isEmpty()) tabs->setTabText(i, Translated(tabs->tabText(i), section));
        }
    }
}

} // namespace

void TranslateForm(QWidget* window, const std::string& section) {
    if (window == nullptr) return;
    if (!window->windowTitle().isEmpty()) window->setWindowTitle(Translated(window->windowTitle(), section));

    const QList<QWidget*> widgets = window->findChildren<QWidget*>();
    for (QWidget* widget : widgets) TranslateWidget(widget, section);

    // Menu items: the actions of the window, of its menu bar, menus and tool bars, each once.
    const QList<QAction*> actions = window->findChildren<QAction*>();
    for (QAction* action : actions) {
        if (action->isSeparator() || !Translatable(action->text())) continue;
        action->setText(Translated(action->text(), section));
    }
}

} // namespace kirva::TK_TRANSLATE
