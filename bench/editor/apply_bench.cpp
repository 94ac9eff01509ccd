// Validating and applying the demo machine through the window (machine 1 of the program manager,
// modify mode): "&Modifier" pressed, that is the checks, the search for an empty field, the fields
// taken into the record, the caller's entry, Telvar.ini (and the Run value), the three lists and the
// notification, which a calling program listening on its socket reads each time. The demo machine
// is modified, so no server is started.
//   changed:0  the machine applied as it is (the files that already hold these values are left alone)
//   changed:1  before each apply a value of every file the apply writes is changed (the caller's
//              entry, a key of Telvar.ini, an insertion, a plan, a channel), so every file is replaced
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QLineEdit>
#include <QPushButton>

#include "editor/ChannelsPanel.h"
#include "app/FieldTable.h"
#include "editor/IsoInsertPanel.h"
#include "editor/PlansPanel.h"
#include "editor/frmKirva.h"
#include "workshop.h"

namespace {

using namespace kirva;

// The line edit of the field that edits a key (section "" for the caller's fields).
QLineEdit* FieldFor(const frmKirva& window, std::string_view section, std::string_view key) {
    const FieldDef* def = FindFieldForKey(section, key);
    if (def == nullptr) return nullptr;
    return window.findChild<QLineEdit*>(QString::fromStdString(FieldObjectName(*def)));
}

void BM_ApplyDemoMachine(benchmark::State& state) {
    const bool changed = state.range(0) != 0;
    const bench::DemoWorkshop workshop("kirva-apply-bench");
    ProgramState& app = App();
    if (!workshop.LoadDemoMachine(app)) {
        state.SkipWithError("the demo machine cannot be read");
        return;
    }
    const bench::ListeningCaller caller;
    frmKirva window(app);
    window.resize(1280, 800);
    window.show();
    QCoreApplication::processEvents();
    auto* apply = window.findChild<QPushButton*>(QStringLiteral("cmdExit_0"));
    QLineEdit* functionKey = FieldFor(window, "", "InsKeyF5");  // the caller's entry
    QLineEdit* port = FieldFor(window, "TELVAR", "PortListen"); // a key of Telvar.ini
    if (!caller.Listening() || apply == nullptr || functionKey == nullptr || port == nullptr) {
        state.SkipWithError("the caller or the window's fields are not there");
        return;
    }
    const QString key = functionKey->text();
    const int listen = port->text().toInt();

    int round = 0;
    for (auto _ : state) {
        state.PauseTiming();
        if (changed) {
            ++round;
            functionKey->setText(round % 2 != 0 ? key + QStringLiteral(" G17") : key);
            port->setText(QString::number(listen + round % 2));
            bench::ChangeLists(window.IsoInsertions()->List(), window.Plans()->List(),
                               window.Channels()->List(), round);
        }
        // The apply ends the edit by closing the window: it is opened again outside the measure.
        window.show();
        QCoreApplication::processEvents();
        state.ResumeTiming();

        apply->click();
        const bool received = caller.Receive();

        const ApplyOutcome& done = window.LastApply();
        if (window.isVisible() || !received || !done.Registered || !done.TelvarWritten || !done.ListsSaved ||
            !done.Notified) {
            state.SkipWithError("the apply stopped before its end or the caller was not told");
            break;
        }
    }
}
BENCHMARK(BM_ApplyDemoMachine)
    ->ArgName("changed")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2.0);

} // namespace
