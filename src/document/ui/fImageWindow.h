#pragma once
// fImageWindow: the window of one document. It paints the document's picture straight from
// its pixel array at the document's zoom (only the visible block, no smoothing), lays out the
// scroll bars as the core's view arithmetic says, marches the selection outline, draws the
// rubber bands of the tools, and hands every mouse event to the tool handlers in picture
// coordinates. All decisions stay in the core; this class only shows them.
#include "document/fImage.h"

#include <QPoint>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <optional>

class QScrollBar;

namespace velmar {

class DocumentTools;
class ImageSurface;

class fImageWindow final : public QWidget, public DocumentView {
    Q_OBJECT

  public:
    // The window shows `doc` and becomes its view; mouse events go to `tools`.
    fImageWindow(fImage& doc, DocumentTools& tools, QWidget* parent = nullptr);
    ~fImageWindow() override;

    // The document, or nullptr once it has been closed (the window is then about to go).
    fImage* Document() const noexcept { return doc_; }
    // The document is gone: the window paints and forwards nothing from now on.
    void Detach();

    // The grab hand: a drag scrolls the picture instead of running a tool.
    void SetMouseScrolling(bool on);
    bool MouseScrolling() const noexcept { return mouseScrolling_; }

    // Screen pixels of the scroll bars' values (0 when a bar is hidden).
    int ScrollX() const;
    int ScrollY() const;
    void ScrollTo(int x, int y);
    // Picture coordinates of a point of the painted surface.
    QPoint ToPicture(QPoint surfacePoint) const;
    QWidget* Surface() const;

    // Something the status bar shows may have changed.
    std::function<void()> onStatusChanged;
    // A mouse button was let go on the picture: a stroke ended, a colour may have been picked.
    std::function<void()> onMouseReleased;

    // ---- DocumentView ---------------------------------------------------------------------
    void UpdateImage() override;
    void UpdateRegion() override;
    void LayoutView() override;
    void ShowShape(ShapeBand band, int x1, int y1, int x2, int y2) override;
    void HideShape() override;
    void SetMouseCursor(std::string_view name) override;
    void StartTimer() override;
    void StopTimer() override;
    void SetAutoRedraw(bool on) override;

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;

  private:
    friend class ImageSurface;
    struct Band {
        ShapeBand shape;
        int x1, y1, x2, y2;
    };
    void surfaceMouse(QMouseEvent* event);
    void paintSurface(QPainter& painter, const QRect& exposed);
    void statusChanged() {
        if (onStatusChanged) onStatusChanged();
    }

    fImage* doc_;
    DocumentTools& tools_;
    ImageSurface* surface_;
    QScrollBar* hSB_;
    QScrollBar* vSB_;
    QTimer tmrSelection_;
    std::optional<Band> band_;
    bool mouseScrolling_ = false;
    bool held_ = false;
    QPoint grabStart_;
    QPoint grabScroll_;
};

} // namespace velmar
