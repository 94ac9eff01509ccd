// The demo's dictionaries against the texts the program shows: the French dictionary learns
// every text that passes through it, so a window opened on an empty FR.lng, plus the messages and
// dialog titles of the program's tables, lists what every dictionary must hold.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "WindowFixture.h"
#include "app/CallerSettings.h"
#include "app/MachineCommands.h"
#include "app/MessageTexts.h"
#include "editor/ActivityChannelsPanel.h"
#include "editor/BrowseTable.h"
#include "editor/FieldRules.h"
#include "editor/IsoInsertPanel.h"
#include "editor/PanelTree.h"
#include "ini/clsIniVar.h"
#include "ini/profile.h"
#include "machine/TelvarFile.h"
#include "machine/Validation.h"
#include "service/TK_SERVICE.h"

namespace kirva {
namespace {

const std::string kDemoLng = std::string(KIRVA_SOURCE_DIR) + "/examples/workshop/Kalderon/Lng/";
const std::string kEnglish = kDemoLng + "EN.lng";

// The keys of a dictionary's [KIRVA] section (the section is read whole, whatever its size).
std::vector<std::string> DictionaryKeys(const std::string& path) {
    std::istringstream lines(ini::GetProfileSection(path, kDicoSection, std::size_t{1} << 22));
    std::vector<std::string> keys;
    for (std::string line; std::getline(lines, line, '\0');)
        if (const std::size_t equals = line.find('='); equals != std::string::npos)
            keys.push_back(line.substr(0, equals));
    return keys;
}

class EditorDictionary : public ::testing::Test {
  protected:
    void TearDown() override { TK_TRANSLATE::Shared().Init(""); }
    test::TempDir dir;
};

TEST_F(EditorDictionary, EnglishHoldsEveryTextTheProgramShows) {
    const std::string french = dir / "Lng/FR.lng";
    test::WriteBytes(french, "");
    // The window as the program manager opens it to modify and to add a machine, and as the DNC
    // transfer program opens it (its own captions and notes differ).
    for (const auto& [mode, appCalling] : {std::pair{1, 2}, std::pair{1, 1}, std::pair{2, 2}}) {
        test::WindowFixture f(mode, appCalling);
        TK_TRANSLATE::Shared().Init(french);
        frmKirva& w = f.Open();
        // Texts shown on demand: prompts and messages of the list panels and of the port test.
        w.IsoInsertions()->SetInputService([](QWidget*, const QString&) { return std::optional<QString>(); });
        w.IsoInsertions()->AddInsertion();
        w.IsoInsertions()->RenameSelected();
        ActivityChannelsPanel* channels = w.AnalysisChannels();
        for (std::size_t before = 0; before < 1000 && channels->Channels().size() == before; ++before)
            channels->AddChannel(); // up to the limit, which is refused with a message
        channels->DeleteSelected();
        TestSerialPortAndTell(0);
    }
    // Messages and dialog titles of the program's tables.
    for (const BrowseDef& browse : BrowseTable())
        if (*browse.Title != '\0') TK_TRANSLATE::TranslateText(browse.Title, kDicoSection);
    AllFilesFilter();
    const auto learn = [](auto... text) { (TK_TRANSLATE::TranslateText(text, kDicoSection), ...); };
    learn(CatalogueText(244), texts::kKirvaIniMissing, texts::kKirvaIniCountOutOfRange,
          texts::kDecimalPointNeeded, kKalderonIniMissing, kHarbixIniMissing, kCallerFileReadFailed,
          kCallerFileWriteFailed, kTelvarReadFailed, kTelvarWriteFailed, kDuplicateReference,
          kReferenceNeeded, kServerFolderNeededTransfer, kServerFolderNeeded, kReferenceNotAFileName,
          kTemplateMissing, kCreateFolderQuestion, kReplaceFolderQuestion, kServerMissing, kExportTitle,
          kLoadTitle, kFolderNotMade, kTemplateCopyFailed, kServerNotStarted, kWindowsNotListed,
          kServerNotClosed, kExportFailed);
    TK_TRANSLATE::Shared().Init("");

    const std::vector<std::string> shown = DictionaryKeys(french);
    ASSERT_FALSE(FNReadIniString(french, kDicoSection, "Général", "").empty()) << "the window taught nothing";
    // The English words, and the French dictionary that translators start from.
    for (const char* name : {"EN.lng", "FR.lng"})
        for (const std::string& key : shown)
            EXPECT_FALSE(FNReadIniString(kDemoLng + name, kDicoSection, key, "").empty())
                << "missing from " << name << ": " << key;
}

// The demo's English window: every node of the tree is there, and the captions of each kind are
// translated, each once ("General" and "Coordinates" are made keys too: a caption translated twice
// would show "TWICE").
TEST_F(EditorDictionary, EnglishWindowKeepsEveryNodeAndTranslatesEachCaptionOnce) {
    const std::string english = dir / "Lng/EN.lng";
    test::WriteBytes(english, test::ReadBytes(kEnglish) + "General=TWICE\r\nCoordinates=TWICE\r\n");
    test::WindowFixture f;
    TK_TRANSLATE::Shared().Init(english);
    frmKirva& w = f.Open();
    auto* tree = f.Find<QTreeWidget>("TvwCat");
    int count = 0;
    for (QTreeWidgetItemIterator it(tree); *it != nullptr; ++it) ++count;
    // A translation that gave two nodes the same text would leave a node out of the tree.
    EXPECT_EQ(count, static_cast<int>(TreeNodes().size()));
    EXPECT_NE(FindTreeNode(tree, "General"), nullptr);

    EXPECT_EQ(f.Find<QPushButton>("cmdExit_0")->text(), "&Apply");
    EXPECT_EQ(f.Find<QCheckBox>("chkTelvar_1")->text(), "Start at logon");
    EXPECT_EQ(f.Find<QRadioButton>("optDnc_86")->text(), "Server");
    EXPECT_EQ(f.Find<QLabel>("lbl_cboDnc_23")->text(), "Parity:");
    EXPECT_EQ(
        qobject_cast<QGroupBox*>(f.Find<QPushButton>("cmdExit_9")->parentWidget()->parentWidget())->title(),
        "DNC server settings:");
    EXPECT_EQ(w.AnalysisChannels()->PopupMenu()->actions().at(0)->text(), "Add");
    EXPECT_EQ(f.Find<QTabBar>("tabInfo")->tabText(0), "General");
    auto* iso = f.Find<QTabWidget>("tabIso");
    QStringList pages;
    for (int i = 0; i < iso->count(); ++i) pages << iso->tabText(i);
    EXPECT_TRUE(pages.contains("Coordinates")) << pages.join('|').toStdString();
}

} // namespace
} // namespace kirva
