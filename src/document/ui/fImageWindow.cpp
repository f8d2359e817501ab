#include "document/ui/fImageWindow.h"

#include "document/tools.h"
#include "document/ui/toolCursors.h"
#include "document/viewLayout.h"

#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QScrollBar>
#include <QStyle>
#include <QWheelEvent>

#include <array>
#include <cmath>

namespace velmar {

namespace {

constexpr int kMarchMilliseconds = 500;

int floorDiv(int a, int b) {
    const int q = a / b;
    return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}

// The eight pattern brushes of the marching outline: a set bit is white, a clear one black.
const std::array<QBrush, cBitRegion::kBrushCount>& outlineBrushes() {
    static const std::array<QBrush, cBitRegion::kBrushCount> brushes = [] {
        std::array<QBrush, cBitRegion::kBrushCount> made;
        for (int k = 0; k < cBitRegion::kBrushCount; ++k) {
            const cBitRegion::Pattern pattern = cBitRegion::BrushPattern(k);
            QImage tile(8, 8, QImage::Format_RGB32);
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x)
                    tile.setPixel(x, y,
                                  (pattern[static_cast<std::size_t>(y)] >> (7 - x)) & 1
                                      ? 0xFFFFFFFFu
                                      : 0xFF000000u);
            made[static_cast<std::size_t>(k)] = QBrush(QPixmap::fromImage(tile));
        }
        return made;
    }();
    return brushes;
}

} // namespace

// The surface `iDst`: receives paint and mouse events for its window.
class ImageSurface final : public QWidget {
  public:
    explicit ImageSurface(fImageWindow& window) : QWidget(&window), window_(window) {
        setMouseTracking(true);
        setAttribute(Qt::WA_OpaquePaintEvent);
        setFocusPolicy(Qt::StrongFocus);
    }

  protected:
    void paintEvent(QPaintEvent* event) override {
        QPainter painter(this);
        window_.paintSurface(painter, event->rect());
    }
    void mousePressEvent(QMouseEvent* event) override { window_.surfaceMouse(event); }
    void mouseMoveEvent(QMouseEvent* event) override { window_.surfaceMouse(event); }
    void mouseReleaseEvent(QMouseEvent* event) override { window_.surfaceMouse(event); }
    void keyReleaseEvent(QKeyEvent* event) override { window_.keyReleaseEvent(event); }

  private:
    fImageWindow& window_;
};

fImageWindow::fImageWindow(fImage& doc, DocumentTools& tools, QWidget* parent)
    : QWidget(parent), doc_(&doc), tools_(tools), surface_(new ImageSurface(*this)),
      hSB_(new QScrollBar(Qt::Horizontal, this)), vSB_(new QScrollBar(Qt::Vertical, this)) {
    setObjectName("fImage");
    surface_->setObjectName("iDst");
    hSB_->setObjectName("hSB");
    vSB_->setObjectName("vSB");
    setAttribute(Qt::WA_DeleteOnClose, false);
    setMinimumSize(120, 90);
    QPalette back = palette();
    back.setColor(QPalette::Window, QColor(128, 128, 128));
    setPalette(back);
    setAutoFillBackground(true);
    hSB_->hide();
    vSB_->hide();
    hSB_->setSingleStep(16);
    vSB_->setSingleStep(16);
    connect(hSB_, &QScrollBar::valueChanged, surface_, qOverload<>(&QWidget::update));
    connect(vSB_, &QScrollBar::valueChanged, surface_, qOverload<>(&QWidget::update));
    tmrSelection_.setInterval(kMarchMilliseconds);
    connect(&tmrSelection_, &QTimer::timeout, this, [this] {
        if (!doc_) return;
        doc_->BitsRegion().RotateBrush();
        UpdateRegion();
    });
    doc.SetView(this);
    setFocusProxy(surface_);
}

fImageWindow::~fImageWindow() {
    if (doc_) doc_->SetView(nullptr);
}

void fImageWindow::Detach() {
    if (doc_) doc_->SetView(nullptr);
    doc_ = nullptr;
    tmrSelection_.stop();
}

QWidget* fImageWindow::Surface() const {
    return surface_;
}

