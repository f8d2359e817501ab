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

} // namespace
} // namespace velmar
