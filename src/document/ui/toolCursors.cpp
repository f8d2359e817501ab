#include "document/ui/toolCursors.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <array>

namespace velmar {

namespace {

// Every glyph is drawn in a 24-unit square. A cursor draws it twice: first as a white halo,
// wider and filled white, then in ink, so the cursor stays visible on dark and light pictures.
struct Ink {
    bool halo = false;

    QPen pen(qreal width = 1.5) const {
        return QPen(halo ? QColor(Qt::white) : QColor(Qt::black), halo ? width + 2.0 : width,
                    Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    }
    QBrush fill(const QColor& colour) const { return halo ? QBrush(Qt::white) : QBrush(colour); }
    void use(QPainter& p, const QColor& colour, qreal width = 1.5) const {
        p.setPen(pen(width));
        p.setBrush(fill(colour));
    }
    void outline(QPainter& p, qreal width = 1.5) const {
        p.setPen(pen(width));
        p.setBrush(Qt::NoBrush);
    }
};

using Glyph = void (*)(QPainter&, const Ink&);

const QColor kPaint(40, 90, 200);
const QColor kMetal(150, 150, 160);
const QColor kWood(190, 140, 80);
const QColor kSkin(255, 255, 255);

void drawMarquee(QPainter& p, const Ink& ink) {
    QPen pen = ink.pen(1.5);
    if (!ink.halo) pen.setDashPattern({2.0, 2.0});
    pen.setCapStyle(Qt::FlatCap);
    p.setPen(pen);
    p.setBrush(Qt::NoBrush);
    p.drawRect(QRectF(3, 5, 18, 14));
}

void drawArrowHead(QPainter& p, QPointF tip, QPointF back, QPointF side) {
    p.drawPolygon(QPolygonF{tip, back + side, back - side});
}

void drawMoveArrows(QPainter& p, const Ink& ink) {
    ink.use(p, Qt::black, 1.5);
    p.drawLine(QPointF(12, 4), QPointF(12, 20));
    p.drawLine(QPointF(4, 12), QPointF(20, 12));
    drawArrowHead(p, {12, 1.5}, {12, 5.5}, {3, 0});
    drawArrowHead(p, {12, 22.5}, {12, 18.5}, {3, 0});
    drawArrowHead(p, {1.5, 12}, {5.5, 12}, {0, 3});
    drawArrowHead(p, {22.5, 12}, {18.5, 12}, {0, 3});
}

void drawBrush(QPainter& p, const Ink& ink) {
    ink.use(p, kWood, 2.5);
    p.drawLine(QPointF(21, 3), QPointF(12, 12));
    ink.use(p, kMetal, 1.0);
    p.drawPolygon(QPolygonF{{13.5, 9}, {15, 10.5}, {11, 14.5}, {9.5, 13}});
    QPainterPath tip;
    tip.moveTo(9.5, 13);
    tip.cubicTo(6, 14, 5, 17, 3.5, 20.5);
    tip.cubicTo(7, 19, 10, 18, 11, 14.5);
    tip.closeSubpath();
    ink.use(p, kPaint, 1.0);
    p.drawPath(tip);
}

void drawAirbrush(QPainter& p, const Ink& ink) {
    ink.use(p, kMetal, 1.2);
    p.drawRoundedRect(QRectF(13, 9, 8, 13), 2, 2);
    p.drawRect(QRectF(15, 5.5, 4, 3.5));
    ink.use(p, Qt::black, 1.0);
    p.drawLine(QPointF(15, 7), QPointF(11, 7));
    constexpr std::array<QPointF, 9> dots = {
        {{4, 6}, {7, 4}, {7, 8}, {3, 9.5}, {9, 6}, {5, 2.5}, {2, 4}, {5, 11}, {9, 10}}};
    for (const QPointF& dot : dots)
        p.drawEllipse(dot, 0.7, 0.7);
}

void drawBucket(QPainter& p, const Ink& ink) {
    ink.use(p, kMetal, 1.3);
    p.drawPolygon(QPolygonF{{9, 4}, {20, 11}, {15, 19}, {4, 12}});
    ink.outline(p, 1.3);
    p.drawArc(QRectF(10, 1, 10, 10), 0, 180 * 16);
    ink.use(p, kPaint, 1.0);
    QPainterPath drip;
    drip.moveTo(5, 11);
    drip.cubicTo(2, 14, 2.5, 18, 4, 21);
    drip.cubicTo(5.5, 18, 6.5, 15, 7, 13);
    drip.closeSubpath();
    p.drawPath(drip);
}

void drawShapes(QPainter& p, const Ink& ink) {
    ink.outline(p, 1.5);
    p.drawRect(QRectF(2.5, 3, 12, 10));
    ink.use(p, kPaint, 1.5);
    p.drawEllipse(QRectF(9, 10, 12.5, 11));
}

void drawPencil(QPainter& p, const Ink& ink) {
    p.save();
    p.translate(3, 21);
    p.rotate(-45);
    ink.use(p, QColor(240, 200, 60), 1.2);
    p.drawRect(QRectF(5, -2.5, 16, 5));
    ink.use(p, kWood, 1.2);
    p.drawPolygon(QPolygonF{{0, 0}, {5, -2.5}, {5, 2.5}});
    ink.use(p, QColor(230, 120, 140), 1.2);
    p.drawRect(QRectF(21, -2.5, 3, 5));
    p.restore();
}

void drawStamp(QPainter& p, const Ink& ink) {
    ink.use(p, kWood, 1.3);
    p.drawEllipse(QRectF(8.5, 1.5, 7, 6));
    p.drawRect(QRectF(10.5, 7.5, 3, 5));
    ink.use(p, kMetal, 1.3);
    p.drawRoundedRect(QRectF(4, 12.5, 16, 5), 1.5, 1.5);
    ink.use(p, kPaint, 1.3);
    p.drawRect(QRectF(5, 17.5, 14, 2.5));
}

void drawRamp(QPainter& p, const Ink& ink) {
    QLinearGradient ramp(QPointF(3, 0), QPointF(21, 0));
    ramp.setColorAt(0, Qt::black);
    ramp.setColorAt(1, Qt::white);
    p.setPen(ink.pen(1.2));
    p.setBrush(ink.halo ? QBrush(Qt::white) : QBrush(ramp));
    p.drawRect(QRectF(3, 5, 18, 14));
}

void drawCrossRamp(QPainter& p, const Ink& ink) {
    ink.outline(p, 1.2);
    p.drawLine(QPointF(9, 1), QPointF(9, 17));
    p.drawLine(QPointF(1, 9), QPointF(17, 9));
    QLinearGradient ramp(QPointF(13, 0), QPointF(23, 0));
    ramp.setColorAt(0, Qt::black);
    ramp.setColorAt(1, Qt::white);
    p.setPen(ink.pen(1.0));
    p.setBrush(ink.halo ? QBrush(Qt::white) : QBrush(ramp));
    p.drawRect(QRectF(13, 15, 10, 7));
}

void drawLetterT(QPainter& p, const Ink& ink) {
    ink.use(p, Qt::black, 1.0);
    p.drawPolygon(
        QPolygonF{{4, 3}, {20, 3}, {20, 7}, {14, 7}, {14, 21}, {10, 21}, {10, 7}, {4, 7}});
}

void drawPipette(QPainter& p, const Ink& ink) {
    p.save();
    p.translate(3, 21);
    p.rotate(-45);
    ink.use(p, Qt::white, 1.2);
    p.drawPolygon(QPolygonF{{0, 0}, {3, -1.5}, {15, -1.5}, {15, 1.5}, {3, 1.5}});
    ink.use(p, Qt::black, 1.2);
    p.drawRect(QRectF(15, -3, 2.5, 6));
    p.drawRoundedRect(QRectF(17.5, -2.5, 7, 5), 2.5, 2.5);
    p.restore();
}

void drawMagnifier(QPainter& p, const Ink& ink) {
    ink.use(p, QColor(225, 235, 250), 1.6);
    p.drawEllipse(QPointF(10, 10), 7, 7);
    ink.outline(p, 3.0);
    p.drawLine(QPointF(15.5, 15.5), QPointF(21.5, 21.5));
    ink.outline(p, 1.6);
    p.drawLine(QPointF(6.5, 10), QPointF(13.5, 10));
}

void drawZoomIn(QPainter& p, const Ink& ink) {
    drawMagnifier(p, ink);
    p.drawLine(QPointF(10, 6.5), QPointF(10, 13.5));
}

void drawOpenHand(QPainter& p, const Ink& ink) {
    ink.use(p, kSkin, 1.2);
    QPainterPath hand;
    hand.setFillRule(Qt::WindingFill);
    hand.addRoundedRect(QRectF(6, 4.5, 3, 10), 1.5, 1.5);
    hand.addRoundedRect(QRectF(9, 2, 3, 11), 1.5, 1.5);
    hand.addRoundedRect(QRectF(12, 2, 3, 11), 1.5, 1.5);
    hand.addRoundedRect(QRectF(15, 4, 3, 10), 1.5, 1.5);
    hand.addRoundedRect(QRectF(6, 11, 12, 10), 3, 3);
    QPainterPath thumb;
    thumb.addRoundedRect(QRectF(-1.5, -5.5, 3, 9), 1.5, 1.5);
    hand.addPath(QTransform().translate(5, 15).rotate(-40).map(thumb));
    p.drawPath(hand.simplified());
}

void drawClosedHand(QPainter& p, const Ink& ink) {
    ink.use(p, kSkin, 1.2);
    QPainterPath hand;
    hand.setFillRule(Qt::WindingFill);
    hand.addRoundedRect(QRectF(6, 7.5, 3, 5), 1.5, 1.5);
    hand.addRoundedRect(QRectF(9, 6.5, 3, 5), 1.5, 1.5);
    hand.addRoundedRect(QRectF(12, 6.5, 3, 5), 1.5, 1.5);
    hand.addRoundedRect(QRectF(15, 7.5, 3, 5), 1.5, 1.5);
    hand.addRoundedRect(QRectF(6, 10, 12, 10), 3, 3);
    hand.addRoundedRect(QRectF(4, 11, 5, 3), 1.5, 1.5);
    p.drawPath(hand.simplified());
}

struct NamedGlyph {
    std::string_view name;
    Glyph glyph;
};

constexpr std::array<NamedGlyph, 14> kIcons = {{
    {"Select", drawMarquee},
    {"SelectionMove", drawMoveArrows},
    {"Brush", drawBrush},
    {"Airbrush", drawAirbrush},
    {"Fill", drawBucket},
    {"Shape", drawShapes},
    {"Pencil", drawPencil},
    {"Stamp", drawStamp},
    {"Gradient", drawRamp},
    {"Text", drawLetterT},
    {"GetColor", drawPipette},
    {"ZoomIn", drawZoomIn},
    {"ZoomOut", drawMagnifier},
    {"MouseScroll", drawOpenHand},
}};

struct CursorDrawing {
    std::string_view name;
    Glyph glyph;
    QPointF hotSpot; // in glyph units: where the tool acts
};

constexpr std::array<CursorDrawing, 9> kCursors = {{
    {"cBrush", drawBrush, {3.5, 20.5}},
    {"cAirBrush", drawAirbrush, {5, 7}},
    {"cFill", drawBucket, {4, 21}},
    {"cPencil", drawPencil, {3, 21}},
    {"cTextures", drawStamp, {12, 19}},
    {"cGradient", drawCrossRamp, {9, 9}},
    {"cPicker", drawPipette, {3, 21}},
    {"cGrab", drawClosedHand, {12, 13}},
    {"cRelease", drawOpenHand, {12, 12}},
}};

constexpr int kIconSize = 24;
constexpr int kCursorSize = 32;
constexpr qreal kGlyphUnits = 24.0;

QPixmap blank(int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    return pixmap;
}

} // namespace

QCursor ToolCursor(std::string_view name) {
    if (name == "Hourglass") return QCursor(Qt::WaitCursor);
    for (const CursorDrawing& drawing : kCursors) {
        if (drawing.name != name) continue;
        constexpr qreal scale = kCursorSize / kGlyphUnits;
        QPixmap pixmap = blank(kCursorSize);
        {
            QPainter p(&pixmap);
            p.setRenderHint(QPainter::Antialiasing);
            p.scale(scale, scale);
            drawing.glyph(p, Ink{true});
            drawing.glyph(p, Ink{false});
        }
        return QCursor(pixmap, qRound(drawing.hotSpot.x() * scale),
                       qRound(drawing.hotSpot.y() * scale));
    }
    return QCursor(Qt::ArrowCursor);
}

QIcon ToolIcon(std::string_view key) {
    for (const NamedGlyph& icon : kIcons) {
        if (icon.name != key) continue;
        QPixmap pixmap = blank(kIconSize);
        {
            QPainter p(&pixmap);
            p.setRenderHint(QPainter::Antialiasing);
            p.scale(kIconSize / kGlyphUnits, kIconSize / kGlyphUnits);
            icon.glyph(p, Ink{false});
        }
        return QIcon(pixmap);
    }
    return QIcon();
}

} // namespace velmar
