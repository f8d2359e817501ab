// The application object headless: recent list, captions, closing, routing of open and save,
// dead words, zoom words and crop, with the exact texts the user sees.
#include "shell/Application.h"
#include "document/tools.h"
#include "formats/gateway.h"
#include "shell/dispatch.h"
#include "shell/startup.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <fstream>

namespace velmar {
namespace {

using test::RecordingPort;
using test::TempFolder;

struct Session {
    TempFolder folder;
    RecordingPort port;
    Application app{folder.path(), port, SetupRecord{}};

    Session() { std::filesystem::create_directories(folder / "Temp"); }

    // A picture file of w by h in the folder, every pixel (b, g, r).
    std::string picture(const std::string& name, int w, int h, int b = 10, int g = 20, int r = 30) {
        Bits bits(w, h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                bits(0, x, y) = static_cast<std::uint8_t>(b);
                bits(1, x, y) = static_cast<std::uint8_t>(g);
                bits(2, x, y) = static_cast<std::uint8_t>(r);
            }
        const std::string path = (folder / name).string();
        EXPECT_EQ(SaveDocumentPicture(bits, path, ExtensionOf(path), port), SaveResult::Written);
        return path;
    }
    std::string recent(int i) const {
        return app.Setup.RecentFiles[static_cast<std::size_t>(i)].Trimmed();
    }
};

TEST(Application, RecentListKeepsItsOrder) {
    Session s;
    std::vector<std::string> files;
    for (int i = 0; i < 9; ++i)
        files.push_back(s.picture("p" + std::to_string(i) + ".bmp", 2, 2));
    for (int i = 0; i < 8; ++i)
        s.app.AddRecent(files[static_cast<std::size_t>(i)]);
    // Blank entries fill in order; a name already there does not move.
    EXPECT_EQ(s.recent(0), files[0]);
    EXPECT_EQ(s.recent(7), files[7]);
    s.app.AddRecent(files[5]);
    EXPECT_EQ(s.recent(0), files[0]);
    EXPECT_EQ(s.recent(5), files[5]);
    // A ninth pushes everything down and the oldest out.
    s.app.AddRecent(files[8]);
    EXPECT_EQ(s.recent(0), files[8]);
    EXPECT_EQ(s.recent(1), files[0]);
    EXPECT_EQ(s.recent(7), files[6]);

    // A file that has gone is blanked; with entry 0 gone its item says "Empty", disabled.
    std::filesystem::remove(files[8]);
    s.app.FillRecent();
    EXPECT_EQ(s.recent(0), "");
    EXPECT_EQ(s.app.RecentMenu()[0].caption, "Empty");
    EXPECT_TRUE(s.app.RecentMenu()[0].visible);
    EXPECT_FALSE(s.app.RecentMenu()[0].enabled);
    EXPECT_TRUE(s.app.RecentMenu()[1].enabled);
}

TEST(Application, OpeningCaptionsAndClosing) {
    Session s;
    const std::string file = s.picture("a.bmp", 4, 3);
    ASSERT_TRUE(s.app.User_File(file));
    ASSERT_TRUE(s.app.User_File(file));
    ASSERT_EQ(s.app.Documents().size(), 2u);
    EXPECT_EQ(s.app.Documents()[0]->Caption, file);
    EXPECT_EQ(s.app.Documents()[1]->Caption, file + "[1]");
    EXPECT_EQ(s.app.Documents()[1]->Tag, "a.bmp");
    // The first undo state is on disk for each, once its write is through: documents 0 and 1,
    // state 0.
    for (const auto& doc : s.app.Documents())
        doc->FinishUndoWrite();
    EXPECT_TRUE(std::filesystem::exists(s.folder / "Temp/b000000.dat"));
    EXPECT_TRUE(std::filesystem::exists(s.folder / "Temp/b000100.dat"));

    // A changed document asks; Cancel keeps it open.
    s.app.Setup.AskToSave = kFlagTrue;
    fImage& doc = *s.app.Documents()[1];
    s.app.Activate(doc);
    s.app.Command("INVERT");
    s.port.replies = {MsgResult::Cancel};
    EXPECT_FALSE(s.app.CloseDocument(doc));
    ASSERT_EQ(s.port.messages.size(), 1u);
    EXPECT_EQ(s.port.messages[0].text,
              "This image has changed.\n" + file + "[1]\nDo you want to save it ?");
    EXPECT_EQ(s.port.messages[0].buttons, MsgButtons::YesNoCancel);
    EXPECT_EQ(s.port.messages[0].icon, MsgIcon::Question);
    // Yes closes without a save (the word it sends has no case); the undo files go.
    EXPECT_TRUE(s.app.CloseDocument(doc));
    EXPECT_FALSE(std::filesystem::exists(s.folder / "Temp/b000100.dat"));
    // The unchanged one never asks; after the last one the status bar is empty.
    s.app.Status.Set(StatusPanels::Pos, "X:1 Y:1");
    EXPECT_TRUE(s.app.CloseDocument(*s.app.Documents()[0]));
    EXPECT_EQ(s.port.messages.size(), 2u);
    EXPECT_EQ(s.app.Status.text[StatusPanels::Pos], "");

    // A file that is no picture: the message, and no document stays.
    std::ofstream(s.folder / "bad.png") << "not a picture";
    EXPECT_FALSE(s.app.User_File((s.folder / "bad.png").string()));
    EXPECT_EQ(s.port.messages.back().text, "Unexpected error loading image");
    EXPECT_EQ(s.port.messages.back().icon, MsgIcon::Warning);
    EXPECT_TRUE(s.app.Documents().empty());
}

TEST(Application, SaveRoutes) {
    Session s;
    const std::string jpeg = s.picture("photo.jpeg", 4, 4);
    ASSERT_TRUE(s.app.User_File(jpeg));
    // "jpeg" is not among the direct extensions: SAVE asks for a name.
    s.app.Command("SAVE");
    ASSERT_EQ(s.port.dialogs.size(), 1u);
    EXPECT_EQ(s.port.dialogs[0].title, "Save as");
    EXPECT_EQ(s.port.dialogs[0].filters.front().substr(0, 30), "All Supported graphic formats ");

    // ppm goes through the pnm writer and ends as ppm, with its note.
    s.port.saveAnswer = (s.folder / "copy.ppm").string();
    s.app.Command("SAVEAS");
    EXPECT_TRUE(std::filesystem::exists(s.folder / "copy.ppm"));
    EXPECT_EQ(s.port.messages.back().title, kPnmCaption);
    EXPECT_FALSE(s.app.ActiveImage()->Changed);
    EXPECT_EQ(s.app.ActiveImage()->Caption, (s.folder / "copy.ppm").string());

    // ico writes nothing, says it is turned off, and the document counts as saved.
    s.app.Command("INVERT");
    s.port.saveAnswer = (s.folder / "icon.ico").string();
    s.app.Command("SAVEAS");
    EXPECT_FALSE(std::filesystem::exists(s.folder / "icon.ico"));
    EXPECT_EQ(s.port.messages.back().text, kTurnedOffText);
    EXPECT_FALSE(s.app.ActiveImage()->Changed);
}

TEST(Application, WordsWithoutEffectAndTheirMessages) {
    Session s;
    // No document: document words are dropped silently.
    EXPECT_TRUE(s.app.Command("UNDO"));
    EXPECT_TRUE(s.app.Command("HEAVYEMBOSS"));
    EXPECT_TRUE(s.port.messages.empty());
    EXPECT_FALSE(s.app.Command("NOSUCHWORD"));
    s.app.Command("PRINTPREVIEW");
    EXPECT_EQ(s.port.texts(), std::vector<std::string>{kNotAvailableNewVersion});
    // Dialog words show their window.
    s.app.Command("NEW");
    s.app.Command("OPTIONS");
    ASSERT_EQ(s.port.forms.size(), 2u);
    EXPECT_EQ(s.port.forms[0].first, "fNew");
    EXPECT_EQ(s.port.forms[1].first, "fPreferences");
}

TEST(Application, ZoomWordsAndCrop) {
    Session s;
    ASSERT_TRUE(s.app.User_File(s.picture("z.bmp", 40, 30)));
    fImage& doc = *s.app.ActiveImage();
    s.app.Command("300");
    EXPECT_EQ(doc.ZoomFactor(), 3);
    EXPECT_EQ(s.app.Status.text[StatusPanels::Zoom], "3 : 1");
    // "Zoom -" shrinks the picture itself, and it can be undone.
    s.app.Command("50");
    EXPECT_EQ(doc.PictureWidth(), 20);
    EXPECT_EQ(doc.PictureHeight(), 15);
    s.app.Command("UNDO");
    EXPECT_EQ(doc.PictureWidth(), 40);

    struct CropCase {
        int left, top, right, bottom;
        const char* message; // nullptr: cropped
    } cases[] = {{5, 5, 6, 6, "Minimum size: 2 x 2"}, {4, 3, 14, 9, nullptr}};
    for (const CropCase& c : cases) {
        doc.BitsRegion().Init(0, 0, doc.PictureWidth(), doc.PictureHeight());
        doc.BitsRegion().CreateRect(c.left, c.top, c.right, c.bottom, 5, true);
        const std::size_t before = s.port.messages.size();
        s.app.Command("CROP");
        if (c.message) {
            ASSERT_EQ(s.port.messages.size(), before + 1);
            EXPECT_EQ(s.port.messages.back().text, c.message);
            EXPECT_EQ(s.port.messages.back().title, "Crop");
        } else {
            EXPECT_EQ(doc.PictureWidth(), 10);
            EXPECT_EQ(doc.PictureHeight(), 6);
            EXPECT_EQ(s.app.Status.text[StatusPanels::Size], "10x6");
        }
    }
    doc.BitsRegion().Init(0, 0, doc.PictureWidth(), doc.PictureHeight());
    s.app.Command("CROP");
    EXPECT_EQ(s.port.messages.back().text, "Nothing selected");
}

TEST(Application, StartUpWarnsOfASecondInstanceAndOpensOnlyAnExistingFile) {
    TempFolder folder;
    RecordingPort first, second;
    auto one = StartUp(folder.path(), first, folder.path());
    EXPECT_TRUE(first.messages.empty());
    auto two = StartUp(folder.path(), second, folder.path());
    ASSERT_EQ(second.messages.size(), 1u);
    EXPECT_EQ(second.messages[0].text, "Velmar Kestrin is already running!");
    EXPECT_EQ(second.messages[0].icon, MsgIcon::Information);
    for (const char* folderName : {"Stamps", "Templates", "Temp", "Images"})
        EXPECT_TRUE(std::filesystem::is_directory(folder / folderName)) << folderName;

    // The command line is one name as it stands: quoted, or two names, it opens nothing.
    const std::string picture = (folder / "Images/Velmar.bmp").string();
    OpenCommandLine(*one, "\"" + picture + "\"");
    OpenCommandLine(*one, picture + " " + picture);
    EXPECT_TRUE(one->Documents().empty());
    OpenCommandLine(*one, picture);
    EXPECT_EQ(one->Documents().size(), 1u);

    // The record reaches the disk at the unload, with the frame's size.
    QueryUnloadFrame(*one, {9000, 6000, false, true});
    UnloadFrame(*one);
    auto three = StartUp(folder.path(), second, folder.path());
    EXPECT_EQ(three->Setup.FrameWidth, 9000);
    EXPECT_TRUE(IsSet(three->Setup.FrameMaximized));
    EXPECT_EQ(three->Setup.RecentFiles[0].Trimmed(), picture);
}

// Paste floats the clipboard's picture: it follows the mouse at PasteOpacity, a mouse up lays
// it down with one undo state, and a second Paste (or any drop) takes an unlaid float away.
TEST(Application, PasteFloatsUntilTheMouseLetsGo) {
    Session s;
    ASSERT_TRUE(s.app.User_File(s.picture("p.bmp", 8, 8, 0, 0, 0)));
    fImage& doc = *s.app.ActiveImage();
    s.port.clipboard = ClipboardPicture{2, 2, std::vector<std::uint8_t>(16, 200)};
    s.app.Setup.PasteOpacity = 50;
    s.app.Setup.Tool = "Brush";

    s.app.Command("PASTE");
    EXPECT_TRUE(IsSet(s.app.Setup.PasteActive));
    EXPECT_EQ(s.app.Setup.Tool.Trimmed(), "");
    EXPECT_EQ(doc.Bits()(2, 0, 0), 100); // shown at the corner at once: half of 200 over 0

    s.app.Tools().MouseMove(doc, 5, 5, false);
    EXPECT_EQ(doc.Bits()(2, 0, 0), 0); // the float left the corner
    EXPECT_EQ(doc.Bits()(2, 4, 4), 100);
    EXPECT_EQ(doc.Bits()(2, 5, 5), 100);
    EXPECT_EQ(doc.UndoPos(), 1);

    s.app.Tools().MouseDown(doc, 3, 3);
    s.app.Tools().MouseUp(doc, 3, 3);
    EXPECT_FALSE(IsSet(s.app.Setup.PasteActive));
    EXPECT_EQ(doc.Bits()(2, 2, 2), 100);
    EXPECT_EQ(doc.Bits()(2, 4, 4), 0);
    EXPECT_EQ(doc.UndoPos(), 2);
    EXPECT_TRUE(doc.Changed);

    s.app.Command("PASTE");
    s.app.Tools().MouseMove(doc, 6, 6, false);
    s.app.Command("COPY"); // drops the float without laying it down
    EXPECT_FALSE(IsSet(s.app.Setup.PasteActive));
    EXPECT_EQ(doc.Bits()(2, 6, 6), 0);
    EXPECT_EQ(doc.UndoPos(), 2);
}

TEST(Application, AnimatedGifWordAsksForItsFile) {
    Session s;
    s.app.Command("GIF"); // cancelled: nothing opens
    ASSERT_EQ(s.port.dialogs.size(), 1u);
    EXPECT_EQ(s.port.dialogs[0].title, "Open Animated GIF :: Velmar Kestrin v2");
    EXPECT_EQ(s.port.dialogs[0].filters.at(0), "Animated CompuServe GIF|*.gif");
    EXPECT_TRUE(s.port.forms.empty());
    s.port.openAnswer = {"/pictures/run.gif"};
    s.app.Command("GIF");
    ASSERT_EQ(s.port.forms.size(), 1u);
    EXPECT_EQ(s.port.forms[0].first, "fgif");
    EXPECT_EQ(s.app.FormFile, "/pictures/run.gif");
}

} // namespace
} // namespace velmar
