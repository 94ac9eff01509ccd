#include "editor/QtMessageService.h"

#include <QApplication>
#include <QMessageBox>
#include <QString>
#include <cstdlib>
#include <cstring>

namespace kirva {

namespace {

QMessageBox::Icon BoxIcon(int icon) {
    switch (icon) {
    case IconCritical:
        return QMessageBox::Critical;
    case IconQuestion:
        return QMessageBox::Question;
    case IconWarning:
        return QMessageBox::Warning;
    case IconInformation:
        return QMessageBox::Information;
    default:
        return QMessageBox::NoIcon;
    }
}

} // namespace

MsgAnswer QtMessageService::Show(const std::string& text, int icon, MsgButtons buttons) {
    QMessageBox box(BoxIcon(icon), QApplication::applicationDisplayName(), QString::fromStdString(text));
    box.setObjectName(QStringLiteral("msgBox"));
    box.setWindowFlag(Qt::WindowStaysOnTopHint, true);
    if (buttons == MsgButtons::YesNo) {
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        box.setDefaultButton(QMessageBox::Yes);
        box.setEscapeButton(QMessageBox::No);
        return box.exec() == QMessageBox::Yes ? MsgAnswer::Yes : MsgAnswer::No;
    }
    box.setStandardButtons(QMessageBox::Ok);
    box.exec();
    return MsgAnswer::Ok;
}

bool MessagesToStandardError() {
    const char* mode = std::getenv("KIRVA_MESSAGES");
    return mode != nullptr && std::strcmp(mode, "stderr") == 0;
}

} // namespace kirva
