#include "formats/AnimatedGif.h"

#include "formats/gifFixtures.h"
#include "support/TempFolder.h"
#include "support/files.h"

#include <gif_lib.h>
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace velmar {
namespace {

// Red as 'R', green 'G', blue 'B', black 'K', white 'W', the test background (yellow) 'Y'.
std::string row(const Bits& b, int y) {
    std::string s;
    for (int x = 0; x < b.Width(); ++x) {
        const int r = b(2, x, y), g = b(1, x, y), bl = b(0, x, y);
        s += r == 255 && g == 0 && bl == 0     ? 'R'
             : r == 0 && g == 255 && bl == 0   ? 'G'
             : r == 0 && g == 0 && bl == 255   ? 'B'
             : r == 0 && g == 0 && bl == 0     ? 'K'
             : r == 255 && g == 255 && bl == 0 ? 'Y'
             : r == 255 && g == 255            ? 'W'
                                               : '?';
    }
    return s;
}

TEST(AnimatedGif, FramesAreComposedAsAPlayerShowsThem) {
    const std::vector<FrameOptions> frames = {
        {0, 0, 4, 2, {1, 1, 1, 1, 1, 1, 1, 1}, DISPOSE_DO_NOT, NO_TRANSPARENT_COLOR, 10},
        // Transparent index 0 lets the red below show; then the frame is restored to background.
        {1, 0, 2, 2, {2, 0, 0, 2}, DISPOSE_BACKGROUND, 0, 20},
        // Drawn, shown, then taken back to what was under it.
        {0, 1, 4, 1, {3, 3, 3, 3}, DISPOSE_PREVIOUS, NO_TRANSPARENT_COLOR, 0},
        {3, 0, 1, 1, {0}, DISPOSE_DO_NOT, NO_TRANSPARENT_COLOR, 150},
    };
    AnimatedGif gif;
    gif.SetBackground(0x00FFFF); // yellow as a colour value: red low byte
    ASSERT_TRUE(gif.LoadBytes(encode(frames))) << gif.LastError();
    ASSERT_EQ(gif.FrameCount(), 4);
    EXPECT_EQ(row(gif.Frame(0), 0), "RRRR");
    EXPECT_EQ(row(gif.Frame(1), 0), "RGRR");
    EXPECT_EQ(row(gif.Frame(1), 1), "RRGR");
    EXPECT_EQ(row(gif.Frame(2), 0), "RYYR"); // frame 1's area went back to the background
    EXPECT_EQ(row(gif.Frame(2), 1), "BBBB");
    EXPECT_EQ(row(gif.Frame(3), 1), "RYYR"); // frame 2 was taken back
    EXPECT_EQ(row(gif.Frame(3), 0), "RYYK");
    EXPECT_EQ(gif.Delay(0), 100);
    EXPECT_EQ(gif.Delay(1), 200);
    EXPECT_EQ(gif.Delay(2), 0);
    EXPECT_EQ(gif.DisplayTime(2), 100);
    EXPECT_EQ(gif.DisplayTime(3), 1500);

    // A new background colour shows through at once.
    gif.SetBackground(0xFFFFFF);
    EXPECT_EQ(row(gif.Frame(2), 0), "RWWR");
}

TEST(AnimatedGif, InterlacedFramesComeOutInRowOrder) {
    FrameOptions tall{
        0, 0, 1, 10, {0, 1, 2, 3, 0, 1, 2, 3, 0, 1}, DISPOSE_DO_NOT, NO_TRANSPARENT_COLOR, 5, true};
    AnimatedGif gif;
    ASSERT_TRUE(gif.LoadBytes(encode({tall}, 1, 10))) << gif.LastError();
    std::string column;
    for (int y = 0; y < 10; ++y)
        column += row(gif.Frame(0), y);
    EXPECT_EQ(column, "KRGBKRGBKR");
}

TEST(AnimatedGif, BrokenFilesAreRefusedWithAReason) {
    const std::vector<std::uint8_t> good = encode({{0, 0, 4, 2, {1, 2, 3, 0, 1, 2, 3, 0}}});
    AnimatedGif gif;
    ASSERT_TRUE(gif.LoadBytes(good));
    const std::vector<std::vector<std::uint8_t>> bad = {
        {},
        {'G', 'I', 'F', '8', '9', 'a'},
        std::vector<std::uint8_t>(good.begin(), good.begin() + 30),
        std::vector<std::uint8_t>(good.begin(), good.end() - 6),
        {'P', 'N', 'G', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
        encode({{0, 0, 1, 1, {1}}}, 65535, 65535), // a one-pixel frame on a 4-gigapixel screen
    };
    for (const auto& bytes : bad) {
        EXPECT_FALSE(gif.LoadBytes(bytes)) << bytes.size();
        EXPECT_FALSE(gif.LastError().empty());
        EXPECT_EQ(gif.FrameCount(), 0);
    }
    EXPECT_FALSE(gif.Load("/no/such/file.gif"));
    EXPECT_TRUE(gif.Load("")); // an empty name unloads
    EXPECT_EQ(gif.FrameCount(), 0);
}

// Real animations from other writers, composed by ImageMagick as a reference we did not write:
// every frame we show must equal its coalesced frame over the same background.
TEST(AnimatedGif, CorpusAnimationsMatchAnIndependentPlayer) {
    const char* env = std::getenv("VELMAR_CORPUS");
    const std::filesystem::path corpus = env ? env : "../shared/corpus";
    if (!std::filesystem::is_directory(corpus / "images/gif") || !test::haveProgram("convert"))
        GTEST_SKIP() << "needs the shared corpus and ImageMagick";
    test::TempFolder dir;
    int compared = 0;
    for (const auto& entry : std::filesystem::directory_iterator(corpus / "images/gif")) {
        AnimatedGif gif;
        gif.SetBackground(0x00FFFF);
        ASSERT_TRUE(gif.Load(entry.path())) << entry.path() << ": " << gif.LastError();
        const auto raw = dir / "frames.rgb";
        ASSERT_EQ(
            test::run("convert '" + entry.path().string() +
                      "' -coalesce -background yellow -alpha remove -alpha off -depth 8 rgb:" +
                      raw.string() + " 2>/dev/null"),
            0);
        const std::vector<std::uint8_t> im = test::readFile(raw);
        const Bits& first = gif.Frame(0);
        const std::size_t per =
            static_cast<std::size_t>(first.Width()) * static_cast<std::size_t>(first.Height()) * 3;
        const int frames = std::min<int>(gif.FrameCount(), static_cast<int>(im.size() / per));
        for (int k = 0; k < frames; ++k) {
            const Bits& f = gif.Frame(k);
            for (int y = 0; y < f.Height(); ++y)
                for (int x = 0; x < f.Width(); ++x)
                    for (int c = 0; c < 3; ++c)
                        ASSERT_EQ(
                            im[k * per + (static_cast<std::size_t>(y) * f.Width() + x) * 3 + c],
                            f(2 - c, x, y))
                            << entry.path() << " frame " << k << " at " << x << "," << y;
        }
        ++compared;
    }
    EXPECT_GT(compared, 10);
}

} // namespace
} // namespace velmar
