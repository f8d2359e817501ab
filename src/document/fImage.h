#pragma once
// fImage: one open picture, without any widget. It owns the pixel array, the selection, the
// view's zoom, the undo files and the stroke table of the painting operations; the window in
// ui/ paints it and forwards the mouse. Every menu command and tool works on one of these.
//
// The document never shows anything itself. What its window must do when the picture or the
// selection changes goes through DocumentView; the texts of the status bar through
// StatusPanels, which the application object owns.
#include "filters/cBitFilter.h"
#include "filters/fFilter.h"
#include "pixel/Bits.h"
#include "pixel/cBitRegion.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <future>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace velmar {

class UserPort;

// The five panels of the status bar: position, extent of a drag, picture size, zoom, tool.
struct StatusPanels {
    enum Panel : int { Pos = 0, Ext = 1, Size = 2, Zoom = 3, Tool = 4 };
    static constexpr std::array<std::string_view, 5> kKeys{"Pos", "Ext", "Size", "Zoom", "Tool"};
    std::array<std::string, 5> text;

    void Set(Panel panel, std::string value) { text[panel] = std::move(value); }
    void Clear() { text = {}; }
};

// The rubber bands a tool shows while the mouse is held.
enum class ShapeBand { Line, Rectangle, Ellipse };

// What the window of a document does when the core asks. Every member does nothing by default,
// which is what a headless document (velmar-cli, tests) wants.
class DocumentView {
  public:
    virtual ~DocumentView() = default;
    // Repaint the whole surface.
    virtual void UpdateImage() {}
    // Redraw the selection outline.
    virtual void UpdateRegion() {}
    // The picture's size or the zoom changed: lay the view out again.
    virtual void LayoutView() {}
    // Show the band from (x1, y1) to (x2, y2) in picture coordinates; hide it.
    virtual void ShowShape(ShapeBand, int /*x1*/, int /*y1*/, int /*x2*/, int /*y2*/) {}
    virtual void HideShape() {}
    // The mouse cursor by the name of the document's cursor control ("cBrush", "cFill", ...;
    // "Default" and "Hourglass" for the system's).
    virtual void SetMouseCursor(std::string_view) {}
    // The marching outline's timer.
    virtual void StartTimer() {}
    virtual void StopTimer() {}
    virtual void SetAutoRedraw(bool) {}
};

// The 40-byte bitmap header of a document: width W + 4, height -(H + 4), one plane, 32 bits.
struct BitmapHeader {
    static constexpr std::size_t kSize = 40;
    std::int32_t width = 0;
    std::int32_t height = 0;

    static BitmapHeader ForPicture(int w, int h) { return {w + 4, -(h + 4)}; }
    int PictureWidth() const { return width - 4; }
    int PictureHeight() const { return -height - 4; }
    std::array<std::uint8_t, kSize> ToBytes() const;
    // The header's fields from 40 bytes, or false when they are not such a header (size other
    // than 40, planes other than 1, bits other than 32, a bottom-up or empty picture).
    static bool FromBytes(const std::uint8_t* bytes, BitmapHeader& header);
};

class fImage final : public FilterDocument {
  public:
    static constexpr int kZoomLowest = 1;
    static constexpr int kZoomHighest = 15;
    static constexpr int kUndoDepth = 10;

    // A document numbered docNumber (it names the undo files), keeping its undo states in
    // tempFolder (the application folder's "Temp").
    fImage(int docNumber, std::filesystem::path tempFolder);
    ~fImage() override;
    fImage(const fImage&) = delete;
    fImage& operator=(const fImage&) = delete;

    void SetView(DocumentView* view) { view_ = view ? view : &noView_; }
    DocumentView& View() { return *view_; }
    void SetStatus(StatusPanels* status) { status_ = status; }

    // ---- Identity -------------------------------------------------------------------------
    int DocNumber() const noexcept { return docNumber_; }
    // The whole path (with "[n]" behind it for a second window on a file), and the bare name.
    std::string Caption;
    std::string Tag;
    bool Changed = false;

    // ---- The picture ----------------------------------------------------------------------
    bool PictureExists() const noexcept { return pictureExists_; }
    // Waits for a state still being written (FinishUndoWrite), since the caller may change it.
    velmar::Bits& Bits() {
        FinishUndoWrite();
        return bits_;
    }
    const velmar::Bits& Bits() const noexcept { return bits_; }
    // The let: the array becomes the document's picture (its size may change; the caller sets
    // the region).
    void Bits(velmar::Bits picture);
    int PictureWidth() const noexcept { return bits_.Width(); }
    int PictureHeight() const noexcept { return bits_.Height(); }
    const BitmapHeader& Header() const noexcept { return header_; }
    cBitRegion& BitsRegion() noexcept { return region_; }
    const cBitRegion& BitsRegion() const noexcept { return region_; }
    // The selection becomes the whole picture.
    void SelectWholePicture();

    // A blank (black) W by H picture; nothing happens when either is below 1.
    void CreateBlank(int width, int height);
    // Loads the file by its lower-cased extension; false (and the document as it was) when the
    // picture cannot be loaded.
    bool SetPicture(const std::filesystem::path& file, std::string_view extension);
    // Hides the picture: PictureExists becomes false and Bits is erased.
    void Clear();

