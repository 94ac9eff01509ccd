#include "editor/CatalogueWidgets.h"

#include <QComboBox>
#include <QFile>
#include <QTextEdit>

#include "editor/RtfReader.h"

namespace kirva::CatalogueWidgets {

namespace {

// Information files are small; anything larger is cut rather than read whole into memory.
constexpr qint64 kMaxInfoFileBytes = 8 * 1024 * 1024;

void Fill(QComboBox* box, const std::vector<CatalogueEntry>& entries) {
    box->clear();
    for (const CatalogueEntry& entry : entries) box->addItem(QString::fromStdString(entry.Text), entry.Code);
}

} // namespace

void FillGroups(QComboBox* box, const ControlCatalogue& catalogue) {
    Fill(box, catalogue.Groups());
}

void FillModels(QComboBox* box, const ControlCatalogue& catalogue, std::int32_t groupCode) {
    Fill(box, catalogue.Models(groupCode));
}

bool SelectCode(QComboBox* box, std::int32_t code) {
    const int index = box->findData(code);
    if (index < 0) return false;
    box->setCurrentIndex(index);
    return true;
}

std::int32_t SelectedCode(const QComboBox* box) {
    return box->currentIndex() < 0 ? 0 : box->currentData().toInt();
}

QTextEdit* CreateInformationBox(QWidget* parent) {
    auto* box = new QTextEdit(parent);
    box->setObjectName(QStringLiteral("rtbInfoMOCN"));
    box->setReadOnly(true);
    return box;
}

bool ShowInformationFile(QTextEdit* box, const std::string& path) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly)) {
        box->clear();
        return false;
    }
    const QByteArray data = file.read(kMaxInfoFileBytes);
    const std::string bytes(data.constData(), static_cast<std::size_t>(data.size()));
    if (IsRichTextFile(path) && LooksLikeRtf(bytes))
        box->setHtml(QString::fromStdString(RtfToHtml(bytes)));
    else
        box->setPlainText(QString::fromStdString(PlainFileToUtf8(bytes)));
    return true;
}

bool ShowInformation(QTextEdit* box, const std::string& pathDirData, int kind, const std::string& name) {
    const std::string path = InformationFilePath(pathDirData, kind, name);
    if (path.empty()) {
        box->clear();
        return false;
    }
    return ShowInformationFile(box, path);
}

} // namespace kirva::CatalogueWidgets
