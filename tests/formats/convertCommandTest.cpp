// velmar-cli convert: a picture from ImageMagick through BMP, TGA and PCX back to PNG keeps
// every pixel, and failures say so on stderr, exit 1 or 2 and leave nothing behind.
#include "formats/gateway.h"
#include "gatewayFiles.h"
#include "shell/cli/CliCommand.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/files.h"
#include "support/cliRuns.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace velmar::cli {
namespace {

using test::TempFolder;
using Outcome = test::CliOutcome;

Outcome convert(const std::vector<std::string>& args) {
    return test::runCommand(convertCommand(), args);
}

TEST(ConvertCommand, AChainThroughFourFormatsKeepsEveryPixel) {
    if (!test::haveImageMagick()) GTEST_SKIP() << "needs ImageMagick";
    TempFolder tmp;
    // The source comes from ImageMagick, so our reader is checked against another writer.
    ASSERT_EQ(test::run("convert -size 17x9 xc:white -fill '#c03010' -draw 'rectangle 2,1 8,6' "
                        "-fill '#20a0e0' -draw 'point 16,8' -fill '#fff000' -draw 'line 0,8 16,0' "
                        "-type truecolor -depth 8 '" +
                        (tmp / "start.png").string() + "'"),
              0);
    const auto start = test::readWithImageMagick(tmp / "start.png");
    ASSERT_TRUE(start);
    const char* chain[] = {"start.png", "one.bmp", "two.tga", "three.pcx", "end.png"};
    for (std::size_t i = 0; i + 1 < std::size(chain); ++i) {
        SCOPED_TRACE(chain[i + 1]);
        const Outcome o = convert({(tmp / chain[i]).string(), (tmp / chain[i + 1]).string()});
        ASSERT_EQ(o.code, 0) << o.err;
        EXPECT_EQ(o.err, "");
        // Each step read back by the gateway and by ImageMagick.
        const auto mine = LoadPictureFile(tmp / chain[i + 1], LoadSite::MainFrameOpen);
        ASSERT_TRUE(mine);
        EXPECT_EQ(test::largestDifference(*mine, *start), 0);
        if (std::string(chain[i + 1]) != "three.pcx") { // ImageMagick reads PCX runs per line
            const auto theirs = test::readWithImageMagick(tmp / chain[i + 1]);
            ASSERT_TRUE(theirs);
            EXPECT_EQ(test::largestDifference(*mine, *theirs), 0);
        }
    }
}

TEST(ConvertCommand, FailuresSaySoAndLeaveNothing) {
    TempFolder tmp;
    test::writeFile(tmp / "broken.png", std::vector<std::uint8_t>{0x89, 'P', 'N', 'G', 1, 2, 3});
    const struct {
        std::vector<std::string> args;
        int code;
        const char* err;
    } cases[] = {
        {{}, 2, "Usage: velmar-cli convert IN OUT\n"},
        {{"a.png"}, 2, "Usage: velmar-cli convert IN OUT\n"},
        {{"a.png", "b.png", "c.png"}, 2, "Usage: velmar-cli convert IN OUT\n"},
        {{(tmp / "broken.png").string(), (tmp / "out.bmp").string()},
         1,
         "Velmar Kestrin: warning: Unexpected error loading image\n"},
        {{(tmp / "absent.png").string(), (tmp / "out.bmp").string()},
         1,
         "Velmar Kestrin: warning: Unexpected error loading image\n"},
        {{(tmp / "broken.png").string(), (tmp / "out.xyz").string()},
         2,
         "velmar-cli convert: no picture format is written for the name '"},
    };
    for (const auto& c : cases) {
        const Outcome o = convert(c.args);
        EXPECT_EQ(o.code, c.code) << o.err;
        EXPECT_NE(o.err.find(c.err), std::string::npos) << o.err;
        EXPECT_EQ(o.out, "");
    }
    std::vector<std::string> left;
    for (const auto& e : std::filesystem::directory_iterator(tmp.path()))
        left.push_back(e.path().filename().string());
    EXPECT_EQ(left, std::vector<std::string>{"broken.png"});
}

TEST(ConvertCommand, SaveRouteMessagesReachTheTerminal) {
    TempFolder tmp;
    const Bits pic = test::patternPicture(3, 2);
    test::RecordingPort quiet;
    ASSERT_EQ(SaveDocumentPicture(pic, tmp / "in.bmp", "bmp", quiet), SaveResult::Written);

    const Outcome ico = convert({(tmp / "in.bmp").string(), (tmp / "out.ico").string()});
    EXPECT_EQ(ico.code, 1);
    EXPECT_EQ(ico.err, "Velmar Kestrin: This facility is currently turned Off!\n"
                       "velmar-cli convert: nothing was written to '" +
                           (tmp / "out.ico").string() + "'.\n");
    EXPECT_FALSE(std::filesystem::exists(tmp / "out.ico"));

    // A PNM name goes to the pnm writer, which writes the 24-bit form beside it.
    const Outcome pgm = convert({(tmp / "in.bmp").string(), (tmp / "out.PGM").string()});
    EXPECT_EQ(pgm.code, 0);
    EXPECT_TRUE(pgm.err.starts_with("Collection of ASCII based bitmap: PBM, PGM and PPM:"));
    EXPECT_TRUE(std::filesystem::exists(tmp / "out.ppm"));
    EXPECT_FALSE(std::filesystem::exists(tmp / "out.PGM"));

    const Outcome nowhere =
        convert({(tmp / "in.bmp").string(), (tmp / "missing" / "out.png").string()});
    EXPECT_EQ(nowhere.code, 1);
    EXPECT_EQ(nowhere.err, "Internal Error: error: There was an error while saving! Please "
                           "Restart Velmar's Kestrin\n");
}

} // namespace
} // namespace velmar::cli
