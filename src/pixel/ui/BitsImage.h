#pragma once
// Drawing Bits without copying them: a QImage that shares the array's memory.
//
// Format_RGB32 has the same byte order as Bits (blue, green, red, fourth byte), and the array is
// already a top-down 32-bit bitmap with a stride of (W + 4) * 4, so Qt reads it in place. The
// view covers the picture proper (x 0..W-1, y 0..H-1); the margin stays out of sight.
//
// The view does not own the memory: it is valid while the Bits lives and keeps its size.
#include "pixel/Bits.h"

#include <QImage>
#include <QRect>

namespace velmar {

// The picture area of the array as an image sharing its memory; a null image when the array
// holds no pixels.
QImage bitsAsImage(Bits& bits);
QImage bitsAsImage(const Bits& bits);

// Fills Bits from any QImage (converted to 32 bits when needed), mask byte 0.
Bits bitsFromImage(const QImage& image);

} // namespace velmar
