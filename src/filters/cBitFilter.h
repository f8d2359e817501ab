#pragma once
// cBitFilter: the one object that owns the picture operations. It holds a picture (`Bits`) and a
// selection (`BitsRegion`), and every filter returns a new picture made from them, leaving its
// own `Bits` as it was; the caller stores the result back. The standard use is
//
//     f.BitsRegion(&selection);
//     velmar::Bits result = f.SOFTEN(50);
//     f.Bits(std::move(result));
//
// Only channels 0..2 (blue, green, red) of selected pixels are written; the mask byte and every
// unselected pixel keep their values. Reads past the picture edge read the black margin.
//
// Arithmetic follows the program's conventions (filterMath.h): round half to even, truncating
// integer division, and run-time errors ("Overflow", "Division by zero") as RuntimeError. A
// filter that throws leaves the object's `Bits` untouched.
//
// Progress: a callback receives percentages at most every 10 ms, computed from the absolute row
// (so a selection low in the picture starts high), and 100 at the end. The callback runs on the
// calling thread and must not call back into the same object.
//
// Speed: the row loop exists once (filterFrame.h). It walks the selected spans of each row, and
// spreads the rows over the threads set by SetThreads; results are identical for any number of
// threads. Filters whose rows depend on each other run on the calling thread alone.
//
// Not thread-safe: one caller at a time.
#include "pixel/Bits.h"
#include "pixel/Region.h"
#include "pixel/mPalette.h"

#include <cstdint>
#include <functional>
#include <random>
#include <string_view>
#include <vector>

namespace velmar {

// A Windows colour value: 0x00BBGGRR.
using COLORREF = std::uint32_t;

// The square byte kernel of MaskFilter: element (j, i) is row j, column i, both 0..m.
struct MaskArray {
    int m = 0;                       // the upper bound of both dimensions
    std::vector<std::uint8_t> cells; // (m + 1) * (m + 1), row by row

    std::uint8_t operator()(int j, int i) const {
        return cells[static_cast<std::size_t>(j) * static_cast<std::size_t>(m + 1) +
                     static_cast<std::size_t>(i)];
    }
};

class cBitFilter {
  public:
    using ProgressCallback = std::function<void(std::int32_t percent)>;

    cBitFilter();

    // ---- State -------------------------------------------------------------------------------
    std::int32_t BitsWidth() const noexcept { return W1_ + 1; }
    std::int32_t BitsHeight() const noexcept { return H1_ + 1; }
    // A copy of the picture.
    velmar::Bits Bits() const { return bits_.clone(); }
    // The picture itself, for callers that only read it.
    const velmar::Bits& BitsView() const noexcept { return bits_; }
    // Moves the picture out without a copy, leaving the object with none (0 by 0).
    velmar::Bits TakeBits() noexcept;
    // Takes the picture in: W1 = x upper bound - 2, H1 = y upper bound - 2, image rectangle
    // 0, 0, W, H. Large arrays let go are recycled by the pixel memory, so storing each result
    // back costs no page faults on the next call.
    void Bits(velmar::Bits bits);
    // The selection the filters work in; not owned, and it must outlive the calls that use it.
    // No selection (nullptr) means the whole picture.
    void BitsRegion(const Region* region) noexcept { region_ = region; }
    const Region* BitsRegion() const noexcept { return region_; }

    void SetProgress(ProgressCallback progress) { progress_ = std::move(progress); }
    // The number of threads the frame may use (at least 1). The default is the machine's cores.
    void SetThreads(int threads) noexcept { threads_ = threads < 1 ? 1 : threads; }
    int Threads() const noexcept { return threads_; }
    // The progress step for a loop that counts against its own bound: at most every 10 ms,
    // at * 100 div last; then 100 at the end. Public for the operations that work for the object
    // on a picture of another size (the document turn).
    void ProgressStep(std::int64_t at, std::int64_t last);
    void ProgressDone();
    // Restarts the random sequence of NOISE and the other random filters; only for scripts and
    // tests that need the same result twice.
    void SeedRandom(std::uint32_t seed) { random_.seed(seed); }

    // The box of the last RegionBox: left, right, top, bottom, all inclusive.
    struct Box {
        std::int32_t left = 0, right = -1, top = 0, bottom = -1;
    };
    // Reads the selection's bounding rectangle: left + margin .. right - margin - 1, and the
    // same for top and bottom. Not cut to the picture. Without a selection, the picture's.
    void RegionBox(std::int32_t margin);
    const Box& CurrentBox() const noexcept { return box_; }

