#include "editor/BrowseTable.h"

#include "editor/RestoreDialog.h"

#include <QFileDialog>
#include <vector>

#include "translate/translate.h"

namespace kirva {

namespace {

using K = BrowseKind;

constexpr const char* kAnyFile = "Sélectionnez un fichier...";
constexpr const char* kInsertionFile = "Sélectionnez un fichier d'insertion F...";

// clang-format off
const std::vector<BrowseDef>& Rows() {
    static const std::vector<BrowseDef> rows = {
        {"cmdParcourir", 0, K::File, "Sélectionnez un fichier 'Pied'...", "TxtTelvar", 54},
        {"cmdParcourir", 1, K::Folder, "Sélectionnez le répertoire par défaut d'envoi des programmes sur Host...", "TxtDnc", 40},
        {"cmdParcourir", 2, K::Folder, "Sélectionnez le répertoire par défaut de réception des programmes sur Host...", "TxtDnc", 41},
        {"cmdParcourir", 3, K::SerialTest, "", "cboDnc", 20},
        {"cmdParcourir", 4, K::Folder, "Sélectionnez le répertoire 'Open' associé...", "TxtTelvar", 49},
        {"cmdParcourir", 5, K::SerialTest, "", "cboDnc", 220},
        {"cmdParcourir", 6, K::File, "Sélectionnez un fichier 'Entête'...", "TxtTelvar", 53},
        {"cmdParcourir", 7, K::File, "Sélectionnez un fichier Macro...", "TxtDnc", 64},
        {"cmdParcourir", 8, K::Folder, "Sélectionnez le répertoire du Port DNC...", "TxtTelvar", 48},
        {"cmdParcourir", 9, K::Folder, "Sélectionnez le répertoire 'Save' associé...", "TxtTelvar", 98},
        {"cmdParcourir", 10, K::File, kAnyFile, "TxtTelvar", 55},
        {"cmdParcourir", 11, K::Folder, "Sélectionnez le répertoire Archive", "TxtTelvar", 99},
        {"cmdParcourir", 12, K::IsoFile, "Sélectionner un fichier de configuration ISO", "TxtTelvar", 2},
        {"cmdParcourir", 13, K::Folder, "Sélectionnez le répertoire de remontée des programmes...", "TxtDnc", 13},
        {"cmdParcourir", 16, K::File, kAnyFile, "TxtDnc", 16},
        {"cmdParcourir", 17, K::File, kAnyFile, "TxtDnc", 17},
        {"cmdParcourir", 33, K::File, kAnyFile, "TxtDnc", 33},
        {"cmdParcourir", 34, K::File, kAnyFile, "TxtDnc", 34},
        {"cmdParcourir", 44, K::File, kAnyFile, "TxtDnc", 44},
        {"cmdParcourir", 55, K::File, kInsertionFile, "TxtTelvar", 155},
        {"cmdParcourir", 56, K::File, kInsertionFile, "TxtTelvar", 156},
        {"cmdParcourir", 57, K::File, kInsertionFile, "TxtTelvar", 157},
        {"cmdParcourir", 58, K::File, kInsertionFile, "TxtTelvar", 158},
        {"cmdParcourir", 59, K::File, kInsertionFile, "TxtTelvar", 159},
        {"cmdParcourir", 60, K::File, kInsertionFile, "TxtTelvar", 160},
        {"cmdParcourir", 61, K::File, kInsertionFile, "TxtTelvar", 161},
        {"cmdParcourir", 62, K::File, kInsertionFile, "TxtTelvar", 162},
        {"cmdChain", -1, K::File, "Sélectionnez le programme à chaîner...", "TxtChain", -1},
    };
    return rows;
}
// clang-format on

class QtDialogs : public DialogService {
  public:
    std::optional<QString> OpenFile(QWidget* parent, const QString& title, const QString& startFolder,
                                    const QString& filter) override {
        const QString path = QFileDialog::getOpenFileName(parent, title, startFolder, filter);
        if (path.isEmpty()) return std::nullopt;
        return path;
    }
    std::optional<QString> SelectFolder(QWidget* parent, const QString& title,
                                        const QString& startFolder) override {
        const QString path = QFileDialog::getExistingDirectory(parent, title, startFolder);
        if (path.isEmpty()) return std::nullopt;
        return path;
    }
};

QtDialogs& DefaultDialogs() {
    static QtDialogs dialogs;
    return dialogs;
}

DialogService* g_dialogs = nullptr;

} // namespace

std::span<const BrowseDef> BrowseTable() {
    return Rows();
}

const BrowseDef* FindBrowse(std::string_view button, int member) {
    for (const auto& row : Rows()) {
        if (button == row.Button && member == row.Member) return &row;
    }
    return nullptr;
}

std::optional<std::string> DialogService::ChooseBackup(QWidget* parent, const std::string& file) {
    RestoreDialog dialog(file, parent);
    if (dialog.exec() != QDialog::Accepted || dialog.Chosen().empty()) return std::nullopt;
    return dialog.Chosen();
}

DialogService& Dialogs() {
    return g_dialogs != nullptr ? *g_dialogs : DefaultDialogs();
}

void SetDialogService(DialogService* service) {
    g_dialogs = service;
}

QString AllFilesFilter() {
    using TK_TRANSLATE::TranslateText;
    QString filter = QString::fromStdString(TranslateText("Tous les fichiers (*.*)", kDicoSection));
#ifndef _WIN32
    // "*.*" would leave out the names without a dot, which are common here.
    filter.replace(QStringLiteral("(*.*)"), QStringLiteral("(*)"));
#endif
    return filter;
}

} // namespace kirva
