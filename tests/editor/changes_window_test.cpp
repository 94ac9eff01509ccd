// What changed since the machine was read: the marks of the fields, the title, and the question
// of a cancel that would drop the changes.
#include <QCheckBox>
#include <QLabel>
#include <QPushButton>

#include "WindowFixture.h"

namespace kirva::test {
namespace {

QLabel* LabelOf(frmKirva& window, const char* field) {
    for (QLabel* label : window.findChildren<QLabel*>())
        if (label->buddy() != nullptr && label->buddy()->objectName() == QLatin1String(field)) return label;
    return nullptr;
}

TEST(ChangesWindow, ChangedFieldsAreMarkedUntilTheyHoldWhatWasRead) {
    WindowFixture f;
    MachineConfig machine;
    machine.PortListen = 5001;
    frmKirva& window = f.Open(machine);
    QCoreApplication::processEvents();
    const QString title = window.windowTitle();
    QLabel* label = LabelOf(window, "TxtTelvar_6");
    ASSERT_NE(label, nullptr);
    EXPECT_FALSE(label->font().bold());

    f.Line("TxtTelvar_6")->setText(QStringLiteral("6001"));
    f.Find<QCheckBox>("chkTelvar_2")->toggle();
    QCoreApplication::processEvents();
    EXPECT_TRUE(label->font().bold());
    EXPECT_TRUE(f.Find<QCheckBox>("chkTelvar_2")->font().bold()); // a check box is its own label
    EXPECT_TRUE(f.Line("TxtTelvar_6")->toolTip().endsWith(QStringLiteral("\nValeur lue : « 5001 »")));
    EXPECT_EQ(window.windowTitle(), title + QStringLiteral(" *"));
    EXPECT_EQ(window.ChangedFieldCount(), 2);

    f.Line("TxtTelvar_6")->setText(QStringLiteral("5001"));
    f.Find<QCheckBox>("chkTelvar_2")->toggle();
    QCoreApplication::processEvents();
    EXPECT_FALSE(label->font().bold());
    EXPECT_FALSE(f.Line("TxtTelvar_6")->toolTip().contains(QStringLiteral("Valeur lue")));
    EXPECT_EQ(window.windowTitle(), title);
}

TEST(ChangesWindow, CancelWithChangesAsksOnceWhetherToDropThem) {
    const struct {
        const char* name;
        bool edit;
        MsgAnswer answer;
        std::size_t questions;
        bool stillOpen;
    } cases[] = {
        {"no change: closes without a question", false, MsgAnswer::No, 0, false},
        {"changes kept: the window stays", true, MsgAnswer::No, 1, true},
        {"changes dropped: the window closes", true, MsgAnswer::Yes, 1, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        WindowFixture f;
        f.messages.Answer(c.answer);
        f.Open();
        f.Show();
        if (c.edit) f.Line("TxtTelvar_3")->setText(QStringLiteral("Tour du fond"));
        f.Find<QPushButton>("cmdExit_1")->click();
        ASSERT_EQ(f.messages.entries.size(), c.questions);
        if (c.questions > 0) {
            EXPECT_EQ(f.messages.entries[0].text, "La machine a des modifications. Les abandonner ?");
            EXPECT_EQ(f.messages.entries[0].icon, IconQuestion);
        }
        EXPECT_EQ(f.window->isVisible(), c.stillOpen);
    }
}

} // namespace
} // namespace kirva::test