    // The loop fields a filter leaves behind: later filters may start from them.
    std::int32_t LoopX() const noexcept { return x_; }
    std::int32_t LoopY() const noexcept { return y_; }

    // The program's angle helper (not atan2): a = 0 gives pi/2, negated unless b > 0;
    // a > 0 gives atan(b/a); a < 0 gives atan(b/a) + pi.
    static double PolarAngle(double a, double b);

    // ---- Whole-picture operations -------------------------------------------------------------
    // In place: all four bytes of every selected pixel become 0.
    void BitsBlack();
    // The object takes the part of `source` inside the rectangle (cut to its current picture):
    // whole rows of four bytes, mask included.
    void BitsCrop(const velmar::Bits& source, std::int32_t left, std::int32_t top,
                  std::int32_t right, std::int32_t bottom);
    // The object takes the part of `source` inside the rectangle (cut to the source), keeping
    // only selected pixels (tested at their place in the source); the others are black with a
    // mask byte of 255.
    void BitsCropMasked(const velmar::Bits& source, std::int32_t left, std::int32_t top,
                        std::int32_t right, std::int32_t bottom);

    // ---- Tone and colour (toneLevels.cpp, toneStatistics.cpp, toneHue.cpp) --------------------
    velmar::Bits BRIGHTNESS(std::int32_t amount);
    velmar::Bits Reduction(std::int32_t level);
    velmar::Bits Scanlines(std::int32_t opacity);
    velmar::Bits ShiftRGB(std::int32_t red, std::int32_t green, std::int32_t blue);
    velmar::Bits Invert();
    velmar::Bits KillChannel(bool red, bool green, bool blue);
    // A flag is true only when it is all ones (-1).
    velmar::Bits SpecialColors(std::int16_t red, std::int16_t green, std::int16_t blue);
    velmar::Bits GreyScale();
    velmar::Bits OLDPHOTO();
    velmar::Bits Threshold(std::int32_t cut);
    velmar::Bits THERMIQUE();
    velmar::Bits XBLACK();
    velmar::Bits PHOTOCOP();
    velmar::Bits SwapBanks(std::int32_t mode);
    velmar::Bits SwapRGB(std::uint8_t redFrom, std::uint8_t greenFrom, std::uint8_t blueFrom,
                         std::int16_t invertRed, std::int16_t invertGreen, std::int16_t invertBlue,
                         std::uint8_t killRed, std::uint8_t killGreen, std::uint8_t killBlue);
    velmar::Bits SATURATION(std::int32_t percent);
    velmar::Bits CONTRAST(std::int32_t percent);
    velmar::Bits GammaCorrection(std::int32_t level);
    velmar::Bits Equalize();
    velmar::Bits COLORIZE(float hue, float saturation, float luminosity);
    velmar::Bits RotateH(std::int32_t offset, std::int32_t saturation);
    velmar::Bits StretchH(std::int32_t offset, std::int32_t saturation, std::int32_t stretch);
    velmar::Bits RotateL(std::int32_t offset, std::int32_t steps);
    velmar::Bits ISOLATE(COLORREF key, COLORREF background, std::int32_t tolerance);
    velmar::Bits REPLACE(COLORREF key, COLORREF replacement, std::int32_t tolerance);
    velmar::Bits SHIFT(COLORREF key, std::int32_t shift, std::int32_t tolerance);
    velmar::Bits ReplaceHS(COLORREF key, COLORREF replacement, std::int32_t hueTolerance,
                           std::int32_t saturationTolerance, std::int32_t applyTolerance);
    velmar::Bits ReplaceL(COLORREF key, COLORREF replacement, std::int32_t luminosityTolerance,
                          std::int32_t applyTolerance);
    velmar::Bits ClassyColors(std::int16_t index);
    // Reduces the picture to `palette` with a truncated error diffusion that writes its error
    // into the object's own `Bits`, so a second call starts from a changed picture.
    velmar::Bits PaletteApply(const mPalette& palette);
    velmar::Bits StuckiBW(std::int32_t divisor);
    std::int32_t GetLMax() const;
    std::int32_t GetLMin() const;
    std::int32_t GetLMed() const;

