// What the window's fields let in, so that a field never shows a value other than the one the
// record will keep: numbers within the width of their key, the start condition's companion boxes,
// and choice lists that a mouse-wheel turn does not change behind the user's back.
#pragma once

#include <QColor>
#include <QObject>
#include <QString>
#include <QValidator>
#include <optional>

#include "app/FieldTable.h"

class QWidget;

namespace kirva {

// Dynamic property of a field: its text when it got the focus (put back when it is left unstorable).
inline constexpr const char* kTextOnEntry = "kirvaTextOnEntry";

// Colour of the caption of a field that a catalogue preset changed, until the user edits it.
QColor PresetMarkColour();

// What a number field takes: an integer within [Min, Max], or a decimal number.
struct NumberRule {
    bool Decimal = false;
    double Min = 0;
    double Max = 0;
};

// The rule of a field typed as text whose value is a number (an integer key, a decimal key, a
// numeric field of the caller's entry); nullopt for every other field.
std::optional<NumberRule> NumberRuleOf(const FieldDef& def);

// Decimal numbers keep at most this many significant digits: the file holds no more.
inline constexpr int kMaxDecimalDigits = 15;

// Lets in digits, a leading "-" when the range has negative numbers and, for decimals, one
// decimal separator: "," is taken as "." while typing. An exponent, a blank, a second separator,
// an integer beyond the range or a decimal with more significant digits than the file keeps is
// refused as it is typed or pasted. "", "-" and "5." are intermediate: fixup() turns "5." into "5".
class NumberValidator : public QValidator {
  public:
    NumberValidator(NumberRule rule, QObject* parent);
    State validate(QString& input, int& pos) const override;
    void fixup(QString& input) const override;
    const NumberRule& Rule() const { return rule_; }

  private:
    State Check(const QString& text) const;
    NumberRule rule_;
};

// An acceptable number as the record gives it back: no leading zeros, no trailing decimal zeros,
// no "-" before zero ("007" -> "7", "0.50" -> "0.5", ".5" -> "0.5", "-0" -> "0").
QString NormalNumberText(const QString& text);

// The character of the start condition "Caractère": one character that the file keeps as it is
// (printable, not a blank, held by code page 1252). Empty is intermediate.
class StartCharacterValidator : public QValidator {
  public:
    using QValidator::QValidator;
    State validate(QString& input, int& pos) const override;
};

// The waiting time of the start condition "Attente": a whole number, digits only (at most nine).
class WaitTimeValidator : public QValidator {
  public:
    using QValidator::QValidator;
    State validate(QString& input, int& pos) const override;
};

// A choice list (or spin box) changes on a mouse-wheel turn only when it has the focus; otherwise
// the turn goes on to what holds it (the panel scrolls). The guarded widgets no longer take the
// focus from the wheel either.
class WheelGuard : public QObject {
  public:
    explicit WheelGuard(QObject* parent);
    // Guards every choice list and spin box under root (root included).
    void Guard(QWidget* root);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};

} // namespace kirva
