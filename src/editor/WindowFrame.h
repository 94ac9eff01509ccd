// The frame of the window around its fields: the keys that act on the whole window, the first
// size on the user's screen, and the language of Qt's own dialogs and buttons.
#pragma once

#include <QObject>
#include <QRect>
#include <QSize>
#include <QString>
#include <functional>
#include <memory>
#include <string>

class QAbstractButton;
class QTranslator;
class QWidget;

namespace kirva {

// Enter and Escape for the whole window. Installed on the window, it sees the keys that the
// focused widget left alone:
// - Enter presses the focused push button, or else the default button (the apply button), after
//   `beforeDefault` has run (it settles the field being edited as leaving it would). Multi-line
//   text boxes keep their own Enter.
// - Escape presses the cancel button.
// A disabled or hidden button is not pressed.
class WindowKeys : public QObject {
  public:
    WindowKeys(QWidget* window, QAbstractButton* defaultButton, QAbstractButton* cancelButton,
               std::function<void()> beforeDefault);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QWidget* window_;
    QAbstractButton* default_;
    QAbstractButton* cancel_;
    std::function<void()> beforeDefault_;
};

// The first size of a window that would like `wanted` on a screen whose free area is `available`:
// never wider or higher than that area less `frame` (the window manager's borders and title),
// never below `minimum`.
QSize BoundedWindowSize(QSize wanted, QRect available, QSize frame, QSize minimum);

// The language of a dictionary file, for Qt's own translations: the file's name before its first
// dot, lower case ("…/Lng/FR.lng" -> "fr"). Without a dictionary the texts stay French: "fr".
QString DictionaryLanguage(const std::string& pathDico);

// Installs Qt's translations (qtbase_<language>.qm of Qt's translation folder) for the language
// of the dictionary in use, so that file and folder dialogs and standard buttons speak it. The
// translations stay installed while the returned object lives; nullptr when Qt ships none for
// that language (Qt's own texts then stay English).
std::unique_ptr<QTranslator> InstallQtTranslations(const std::string& pathDico);

} // namespace kirva
