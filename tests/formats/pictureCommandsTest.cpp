// velmar-cli depth, encode, gif-frames and gif-frame: each does what its window does, and a
// failure exits non-zero with a message and leaves no file.
#include "formats/AnimatedGif.h"
#include "formats/EuroDepth.h"
#include "formats/gateway.h"
#include "formats/gifFixtures.h"
#include "gatewayFiles.h"
#include "shell/cli/CliCommand.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/files.h"
#include "support/cliRuns.h"

#include <gtest/gtest.h>

#include <sstream>

namespace velmar {
namespace {

using Outcome = test::CliOutcome;
const auto cli = test::runCli;

int largestDifference(const Bits& a, const Bits& b) {
    if (a.Width() != b.Width() || a.Height() != b.Height()) return 256;
    int worst = 0;
    for (int y = 0; y < a.Height(); ++y)
        for (int x = 0; x < a.Width(); ++x)
            for (int c = 0; c < 3; ++c)
                worst = std::max(worst, std::abs(a(c, x, y) - b(c, x, y)));
    return worst;
}

struct Files {
    test::TempFolder tmp;
    std::string path(const std::string& name) const { return (tmp / name).string(); }
    Files() {
        const Bits pic = test::smoothPicture(23, 11);
        test::RecordingPort port;
        EXPECT_EQ(SaveDocumentPicture(pic, tmp / "in.png", "png", port), SaveResult::Written);
    }
};

TEST(PictureCommands, DepthReducesAsTheWindowDoes) {
    Files f;
    const Outcome o = cli({"depth", "4", f.path("in.png"), f.path("out.bmp")});
    ASSERT_EQ(o.code, 0) << o.err;
    const auto in = LoadPictureFile(f.path("in.png"), LoadSite::Document);
    const auto out = LoadPictureFile(f.path("out.bmp"), LoadSite::Document);
    ASSERT_TRUE(in && out);
    Bits expected = in->clone();
    EuroDepth().SetDepth_04Bit(expected);
    EXPECT_EQ(largestDifference(*out, expected), 0);

    EXPECT_EQ(cli({"depth", "15", f.path("in.png"), f.path("out.ppm")}).code, 0);
    EXPECT_TRUE(std::filesystem::exists(f.path("out.ppm")));

    EXPECT_EQ(cli({"depth", "12", f.path("in.png"), f.path("x.bmp")}).code, 2);
    EXPECT_EQ(cli({"depth", "8", f.path("in.png"), f.path("x.xyz")}).code, 2);
    const Outcome missing = cli({"depth", "8", f.path("none.png"), f.path("x.bmp")});
    EXPECT_EQ(missing.code, 1);
    EXPECT_NE(missing.err.find("Unexpected error loading image"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(f.path("x.bmp")));
}

TEST(PictureCommands, EncodeTakesEveryOptionOfTheConverter) {
    Files f;
    Outcome o =
        cli({"encode", f.path("in.png"), f.path("a.gif"), "--kind", "gif-interlaced", "--bits", "4",
             "--palette", "0x8210", "--dither", "2", "--flip-h", "--invert"});
    ASSERT_EQ(o.code, 0) << o.err;
    AnimatedGif gif;
    ASSERT_TRUE(gif.Load(f.path("a.gif")));
    EXPECT_EQ(gif.Frame(0).Width(), 23);

    o = cli(
        {"encode", f.path("in.png"), f.path("b.bmp"), "--kind", "bmp", "--bits", "8", "--grey"});
    ASSERT_EQ(o.code, 0) << o.err;
    const auto grey = LoadPictureFile(f.path("b.bmp"), LoadSite::Document);
    ASSERT_TRUE(grey);
    EXPECT_EQ((*grey)(0, 5, 5), (*grey)(2, 5, 5));

    // The converter's own refusal comes through; usage errors exit 2; nothing is left.
    o = cli({"encode", f.path("in.png"), f.path("c.gif"), "--kind", "gif", "--bits", "24"});
    EXPECT_EQ(o.code, 1);
    EXPECT_FALSE(o.err.empty());
    EXPECT_EQ(
        cli({"encode", f.path("in.png"), f.path("c.gif"), "--kind", "png", "--bits", "8"}).code, 2);
    EXPECT_EQ(cli({"encode", f.path("in.png"), f.path("c.gif"), "--bits", "8"}).code, 2);
    EXPECT_EQ(
        cli({"encode", f.path("in.png"), f.path("c.gif"), "--kind", "gif", "--bits", "x"}).code, 2);
    EXPECT_FALSE(std::filesystem::exists(f.path("c.gif")));
}

TEST(PictureCommands, GifFramesAndGifFrame) {
    test::TempFolder tmp;
    const std::vector<FrameOptions> frames = {{0, 0, 4, 2, {1, 2, 3, 0, 0, 3, 2, 1}},
                                           {1, 0, 2, 2, {2, 2, 1, 1}},
                                           {0, 1, 4, 1, {3, 3, 3, 3}}};
    test::writeFile(tmp / "anim.gif", encode(frames));
    std::filesystem::create_directory(tmp / "out");

    Outcome o = cli({"gif-frames", (tmp / "anim.gif").string(), (tmp / "out").string()});
    ASSERT_EQ(o.code, 0) << o.err;
    EXPECT_EQ(o.out, (tmp / "out" / "temp0001.gif").string() + "\n" +
                         (tmp / "out" / "temp0002.gif").string() + "\n" +
                         (tmp / "out" / "temp0003.gif").string() + "\n");

    o = cli({"gif-frame", (tmp / "anim.gif").string(), "2", (tmp / "two.png").string()});
    ASSERT_EQ(o.code, 0) << o.err;
    AnimatedGif gif;
    ASSERT_TRUE(gif.Load(tmp / "anim.gif"));
    const auto two = LoadPictureFile(tmp / "two.png", LoadSite::Document);
    ASSERT_TRUE(two);
    EXPECT_EQ(largestDifference(*two, gif.Frame(1)), 0);

    EXPECT_EQ(cli({"gif-frame", (tmp / "anim.gif").string(), "4", (tmp / "x.png").string()}).code,
              1);
    EXPECT_EQ(cli({"gif-frame", (tmp / "anim.gif").string(), "0", (tmp / "x.png").string()}).code,
              2);
    EXPECT_EQ(cli({"gif-frames", (tmp / "none.gif").string(), (tmp / "out").string()}).code, 1);
    EXPECT_EQ(cli({"gif-frames", (tmp / "anim.gif").string(), (tmp / "nofolder").string()}).code,
              1);
    EXPECT_FALSE(std::filesystem::exists(tmp / "x.png"));
}

} // namespace
} // namespace velmar
