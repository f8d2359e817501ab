#include "shell/ui/commandIcons.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <array>
#include <functional>
#include <map>
#include <string>

namespace velmar {

namespace {

constexpr int kSize = 24;

// One tint per bar, so that a glance tells the bars apart.
constexpr std::array<QRgb, 7> kBarTints{0xFF3A6EA5, 0xFF8E44AD, 0xFF2E8B57, 0xFFB8860B,
                                        0xFF607D8B, 0xFF00838F, 0xFFC0392B};

using Glyph = std::function<void(QPainter&)>;

void page(QPainter& p) {
    QPainterPath path;
    path.moveTo(5, 2);
    path.lineTo(15, 2);
    path.lineTo(20, 7);
    path.lineTo(20, 22);
    path.lineTo(5, 22);
    path.closeSubpath();
    p.setBrush(Qt::white);
    p.setPen(QPen(QColor(60, 60, 60), 1.2));
    p.drawPath(path);
    p.drawLine(QPointF(15, 2), QPointF(15, 7));
    p.drawLine(QPointF(15, 7), QPointF(20, 7));
}

void arrowArc(QPainter& p, bool redo) {
    p.setPen(QPen(QColor(30, 90, 160), 2.4, Qt::SolidLine, Qt::RoundCap));
    p.setBrush(Qt::NoBrush);
    const QRectF arc(5, 6, 14, 12);
    p.drawArc(arc, redo ? 200 * 16 : -20 * 16, redo ? -220 * 16 : 220 * 16);
    QPolygonF head;
    if (redo)
        head << QPointF(20, 5) << QPointF(20, 12) << QPointF(14, 9);
    else
        head << QPointF(4, 5) << QPointF(4, 12) << QPointF(10, 9);
    p.setBrush(QColor(30, 90, 160));
    p.setPen(Qt::NoPen);
    p.drawPolygon(head);
}

const std::map<std::string, Glyph, std::less<>>& glyphs() {
    static const std::map<std::string, Glyph, std::less<>> table = {
        {"NEW", [](QPainter& p) { page(p); }},
        {"OPEN",
         [](QPainter& p) {
             p.setPen(QPen(QColor(120, 90, 20), 1.2));
             p.setBrush(QColor(240, 200, 90));
             p.drawRect(QRectF(2, 7, 18, 13));
             p.setBrush(QColor(250, 220, 120));
             QPolygonF flap;
             flap << QPointF(5, 11) << QPointF(23, 11) << QPointF(20, 20) << QPointF(2, 20);
             p.drawPolygon(flap);
         }},
        {"SAVE",
         [](QPainter& p) {
             p.setPen(QPen(QColor(20, 40, 80), 1.2));
             p.setBrush(QColor(50, 90, 170));
             p.drawRoundedRect(QRectF(3, 3, 18, 18), 2, 2);
             p.setBrush(Qt::white);
             p.drawRect(QRectF(7, 3, 10, 7));
             p.setBrush(QColor(200, 200, 210));
             p.drawRect(QRectF(6, 13, 12, 8));
         }},
        {"CUT",
         [](QPainter& p) {
             p.setPen(QPen(QColor(60, 60, 60), 1.6));
             p.drawLine(QPointF(7, 3), QPointF(15, 15));
             p.drawLine(QPointF(17, 3), QPointF(9, 15));
             p.setBrush(Qt::NoBrush);
             p.setPen(QPen(QColor(190, 30, 30), 2));
             p.drawEllipse(QRectF(4, 15, 6, 6));
             p.drawEllipse(QRectF(14, 15, 6, 6));
         }},
        {"COPY",
         [](QPainter& p) {
             p.setPen(QPen(QColor(60, 60, 60), 1.2));
             p.setBrush(QColor(230, 230, 240));
             p.drawRect(QRectF(3, 3, 11, 14));
             p.setBrush(Qt::white);
             p.drawRect(QRectF(9, 7, 11, 14));
         }},
        {"PASTE",
         [](QPainter& p) {
             p.setPen(QPen(QColor(90, 60, 20), 1.2));
             p.setBrush(QColor(190, 140, 70));
             p.drawRoundedRect(QRectF(3, 4, 15, 18), 2, 2);
             p.setBrush(QColor(160, 160, 160));
             p.drawRect(QRectF(7, 2, 7, 4));
             p.setBrush(Qt::white);
             p.drawRect(QRectF(10, 10, 11, 12));
         }},
        {"UNDO", [](QPainter& p) { arrowArc(p, false); }},
        {"REDO", [](QPainter& p) { arrowArc(p, true); }},
        {"CROP",
         [](QPainter& p) {
             p.setPen(QPen(QColor(40, 40, 40), 2.2));
             p.drawLine(QPointF(6, 2), QPointF(6, 18));
             p.drawLine(QPointF(6, 18), QPointF(22, 18));
             p.drawLine(QPointF(2, 6), QPointF(18, 6));
             p.drawLine(QPointF(18, 6), QPointF(18, 22));
         }},
        {"FLIPH",
         [](QPainter& p) {
             p.setPen(Qt::NoPen);
             p.setBrush(QColor(40, 110, 180));
             p.drawPolygon(QPolygonF{{QPointF(11, 4), QPointF(11, 20), QPointF(2, 20)}});
             p.setBrush(QColor(160, 190, 220));
             p.drawPolygon(QPolygonF{{QPointF(13, 4), QPointF(13, 20), QPointF(22, 20)}});
         }},
        {"FLIPV",
         [](QPainter& p) {
             p.setPen(Qt::NoPen);
             p.setBrush(QColor(40, 110, 180));
             p.drawPolygon(QPolygonF{{QPointF(4, 11), QPointF(20, 11), QPointF(20, 2)}});
             p.setBrush(QColor(160, 190, 220));
             p.drawPolygon(QPolygonF{{QPointF(4, 13), QPointF(20, 13), QPointF(20, 22)}});
         }},
        {"HELP",
         [](QPainter& p) {
             p.setPen(Qt::NoPen);
             p.setBrush(QColor(40, 120, 200));
             p.drawEllipse(QRectF(2, 2, 20, 20));
             p.setPen(Qt::white);
             QFont f = p.font();
             f.setBold(true);
             f.setPixelSize(15);
             p.setFont(f);
             p.drawText(QRectF(2, 2, 20, 20), Qt::AlignCenter, "?");
         }},
    };
    return table;
}

// A short mark for a key word: its first letters, skipping the common light/heavy/custom
// prefixes so that "HEAVYEMBOSS" reads "Em".
QString markOf(std::string_view key) {
    for (const std::string_view prefix : {"LIGHT", "HEAVY", "CUSTOM", "IMAGE", "ADD", "CURTAIN"})
        if (key.size() > prefix.size() + 1 && key.substr(0, prefix.size()) == prefix) {
            key.remove_prefix(prefix.size());
            break;
        }
    QString mark =
        QString::fromUtf8(key.data(), static_cast<qsizetype>(std::min<std::size_t>(key.size(), 2)));
    if (mark.size() == 2) mark[1] = mark[1].toLower();
    return mark;
}

} // namespace

QIcon CommandIcon(std::string_view key, int barIndex) {
    QPixmap pixmap(kSize, kSize);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    const auto& table = glyphs();
    if (const auto found = table.find(key); found != table.end()) {
        found->second(p);
    } else {
        const QColor tint(kBarTints[static_cast<std::size_t>(std::clamp(barIndex, 0, 6))]);
        QLinearGradient fill(0, 0, 0, kSize);
        fill.setColorAt(0, tint.lighter(140));
        fill.setColorAt(1, tint);
        p.setPen(QPen(tint.darker(140), 1));
        p.setBrush(fill);
        p.drawRoundedRect(QRectF(1.5, 1.5, kSize - 3, kSize - 3), 4, 4);
        QFont f = p.font();
        f.setBold(true);
        f.setPixelSize(11);
        p.setFont(f);
        p.setPen(Qt::white);
        p.drawText(QRectF(0, 0, kSize, kSize), Qt::AlignCenter, markOf(key));
    }
    return QIcon(pixmap);
}

} // namespace velmar
