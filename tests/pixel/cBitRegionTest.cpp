#include "pixel/cBitRegion.h"

#include "support/TempFolder.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace velmar {
namespace {

namespace fs = std::filesystem;
using Longs = std::vector<std::int32_t>;
using test::readFile;
using test::writeFile;

std::vector<std::uint8_t> LittleEndian(const Longs& longs) {
    std::vector<std::uint8_t> out;
    for (std::int32_t v : longs)
        for (int i = 0; i < 4; ++i)
            out.push_back(static_cast<std::uint8_t>(static_cast<std::uint32_t>(v) >> (8 * i)));
    return out;
}

std::ptrdiff_t EntriesIn(const fs::path& folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

// Everything observable about the object: the three regions (absent or not), both arrays, the
// count, zoom and brush. Shows that a refused operation changed nothing.
using Rects = std::vector<IntRect>;
using Snapshot = std::tuple<std::optional<Rects>, std::optional<Rects>, std::optional<Rects>, Longs,
                            Longs, std::size_t, float, int>;
constexpr auto kNone = std::nullopt;

Snapshot Take(const cBitRegion& r) {
    const auto rects = [](const Region* p) { return p ? std::optional<Rects>(p->Rects()) : kNone; };
    return {rects(r.Region()), rects(r.RegionScaled()), rects(r.RegionMain()), r.GetData(),
            r.GetScaledData(), r.GetDataCount(),        r.ZoomFactor(),        r.BrushIndex()};
}

TEST(cBitRegion, StartsEmptyAndClearKeepsOnlyZoomAndBrush) {
    EXPECT_EQ(Take(cBitRegion()), (Snapshot{kNone, kNone, kNone, {}, {}, 0, 1.0f, 0}));
    cBitRegion r;
    r.Init(0, 0, 50, 50);
    r.CreateRect(1, 1, 5, 5, 2, false);
    r.ZoomFactor(3.0f);
    r.RotateBrush();
    r.RotateBrush();
    r.Clear();
    EXPECT_EQ(Take(r), (Snapshot{kNone, kNone, kNone, {}, {}, 0, 3.0f, 2}));
    // Init clears too, and sets the image bounds.
    r.CreateRect(1, 1, 5, 5, 2, false);
    r.Init(0, 0, 8, 6);
    EXPECT_EQ(Take(r), (Snapshot{kNone, kNone, Rects{{0, 0, 8, 6}}, {}, {}, 0, 3.0f, 2}));
}

// Without a selection a shape becomes it whatever the mode, except DIFF, which does nothing;
// with one, the mode combines, and a number that is not a mode leaves the selection alone.
TEST(cBitRegion, ShapesSelectOrCombineByMode) {
    using enum CombineMode;
    const Region a = Region::Ellipse(0, 0, 10, 10), b = Region::Rect(5, 5, 15, 15);
    // By mode number; 0 stands for every number that is not a mode.
    const auto ab = [&](CombineMode m) { return Region::Combine(a, b, m); };
    const Region byMode[] = {a, ab(And), ab(Or), ab(Xor), ab(Diff), a};
    for (const int mode : {0, 1, 2, 3, 4, 5, 9, -2}) {
        const Region& combined = byMode[mode >= 0 && mode <= 5 ? mode : 0];
        cBitRegion r;
        r.CreateEllipse(0, 0, 10, 10, mode, false);
        if (mode == 4) {
            EXPECT_EQ(Take(r), Take(cBitRegion()));
            r.CreateEllipse(0, 0, 10, 10, 2, false);
        }
        ASSERT_NE(r.Region(), nullptr) << mode;
        EXPECT_EQ(*r.Region(), a) << mode;
        r.CreateRect(5, 5, 15, 15, mode, false);
        EXPECT_EQ(*r.Region(), combined) << mode;
        EXPECT_EQ(r.GetData(), combined.ToRgnData()) << mode;
        EXPECT_EQ(*r.RegionScaled(), combined) << mode;
    }
    cBitRegion r;
    r.CreateRect(0, 0, 5, 5, 4, false);
    EXPECT_EQ(r.Region(), nullptr);
}

// The crop flag cuts the result to the image. Crop and Offset work on the selection alone; the
// arrays and the scaled copy stay as they were.
TEST(cBitRegion, CropCutsToTheImageAndOffsetMovesOnlyTheSelection) {
    cBitRegion r;
    r.Init(0, 0, 20, 20);
    r.CreateRect(-5, -5, 10, 10, 2, false);
    r.CreateEllipse(12, 12, 30, 30, 2, true);
    const Region both = Region::Combine(Region::Rect(-5, -5, 10, 10),
                                        Region::Ellipse(12, 12, 30, 30), CombineMode::Or);
    const Region cropped = Region::Combine(both, Region::Rect(0, 0, 20, 20), CombineMode::And);
    EXPECT_EQ(*r.Region(), cropped);
    EXPECT_EQ(r.GetData(), cropped.ToRgnData());

    r.Init(0, 0, 20, 20);
    r.CreateRect(-5, 0, 10, 10, 2, false);
    const Longs data = r.GetData();
    r.Crop();
    EXPECT_EQ(*r.Region(), Region::Rect(0, 0, 10, 10));
    r.Offset(10, 20);
    EXPECT_EQ(*r.Region(), Region::Rect(10, 20, 20, 30));
    EXPECT_EQ(r.GetData(), data);
    EXPECT_EQ(*r.RegionScaled(), Region::Rect(-5, 0, 10, 10));
    // A zoom change rebuilds the scaled copy from the array, not from the moved selection.
    r.ZoomFactor(1.0f);
    EXPECT_EQ(*r.RegionScaled(), Region::Rect(-5, 0, 10, 10));
    // Moving nothing makes nothing.
    cBitRegion none;
    none.Offset(1, 1);
    EXPECT_EQ(none.Region(), nullptr);
}

TEST(cBitRegion, PolygonTakesAlternatingLongsAndIgnoresShortArrays) {
    cBitRegion r;
    r.CreatePolygon(Longs{1, 2}, 2, false);
    r.CreatePolygon(Longs{}, 2, false);
    EXPECT_EQ(r.Region(), nullptr);
    EXPECT_EQ(r.GetDataCount(), 0u);
    // Seven longs are three points; the odd one is not used.
    r.CreatePolygon(Longs{0, 0, 8, 0, 0, 4, 99}, 2, false);
    ASSERT_NE(r.Region(), nullptr);
    EXPECT_EQ(*r.Region(), Region::Polygon(std::vector<IntPoint>{{0, 0}, {8, 0}, {0, 4}}));
    // The fill is WINDING: a square traced twice stays selected.
    cBitRegion twice;
    twice.CreatePolygon(Longs{0, 0, 3, 0, 3, 3, 0, 3, 0, 0, 3, 0, 3, 3, 0, 3}, 2, false);
    EXPECT_EQ(*twice.Region(), Region::Rect(0, 0, 3, 3));
}

// Invert of no selection, or of an empty one, selects all; twice it restores. BoundRect says
// false for either and leaves its outputs alone.
TEST(cBitRegion, InvertAndBoundRect) {
    const Region all = Region::Rect(0, 0, 40, 30);
    cBitRegion r;
    r.Init(0, 0, 40, 30);
    int l = -7, t = -8, rt = -9, b = -10;
    EXPECT_FALSE(r.BoundRect(l, t, rt, b));
    r.Invert();
    ASSERT_NE(r.Region(), nullptr);
    EXPECT_EQ(*r.Region(), all);
    EXPECT_EQ(r.GetData(), all.ToRgnData());
    r.CreateRect(50, 50, 60, 60, 1, false);
    ASSERT_TRUE(r.IsEmptyRegion());
    EXPECT_FALSE(r.BoundRect(l, t, rt, b));
    EXPECT_EQ((IntRect{l, t, rt, b}), (IntRect{-7, -8, -9, -10}));
    r.Invert();
    EXPECT_EQ(*r.Region(), all);

    r.CreateEllipse(2, 1, 9, 6, 1, false);
    const Region selection = *r.Region();
    EXPECT_TRUE(r.BoundRect(l, t, rt, b));
    EXPECT_EQ((IntRect{l, t, rt, b}), (IntRect{2, 1, 8, 5}));
    r.Invert();
    EXPECT_EQ(*r.Region(), Region::Combine(all, selection, CombineMode::Diff));
    r.Invert();
    EXPECT_EQ(*r.Region(), selection);
    EXPECT_EQ(r.GetData(), selection.ToRgnData());
}

TEST(cBitRegion, ScaledCopyRoundsHalvesToEvenAndKeepsTheHeader) {
    // Only a zoom of 0 or more is stored.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const auto& [set, read] :
         {std::pair{-1.0f, 0.01f}, {-0.0001f, 0.01f}, {0.0f, 0.0f}, {2.5f, 2.5f}, {nan, 0.01f}}) {
        cBitRegion z;
        z.ZoomFactor(set);
        EXPECT_EQ(z.ZoomFactor(), read) << set;
    }
    cBitRegion r;
    r.CreateRect(1, 3, 5, 7, 2, false);
    // 0.5, 1.5, 2.5, 3.5 -> 0, 2, 2, 4.
    r.ZoomFactor(0.5f);
    EXPECT_EQ(r.GetScaledData(), Longs({32, 1, 1, 16, 0, 2, 2, 4, 0, 2, 2, 4}));
    EXPECT_EQ(*r.RegionScaled(), Region::Rect(0, 2, 2, 4));
    EXPECT_EQ(r.GetData(), Longs({32, 1, 1, 16, 1, 3, 5, 7, 1, 3, 5, 7}));
    // 0.1f is not 0.1: 5 * 0.1f = 0.50000000745 in double, so it rounds up to 1.
    r.ZoomFactor(0.1f);
    EXPECT_EQ(r.GetScaledData(), Longs({32, 1, 1, 16, 0, 0, 1, 1, 0, 0, 1, 1}));
    // Zoom 0 leaves the copy unscaled.
    r.ZoomFactor(0.0f);
    EXPECT_EQ(r.GetScaledData(), r.GetData());

    // A zoom past the coordinate range pins the copy at its edges.
    cBitRegion huge;
    huge.CreateRect(-1, -2, 3, 4, 2, false);
    huge.ZoomFactor(1e30f);
    constexpr int kLimit = Region::kCoordinateLimit;
    EXPECT_EQ(huge.RegionScaled()->Box(), (IntRect{-kLimit, -kLimit, kLimit, kLimit}));

    // The outline is the scaled region's one-pixel border, moved.
    r.ZoomFactor(2.0f);
    Region outline = Region::Rect(2, 6, 10, 14).Frame(1, 1);
    outline.Offset(3, -1);
    EXPECT_EQ(r.Outline(3, -1), outline);
    EXPECT_TRUE(cBitRegion().Outline(0, 0).IsEmpty());
}

TEST(cBitRegion, BrushesMarchThroughTheDiagonalBandAndWrap) {
    cBitRegion r;
    EXPECT_EQ(r.CurrentPattern(), cBitRegion::Pattern({240, 120, 60, 30, 15, 135, 195, 225}));
    // Each brush is the one before it moved up a row, and brush 8 is brush 0.
    for (int k = 1; k <= 8; ++k) {
        r.RotateBrush();
        EXPECT_EQ(r.BrushIndex(), k % 8);
        for (std::size_t i = 0; i < 8; ++i)
            EXPECT_EQ(r.CurrentPattern()[i], cBitRegion::BrushPattern(k - 1)[(i + 1) % 8]) << k;
    }
}

TEST(cBitRegion, RegionSetTakesACopy) {
    cBitRegion r;
    r.ZoomFactor(2.0f);
    Region given = Region::Ellipse(0, 0, 9, 7);
    r.Region(given);
    given.Offset(5, 5);
    EXPECT_EQ(*r.Region(), Region::Ellipse(0, 0, 9, 7));
    EXPECT_EQ(r.GetData(), Region::Ellipse(0, 0, 9, 7).ToRgnData());
    EXPECT_EQ(r.RegionScaled()->Box(), (IntRect{0, 0, 16, 12}));
}

TEST(cBitRegion, SavedRegionLoadsBackWithTheSameRectangles) {
    test::TempFolder folder;
    cBitRegion r;
    r.CreateEllipse(10, 10, 90, 60, 2, false);
    r.CreateRect(50, 40, 120, 80, 3, false);
    const fs::path file = folder / "selection.rgn";
    r.SaveToFile(file);
    EXPECT_EQ(fs::file_size(file), 32 + 16 * r.Region()->RectCount());
    EXPECT_EQ(readFile(file), LittleEndian(r.GetData()));

    cBitRegion loaded;
    loaded.ZoomFactor(0.5f);
    loaded.LoadFromFile(file);
    EXPECT_EQ(*loaded.Region(), *r.Region());
    EXPECT_EQ(loaded.GetData(), r.GetData());
    EXPECT_EQ(loaded.RegionScaled()->Box().right, 60);

    // Saving over an existing file replaces it and leaves no temporary file behind.
    cBitRegion other;
    other.CreateRect(1, 2, 3, 4, 2, false);
    other.SaveToFile(file);
    EXPECT_EQ(fs::file_size(file), 48u);
    EXPECT_EQ(EntriesIn(folder.path()), 1);

    // Nothing ever selected saves as the empty region, which loads as an empty selection.
    cBitRegion().SaveToFile(file);
    EXPECT_EQ(readFile(file), LittleEndian({32, 1, 0, 0, 0, 0, 0, 0}));
    cBitRegion e;
    e.LoadFromFile(file);
    ASSERT_NE(e.Region(), nullptr);
    EXPECT_TRUE(e.IsEmptyRegion());
}

TEST(cBitRegion, BadRegionFilesAreRefusedAndChangeNothing) {
    test::TempFolder folder;
    const Longs good = {32, 1, 1, 16, 0, 0, 4, 4, 0, 0, 4, 4};
    const auto with = [&](std::size_t index, std::int32_t value) {
        Longs l = good;
        l[index] = value;
        return LittleEndian(l);
    };
    std::vector<std::uint8_t> oddLength = LittleEndian(good), extraRect = oddLength;
    oddLength.push_back(0);
    extraRect.resize(extraRect.size() + 16, 0);
    constexpr std::int32_t kMaxLong = std::numeric_limits<std::int32_t>::max();
    const std::pair<std::vector<std::uint8_t>, const char*> cases[] = {
        {{}, "shorter than the 32-byte header"},
        {LittleEndian({32, 1, 0, 0, 0, 0}), "shorter than the 32-byte header"},
        {oddLength, "not a multiple of 4"},
        {with(0, 40), "header size is 40"},
        {with(1, 2), "region type is 2"},
        {with(2, 2), "gives nCount 2, which needs 64 bytes, but it has 48"},
        {extraRect, "gives nCount 1, which needs 48 bytes, but it has 64"},
        {with(2, -1), "rectangle count -1"},
        {with(2, kMaxLong), "rectangle count"},
        {with(3, 17), "rectangle buffer size is 17"},
        {with(10, -1), "rectangle 1 (0, 0, -1, 4) is empty or inverted"},
        {with(11, 0), "is empty or inverted"},
        {with(10, (1 << 27) + 1), "outside the coordinate range"},
        {with(8, -kMaxLong - 1), "outside the coordinate range"},
        {with(6, kMaxLong), "bounding rectangle lies outside"},
    };
    cBitRegion r;
    r.Init(0, 0, 30, 30);
    r.CreateEllipse(2, 2, 20, 12, 2, false);
    r.ZoomFactor(1.5f);
    const Snapshot before = Take(r);
    for (const auto& [bytes, fault] : cases) {
        const fs::path file = folder / "bad.rgn";
        writeFile(file, bytes);
        try {
            r.LoadFromFile(file);
            ADD_FAILURE() << fault << ": accepted";
        } catch (const RegionFileError& e) {
            EXPECT_NE(std::string(e.what()).find(file.string()), std::string::npos) << e.what();
            EXPECT_NE(e.fault().find(fault), std::string::npos) << e.what();
        }
        EXPECT_EQ(Take(r), before) << fault;
    }
    for (const fs::path& p : {folder / "missing.rgn", folder.path()}) {
        EXPECT_THROW(r.LoadFromFile(p), RegionFileError) << p;
        EXPECT_EQ(Take(r), before);
    }
    // What is allowed: overlapping, unsorted rectangles, a bound that is not the box and
    // nRgnSize left 0. The file's longs are kept as they are.
    const Longs loose = {32, 1, 2, 0, 0, 0, 1, 1, 4, 0, 8, 3, 0, 1, 6, 2};
    writeFile(folder / "loose.rgn", LittleEndian(loose));
    r.LoadFromFile(folder / "loose.rgn");
    EXPECT_EQ(r.GetData(), loose);
    EXPECT_EQ(r.Region()->Rects(),
              std::vector<IntRect>({{4, 0, 8, 1}, {0, 1, 8, 2}, {4, 2, 8, 3}}));
}

TEST(cBitRegion, FailedSavesRaiseAndLeaveNoDebris) {
    test::TempFolder folder;
    cBitRegion r;
    r.CreateRect(0, 0, 4, 4, 2, false);
    EXPECT_THROW(r.SaveToFile(folder / "no such folder" / "x.rgn"), RegionFileError);
    // A folder standing where the file should go cannot be replaced.
    fs::create_directories(folder / "taken" / "inside");
    try {
        r.SaveToFile(folder / "taken");
        ADD_FAILURE() << "saved over a folder";
    } catch (const RegionFileError& e) {
        EXPECT_NE(std::string(e.what()).find("taken"), std::string::npos);
    }
    EXPECT_TRUE(fs::is_directory(folder / "taken" / "inside"));
    EXPECT_EQ(EntriesIn(folder.path()), 1);
}

} // namespace
} // namespace velmar
