// velmar-cli run: whole sessions from a script to saved files.
#include "formats/gateway.h"
#include "support/TempFolder.h"
#include "support/cliRuns.h"

#include <gtest/gtest.h>

#include <fstream>

namespace velmar {
namespace {

using test::TempFolder;

struct Script {
    TempFolder folder;
    test::CliOutcome run(const std::string& text) {
        const auto path = folder / "script.txt";
        std::ofstream(path) << text;
        return test::runCli({"run", "--app-folder", (folder / "app").string(), path.string()});
    }
    Bits load(const std::string& name) {
        std::optional<Bits> b = LoadPictureFile(folder / name, LoadSite::Document);
        EXPECT_TRUE(b.has_value()) << name;
        return b ? std::move(*b) : Bits();
    }
};

TEST(Script, PaintFilterUndoAndSave) {
    Script s;
    const std::string out = (s.folder / "out.png").string();
    const test::CliOutcome r = s.run("# a stroke inside a selection, a filter taken back\n"
                                     "NEW 40 30\n"
                                     "SELECT rect 0 0 20 30 new\n"
                                     "SET ForeColor 0x0000FF\n"
                                     "SET BrushSize 1\n"
                                     "SET BrushPressure 100\n"
                                     "SET BrushContinuous -1\n"
                                     "TOOL Brush 5 10 35 10\n"
                                     "INVERT\n"
                                     "UNDO\n"
                                     "SAVEAS " +
                                     out + "\n");
    ASSERT_EQ(r.code, 0) << r.err << r.out;
    const Bits b = s.load("out.png");
    ASSERT_EQ(b.Width(), 40);
    // Red where the one-pixel brush went inside the selection, black beyond it and elsewhere.
    EXPECT_EQ(b(2, 5, 10), 255);
    EXPECT_EQ(b(2, 19, 10), 255);
    EXPECT_EQ(b(0, 19, 10), 0);
    EXPECT_EQ(b(2, 20, 10), 0);
    EXPECT_EQ(b(2, 5, 11), 0);
    // The session's undo files went with its document.
    EXPECT_TRUE(std::filesystem::is_empty(s.folder / "app/Temp"));
    EXPECT_TRUE(std::filesystem::exists(s.folder / "app/Velmar.dat"));
}

TEST(Script, ShapesFillAndPickedColour) {
    Script s;
    const std::string out = (s.folder / "shape.bmp").string();
    const test::CliOutcome r = s.run("NEW 20 20\n"
                                     "SELECT all\n"
                                     "SET ForeColor 0xFFFFFF\n"
                                     "SET ShapeKind 3\n"
                                     "SET ShapePressure 100\n"
                                     "TOOL Shape 2 2 9 9 5 5\n"
                                     "SET ForeColor 0x00FF00\n"
                                     "SET FillTolerance 0\n"
                                     "SET FillPressure 100\n"
                                     "TOOL Fill 10 10 10 10\n"
                                     "SAVEAS " +
                                     out + "\n");
    ASSERT_EQ(r.code, 0) << r.err << r.out;
    const Bits b = s.load("shape.bmp");
    // Only the last rectangle of the drag (2,2)-(5,5) stays: the earlier one was restored
    // away. The fill from (10, 10) flooded the black outside it green, not its inside.
    EXPECT_GT(b(2, 2, 4), 200);
    EXPECT_EQ(b(1, 9, 9), 255);
    EXPECT_EQ(b(2, 9, 9), 0);
    EXPECT_EQ(b(1, 3, 3), 0);
}

TEST(Script, FailuresStopTheRun) {
    struct Case {
        const char* script;
        const char* printed; // a line of the output
    } cases[] = {
        {"OPEN /no/such/file.jpg\n", "Velmar Kestrin: Unexpected error loading image"},
        {"NEW 1 1\n", "Velmar Kestrin: Minimum size: 2 x 2"},
        {"NEW 10 10\nSELECT none\nCROP\n", "Crop: Nothing selected"},
        {"NEW 10 10\nIMAGEMERGING\n", ""},
        {"FROBNICATE\n", ""},
    };
    for (const Case& c : cases) {
        Script s;
        const test::CliOutcome r = s.run(c.script);
        EXPECT_EQ(r.code, 1) << c.script;
        EXPECT_NE(r.out.find(c.printed), std::string::npos) << c.script << r.out;
        EXPECT_NE(r.err.find("velmar-cli run: line "), std::string::npos) << r.err;
    }
}

TEST(Script, DialogWordsTakeTheirValues) {
    Script s;
    const std::string out = (s.folder / "sized.png").string();
    const test::CliOutcome r = s.run("NEW 30 20\n"
                                     "IMAGESIZE 60 40\n"
                                     "IMAGEROTATE 90 plain\n"
                                     "CANVASSIZE 50 50\n"
                                     "SAVEAS " +
                                     out + "\n");
    ASSERT_EQ(r.code, 0) << r.err << r.out;
    const Bits b = s.load("sized.png");
    EXPECT_EQ(b.Width(), 50);
    EXPECT_EQ(b.Height(), 50);
    // The help documents the grammar.
    EXPECT_NE(test::runCli({"--help"}).out.find("TOOL NAME X1 Y1"), std::string::npos);
}

} // namespace
} // namespace velmar
