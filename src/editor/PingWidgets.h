// The network test of a machine: the address box txtPing (Enter starts the test) and the four
// result labels lblPing_0 .. lblPing_3 (address, status, round-trip time, bytes echoed).
//
// Children (object names): txtPing (QLineEdit), lblPing_0 .. lblPing_3 (QLabel).
#pragma once

#include <QWidget>
#include <array>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/platform.h"

class QLabel;
class QLineEdit;

namespace kirva {

class PingWidgets : public QWidget {
    Q_OBJECT

  public:
    // Sends one echo to a dotted address: the round-trip time on success, else minus the status;
    // the reply record is filled either way. The default sends a real ICMP echo.
    using EchoService = std::function<std::int64_t(const std::string& dotted, platform::EchoReply& reply,
                                                   std::string& error)>;

    explicit PingWidgets(QWidget* parent = nullptr);

    // Replaces the echo (tests simulate a silent address); an empty function restores the real one.
    void SetEchoService(EchoService service);
    // Resolves the text of txtPing, sends one echo and shows the four captions.
    void RunTest();
    // The four captions shown, in order.
    std::array<QString, 4> Captions() const;

  private:
    bool eventFilter(QObject* watched, QEvent* event) override;

    EchoService echo_;
    QLineEdit* txtPing_ = nullptr;
    std::array<QLabel*, 4> lblPing_{};
};

} // namespace kirva
