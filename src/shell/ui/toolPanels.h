#pragma once
// The side panels of the tools: each control is bound to its field of the setup record, shows
// it when the panel is filled (the tool's Init) and writes it back the moment the user changes
// it, so the tools read the new value at the next mouse event and the record on disk is never
// behind the screen.
#include "shell/SetupRecord.h"

#include <QStringList>
#include <QWidget>

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

class QCheckBox;
class QComboBox;
class QHBoxLayout;
class QListWidget;
class QVBoxLayout;

namespace velmar {

class Application;
class ColourSwatch;
class SliderRow;

class ToolPanel : public QWidget {
    Q_OBJECT
  public:
    ToolPanel(SetupRecord& record, QWidget* parent = nullptr);

    // Shows every field of the record in its control, reporting nothing back.
    virtual void Init();

  protected:
    QVBoxLayout* column() const { return column_; }
    // A row for controls that stand side by side, added to the column.
    QHBoxLayout* addRow();
    // Each control below is added to the column (or to `into`), named `name`, and bound to its
    // field. A combo or list writes values[index] (the index itself when values is empty).
    QComboBox* addCombo(const char* name, const QString& caption, const QStringList& items,
                        std::int16_t& field, std::vector<std::int16_t> values = {});
    QListWidget* addList(const char* name, const QStringList& items, std::int16_t& field);
    QCheckBox* addCheck(const char* name, const QString& caption, std::int16_t& flag,
                        QHBoxLayout* into = nullptr);
    SliderRow* addSlider(const char* name, const QString& caption, std::int16_t& field,
                         int minimum = 0, int maximum = 100);
    ColourSwatch* addSwatch(const char* name, const QString& dialogTitle, std::int32_t& field,
                            QHBoxLayout* into);
    // Closes the column: the controls stay at the top of the panel.
    void finish();

  private:
    SetupRecord& record_;
    QVBoxLayout* column_;
    std::vector<std::function<void()>> loaders_;
};

// The panel of a tool, its controls filled once; nothing for a tool without one ("Pencil",
// "Text", "GetColor") or an unknown key.
ToolPanel* MakeToolPanel(std::string_view tool, Application& app, QWidget* parent = nullptr);

} // namespace velmar
