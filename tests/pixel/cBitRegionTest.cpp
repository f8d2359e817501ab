#include "pixel/cBitRegion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include <unistd.h>

namespace velmar {
namespace {

namespace fs = std::filesystem;
using Longs = std::vector<std::int32_t>;

// A fresh folder per test, removed afterwards.
class TempFolder {
  public:
    TempFolder() {
        static int counter = 0;
        const auto* info = testing::UnitTest::GetInstance()->current_test_info();
        path_ =
            fs::path(testing::TempDir()) / ("velmar-region-" + std::to_string(::getpid()) + "-" +
                                            std::to_string(counter++) + "-" + info->name());
        fs::remove_all(path_);
        fs::create_directories(path_);
    }
    ~TempFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

std::vector<std::uint8_t> LittleEndian(const Longs& longs) {
    std::vector<std::uint8_t> out;
    for (std::int32_t v : longs)
        for (int i = 0; i < 4; ++i)
            out.push_back(static_cast<std::uint8_t>(static_cast<std::uint32_t>(v) >> (8 * i)));
    return out;
}

void WriteBytes(const fs::path& p, const std::vector<std::uint8_t>& bytes) {
    std::ofstream out(p, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
}

std::vector<std::uint8_t> ReadBytes(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Everything observable about the object, to show that a refused operation changed nothing.
struct Snapshot {
    bool hasRegion, hasScaled, hasMain;
    std::vector<IntRect> region, scaled, main;
    Longs data, scaledData;
    std::size_t count;
    float zoom;
    int brush;
    bool operator==(const Snapshot&) const = default;
};

Snapshot Take(const cBitRegion& r) {
    const auto rects = [](const Region* p) { return p ? p->Rects() : std::vector<IntRect>{}; };
    return {r.Region() != nullptr,
            r.RegionScaled() != nullptr,
            r.RegionMain() != nullptr,
            rects(r.Region()),
            rects(r.RegionScaled()),
            rects(r.RegionMain()),
            r.GetData(),
            r.GetScaledData(),
            r.GetDataCount(),
            r.ZoomFactor(),
            r.BrushIndex()};
}

TEST(cBitRegion, StartsWithNothingAtZoomOne) {
    const cBitRegion r;
    EXPECT_EQ(r.ZoomFactor(), 1.0f);
    EXPECT_EQ(r.BrushIndex(), 0);
    EXPECT_EQ(r.Region(), nullptr);
    EXPECT_EQ(r.RegionMain(), nullptr);
    EXPECT_EQ(r.RegionScaled(), nullptr);
    EXPECT_EQ(r.GetDataCount(), 0u);
    EXPECT_TRUE(r.GetData().empty());
    EXPECT_TRUE(r.IsEmptyRegion());
}

TEST(cBitRegion, FirstShapeBecomesTheSelectionWhateverTheModeExceptDiff) {
    struct Case {
        int mode;
        bool selects;
    };
    const Case cases[] = {{1, true}, {2, true}, {3, true}, {4, false},
                          {5, true}, {0, true}, {9, true}};
    for (const Case& c : cases) {
        cBitRegion r;
        r.Init(0, 0, 100, 100);
        r.CreateEllipse(10, 10, 30, 20, c.mode, false);
        if (c.selects) {
            ASSERT_NE(r.Region(), nullptr) << c.mode;
            EXPECT_EQ(*r.Region(), Region::Ellipse(10, 10, 30, 20)) << c.mode;
            EXPECT_EQ(r.GetData(), Region::Ellipse(10, 10, 30, 20).ToRgnData());
        } else {
            EXPECT_EQ(r.Region(), nullptr);
            EXPECT_EQ(r.GetDataCount(), 0u);
            EXPECT_TRUE(r.IsEmptyRegion());
        }
    }
    cBitRegion r;
    r.CreateRect(0, 0, 5, 5, 4, false);
    EXPECT_EQ(r.Region(), nullptr);
}

TEST(cBitRegion, LaterShapesCombineByMode) {
    const Region first = Region::Rect(0, 0, 10, 10);
    const Region second = Region::Rect(5, 5, 15, 15);
    struct Case {
        int mode;
        Region expected;
    };
    const Case cases[] = {
        {1, Region::Combine(first, second, CombineMode::And)},
        {2, Region::Combine(first, second, CombineMode::Or)},
        {3, Region::Combine(first, second, CombineMode::Xor)},
        {4, Region::Combine(first, second, CombineMode::Diff)},
        {5, first},
        {0, first}, // not a mode: the selection stays
        {6, first},
    };
    for (const Case& c : cases) {
        cBitRegion r;
        r.Init(0, 0, 100, 100);
        r.CreateRect(0, 0, 10, 10, 2, false);
        r.CreateRect(5, 5, 15, 15, c.mode, false);
        ASSERT_NE(r.Region(), nullptr);
        EXPECT_EQ(*r.Region(), c.expected) << c.mode;
        EXPECT_EQ(r.GetData(), c.expected.ToRgnData()) << c.mode;
        EXPECT_EQ(*r.RegionScaled(), c.expected) << c.mode;
    }
}

TEST(cBitRegion, CropFlagCutsToTheImage) {
    cBitRegion r;
    r.Init(0, 0, 20, 20);
    r.CreateRect(-5, -5, 10, 10, 2, false);
    EXPECT_EQ(*r.Region(), Region::Rect(-5, -5, 10, 10));
    r.CreateEllipse(12, 12, 30, 30, 2, true);
    const Region expected =
        Region::Combine(Region::Combine(Region::Rect(-5, -5, 10, 10),
                                        Region::Ellipse(12, 12, 30, 30), CombineMode::Or),
                        Region::Rect(0, 0, 20, 20), CombineMode::And);
    EXPECT_EQ(*r.Region(), expected);
    EXPECT_EQ(r.GetData(), expected.ToRgnData());

    // Crop alone cuts the selection; the arrays follow at the next rebuild.
    cBitRegion c;
    c.Init(0, 0, 20, 20);
    c.CreateRect(-5, 0, 10, 10, 2, false);
    const Longs before = c.GetData();
    c.Crop();
    EXPECT_EQ(*c.Region(), Region::Rect(0, 0, 10, 10));
    EXPECT_EQ(c.GetData(), before);
    c.ZoomFactor(1.0f);
    EXPECT_EQ(*c.RegionScaled(), Region::Rect(-5, 0, 10, 10));
}

TEST(cBitRegion, PolygonTakesAlternatingLongsAndIgnoresShortArrays) {
    cBitRegion r;
    r.Init(0, 0, 50, 50);
    r.CreatePolygon(Longs{1, 2}, 2, false);
    r.CreatePolygon(Longs{}, 2, false);
    EXPECT_EQ(r.Region(), nullptr);
    EXPECT_EQ(r.GetDataCount(), 0u);
    // Seven longs are three points; the odd one is not used.
    r.CreatePolygon(Longs{0, 0, 8, 0, 0, 8, 99}, 2, false);
    ASSERT_NE(r.Region(), nullptr);
    const std::vector<IntPoint> triangle = {{0, 0}, {8, 0}, {0, 8}};
    EXPECT_EQ(*r.Region(), Region::Polygon(triangle, PolyFillMode::Winding));
    // The fill is WINDING: a square traced twice stays selected.
    cBitRegion twice;
    twice.CreatePolygon(Longs{0, 0, 3, 0, 3, 3, 0, 3, 0, 0, 3, 0, 3, 3, 0, 3}, 2, false);
    EXPECT_EQ(*twice.Region(), Region::Rect(0, 0, 3, 3));
}

TEST(cBitRegion, InvertSelectsAllFromNothingAndTwiceRestores) {
    cBitRegion r;
    r.Init(0, 0, 40, 30);
    r.Invert();
    ASSERT_NE(r.Region(), nullptr);
    EXPECT_EQ(*r.Region(), Region::Rect(0, 0, 40, 30));
    EXPECT_EQ(r.GetData(), Region::Rect(0, 0, 40, 30).ToRgnData());

    cBitRegion s;
    s.Init(0, 0, 40, 30);
    s.CreateEllipse(5, 5, 25, 20, 2, false);
    const Region selection = *s.Region();
    s.Invert();
    EXPECT_EQ(*s.Region(),
              Region::Combine(Region::Rect(0, 0, 40, 30), selection, CombineMode::Xor));
    EXPECT_FALSE(s.Region()->Contains(10, 10));
    EXPECT_TRUE(s.Region()->Contains(0, 0));
    s.Invert();
    EXPECT_EQ(*s.Region(), selection);
    EXPECT_EQ(s.GetData(), selection.ToRgnData());

    // A selection that exists but is empty also inverts to everything.
    cBitRegion e;
    e.Init(0, 0, 10, 10);
    e.CreateRect(0, 0, 5, 5, 2, false);
    e.CreateRect(6, 6, 9, 9, 1, false);
    ASSERT_TRUE(e.IsEmptyRegion());
    e.Invert();
    EXPECT_EQ(*e.Region(), Region::Rect(0, 0, 10, 10));
}

TEST(cBitRegion, ZoomFactorStoresNonNegativeValuesOnly) {
    struct Case {
        float set;
        float read;
    };
    const Case cases[] = {{-1.0f, 0.01f},
                          {-0.0001f, 0.01f},
                          {0.0f, 0.0f},
                          {2.5f, 2.5f},
                          {std::numeric_limits<float>::quiet_NaN(), 0.01f}};
    for (const Case& c : cases) {
        cBitRegion r;
        r.ZoomFactor(c.set);
        EXPECT_EQ(r.ZoomFactor(), c.read) << c.set;
    }
}

TEST(cBitRegion, ScaledCopyRoundsHalvesToEvenAndKeepsTheHeader) {
    cBitRegion r;
    r.Init(0, 0, 100, 100);
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
    EXPECT_EQ(*r.RegionScaled(), Region::Rect(1, 3, 5, 7));

    // A zoom past the coordinate range pins the copy at its edges.
    cBitRegion huge;
    huge.CreateRect(-1, -2, 3, 4, 2, false);
    huge.ZoomFactor(1e30f);
    constexpr int kLimit = Region::kCoordinateLimit;
    EXPECT_EQ(huge.RegionScaled()->Box(), (IntRect{-kLimit, -kLimit, kLimit, kLimit}));

    // The outline is the scaled region's one-pixel border, moved.
    r.ZoomFactor(2.0f);
    EXPECT_EQ(r.Outline(3, -1), [] {
        Region f = Region::Rect(2, 6, 10, 14).Frame(1, 1);
        f.Offset(3, -1);
        return f;
    }());
    EXPECT_TRUE(cBitRegion().Outline(0, 0).IsEmpty());
}

TEST(cBitRegion, BoundRectLeavesItsOutputsAloneWhenEmpty) {
    cBitRegion r;
    r.Init(0, 0, 10, 10);
    int l = -7, t = -8, rt = -9, b = -10;
    EXPECT_FALSE(r.BoundRect(l, t, rt, b));
    r.CreateRect(0, 0, 3, 3, 2, false);
    r.CreateRect(5, 5, 8, 8, 1, false);
    EXPECT_FALSE(r.BoundRect(l, t, rt, b));
    EXPECT_EQ(l, -7);
    EXPECT_EQ(t, -8);
    EXPECT_EQ(rt, -9);
    EXPECT_EQ(b, -10);
    r.CreateEllipse(2, 1, 9, 6, 2, false);
    EXPECT_TRUE(r.BoundRect(l, t, rt, b));
    EXPECT_EQ((IntRect{l, t, rt, b}), (IntRect{2, 1, 8, 5}));
}

TEST(cBitRegion, OffsetMovesOnlyTheSelection) {
    cBitRegion r;
    r.Init(0, 0, 50, 50);
    r.CreateRect(1, 1, 5, 5, 2, false);
    const Longs data = r.GetData();
    r.Offset(10, 20);
    EXPECT_EQ(*r.Region(), Region::Rect(11, 21, 15, 25));
    EXPECT_EQ(r.GetData(), data);
    EXPECT_EQ(*r.RegionScaled(), Region::Rect(1, 1, 5, 5));
    cBitRegion none;
    none.Offset(1, 1);
    EXPECT_EQ(none.Region(), nullptr);
}

TEST(cBitRegion, ClearKeepsZoomAndBrush) {
    cBitRegion r;
    r.Init(0, 0, 50, 50);
    r.CreateRect(1, 1, 5, 5, 2, false);
    r.ZoomFactor(3.0f);
    r.RotateBrush();
    r.RotateBrush();
    r.Clear();
    EXPECT_EQ(r.Region(), nullptr);
    EXPECT_EQ(r.RegionScaled(), nullptr);
    EXPECT_EQ(r.RegionMain(), nullptr);
    EXPECT_EQ(r.GetDataCount(), 0u);
    EXPECT_TRUE(r.GetScaledData().empty());
    EXPECT_EQ(r.ZoomFactor(), 3.0f);
    EXPECT_EQ(r.BrushIndex(), 2);
    // Init clears too, and sets the image bounds.
    r.CreateRect(1, 1, 5, 5, 2, false);
    r.Init(0, 0, 8, 6);
    EXPECT_EQ(r.Region(), nullptr);
    EXPECT_EQ(*r.RegionMain(), Region::Rect(0, 0, 8, 6));
}

TEST(cBitRegion, BrushesMarchThroughTheDiagonalBand) {
    cBitRegion r;
    EXPECT_EQ(r.CurrentPattern(), cBitRegion::Pattern({240, 120, 60, 30, 15, 135, 195, 225}));
    r.RotateBrush();
    EXPECT_EQ(r.CurrentPattern(), cBitRegion::Pattern({120, 60, 30, 15, 135, 195, 225, 240}));
    for (int i = 1; i < 7; ++i)
        r.RotateBrush();
    EXPECT_EQ(r.BrushIndex(), 7);
    EXPECT_EQ(r.CurrentPattern(), cBitRegion::Pattern({225, 240, 120, 60, 30, 15, 135, 195}));
    r.RotateBrush();
    EXPECT_EQ(r.BrushIndex(), 0);
    // Each brush is the one before it moved up a row: the band marches.
    for (int k = 0; k < 8; ++k)
        for (int i = 0; i < 8; ++i)
            EXPECT_EQ(cBitRegion::BrushPattern(k + 1)[static_cast<std::size_t>(i)],
                      cBitRegion::BrushPattern(k)[static_cast<std::size_t>((i + 1) % 8)]);
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
    TempFolder folder;
    cBitRegion r;
    r.Init(0, 0, 200, 200);
    r.CreateEllipse(10, 10, 90, 60, 2, false);
    r.CreateRect(50, 40, 120, 80, 3, false);
    const fs::path file = folder.path() / "selection.rgn";
    r.SaveToFile(file);
    const std::size_t nCount = r.Region()->RectCount();
    EXPECT_EQ(fs::file_size(file), 32 + 16 * nCount);
    EXPECT_EQ(ReadBytes(file), LittleEndian(r.GetData()));

    cBitRegion loaded;
    loaded.ZoomFactor(0.5f);
    loaded.LoadFromFile(file);
    EXPECT_EQ(loaded.Region()->Rects(), r.Region()->Rects());
    EXPECT_EQ(loaded.GetData(), r.GetData());
    EXPECT_EQ(loaded.RegionScaled()->Box().right, 60);

    // Saving over an existing file replaces it and leaves no temporary file behind.
    cBitRegion other;
    other.CreateRect(1, 2, 3, 4, 2, false);
    other.SaveToFile(file);
    EXPECT_EQ(fs::file_size(file), 48u);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 1);

    // Nothing ever selected saves as the empty region, which loads as an empty selection.
    const fs::path empty = folder.path() / "empty.rgn";
    cBitRegion().SaveToFile(empty);
    EXPECT_EQ(ReadBytes(empty), LittleEndian({32, 1, 0, 0, 0, 0, 0, 0}));
    cBitRegion e;
    e.LoadFromFile(empty);
    ASSERT_NE(e.Region(), nullptr);
    EXPECT_TRUE(e.IsEmptyRegion());
}

TEST(cBitRegion, LoadingKeepsTheFileLongsAndAcceptsAnyRectangleOrder) {
    TempFolder folder;
    const fs::path file = folder.path() / "loose.rgn";
    // Overlapping and unsorted, a bound that is not the box, nRgnSize left 0.
    const Longs longs = {32, 1, 2, 0, 0, 0, 1, 1, 4, 0, 8, 3, 0, 1, 6, 2};
    WriteBytes(file, LittleEndian(longs));
    cBitRegion r;
    r.LoadFromFile(file);
    EXPECT_EQ(r.GetData(), longs);
    EXPECT_EQ(r.Region()->Rects(),
              std::vector<IntRect>({{4, 0, 8, 1}, {0, 1, 8, 2}, {4, 2, 8, 3}}));
}

TEST(cBitRegion, BadRegionFilesAreRefusedAndChangeNothing) {
    TempFolder folder;
    const Longs good = {32, 1, 1, 16, 0, 0, 4, 4, 0, 0, 4, 4};
    const auto with = [&](std::size_t index, std::int32_t value) {
        Longs l = good;
        l[index] = value;
        return LittleEndian(l);
    };
    std::vector<std::uint8_t> oddLength = LittleEndian(good);
    oddLength.push_back(0);
    std::vector<std::uint8_t> extraRect = LittleEndian(good);
    extraRect.resize(extraRect.size() + 16, 0);
    struct Case {
        const char* name;
        std::vector<std::uint8_t> bytes;
        const char* fault;
    };
    const Case cases[] = {
        {"empty file", {}, "shorter than the 32-byte header"},
        {"half header", LittleEndian({32, 1, 0, 0, 0, 0}), "shorter than the 32-byte header"},
        {"odd length", oddLength, "not a multiple of 4"},
        {"header size", with(0, 40), "header size is 40"},
        {"type", with(1, 2), "region type is 2"},
        {"count too large", with(2, 2), "gives nCount 2, which needs 64 bytes, but it has 48"},
        {"count too small", extraRect, "gives nCount 1, which needs 48 bytes, but it has 64"},
        {"negative count", with(2, -1), "rectangle count -1"},
        {"huge count", with(2, std::numeric_limits<std::int32_t>::max()), "rectangle count"},
        {"buffer size", with(3, 17), "rectangle buffer size is 17"},
        {"inverted rectangle", with(10, -1), "rectangle 1 (0, 0, -1, 4) is empty or inverted"},
        {"empty rectangle", with(11, 0), "is empty or inverted"},
        {"absurd coordinate", with(10, (1 << 27) + 1), "outside the coordinate range"},
        {"absurd negative", with(8, std::numeric_limits<std::int32_t>::min()),
         "outside the coordinate range"},
        {"absurd bound", with(6, std::numeric_limits<std::int32_t>::max()),
         "bounding rectangle lies outside"},
    };
    cBitRegion r;
    r.Init(0, 0, 30, 30);
    r.CreateEllipse(2, 2, 20, 12, 2, false);
    r.ZoomFactor(1.5f);
    const Snapshot before = Take(r);
    for (const Case& c : cases) {
        const fs::path file = folder.path() / (std::string(c.name) + ".rgn");
        WriteBytes(file, c.bytes);
        try {
            r.LoadFromFile(file);
            ADD_FAILURE() << c.name << ": accepted";
        } catch (const RegionFileError& e) {
            EXPECT_NE(std::string(e.what()).find(file.string()), std::string::npos) << e.what();
            EXPECT_NE(e.fault().find(c.fault), std::string::npos) << c.name << ": " << e.what();
        }
        EXPECT_EQ(Take(r), before) << c.name;
        // The byte parser is the same code.
        EXPECT_THROW(ParseRegionFile(c.bytes, c.name), RegionFileError) << c.name;
    }
    for (const fs::path& p : {folder.path() / "missing.rgn", folder.path()}) {
        EXPECT_THROW(r.LoadFromFile(p), RegionFileError) << p;
        EXPECT_EQ(Take(r), before);
    }
    // The good file itself loads.
    WriteBytes(folder.path() / "good.rgn", LittleEndian(good));
    r.LoadFromFile(folder.path() / "good.rgn");
    EXPECT_EQ(*r.Region(), Region::Rect(0, 0, 4, 4));
}

TEST(cBitRegion, FailedSavesRaiseAndLeaveNoDebris) {
    TempFolder folder;
    cBitRegion r;
    r.CreateRect(0, 0, 4, 4, 2, false);
    EXPECT_THROW(r.SaveToFile(folder.path() / "no such folder" / "x.rgn"), RegionFileError);
    // A folder standing where the file should go cannot be replaced.
    fs::create_directories(folder.path() / "taken" / "inside");
    try {
        r.SaveToFile(folder.path() / "taken");
        ADD_FAILURE() << "saved over a folder";
    } catch (const RegionFileError& e) {
        EXPECT_NE(std::string(e.what()).find("taken"), std::string::npos);
    }
    EXPECT_TRUE(fs::is_directory(folder.path() / "taken" / "inside"));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 1);
}

} // namespace
} // namespace velmar
