#include "formats/fgif.h"

#include "formats/gateway.h"
#include "formats/gifFixtures.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/cliRuns.h"
#include "support/files.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

std::vector<FrameOptions> threeFrames() {
    return {
        {0, 0, 4, 2, {1, 2, 3, 0, 0, 3, 2, 1}},
        {1, 0, 2, 2, {2, 0, 0, 2}, DISPOSE_BACKGROUND, 0, 20},
        {0, 1, 4, 1, {3, 3, 1, 1}, DISPOSE_DO_NOT, NO_TRANSPARENT_COLOR, 30},
    };
}

struct Window {
    test::TempFolder temp;
    test::RecordingPort port;
    fgif window{temp.path(), port};
    explicit Window(const std::vector<FrameOptions>& frames) {
        test::writeFile(temp / "anim.gif", encode(frames));
        EXPECT_TRUE(window.Browse(temp / "anim.gif"));
    }
};

TEST(fgif, ExtractWritesEveryComposedFrameUnderItsNumberedName) {
    Window w(threeFrames());
    ASSERT_EQ(w.window.AniGif.FrameCount(), 3);
    ASSERT_TRUE(w.window.MenuGIF("EXTRACT"));
    for (int i = 1; i <= 3; ++i) {
        const auto file = w.temp / ("temp000" + std::to_string(i) + ".gif");
        AnimatedGif back;
        ASSERT_TRUE(back.Load(file)) << file << ": " << back.LastError();
        EXPECT_TRUE(test::sameColours(back.Frame(0), w.window.AniGif.Frame(i - 1)))
            << "frame " << i;
    }
    // A second extraction replaces the same files; nothing else appears.
    EXPECT_EQ(w.window.Extract().size(), 3u);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(w.temp.path()), {}), 4);

    Window still({{0, 0, 4, 2, {1, 1, 1, 1, 2, 2, 2, 2}}});
    EXPECT_TRUE(still.window.Extract().empty());
    EXPECT_FALSE(std::filesystem::exists(still.temp / "temp0001.gif"));
}

TEST(fgif, SaveFrameFollowsTheSaveRouteWithThePnmRule) {
    Window w(threeFrames());
    w.window.SelectFrame(2);
    ASSERT_TRUE(w.window.MenuGIF("SAVE", w.temp / "frame.ppm"));
    // The letters were taken off and the route put back those of the depth: 24 bits, ppm.
    ASSERT_TRUE(std::filesystem::exists(w.temp / "frame.ppm"));
    EXPECT_EQ(w.port.messages.back().title, "Collection of ASCII based bitmap");
    const auto loaded = LoadPictureFile(w.temp / "frame.ppm", LoadSite::Document);
    ASSERT_TRUE(loaded.has_value());
    EXPECT_TRUE(test::sameColours(*loaded, w.window.AniGif.Frame(1)));

    w.port.messages.clear();
    EXPECT_TRUE(w.window.SaveFrame(w.temp / "frame.BMP"));
    EXPECT_TRUE(w.port.messages.empty());

    EXPECT_FALSE(w.window.SaveFrame(w.temp / "no-folder" / "frame.png"));
    ASSERT_FALSE(w.port.messages.empty());
    EXPECT_EQ(w.port.messages.back().text, "Unexpected error saving image");
    EXPECT_EQ(w.port.messages.back().title, "Velmar Kestrin");
    EXPECT_EQ(w.port.messages.back().icon, MsgIcon::Warning);

    w.port.messages.clear(); // ico says it is turned off, and that is all
    EXPECT_FALSE(w.window.SaveFrame(w.temp / "frame.ico"));
    ASSERT_EQ(w.port.messages.size(), 1u);
    EXPECT_EQ(w.port.messages[0].text, "This facility is currently turned Off!");

    w.port.messages.clear(); // a cancelled dialog does nothing
    EXPECT_TRUE(w.window.MenuGIF("SAVE", {}));
    EXPECT_TRUE(w.port.messages.empty());
}

TEST(fgif, PlaybackAndKeyWords) {
    Window w(threeFrames());
    EXPECT_FALSE(w.window.MenuGIF("FROBNICATE"));
    EXPECT_FALSE(w.window.Browse(w.temp / "picture.png"));

    w.window.MenuGIF("PLAY");
    ASSERT_TRUE(w.window.Playing());
    for (int i = 0; i < 4; ++i)
        w.window.Advance(); // looping by default: 1, 2, 0, 1
    EXPECT_EQ(w.window.ShownFrame(), 1);
    w.window.MenuGIF("LOOP");
    w.window.Advance();
    w.window.Advance(); // past the last frame without looping: stop there
    EXPECT_EQ(w.window.ShownFrame(), 2);
    EXPECT_FALSE(w.window.Playing());
    w.window.MenuGIF("NEXT");
    EXPECT_EQ(w.window.ShownFrame(), 0);

    w.window.MenuGIF("UNLOAD");
    EXPECT_EQ(w.window.AniGif.FrameCount(), 0);
    w.window.MenuGIF("PLAY");
    EXPECT_FALSE(w.window.Playing());
}

} // namespace
} // namespace velmar
