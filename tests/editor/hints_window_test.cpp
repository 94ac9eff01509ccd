// The hints beside the fields: characters shown by name, a COM port this computer lacks, a port
// another machine of the workshop uses.
#include <QLabel>
#include <QPlainTextEdit>

#include "WindowFixture.h"
#include "machine/TelvarFile.h"
#include "support/GeneratedWorkshop.h"
#include "support/ScopedEnv.h"

namespace kirva::test {
namespace {

TEST(HintsWindow, NameCharactersAndFlagPortsThatCannotServe) {
    WindowFixture f;
    ScopedEnv registry("KIRVA_REGISTRY", f.dir / "registry.ini");
    ScopedEnv ports("KIRVA_SERIAL_PORTS", "/dev/null:/dev/null"); // COM1 and COM2 only
    GeneratedWorkshop workshop(f.dir.path() / "shop", 2);
    GeneratedWorkshop::Set(workshop.MachineFile(2), "COMM", "NumPort", "2");
    f.state.Settings.PathAppCallingIni = workshop.CallerFile();
    MachineConfig machine;
    ASSERT_TRUE(ReadTelvarIni(workshop.MachineFile(1), machine));
    machine.EOB = "13,10";
    f.Open(machine);
    QCoreApplication::processEvents(); // the workshop's ports are read once the window is shown
    auto hint = [&](const char* field) {
        return f.Find<QLabel>((std::string(field) + "_hint").c_str())->text();
    };
    auto type = [&](const char* field, const char* text) { f.Line(field)->setText(QString::fromUtf8(text)); };

    EXPECT_EQ(hint("TxtDnc_25"), QStringLiteral("<CR><LF>")); // EOB as read
    EXPECT_EQ(hint("TxtTelvar_6"), QString());                // 5001: this machine's own port
    const struct {
        const char *field, *typed, *hint;
    } cases[] = {
        {"TxtDnc_1", "18", "<DC2>"},
        {"TxtDnc_3", "%", "%"},
        {"TxtTelvar_6", "5002", "Aussi utilisé par MACHINE_0002"},
        {"TxtTelvar_6", "5003", ""},
        {"cboDnc_20", "3", "Port absent de ce poste"},
        {"cboDnc_20", "2", "Aussi utilisé par MACHINE_0002"},
        {"cboDnc_20", "1", ""},
    };
    for (const auto& c : cases) {
        type(c.field, c.typed);
        EXPECT_EQ(hint(c.field), QString::fromUtf8(c.hint)) << c.field << " " << c.typed;
    }
}

TEST(HintsWindow, HeaderPreviewFollowsTheFieldsOnBothPanels) {
    WindowFixture f;
    MachineConfig machine;
    machine.EOB = "13,10";
    machine.CarDebProg = "%";
    machine.NbDigitNumProg = 4;
    machine.CarDebBloc = "N";
    machine.NumBloc1 = 10;
    machine.IncrBloc = 10;
    f.Open(machine);
    QCoreApplication::processEvents();
    auto preview = [&](const char* name) { return f.Find<QPlainTextEdit>(name)->toPlainText(); };
    EXPECT_EQ(preview("RtbHeaderPreview"),
              QStringLiteral("% <CR><LF>\n0001 <CR><LF>\nN10 <CR><LF>\nN20 ... <CR><LF>"));
    f.Line("txtIso_1")->setText(QStringLiteral("O"));
    QCoreApplication::processEvents();
    EXPECT_TRUE(preview("RtbHeaderPreview").startsWith(QStringLiteral("O <CR><LF>\n0001")));
    EXPECT_EQ(preview("RtbHeaderPreviewCartouche"), preview("RtbHeaderPreview"));
}

} // namespace
} // namespace kirva::test