int fImageWindow::ScrollX() const {
    return !hSB_->isHidden() ? hSB_->value() : 0;
}

int fImageWindow::ScrollY() const {
    return !vSB_->isHidden() ? vSB_->value() : 0;
}

void fImageWindow::ScrollTo(int x, int y) {
    hSB_->setValue(x);
    vSB_->setValue(y);
}

QPoint fImageWindow::ToPicture(QPoint p) const {
    const int z = doc_ ? doc_->ZoomFactor() : 1;
    return {floorDiv(p.x() + ScrollX(), z), floorDiv(p.y() + ScrollY(), z)};
}

// ---- View ------------------------------------------------------------------------------------

void fImageWindow::LayoutView() {
    if (!doc_ || !doc_->PictureExists()) {
        surface_->hide();
        hSB_->hide();
        vSB_->hide();
        return;
    }
    const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    const ViewLayout layout = LayOutView(width(), height(), doc_->PictureWidth(),
                                         doc_->PictureHeight(), doc_->ZoomFactor(), bar);
    surface_->setGeometry(0, 0, layout.surfaceWidth, layout.surfaceHeight);
    surface_->show();
    const auto place = [](QScrollBar* sb, const ScrollBarRange& range) {
        sb->setVisible(range.shown);
        sb->setRange(0, range.max);
        sb->setPageStep(std::max(1, range.largeChange));
        if (!range.shown) sb->setValue(0);
    };
    place(hSB_, layout.horizontal);
    place(vSB_, layout.vertical);
    hSB_->setGeometry(0, height() - bar, layout.vertical.shown ? width() - bar : width(), bar);
    vSB_->setGeometry(width() - bar, 0, bar, layout.horizontal.shown ? height() - bar : height());
    surface_->update();
}

void fImageWindow::resizeEvent(QResizeEvent*) {
    LayoutView();
}

void fImageWindow::UpdateImage() {
    surface_->update();
}

void fImageWindow::UpdateRegion() {
    surface_->update();
}

// Qt paints through its own back buffer, so there is no separate persistent drawing to turn
// off: every paint is drawn whole from the picture and the shapes.
void fImageWindow::SetAutoRedraw(bool) {}

void fImageWindow::ShowShape(ShapeBand band, int x1, int y1, int x2, int y2) {
    band_ = Band{band, x1, y1, x2, y2};
    surface_->update();
}

void fImageWindow::HideShape() {
    band_.reset();
    surface_->update();
}

void fImageWindow::SetMouseCursor(std::string_view name) {
    surface_->setCursor(ToolCursor(name));
}

void fImageWindow::StartTimer() {
    if (doc_) {
        doc_->BitsRegion().RotateBrush();
        UpdateRegion();
    }
    tmrSelection_.start();
}

void fImageWindow::StopTimer() {
    tmrSelection_.stop();
}

void fImageWindow::SetMouseScrolling(bool on) {
    mouseScrolling_ = on;
    SetMouseCursor(on ? "cRelease" : "Default");
}

// ---- Painting ---------------------------------------------------------------------------------