    // ---- Zoom -----------------------------------------------------------------------------
    static int ZoomTable(int index) { return index; }
    int ZoomFactor() const noexcept { return zoomIndex_; }
    // Kept within 1..15; tells the region and lays out the view.
    void ZoomFactor(int factor);
    void ZoomIn();
    void ZoomOut();

    // ---- Undo (undoFiles.cpp) -------------------------------------------------------------
    int UndoPos() const noexcept { return undoPos_; }
    int UndoTop() const noexcept { return undoTop_; }
    // Folder + "b" + 4-digit document + 2-digit state + ".dat".
    std::filesystem::path UndoFileName(int state) const;
    // Writes the present picture as state UndoPos, drops a dead redo branch, rotates at ten.
    void SaveUndoBits();
    // The same on a second thread, for the first state of a picture just opened: its file is
    // written while the window already shows the picture. Everything that changes the picture
    // or the states waits for that write first, and a failed write is raised there, once, as
    // SaveUndoBits would have raised it (FileWriteError), with the state not counted. A state
    // that ends a redo branch or rotates the others is written at once.
    void SaveUndoBitsInBackground();
    // Waits for a state written on the second thread; raises its failure.
    void FinishUndoWrite();
    // Load the state before the present one / after it; false when there is none.
    bool UndoBits();
    bool RedoBits();
    // Deletes every undo file of this document (at unload).
    void DeleteUndoFiles();

    // ---- Painting (paint*.cpp) ------------------------------------------------------------
    // All of them do nothing without a picture, paint only selected pixels, and neither repaint
    // nor record an undo state. Colours are red in the low byte; percents run 0..100.
    void CreateDoneBitsTable();
    COLORREF BitsGetPixel(int x, int y) const;
    void BitsPaint(int x, int y, COLORREF colour, int pressure);
    void BitsPaintPreMasked(int x, int y, COLORREF colour, int pressure);
    // The stamp mask drawn size pixels wide (its own width when size < 1), centred on (x, y):
    // its dark pixels (luminance below 128) paint the colour.
    void BitsBWMask(int x, int y, const PlainPicture& mask, int size, COLORREF colour,
                    int pressure);
    void BitsLine(int x1, int y1, int x2, int y2, COLORREF colour, int pressure);
    void BitsRectangle(int x1, int y1, int x2, int y2, COLORREF colour, int pressure);
    void BitsPolygon(int cx, int cy, int vx, int vy, int sides, COLORREF colour, int pressure);
    void BitsEllipse(int cx, int cy, int rx, int ry, COLORREF colour, int pressure);
    void BitsBrush(int x, int y, int size, int pressure, COLORREF colour);
    void BitsBrushLine(int x1, int y1, int x2, int y2, int size, int pressure, COLORREF colour);
    void BitsAirbrush(int x, int y, int size, int pressure, int quantity, int definition,
                      COLORREF colour);
    void BitsBrightness(int x, int y, int size, int amount, bool lighten);
    // The stamp is tiled over the picture: its upper bounds (width - 1, height - 1) are the
    // tile's size, and a bound of 0 paints nothing.
    void BitsMasked(int x, int y, const PlainPicture& stamp, int size, int pressure);
    void BitsMaskedLine(int x1, int y1, int x2, int y2, const PlainPicture& stamp, int size,
                        int pressure);
    void BitsSoften(int x, int y, int size, int amount, bool overlay);
    void BitsSharpen(int x, int y, int size, int amount);
    void BitsFill(int x, int y, COLORREF colour, int tolerance, int pressure);
    void BitsFillTexture(int x, int y, const PlainPicture& stamp, int tolerance, int pressure);
    // The airbrush's random numbers.
    void SeedRandom(std::uint32_t seed) { random_.seed(seed); }

    // ---- The filter dialog's view of the document -----------------------------------------
    const velmar::Bits& Picture() const override { return bits_; }
    const cBitRegion* Selection() const override;
    void ShowLive(velmar::Bits result) override;
    void KeepLive() override;
    void TakePicture(velmar::Bits picture) override;
    void RestorePicture() override;

    // What the window paints: a result shown live, else the picture.
    const velmar::Bits& Shown() const noexcept { return live_.IsAllocated() ? live_ : bits_; }

  private:
    // The loader of an undo state: false when the file is missing or not a state of a picture.
    bool loadUndoState(const std::filesystem::path& file);
    void pictureSizeChanged();
    double rnd() { return std::uniform_real_distribution<double>(0.0, 1.0)(random_); }

    int docNumber_;
    std::filesystem::path tempFolder_;
    velmar::Bits bits_;
    velmar::Bits live_; // a filter result shown in place of bits_ (Real Time)
    BitmapHeader header_;
    cBitRegion region_;
    bool pictureExists_ = false;
    int zoomIndex_ = 1;
    int undoPos_ = 0;
    int undoTop_ = 0;
    // One entry per pixel of Bits, margin included: 65535 once the stroke painted it.
    std::vector<std::uint16_t> doneBits_;
    std::mt19937 random_{1};
    // The state being written on the second thread (its error number, 0 when written) and the
    // counters to go back to should it fail.
    std::future<int> undoWrite_;
    struct UndoCounters {
        int pos = 0;
        int top = 0;
    } undoBeforeWrite_;
    DocumentView noView_;
    DocumentView* view_ = &noView_;
    StatusPanels* status_ = nullptr;
};

} // namespace velmar
