// Editing rules of the window's fields that do not depend on the record: the highlight of the
// field that has the focus, the key rules and the serial-port test.
#pragma once

#include <QColor>
#include <QObject>
#include <QString>
#include <functional>

class QWidget;

namespace kirva {

// Background of the field being edited.
QColor HighlightColour();

// On entry: the field's text is selected and its background takes the highlight colour.
// On exit: the colour it had is restored and the selection cleared. Text boxes, choice lists
// (editable or not) and their inner text boxes are handled; other widgets are left alone.
void HighlightField(QWidget* field);
void UnhighlightField(QWidget* field);

// Watches the editing fields: calls gotFocus / lostFocus when one gains or loses the focus, and
// selects the whole text when a click gave the focus (the click would otherwise drop the selection).
class FieldFocusWatcher : public QObject {
  public:
    using Handler = std::function<void(QWidget*)>;
    FieldFocusWatcher(QObject* parent, Handler gotFocus, Handler lostFocus);
    void Watch(QWidget* field);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    Handler gotFocus_;
    Handler lostFocus_;
};

// The key rule of the reference field: each key press that types a character (Backspace
// included) reports the text as it stood before the key was applied, so what depends on it (the
// server-folder button) follows one key behind.
// (The insertion's shortcut box, which takes no key, is guarded by the ISO insertions panel.)
class KeyRuleFilter : public QObject {
  public:
    using BeforeKey = std::function<void(const QString& textBeforeKey)>;
    KeyRuleFilter(QObject* parent, QWidget* field, BeforeKey handler);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QObject* field_;
    BeforeKey beforeKey_;
};

// The number of a COM port as a choice list shows it ("3", "COM3"): its digits; 0 when none.
int PortNumberOf(const QString& portText);

// Opens COM n for a test and closes it, then tells the user whether the port is free
// ("Le port COM x1x existe et n'est occupé par aucune application !") or not
// ("Le port COM x1x est occupé par une application ou n'existe pas !"). True when it was free.
bool TestSerialPortAndTell(int portNumber);

} // namespace kirva
