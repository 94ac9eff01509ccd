#include "editor/FieldInput.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QEvent>
#include <QWidget>

#include "ini/codepage.h"
#include "machine/KeyTable.h"

namespace kirva {

namespace {

// The parts of a number as typed: sign, digits before and after the separator.
struct NumberParts {
    bool Negative = false;
    bool Separator = false;
    QString Whole;
    QString Fraction;
};

// Splits text made of an optional "-", digits and at most one "." (allowed when decimal is true).
// nullopt when anything else is in it.
std::optional<NumberParts> SplitNumber(const QString& text, bool decimal) {
    NumberParts parts;
    int i = 0;
    if (i < text.size() && text[i] == QLatin1Char('-')) {
        parts.Negative = true;
        ++i;
    }
    for (; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c >= QLatin1Char('0') && c <= QLatin1Char('9')) {
            (parts.Separator ? parts.Fraction : parts.Whole) += c;
        } else if (c == QLatin1Char('.') && decimal && !parts.Separator) {
            parts.Separator = true;
        } else {
            return std::nullopt;
        }
    }
    return parts;
}

QString WithoutLeadingZeros(QString digits) {
    int zeros = 0;
    while (zeros < digits.size() && digits[zeros] == QLatin1Char('0')) ++zeros;
    return digits.mid(zeros);
}

QString WithoutTrailingZeros(QString digits) {
    while (!digits.isEmpty() && digits.back() == QLatin1Char('0')) digits.chop(1);
    return digits;
}

} // namespace

QColor PresetMarkColour() {
    return QColor(0x1A, 0x5F, 0xB4); // a blue that stands out from the black captions
}

std::optional<NumberRule> NumberRuleOf(const FieldDef& def) {
    if (def.Conv != FieldConv::Text) return std::nullopt;
    if (const KeyDef* key = FieldKey(def)) {
        switch (key->Kind) {
        case KeyKind::Int16:
        case KeyKind::Int32:
            return NumberRule{false, KindMin(key->Kind), KindMax(key->Kind)};
        case KeyKind::Double:
            return NumberRule{true, KindMin(key->Kind), KindMax(key->Kind)};
        default:
            return std::nullopt;
        }
    }
    if (def.Store == FieldStore::Caller && CallerFieldIsNumber(def.Key)) {
        return NumberRule{false, KindMin(KeyKind::Int32), KindMax(KeyKind::Int32)};
    }
    return std::nullopt;
}

NumberValidator::NumberValidator(NumberRule rule, QObject* parent) : QValidator(parent), rule_(rule) {}

QValidator::State NumberValidator::validate(QString& input, int& /*pos*/) const {
    // The user's decimal comma means the decimal point of the file.
    if (rule_.Decimal) input.replace(QLatin1Char(','), QLatin1Char('.'));
    return Check(input);
}

QValidator::State NumberValidator::Check(const QString& text) const {
    const std::optional<NumberParts> parts = SplitNumber(text, rule_.Decimal);
    if (!parts || (parts->Negative && rule_.Min >= 0)) return Invalid;
    if (parts->Whole.isEmpty() && parts->Fraction.isEmpty()) return Intermediate;
    if (rule_.Decimal) {
        const QString significant =
            WithoutLeadingZeros(WithoutLeadingZeros(parts->Whole) + WithoutTrailingZeros(parts->Fraction));
        if (significant.size() > kMaxDecimalDigits) return Invalid;
    } else {
        const QString digits = WithoutLeadingZeros(parts->Whole);
        if (digits.size() > 18) return Invalid;
        const double value = (parts->Negative ? -1.0 : 1.0) * static_cast<double>(digits.toLongLong());
        if (value < rule_.Min || value > rule_.Max) return Invalid;
    }
    // "5." is on its way to "5.25"; left so, it is "5" (fixup).
    if (parts->Separator && parts->Fraction.isEmpty()) return Intermediate;
    return Acceptable;
}

void NumberValidator::fixup(QString& input) const {
    if (rule_.Decimal) input.replace(QLatin1Char(','), QLatin1Char('.'));
    if (input.endsWith(QLatin1Char('.')) && input.size() > 1 && input[input.size() - 2].isDigit()) {
        input.chop(1);
    }
}

QString NormalNumberText(const QString& text) {
    const std::optional<NumberParts> parts = SplitNumber(text, true);
    if (!parts) return text;
    QString whole = WithoutLeadingZeros(parts->Whole);
    if (whole.isEmpty()) whole = QStringLiteral("0");
    const QString fraction = WithoutTrailingZeros(parts->Fraction);
    QString normal = whole;
    if (!fraction.isEmpty()) normal += QLatin1Char('.') + fraction;
    if (parts->Negative && normal != QLatin1String("0")) normal.prepend(QLatin1Char('-'));
    return normal;
}

QValidator::State StartCharacterValidator::validate(QString& input, int& /*pos*/) const {
    if (input.isEmpty()) return Intermediate;
    if (input.size() != 1) return Invalid;
    const QChar c = input[0];
    // A blank would be trimmed away by the file; a control character or one the code page cannot
    // hold would come back as something else.
    if (c.isSpace() || !c.isPrint() || ini::UnicodeToCp1252(c.unicode()) < 0) return Invalid;
    return Acceptable;
}

QValidator::State WaitTimeValidator::validate(QString& input, int& /*pos*/) const {
    if (input.isEmpty()) return Intermediate;
    if (input.size() > 9) return Invalid;
    for (const QChar c : input) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9')) return Invalid;
    }
    return Acceptable;
}

WheelGuard::WheelGuard(QObject* parent) : QObject(parent) {}

void WheelGuard::Guard(QWidget* root) {
    QList<QWidget*> widgets = root->findChildren<QWidget*>();
    widgets.prepend(root);
    for (QWidget* w : widgets) {
        if (qobject_cast<QComboBox*>(w) == nullptr && qobject_cast<QAbstractSpinBox*>(w) == nullptr) continue;
        // Qt gives these widgets the focus on a wheel turn; they take it from a click or Tab only.
        if (w->focusPolicy() == Qt::WheelFocus) w->setFocusPolicy(Qt::StrongFocus);
        w->installEventFilter(this);
    }
}

bool WheelGuard::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Wheel) {
        auto* widget = qobject_cast<QWidget*>(watched);
        if (widget != nullptr && !widget->hasFocus()) {
            // Not for this list: the turn goes on to its parents (the panel scrolls).
            event->ignore();
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}

} // namespace kirva
