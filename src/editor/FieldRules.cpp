#include "editor/FieldRules.h"

#include <QComboBox>
#include <QEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPalette>
#include <QVariant>
#include <QWidget>

#include "platform/platform.h"
#include "translate/messages.h"

namespace kirva {

namespace {

constexpr const char* kSavedPalette = "kirvaSavedPalette";
constexpr const char* kSelectOnRelease = "kirvaSelectOnRelease";

QLineEdit* TextOf(QWidget* field) {
    if (auto* line = qobject_cast<QLineEdit*>(field)) return line;
    if (auto* box = qobject_cast<QComboBox*>(field)) return box->lineEdit();
    return nullptr;
}

bool IsEditingField(QWidget* field) {
    return qobject_cast<QLineEdit*>(field) != nullptr || qobject_cast<QComboBox*>(field) != nullptr;
}

} // namespace

QColor HighlightColour() {
    return QColor(0xFF, 0xF4, 0xB8); // a soft yellow that keeps dark text readable
}

void HighlightField(QWidget* field) {
    if (field == nullptr || !IsEditingField(field)) return;
    if (!field->property(kSavedPalette).isValid()) {
        field->setProperty(kSavedPalette, QVariant::fromValue(field->palette()));
        QPalette lit = field->palette();
        lit.setColor(QPalette::Base, HighlightColour());
        lit.setColor(QPalette::Button, HighlightColour());
        field->setPalette(lit);
    }
    if (QLineEdit* text = TextOf(field)) text->selectAll();
}

void UnhighlightField(QWidget* field) {
    if (field == nullptr || !IsEditingField(field)) return;
    const QVariant saved = field->property(kSavedPalette);
    if (saved.isValid()) {
        field->setPalette(saved.value<QPalette>());
        field->setProperty(kSavedPalette, QVariant());
    }
    if (QLineEdit* text = TextOf(field)) text->deselect();
}

FieldFocusWatcher::FieldFocusWatcher(QObject* parent, Handler gotFocus, Handler lostFocus)
    : QObject(parent), gotFocus_(std::move(gotFocus)), lostFocus_(std::move(lostFocus)) {}

void FieldFocusWatcher::Watch(QWidget* field) {
    field->installEventFilter(this);
    // An editable choice list passes the clicks to its inner text box.
    if (auto* box = qobject_cast<QComboBox*>(field); box != nullptr && box->lineEdit() != nullptr) {
        box->lineEdit()->installEventFilter(this);
    }
}

bool FieldFocusWatcher::eventFilter(QObject* watched, QEvent* event) {
    auto* widget = qobject_cast<QWidget*>(watched);
    if (widget == nullptr) return false;
    // The inner text box of a choice list stands for its list.
    QWidget* field = widget;
    if (auto* box = qobject_cast<QComboBox*>(widget->parentWidget());
        box != nullptr && box->lineEdit() == widget) {
        field = box;
    }
    switch (event->type()) {
    case QEvent::FocusIn:
        if (field == widget) {
            if (static_cast<QFocusEvent*>(event)->reason() == Qt::MouseFocusReason) {
                field->setProperty(kSelectOnRelease, true);
            }
            if (gotFocus_) gotFocus_(field);
        }
        break;
    case QEvent::FocusOut:
        if (field == widget && lostFocus_) lostFocus_(field);
        break;
    case QEvent::MouseButtonRelease:
        if (field->property(kSelectOnRelease).toBool()) {
            field->setProperty(kSelectOnRelease, QVariant());
            QLineEdit* text = TextOf(field);
            if (text != nullptr && !text->hasSelectedText()) text->selectAll();
        }
        break;
    default:
        break;
    }
    return false;
}

KeyRuleFilter::KeyRuleFilter(QObject* parent, QWidget* field, BeforeKey handler)
    : QObject(parent), field_(field), beforeKey_(std::move(handler)) {
    field->installEventFilter(this);
}

bool KeyRuleFilter::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress && watched == field_) {
        // Only a key that types a character counts (Backspace and Enter included): modifiers, arrows,
        // Delete and the Tab that leaves the field do not move the rule on.
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool typesCharacter = !key->text().isEmpty() && key->key() != Qt::Key_Tab &&
                                    key->key() != Qt::Key_Backtab && key->key() != Qt::Key_Delete;
        if (auto* line = qobject_cast<QLineEdit*>(watched); line != nullptr && typesCharacter)
            beforeKey_(line->text());
    }
    return false;
}

int PortNumberOf(const QString& portText) {
    QString digits;
    for (const QChar c : portText) {
        if (c.isDigit())
            digits += c;
        else if (!digits.isEmpty())
            break;
    }
    bool ok = false;
    const int number = digits.left(9).toInt(&ok);
    return ok ? number : 0;
}

bool TestSerialPortAndTell(int portNumber) {
    const bool free = platform::TestSerialPort(portNumber);
    if (free) {
        ShowMessage("Le port COM x1x existe et n'est occupé par aucune application !", IconInformation,
                    MsgButtons::Ok, portNumber);
    } else {
        ShowMessage("Le port COM x1x est occupé par une application ou n'existe pas !", IconWarning,
                    MsgButtons::Ok, portNumber);
    }
    return free;
}

} // namespace kirva
