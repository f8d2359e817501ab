#include "shell/builtinPictures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <span>

namespace velmar {

namespace {

// Shapes are drawn in a square of side 2 centred on the origin: u to the right, v downward,
// both from -1 to 1, so that one description serves any stamp size.
struct Point {
    double u, v;
};

double hypot2(double u, double v) {
    return std::sqrt(u * u + v * v);
}

// Distance from (u, v) to the segment a-b.
double segmentDistance(double u, double v, Point a, Point b) {
    const double du = b.u - a.u, dv = b.v - a.v;
    const double length2 = du * du + dv * dv;
    double t = length2 > 0 ? ((u - a.u) * du + (v - a.v) * dv) / length2 : 0;
    t = std::clamp(t, 0.0, 1.0);
    return hypot2(u - (a.u + t * du), v - (a.v + t * dv));
}

// Even-odd test: the star's and the arrow head's outlines do not cross themselves.
bool insidePolygon(double u, double v, std::span<const Point> corners) {
    bool inside = false;
    for (std::size_t i = 0, j = corners.size() - 1; i < corners.size(); j = i++) {
        const Point a = corners[i], b = corners[j];
        if ((a.v > v) != (b.v > v) && u < (b.u - a.u) * (v - a.v) / (b.v - a.v) + a.u)
            inside = !inside;
    }
    return inside;
}

bool star(double u, double v) {
    // Five points, the first straight up; inner corners at 0.4 of the outer radius.
    static const std::array<Point, 10> corners = [] {
        std::array<Point, 10> c{};
        for (std::size_t k = 0; k < c.size(); ++k) {
            const double angle =
                -std::numbers::pi / 2 + static_cast<double>(k) * std::numbers::pi / 5;
            const double radius = k % 2 == 0 ? 0.95 : 0.4;
            c[k] = {radius * std::cos(angle), radius * std::sin(angle) + 0.05};
        }
        return c;
    }();
    return insidePolygon(u, v, corners);
}

bool heart(double u, double v) {
    // The classic heart curve (x^2 + y^2 - 1)^3 <= x^2 y^3, y upward; it spans x +-1.14 and
    // y -1..1.25, scaled and shifted into the square.
    const double x = u * 1.3, y = 0.125 - v * 1.3;
    const double q = x * x + y * y - 1;
    return q * q * q - x * x * y * y * y <= 0;
}

bool disc(double u, double v) {
    return hypot2(u, v) <= 0.85;
}

bool squareFrame(double u, double v) {
    const double m = std::max(std::abs(u), std::abs(v));
    return m <= 0.85 && m >= 0.55;
}

bool arrow(double u, double v) {
    static constexpr std::array<Point, 3> head{{{0.1, -0.65}, {0.92, 0}, {0.1, 0.65}}};
    return (std::abs(v) <= 0.2 && u >= -0.88 && u <= 0.15) || insidePolygon(u, v, head);
}

bool leaf(double u, double v) {
    // A lens between two circles, laid along the diagonal from lower left to upper right, with
    // its middle vein left white and a short stalk.
    const double a = (u - v) / std::numbers::sqrt2, b = (u + v) / std::numbers::sqrt2;
    const double radius = 0.95, offset = 0.55;
    const bool lens = a * a + (b - offset) * (b - offset) <= radius * radius &&
                      a * a + (b + offset) * (b + offset) <= radius * radius;
    const bool vein = std::abs(b) <= 0.035 && std::abs(a) <= 0.6;
    const bool stalk = std::abs(b) <= 0.05 && a <= -0.7 && a >= -1.0;
    return (lens && !vein) || stalk;
}

bool drop(double u, double v) {
    // A round bottom and the two lines from the tip that touch it.
    const Point centre{0, 0.3}, tip{0, -0.9};
    const double radius = 0.55;
    if (hypot2(u - centre.u, v - centre.v) <= radius) return true;
    const double touch = std::acos(radius / (centre.v - tip.v));
    const std::array<Point, 3> cone{
        {tip,
         {radius * std::sin(touch), centre.v - radius * std::cos(touch)},
         {-radius * std::sin(touch), centre.v - radius * std::cos(touch)}}};
    return insidePolygon(u, v, cone);
}

bool smiley(double u, double v) {
    const double r = hypot2(u, v);
    const bool outline = std::abs(r - 0.84) <= 0.09;
    const bool eyes = hypot2(std::abs(u) - 0.3, v + 0.25) <= 0.12;
    const bool mouth = std::abs(r - 0.5) <= 0.08 && v >= 0.18;
    return outline || eyes || mouth;
}

bool snowflake(double u, double v) {
    // Six arms, each with a pair of branches pointing outward from its middle.
    constexpr double thickness = 0.07;
    for (int arm = 0; arm < 6; ++arm) {
        const double angle = arm * std::numbers::pi / 3;
        const Point end{0.92 * std::cos(angle), 0.92 * std::sin(angle)};
        if (segmentDistance(u, v, {0, 0}, end) <= thickness) return true;
        const Point fork{0.5 * std::cos(angle), 0.5 * std::sin(angle)};
        for (const double side : {-1.0, 1.0}) {
            const double branch = angle + side * std::numbers::pi / 4;
            const Point tip{fork.u + 0.3 * std::cos(branch), fork.v + 0.3 * std::sin(branch)};
            if (segmentDistance(u, v, fork, tip) <= thickness) return true;
        }
    }
    return false;
}

bool moon(double u, double v) {
    return hypot2(u + 0.05, v) <= 0.85 && hypot2(u - 0.3, v + 0.2) > 0.7;
}

struct Ink {
    std::uint8_t red, green, blue;
};

struct StampDrawing {
    bool (*inside)(double u, double v);
    // Dark colours (luma below 90) so that a black-and-white mask still reads them as ink.
    Ink ink;
};

constexpr std::array<StampDrawing, 10> kStamps{{
    {star, {120, 80, 0}},
    {heart, {150, 0, 20}},
    {disc, {20, 30, 110}},
    {squareFrame, {0, 0, 0}},
    {arrow, {40, 40, 60}},
    {leaf, {0, 100, 30}},
    {drop, {0, 60, 150}},
    {smiley, {60, 40, 0}},
    {snowflake, {20, 60, 120}},
    {moon, {60, 40, 100}},
}};

constexpr int kStampSize = 48;
constexpr int kSubSamples = 4; // per axis: 16 samples give 17 levels of edge coverage

Bits drawStamp(const StampDrawing& drawing) {
    Bits stamp(kStampSize, kStampSize);
    constexpr int samples = kSubSamples * kSubSamples;
    for (int y = 0; y < kStampSize; ++y) {
        std::uint8_t* row = stamp.Row(y);
        for (int x = 0; x < kStampSize; ++x) {
            int covered = 0;
            for (int sy = 0; sy < kSubSamples; ++sy)
                for (int sx = 0; sx < kSubSamples; ++sx) {
                    const double u = (x + (sx + 0.5) / kSubSamples) * 2 / kStampSize - 1;
                    const double v = (y + (sy + 0.5) / kSubSamples) * 2 / kStampSize - 1;
                    covered += drawing.inside(u, v) ? 1 : 0;
                }
            // White blended toward the ink by the covered share, rounded.
            const auto mix = [&](int ink) {
                return static_cast<std::uint8_t>(
                    (255 * (samples - covered) + ink * covered + samples / 2) / samples);
            };
            row[x * 4 + Bits::Blue] = mix(drawing.ink.blue);
            row[x * 4 + Bits::Green] = mix(drawing.ink.green);
            row[x * 4 + Bits::Red] = mix(drawing.ink.red);
        }
    }
    return stamp;
}

struct Colour {
    double red, green, blue;
};

Colour mixColour(Colour a, Colour b, double t) {
    return {a.red + (b.red - a.red) * t, a.green + (b.green - a.green) * t,
            a.blue + (b.blue - a.blue) * t};
}

std::uint8_t toByte(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

} // namespace

std::vector<Bits> StampPictures() {
    std::vector<Bits> stamps;
    stamps.reserve(kStamps.size());
    for (const StampDrawing& drawing : kStamps)
        stamps.push_back(drawStamp(drawing));
    return stamps;
}

Bits DefaultPicture() {
    constexpr int width = 320, height = 240;
    constexpr double horizon = 150;
    const Colour skyTop{30, 60, 140}, skyLow{250, 190, 140};
    const Colour sun{255, 240, 190}, glow{255, 220, 160};
    const Colour farHills{90, 115, 150}, nearTop{70, 140, 60}, nearBottom{30, 90, 35};
    constexpr double sunX = 228, sunY = 92, sunRadius = 22, glowReach = 48;

    Bits picture(width, height);
    for (int y = 0; y < height; ++y) {
        std::uint8_t* row = picture.Row(y);
        for (int x = 0; x < width; ++x) {
            const double px = x + 0.5, py = y + 0.5;
            Colour c = mixColour(skyTop, skyLow, std::min(py / horizon, 1.0));

            // The glow fades with the square of the distance past the sun's rim; the rim
            // itself is smoothed over one pixel.
            const double d = hypot2(px - sunX, py - sunY);
            if (d > sunRadius && d < sunRadius + glowReach) {
                const double fade = 1 - (d - sunRadius) / glowReach;
                c = mixColour(c, glow, 0.6 * fade * fade);
            }
            c = mixColour(c, sun, std::clamp(sunRadius + 0.5 - d, 0.0, 1.0));

            // Hills: a ridge line per row of hills; the pixel is covered by the part of it
            // that lies below the ridge, which smooths the skyline.
            const double farRidge = 138 + 12 * std::sin(x / 41.0) + 7 * std::sin(x / 17.0 + 1.3);
            c = mixColour(c, farHills, std::clamp(y + 1 - farRidge, 0.0, 1.0));
            const double nearRidge = 182 + 18 * std::sin(x / 67.0 + 2.0) + 6 * std::sin(x / 23.0);
            const Colour grass = mixColour(
                nearTop, nearBottom, std::clamp((py - nearRidge) / (height - 150.0), 0.0, 1.0));
            c = mixColour(c, grass, std::clamp(y + 1 - nearRidge, 0.0, 1.0));

            row[x * 4 + Bits::Blue] = toByte(c.blue);
            row[x * 4 + Bits::Green] = toByte(c.green);
            row[x * 4 + Bits::Red] = toByte(c.red);
        }
    }
    return picture;
}

} // namespace velmar
