#include "editor/PingWidgets.h"

#include <QApplication>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>

#include "service/NetworkTest.h"
#include "translate/translate.h"

namespace kirva {

namespace {

// Status shown when the typed text gives no address: nothing could be sent.
constexpr std::uint32_t kStatusBadDestination = 11018;

std::string Tr(const char* text) {
    return TK_TRANSLATE::TranslateText(text, kDicoSection);
}

} // namespace

PingWidgets::PingWidgets(QWidget* parent) : QWidget(parent), echo_(TK_PING::Ping) {
    setObjectName(QStringLiteral("PingWidgets"));
    txtPing_ = new QLineEdit(this);
    txtPing_->setObjectName(QStringLiteral("txtPing"));
    txtPing_->installEventFilter(this);
    auto* prompt = new QLabel(QStringLiteral("Machine à tester :"), this);
    prompt->setObjectName(QStringLiteral("lblPingHost"));
    prompt->setBuddy(txtPing_);

    static const char* const kCaptions[4] = {
        "Adresse IP : ", "Statut : ", "Temps d'attente : ", "Octets envoyés : "};
    auto* grid = new QGridLayout(this);
    grid->addWidget(prompt, 0, 0);
    grid->addWidget(txtPing_, 0, 1);
    for (int i = 0; i < 4; ++i) {
        lblPing_[static_cast<std::size_t>(i)] = new QLabel(QString::fromUtf8(kCaptions[i]), this);
        lblPing_[static_cast<std::size_t>(i)]->setObjectName(QStringLiteral("lblPing_%1").arg(i));
        lblPing_[static_cast<std::size_t>(i)]->setTextInteractionFlags(Qt::TextSelectableByMouse);
        grid->addWidget(lblPing_[static_cast<std::size_t>(i)], 1 + i, 0, 1, 2);
    }
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(5, 1);
}

void PingWidgets::SetEchoService(EchoService service) {
    echo_ = service ? std::move(service) : TK_PING::Ping;
}

void PingWidgets::RunTest() {
    QApplication::setOverrideCursor(Qt::WaitCursor);
    std::string error;
    const std::string address = TK_PING::GetIPFromHostName(txtPing_->text().toStdString(), error);
    platform::EchoReply reply;
    if (address.empty())
        reply.Status = kStatusBadDestination;
    else
        echo_(address, reply, error);
    const std::array<std::string, 4> captions = {
        Tr("Adresse IP : ") + address,
        Tr("Statut : ") + TK_PING::GetStatusCode(reply.Status),
        Tr("Temps d'attente : ") + std::to_string(reply.RoundTripTime) + " ms",
        Tr("Octets envoyés : ") + std::to_string(reply.DataSize),
    };
    for (std::size_t i = 0; i < 4; ++i) lblPing_[i]->setText(QString::fromStdString(captions[i]));
    QApplication::restoreOverrideCursor();
}

std::array<QString, 4> PingWidgets::Captions() const {
    return {lblPing_[0]->text(), lblPing_[1]->text(), lblPing_[2]->text(), lblPing_[3]->text()};
}

bool PingWidgets::eventFilter(QObject* watched, QEvent* event) {
    if (watched == txtPing_ && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            RunTest();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace kirva