    // ---- Neighbourhood (neighbourhood.cpp, neighbourhoodWindows.cpp) ---------------------------
    velmar::Bits Blurs(std::int32_t distance);
    velmar::Bits SOFTEN(std::int32_t level);
    velmar::Bits SHARPEN(std::int32_t level);
    velmar::Bits EDGEENHANCE(std::int32_t level);
    velmar::Bits DILATE();
    velmar::Bits ERODE();
    velmar::Bits RELIEF();
    velmar::Bits EMBOSS(std::int32_t weight);
    velmar::Bits ENGRAVE(std::int32_t weight);
    velmar::Bits CONTOUR(std::int32_t cut, COLORREF colour);
    velmar::Bits SKETCH(std::int32_t cut, bool blackWhite, COLORREF colour);
    velmar::Bits RankFilterN4(std::int32_t mode);
    velmar::Bits RankFilterND(std::int32_t mode);
    velmar::Bits PAINTING();
    velmar::Bits Dissolve();
    velmar::Bits NOISE(std::int32_t amount, bool equalized);
    velmar::Bits PIXELIZE(std::int32_t size);
    velmar::Bits Halftone(std::int32_t radius, std::int32_t definition, std::int32_t intensity);
    velmar::Bits MaskFilter(const MaskArray& mask, std::int32_t divisor, std::int32_t redOffset,
                            std::int32_t greenOffset, std::int32_t blueOffset, bool keepInside);

    // ---- Deformations (deform.cpp, glass.cpp) --------------------------------------------------
    // These test the selection at the source position: see deform.cpp.
    velmar::Bits ROTATE(double degrees, bool cleanBack);
    velmar::Bits FOLD(std::int32_t horizontal, std::int32_t vertical, bool cleanBack);
    velmar::Bits STRETCH(std::int32_t horizontal, std::int32_t vertical, bool cleanBack);
    velmar::Bits BEND(std::int32_t radius, bool cleanBack);
    velmar::Bits TWIRL(std::int32_t level, std::int32_t offset, bool cleanBack);
    velmar::Bits DIFFUSE(std::int32_t horizontal, std::int32_t vertical);
    velmar::Bits WAVES(std::int32_t frequency, std::int32_t amplitude, std::int32_t start);
    velmar::Bits Flip(bool horizontal, bool vertical);
    velmar::Bits TILE(std::int32_t factor);
    // keyColour -1: no key colour.
    velmar::Bits TileMask(const velmar::Bits& mask, std::int32_t startX, std::int32_t startY,
                          bool repeat, std::int32_t percent, std::int32_t keyColour);
    velmar::Bits GLASS(std::string_view style, std::int16_t mode);
    // radius is a fraction of the larger side, as are x and y of the sides.
    velmar::Bits LENS(float x, float y, float radius, std::int32_t magnify);

    // ---- Overlays and patterns (overlays.cpp) ------------------------------------------------------
    velmar::Bits Grid(std::int32_t horizontalStep, std::int32_t verticalStep, bool forceMargins,
                      COLORREF colour, std::int32_t opacity);
    velmar::Bits Light(float x, float y, float radius, std::int32_t intensity,
                       std::int32_t definition);
    // A colour of -1 stands for the picture's own pixel.
    velmar::Bits GradientLinear(std::int32_t x1, std::int32_t y1, std::int32_t x2, std::int32_t y2,
                                std::int32_t colour1, std::int32_t colour2, std::int32_t opacity,
                                std::int32_t repeats);
    velmar::Bits GradientCircular(std::int32_t x1, std::int32_t y1, std::int32_t x2,
                                  std::int32_t y2, std::int32_t colour1, std::int32_t colour2,
                                  std::int32_t opacity, std::int32_t repeats);
    velmar::Bits Texturize(const velmar::Bits& texture);

    // ---- Resampling and rotation (resample.cpp) ------------------------------------------------------
    // These three read `source` and leave the result in the object's own Bits.
    void BitsResample(const velmar::Bits& source, std::int32_t width, std::int32_t height);
    void BitsResize(const velmar::Bits& source, std::int32_t width, std::int32_t height);
    void BitsRotate90(const velmar::Bits& source);
    velmar::Bits RotateSmooth(double degrees);

  private:
    friend class FilterFrame;

    // One draw of the program's random sequence, in [0, 1).
    double Rnd() { return std::uniform_real_distribution<double>(0.0, 1.0)(random_); }

    // The progress step after a row: at most every 10 ms, y * 100 div H1 (a picture of one
    // row divides by zero here, as it always has).
    void ProgressStep(std::int32_t y) { ProgressStep(y, H1_); }

    velmar::Bits bits_;
    std::int32_t W1_ = -1;
    std::int32_t H1_ = -1;
    IntRect image_;
    const Region* region_ = nullptr;
    std::int32_t x_ = 0, y_ = 0, sx_ = 0, sy_ = 0;
    Box box_;
    std::uint32_t lastProgressMs_ = 0;

    ProgressCallback progress_;
    int threads_ = 1;
    std::mt19937 random_;
};

} // namespace velmar
