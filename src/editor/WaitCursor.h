// The wait cursor, for the life of the object: shown while a command that blocks the window runs.
#pragma once

#include <QApplication>

namespace kirva {

class WaitCursor {
  public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
};

} // namespace kirva
