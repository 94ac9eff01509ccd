// A panel that edits a list of named records: a frame holding the list of names, one labelled text
// box per field (the first one is the name), an optional check box and the buttons "Ajouter",
// "Modifier" and "Supprimer". Selecting a name shows its record in the fields; the buttons add a
// record from the fields, store the fields into the selected record (a rename onto a name already in
// use is refused with "Le nom x1x est déjà utilisé !") and delete the record named in the first field.
//
// A subclass owns the list itself and reaches it through the hooks below.
#pragma once

#include <QWidget>
#include <string>
#include <vector>

class QCheckBox;
class QLineEdit;
class QListWidget;

namespace kirva {

class NamedListPanel : public QWidget {
    Q_OBJECT

  public:
    // What the panel shows. The fields are named fieldPrefix + index and the buttons buttonPrefix +
    // index (0 add, 1 modify, 2 delete); no check box when checkName is null.
    struct Layout {
        const char* panelName;
        const char* frameName;
        const char* frameTitle;
        const char* listName;
        const char* fieldPrefix;
        std::vector<const char*> fieldLabels;
        const char* checkName = nullptr;
        const char* checkCaption = nullptr;
        const char* buttonPrefix = nullptr;
    };

    explicit NamedListPanel(const Layout& layout, QWidget* parent = nullptr);
    ~NamedListPanel() override;

    void Refill();
    // Shows the record selected in the list in the fields.
    void ShowSelected();
    // The three buttons.
    void AddFromFields();
    void ModifyFromFields();
    void DeleteFromFields();

  protected:
    // Number of records and the name at a position (from 1).
    virtual int RecordCount() = 0;
    virtual std::string NameAt(int position) = 0;
    // Fills the fields after the name (and the check box) from the named record.
    virtual void ShowRecord(const std::string& name) = 0;
    // Adds a record from the fields.
    virtual void AddRecord() = 0;
    // Stores the fields into the record oldName; false when the new name is already in use.
    virtual bool ModifyRecord(const std::string& oldName) = 0;
    virtual void DeleteRecord(const std::string& name) = 0;

    std::string Field(int index) const;
    void SetField(int index, const std::string& text);
    bool Checked() const;
    void SetChecked(bool checked);

  private:
    void Select(const std::string& name);

    QListWidget* list_ = nullptr;
    std::vector<QLineEdit*> fields_;
    QCheckBox* check_ = nullptr;
};

} // namespace kirva