void fImageWindow::paintSurface(QPainter& painter, const QRect& exposed) {
    if (!doc_ || !doc_->PictureExists()) {
        painter.fillRect(exposed, palette().window());
        return;
    }
    const Bits& bits = doc_->Shown();
    const int z = doc_->ZoomFactor();
    const AxisPaint ax = PaintAxis(ScrollX(), surface_->width(), z);
    const AxisPaint ay = PaintAxis(ScrollY(), surface_->height(), z);
    // The whole array, margin included, read in place: its byte order is RGB32's.
    const QImage whole(bits.Data(), bits.Width() + 4, bits.Height() + 4,
                       static_cast<qsizetype>(bits.Stride()), QImage::Format_RGB32);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    painter.setClipRect(exposed);
    painter.drawImage(QRect(ax.destStart, ay.destStart, ax.destSize, ay.destSize), whole,
                      QRect(ax.srcStart, ay.srcStart, ax.srcSize, ay.srcSize));

    // The marching outline, in view pixels at the negated scroll offset.
    const Region outline = doc_->BitsRegion().Outline(-ScrollX(), -ScrollY());
    if (!outline.IsEmpty()) {
        const QBrush& brush =
            outlineBrushes()[static_cast<std::size_t>(doc_->BitsRegion().BrushIndex())];
        for (const IntRect& r : outline.Rects())
            painter.fillRect(QRect(r.left, r.top, r.right - r.left, r.bottom - r.top), brush);
    }

    if (band_) {
        // Picture coordinates to the centres of their screen squares.
        const auto view = [&](int x, int y) {
            return QPointF(x * z - ScrollX() + z / 2.0, y * z - ScrollY() + z / 2.0);
        };
        const QPointF a = view(band_->x1, band_->y1);
        const QPointF b = view(band_->x2, band_->y2);
        painter.setRenderHint(QPainter::Antialiasing, false);
        for (int pass = 0; pass < 2; ++pass) {
            QPen pen(pass == 0 ? Qt::black : Qt::white, 1, pass == 0 ? Qt::SolidLine : Qt::DotLine);
            painter.setPen(pen);
            painter.setBrush(Qt::NoBrush);
            switch (band_->shape) {
            case ShapeBand::Line:
                painter.drawLine(a, b);
                break;
            case ShapeBand::Rectangle:
                painter.drawRect(QRectF(a, b).normalized());
                break;
            case ShapeBand::Ellipse:
                painter.drawEllipse(QRectF(a, b).normalized());
                break;
            }
        }
        if (band_->shape == ShapeBand::Line) {
            // The gradient's band tells its length.
            const double length = std::hypot(band_->x2 - band_->x1, band_->y2 - band_->y1);
            const QString text = QString::number(length, 'f', 1);
            const QPointF at = b + QPointF(8, -8);
            painter.setPen(Qt::black);
            painter.drawText(at + QPointF(1, 1), text);
            painter.setPen(Qt::white);
            painter.drawText(at, text);
        }
    }
}

// ---- Mouse and keys ---------------------------------------------------------------------------

void fImageWindow::surfaceMouse(QMouseEvent* event) {
    if (!doc_) return;
    const QPoint at = event->position().toPoint();
    if (mouseScrolling_) {
        if (event->type() == QEvent::MouseButtonPress) {
            held_ = true;
            grabStart_ = event->globalPosition().toPoint();
            grabScroll_ = {hSB_->value(), vSB_->value()};
            SetMouseCursor("cGrab");
        } else if (event->type() == QEvent::MouseMove && held_) {
            const QPoint moved = event->globalPosition().toPoint() - grabStart_;
            ScrollTo(grabScroll_.x() - moved.x(), grabScroll_.y() - moved.y());
        } else if (event->type() == QEvent::MouseButtonRelease) {
            held_ = false;
            SetMouseCursor("cRelease");
        }
        return;
    }
    const QPoint p = ToPicture(at);
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        if (event->button() != Qt::LeftButton) return;
        held_ = true;
        tools_.MouseDown(*doc_, p.x(), p.y());
        break;
    case QEvent::MouseMove:
        tools_.MouseMove(*doc_, p.x(), p.y(), held_ && (event->buttons() & Qt::LeftButton));
        break;
    case QEvent::MouseButtonRelease:
        if (event->button() != Qt::LeftButton || !held_) return;
        held_ = false;
        tools_.MouseUp(*doc_, p.x(), p.y());
        if (onMouseReleased) onMouseReleased();
        break;
    default:
        return;
    }
    statusChanged();
}

void fImageWindow::wheelEvent(QWheelEvent* event) {
    const QPoint steps = event->angleDelta() / 8 / 15;
    const int lines = -(steps.y() != 0 ? steps.y() : steps.x()) * 3;
    QScrollBar* bar = (event->modifiers() & Qt::ShiftModifier) || steps.y() == 0 ? hSB_ : vSB_;
    if (bar->isHidden()) bar = bar == hSB_ ? vSB_ : hSB_;
    bar->setValue(bar->value() + lines * bar->singleStep());
    event->accept();
}

void fImageWindow::keyReleaseEvent(QKeyEvent* event) {
    if (doc_ && event->key() == Qt::Key_Control) tools_.KeyUp(*doc_, 17);
    QWidget::keyReleaseEvent(event);
}

} // namespace velmar
