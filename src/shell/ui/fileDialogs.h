#pragma once
// The editor's open and save dialogs: Qt's own file dialog (not the desktop's, so that the open
// dialog can carry its picture preview and the filter captions show the same everywhere), set
// up from the core's FileDialogSetup.
#include "port/UserPort.h"

#include <QString>
#include <QWidget>

#include <optional>
#include <string>
#include <vector>

class QLabel;

namespace velmar {

// A filter line of the core, "caption|*.a;*.b", in the form Qt's dialog reads:
// "caption (*.a *.b)". Qt takes the last parenthesised group as the patterns and the dialog is
// told to show only what stands before it, so a caption that names its own patterns, such as
// "Bitmap Files (*.BMP;*.DIB;*.RLE)", still shows exactly as written. A line without "|" is
// taken as patterns alone.
QString QtFilterLine(const std::string& line);

// The files chosen, none when the user cancelled.
std::vector<std::string> RunOpenDialog(const FileDialogSetup& setup, bool multiple,
                                       QWidget* parent);
// The name chosen, nothing when the user cancelled.
std::optional<std::string> RunSaveDialog(const FileDialogSetup& setup, QWidget* parent);

// The open dialog's preview pane: the picked file's picture fitted to its box, loaded as File,
// Open loads it, with its size in pixels and on disk. Anything that does not load shows an
// empty pane.
class PicturePreview : public QWidget {
    Q_OBJECT
  public:
    static constexpr int kBoxWidth = 200;
    static constexpr int kBoxHeight = 160;
    explicit PicturePreview(QWidget* parent = nullptr);
    void ShowFile(const QString& path);

  private:
    void clear();

    QLabel* picture_;
    QLabel* size_;
    QLabel* fileSize_;
};

} // namespace velmar
