// The size dialogs' checks and arithmetic.
#include "shell/sizeDialogs.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

TEST(SizeDialogs, KeepProportionsAndPresets) {
    ProportionalSize size(640, 480);
    size.KeepProportions = true;
    size.SetWidth(100); // 100 * 0.75 = 75
    EXPECT_EQ(size.Height(), 75);
    size.SetHeight(50); // 50 / 0.75 = 66.67 -> 67
    EXPECT_EQ(size.Width(), 67);

    int w = 0, h = 0;
    EXPECT_TRUE(ParseSizeEntry("1024 x 768", w, h));
    EXPECT_EQ(w, 1024);
    EXPECT_EQ(h, 768);
    EXPECT_FALSE(ParseSizeEntry("<Custom>", w, h));
}

TEST(SizeDialogs, RotateStepsStayWithinHalfATurn) {
    test::TempFolder folder;
    test::RecordingPort port;
    Application app(folder.path(), port, SetupRecord{});
    fRotate r(app);
    r.Minus45(); // (0 - 45) mod 180 = -45
    EXPECT_EQ(r.Degrees, -45);
    r.Degrees = 150;
    r.Plus45(); // 195 mod 180 = 15
    EXPECT_EQ(r.Degrees, 15);
}

TEST(SizeDialogs, NewChecksItsMinimum) {
    test::TempFolder folder;
    test::RecordingPort port;
    std::filesystem::create_directories(folder / "Temp");
    Application app(folder.path(), port, SetupRecord{});
    app.Setup.ImagesFolder = "/pictures/";
    fNew refused(app);
    refused.Size.SetWidth(1);
    refused.Size.SetHeight(1);
    EXPECT_FALSE(refused.OK());
    EXPECT_EQ(port.texts(), std::vector<std::string>{"Minimum size: 2 x 2"});
    EXPECT_TRUE(app.Documents().empty());

    fNew taken(app);
    taken.cbDefault(4); // "640 x 480"
    taken.Size.SetWidth(2);
    taken.Size.SetHeight(2);
    EXPECT_TRUE(taken.OK());
    ASSERT_EQ(app.Documents().size(), 1u);
    EXPECT_EQ(app.ActiveImage()->Caption, "/pictures/New.bmp");
    EXPECT_EQ(app.ActiveImage()->UndoPos(), 1);
}

// "90 degrees clockwise" moves (x, y) of a W by H picture to (H - 1 - y, x); the flips come
// after the turn.
TEST(SizeDialogs, OrientationTurnsClockwiseThenFlips) {
    Bits picture(3, 2);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            picture(0, x, y) = static_cast<std::uint8_t>(10 * y + x);
    const auto orient = [&](int orientation, bool flipV, bool flipH) {
        cBitFilter f;
        f.Bits(picture.clone());
        return OrientPicture(f, orientation, flipV, flipH);
    };
    const Bits once = orient(1, false, false);
    ASSERT_EQ(once.Width(), 2);
    ASSERT_EQ(once.Height(), 3);
    EXPECT_EQ(once(0, 1, 0), 0);  // (0, 0)
    EXPECT_EQ(once(0, 0, 0), 10); // (0, 1)
    EXPECT_EQ(once(0, 0, 2), 12); // (2, 1)
    const Bits back = orient(3, false, false);
    EXPECT_EQ(back(0, 0, 2), 0); // counter-clockwise: (0, 0) to the bottom-left
    const Bits half = orient(2, false, true);
    // Half a turn, then mirrored sideways, is a flip upside down.
    EXPECT_EQ(half(0, 0, 1), 0);
    EXPECT_EQ(half(0, 2, 0), 12);
    EXPECT_EQ(orient(0, true, false)(0, 0, 0), 10);
}

} // namespace
} // namespace velmar
