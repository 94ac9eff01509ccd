// The network test in the window: Enter in txtPing fills the four lblPing captions. Only the
// loopback address is ever sent to; a silent machine is simulated by the replaceable echo.
#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QTest>

#include "editor/PingWidgets.h"

namespace kirva {
namespace {

class EditorPing : public ::testing::Test {
  protected:
    void SetUp() override {
        txt_ = widgets_.findChild<QLineEdit*>("txtPing");
        ASSERT_NE(txt_, nullptr);
        for (int i = 0; i < 4; ++i) {
            lbl_[i] = widgets_.findChild<QLabel*>(QStringLiteral("lblPing_%1").arg(i));
            ASSERT_NE(lbl_[i], nullptr) << i;
        }
    }
    void Type(const QString& text) {
        txt_->clear();
        QTest::keyClicks(txt_, text);
        QTest::keyClick(txt_, Qt::Key_Return);
    }
    PingWidgets widgets_;
    QLineEdit* txt_ = nullptr;
    QLabel* lbl_[4] = {};
};

TEST_F(EditorPing, LoopbackAnswers) {
    Type("127.0.0.1");
    EXPECT_EQ(lbl_[0]->text(), "Adresse IP : 127.0.0.1");
    EXPECT_EQ(lbl_[1]->text(), "Statut : 0   [ ip success ]");
    EXPECT_TRUE(lbl_[2]->text().startsWith("Temps d'attente : ") && lbl_[2]->text().endsWith(" ms"));
    EXPECT_EQ(lbl_[3]->text(), QStringLiteral("Octets envoyés : 9"));
    EXPECT_EQ(txt_->text(), "127.0.0.1");
}

TEST_F(EditorPing, ASilentMachineShowsTheTimeOut) {
    std::vector<std::string> sentTo;
    widgets_.SetEchoService([&](const std::string& dotted, platform::EchoReply& reply, std::string&) {
        sentTo.push_back(dotted);
        reply.Status = 11010;
        reply.RoundTripTime = 0;
        reply.DataSize = 0;
        return std::int64_t{-11010};
    });
    Type(" 127.0.0.1 ");
    EXPECT_EQ(sentTo, std::vector<std::string>{"127.0.0.1"});
    const std::array<QString, 4> expected = {"Adresse IP : 127.0.0.1",
                                             "Statut : 11010   [ ip req timed out ]",
                                             "Temps d'attente : 0 ms", QStringLiteral("Octets envoyés : 0")};
    EXPECT_EQ(widgets_.Captions(), expected);
}

TEST_F(EditorPing, AnUnknownHostSendsNothingAndStillFillsTheLabels) {
    int calls = 0;
    widgets_.SetEchoService([&](const std::string&, platform::EchoReply&, std::string&) {
        ++calls;
        return std::int64_t{0};
    });
    Type("   ");
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(lbl_[0]->text(), "Adresse IP : ");
    EXPECT_EQ(lbl_[1]->text(), "Statut : 11018   [ ip bad destination ]");
    EXPECT_EQ(lbl_[3]->text(), QStringLiteral("Octets envoyés : 0"));
}

} // namespace
} // namespace kirva
