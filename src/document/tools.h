#pragma once
// The eleven tools as handlers of the mouse on a document, in picture coordinates. The current
// tool is the setup record's `Tool`; each handler reads its fields of the record, calls the
// painting operations of the document and, at the end of a stroke, makes the result the
// document's picture with an undo state. The editor's window and velmar-cli's TOOL command
// drive the same handlers.
#include "document/fImage.h"
#include "filters/cBitFilter.h"
#include "shell/SetupRecord.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmar {

class UserPort;

class DocumentTools {
  public:
    // The tool names, as the record holds them.
    static constexpr std::string_view kToolNames[] = {
        "Select", "SelectionMove", "Brush",    "Airbrush", "Fill",    "Shape",
        "Pencil", "Stamp",         "Gradient", "Text",     "GetColor"};

    DocumentTools(SetupRecord& setup, cBitFilter& filter, StatusPanels& status, UserPort& port);

    // The three surface events; `held` is true while a button is down.
    void MouseDown(fImage& doc, int x, int y);
    void MouseMove(fImage& doc, int x, int y, bool held);
    void MouseUp(fImage& doc, int x, int y);
    // A key was let go (17 is Ctrl).
    void KeyUp(fImage& doc, int keyCode);

    // The picture the Stamp tool and the stamp modes of Brush and Fill use; nothing when no
    // stamp is chosen. A stamp file that cannot be read leaves the last stamp in use.
    void SetStampFile(const std::string& file);
    const std::optional<PlainPicture>& GetStampBits() const { return stamp_; }
    void SetStamp(PlainPicture stamp) { stamp_ = std::move(stamp); }
    // The Text tool's stamp (made by the text page of the textures box).
    void SetTextStamp(PlainPicture stamp) { textStamp_ = std::move(stamp); }

    // A pasted picture floats over `doc`: it follows the mouse (centred on it) and the next
    // mouse up lays it down with PasteOpacity and records an undo state. The record's
    // PasteActive marks it while it floats.
    void BeginPaste(fImage& doc, PlainPicture clip);
    // A floating paste is dropped without being laid down: its document shows its picture again.
    void DropPaste();
    // The picture the next "PASTE" floats in place of the system clipboard's (the clip history
    // sets it); nothing when the clipboard is to be used.
    std::optional<PlainPicture> SharedClip;
    // The document is closing: no stroke may refer to it any more.
    void Forget(const fImage& doc);

    // "GetColor" shows each colour it passes over here (the colour box follows).
    std::function<void(COLORREF)> onColourPicked;

  private:
    std::string tool() const { return setup_.Tool.Trimmed(); }
    void sync(fImage& doc);
    void restore(fImage& doc);
    void commit(fImage& doc);
    void paintStep(fImage& doc, int x, int y);
    void shapeStep(fImage& doc, int x, int y);
    void stampStep(fImage& doc, int x, int y);
    void selectUp(fImage& doc, int x, int y);
    void runGradient(fImage& doc, int x, int y);
    void paintLifted(fImage& doc, int dx, int dy);
    bool floating(const fImage& doc) const;
    void paintFloat(fImage& doc, int x, int y);

    SetupRecord& setup_;
    cBitFilter& filter_;
    StatusPanels& status_;
    UserPort& port_;
    const fImage* stroke_ = nullptr; // the document of the present stroke
    int downX_ = 0, downY_ = 0, lastX_ = 0, lastY_ = 0;
    COLORREF picked_ = 0;
    bool grabbed_ = false;
    std::vector<std::int32_t> points_; // the polygon selection's points
    std::optional<PlainPicture> stamp_;
    std::optional<PlainPicture> textStamp_;
    // SelectionMove of the content: the pixels lifted under the selection, as colours, with
    // their places and the selection's box at the lift.
    struct LiftedPixel {
        int x, y;
        COLORREF colour;
    };
    std::vector<LiftedPixel> lifted_;
    // The floating paste: its picture, its document and that document's picture under it.
    fImage* pasteDoc_ = nullptr;
    PlainPicture pasteClip_;
    velmar::Bits pasteBase_;
};

} // namespace velmar
