#include "editor/WindowFrame.h"

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QLibraryInfo>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTextEdit>
#include <QToolButton>
#include <QTranslator>
#include <algorithm>

namespace kirva {

namespace {

bool Pressable(const QAbstractButton* button) {
    return button != nullptr && button->isEnabled() && button->isVisible();
}

// Multi-line text boxes: Enter is a line break there, even in one that cannot be edited.
bool KeepsItsEnter(const QWidget* focus) {
    return qobject_cast<const QTextEdit*>(focus) != nullptr ||
           qobject_cast<const QPlainTextEdit*>(focus) != nullptr;
}

} // namespace

WindowKeys::WindowKeys(QWidget* window, QAbstractButton* defaultButton, QAbstractButton* cancelButton,
                       std::function<void()> beforeDefault)
    : QObject(window), window_(window), default_(defaultButton), cancel_(cancelButton),
      beforeDefault_(std::move(beforeDefault)) {
    window->installEventFilter(this);
}

bool WindowKeys::eventFilter(QObject* watched, QEvent* event) {
    if (watched != window_ || event->type() != QEvent::KeyPress) return QObject::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    const Qt::KeyboardModifiers modifiers = key->modifiers() & ~Qt::KeypadModifier;
    if (modifiers != Qt::NoModifier) return false;
    QWidget* focus = QApplication::focusWidget();
    if (key->key() == Qt::Key_Escape) {
        if (!Pressable(cancel_)) return false;
        cancel_->click();
        return true;
    }
    if (key->key() != Qt::Key_Return && key->key() != Qt::Key_Enter) return false;
    if (focus != nullptr && KeepsItsEnter(focus)) return false;
    // Enter on a button presses that button, as it does in the system's dialogs.
    if (auto* button = qobject_cast<QAbstractButton*>(focus);
        button != nullptr && (qobject_cast<QPushButton*>(button) || qobject_cast<QToolButton*>(button))) {
        if (Pressable(button)) button->click();
        return true;
    }
    if (!Pressable(default_)) return false;
    if (beforeDefault_) beforeDefault_();
    default_->click();
    return true;
}

QSize BoundedWindowSize(QSize wanted, QRect available, QSize frame, QSize minimum) {
    const int width = std::max(minimum.width(), std::min(wanted.width(), available.width() - frame.width()));
    const int height =
        std::max(minimum.height(), std::min(wanted.height(), available.height() - frame.height()));
    return {width, height};
}

QString DictionaryLanguage(const std::string& pathDico) {
    if (pathDico.empty()) return QStringLiteral("fr");
    // The dictionary's path may use either separator (a path from a Windows settings file).
    const QString path = QString::fromStdString(pathDico);
    const QString name =
        path.mid(std::max(path.lastIndexOf(QLatin1Char('/')), path.lastIndexOf(QLatin1Char('\\'))) + 1);
    const QString language = name.section(QLatin1Char('.'), 0, 0).toLower();
    return language.isEmpty() ? QStringLiteral("fr") : language;
}

std::unique_ptr<QTranslator> InstallQtTranslations(const std::string& pathDico) {
    if (QCoreApplication::instance() == nullptr) return nullptr;
    auto translator = std::make_unique<QTranslator>();
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    if (!translator->load(QStringLiteral("qtbase_") + DictionaryLanguage(pathDico), folder)) return nullptr;
    if (!QCoreApplication::installTranslator(translator.get())) return nullptr;
    return translator;
}

} // namespace kirva
