// The three dispatchers of the main frame. Every menu entry and tool bar button arrives here as
// a key word; the first literal that matches runs, and a word none matches does nothing.
#include "shell/dispatch.h"

#include "document/tools.h"
#include "filters/documentGeometry.h"
#include "filters/filterCommands.h"
#include "shell/Application.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace velmar {

namespace {

constexpr Dispatcher S = Dispatcher::Static;
constexpr Dispatcher U = Dispatcher::Utilities;
constexpr Dispatcher D = Dispatcher::Document;

constexpr KeyWord kKeyWords[] = {
    // File
    {"NEW", S},
    {"OPEN", S},
    {"GIF", S},
    {"CLOSE", D},
    {"SAVE", S},
    {"SAVEAS", S},
    {"IMAGESAVEOPTIONS", D},
    {"ACQUIRETWAIN", S},
    {"SELECTSOURCE", S},
    {"PRINTPREVIEW", S},
    {"PRINTERSETUP", S},
    {"PRINT", S},
    // Edit
    {"UNDO", D},
    {"REDO", D},
    {"CUT", D},
    {"COPY", D},
    {"PASTE", D},
    {"CREATENEWCOPY", D},
    {"COPYIMAGETOCLIPBOARD", D},
    {"CREATEFROMCLIPBOARD", D},
    {"CROP", D},
    {"IMAGEPROPERTIES", D},
    {"OPTIONS", S},
    // Adjust
    {"IMAGESIZE", D},
    {"CANVASSIZE", D},
    {"IMAGEORIENTATION", D},
    {"IMAGEROTATE", D},
    {"RESTORE", D},
    {"200", D},
    {"300", D},
    {"400", D},
    {"500", D},
    {"600", D},
    {"700", D},
    {"50", D},
    {"33", D},
    {"25", D},
    {"20", D},
    {"15", D},
    {"10", D},
    {"ORIGINAL", D},
    // Tools
    {"IMAGEMERGING", D},
    {"IMAGETEXTURES", D},
    {"IMAGERESOLUTION", D},
    {"IMAGECOLORDEPTH", D},
    {"TEXTTOOLS", D},
    // Utilities
    {"CAPTUREDESKTOP", D},
    {"CAPTUREFOREGROUND", D},
    {"CAPTUREBACKGROUND", D},
    {"WTILE", D},
    {"WCENTER", D},
    {"WSTRETCH", D},
    {"THUMB", U},
    {"IMAGEEXE", D},
    {"SCREENSAVER", U},
    {"PDF", U},
    {"BATCH", U},
    {"MAP", U},
    {"ICONEXTRACTOR", U},
    // Views
    {"TILEHORIZONTALLY", S},
    {"TILEVERTICALLY", S},
    {"CASCADE", S},
    {"RESET", S},
    // Words without a caption that the dispatchers still know.
    {"HELPBAR", S},
    {"TEXTBAR", S},
    {"TOOLSBAR", S},
    {"MENUBAR", S},
    {"FILTERSBAR", S},
    {"COLORSBAR", S},
    {"EFFECTSBAR", S},
    {"STANDARDBAR", S},
    {"GRADIENTBOX", S},
    {"TEMPLATEBOX", S},
    {"STATUSBAR", S},
    {"MNUFLAT", S},
    {"MNUSOLIDBAR", S},
    {"MNU3DWATER", S},
    {"MNU3DMETALLIC", S},
    {"MNULIGHTGRADIENT", S},
    {"MNUHEAVYGRADIENT", S},
    {"MNUSTANDARD", S},
    {"MNUDELUXE", S},
    {"MNUWHITE", S},
    {"MNUSILVER", S},
    {"INDEX", S},
    {"FAQ", S},
    {"TUTORIALS", S},
    {"SUPPORT", S},
    {"HOMEPAGE", S},
    {"ABOUT", S},
    {"CUSTOMCAPTURE", S},
    {"PASTELAYERSBOX", S},
    {"IMAGESCALE", D},
    {"IMAGECAPTURER", D},
    {"EXTRACTICON", D},
};

// Words whose whole action is to show a window of the program.
struct FormWord {
    std::string_view key;
    std::string_view form;
};
constexpr FormWord kFormWords[] = {
    {"NEW", "fNew"},
    {"SELECTSOURCE", "SELECTSOURCE"},
    {"PRINTERSETUP", "PRINTERSETUP"},
    {"PRINT", "fPrint"},
    {"OPTIONS", "fPreferences"},
    {"PASTELAYERSBOX", "fPaste"},
    {"TILEHORIZONTALLY", "TILEHORIZONTALLY"},
    {"TILEVERTICALLY", "TILEVERTICALLY"},
    {"CASCADE", "CASCADE"},
    {"RESET", "RESET"},
    {"IMAGESAVEOPTIONS", "FWeb"},
    {"IMAGESIZE", "fSize"},
    {"CANVASSIZE", "fCanvas"},
    {"IMAGEORIENTATION", "fOrientation"},
    {"IMAGEROTATE", "fRotate"},
    {"IMAGEMERGING", "fLayers"},
    {"IMAGETEXTURES", "fTexturize"},
    {"IMAGERESOLUTION", "fResolution"},
    {"IMAGECOLORDEPTH", "fColorDepth"},
    {"TEXTTOOLS", "fToolTextures"},
    {"IMAGEEXE", "fExe"},
    {"CAPTUREDESKTOP", "CAPTUREDESKTOP"},
    {"CAPTUREFOREGROUND", "CAPTUREFOREGROUND"},
    {"CAPTUREBACKGROUND", "CAPTUREBACKGROUND"},
    {"WTILE", "WTILE"},
    {"WCENTER", "WCENTER"},
    {"WSTRETCH", "WSTRETCH"},
    {"THUMB", "fThumbs"},
    {"SCREENSAVER", "fScreenSaver"},
    {"PDF", "fPDF"},
    {"BATCH", "fBatchSave"},
    {"MAP", "fMap"},
    {"ICONEXTRACTOR", "frmIconEx"},
};

std::string_view formOf(std::string_view key) {
    for (const FormWord& f : kFormWords)
        if (f.key == key) return f.form;
    return {};
}

const KeyWord* findKey(std::string_view key) {
    for (const KeyWord& k : kKeyWords)
        if (k.key == key) return &k;
    return nullptr;
}

int numberOf(std::string_view key) {
    int n = 0;
    std::from_chars(key.data(), key.data() + key.size(), n);
    return n;
}

} // namespace

std::span<const KeyWord> KeyWords() {
    return kKeyWords;
}

bool Application::Command(std::string_view key) {
    if (const KeyWord* k = findKey(key)) {
        switch (k->dispatcher) {
        case Dispatcher::Static:
            MenuStatic(key);
            break;
        case Dispatcher::Utilities:
            MenuUtilities(key);
            break;
        case Dispatcher::Document:
            Mmenu(key);
            break;
        }
        return true;
    }
    if (FindDirectCommand(key) || FindDialogWord(key) || FindGeometryWord(key)) {
        Mmenu(key);
        return true;
    }
    return false;
}

void Application::MenuStatic(std::string_view key) {
    if (key == "OPEN") {
        Open();
    } else if (key == "SAVE") {
        Save();
    } else if (key == "SAVEAS") {
        SaveAs();
    } else if (key == "ACQUIRETWAIN") {
        if (!port_.ShowForm("ACQUIRETWAIN"))
            port_.MsgBox(kNoScanner, MsgIcon::None, MsgButtons::Ok, kAppTitle);
    } else if (key == "GIF") {
        openAnimatedGif();
    } else if (key == "PRINTPREVIEW") {
        port_.MsgBox(kNotAvailableNewVersion, MsgIcon::None, MsgButtons::Ok, kAppTitle);
    } else if (const std::string_view form = formOf(key); !form.empty()) {
        port_.ShowForm(form);
    }
    // The bar and menu-style words without a caption are tested and ignored.
}

// The frames window opens on the animated GIF the user picks; a cancel ends the command.
void Application::openAnimatedGif() {
    const FileDialogSetup setup{"Open Animated GIF :: Velmar Kestrin v2",
                                {"Animated CompuServe GIF|*.gif"},
                                Setup.ImagesFolder.Trimmed(),
                                "*.gif"};
    const std::vector<std::string> files = port_.OpenFileDialog(setup, false);
    if (files.empty()) return;
    FormFile = files.front();
    port_.ShowForm("fgif");
}

void Application::MenuUtilities(std::string_view key) {
    if (const std::string_view form = formOf(key); !form.empty()) port_.ShowForm(form);
}

void Application::Mmenu(std::string_view key) {
    fImage* doc = nullptr;
    if (key == "CREATEFROMCLIPBOARD") {
        createFromClipboard();
        return;
    }
    if (!GetActiveImage(doc)) return;

    if (key == "CLOSE") {
        CloseDocument(*doc);
    } else if (key == "UNDO") {
        doc->UndoBits();
    } else if (key == "REDO") {
        doc->RedoBits();
    } else if (key == "CUT" || key == "COPY") {
        copySelection(key == "CUT");
    } else if (key == "PASTE") {
        Tools().DropPaste();
        Setup.Tool = "";
        beginPaste(*doc);
    } else if (key == "CREATENEWCOPY") {
        createNewCopy();
    } else if (key == "COPYIMAGETOCLIPBOARD") {
        BitsCopyToClipboard(*doc);
    } else if (key == "CROP") {
        Crop();
    } else if (key == "200" || key == "300" || key == "400" || key == "500" || key == "600" ||
               key == "700") {
        doc->ZoomFactor(numberOf(key) / 100);
        Status.Set(StatusPanels::Zoom, std::to_string(doc->ZoomFactor()) + " : 1");
    } else if (key == "50" || key == "33" || key == "25" || key == "20" || key == "15" ||
               key == "10") {
        ZoomImage(numberOf(key));
    } else if (key == "ORIGINAL") {
        doc->ZoomFactor(1);
        Status.Set(StatusPanels::Zoom, "1 : 1");
        ZoomImage(100);
    } else if (const std::optional<GeometryWord> word = FindGeometryWord(key)) {
        const velmar::Bits& picture = doc->Bits();
        if (RunOnActive([&](cBitFilter& f) { return ApplyGeometryWord(f, picture, *word); }, false))
            Status.Set(StatusPanels::Size, std::to_string(doc->PictureWidth()) + "x" +
                                               std::to_string(doc->PictureHeight()));
    } else if (FindDirectCommand(key)) {
        RunFilterWord(key);
    } else if (const std::optional<std::int32_t> index = FindDialogWord(key)) {
        port_.ShowForm("fFilter", *index);
    } else if (const std::string_view form = formOf(key); !form.empty()) {
        port_.ShowForm(form);
    }
}

// The clip history's chosen clip floats when there is one, the system clipboard's picture
// otherwise; with neither, Paste does nothing.
void Application::beginPaste(fImage& doc) {
    std::optional<PlainPicture> clip = Tools().SharedClip;
    if (!clip) {
        if (std::optional<ClipboardPicture> picture = port_.GetClipboardPicture())
            clip = PlainPicture{picture->width, picture->height, std::move(picture->bgrx)};
    }
    if (clip) Tools().BeginPaste(doc, std::move(*clip));
}

bool Application::RunFilterWord(std::string_view key) {
    const DirectCommand* command = FindDirectCommand(key);
    if (!command) return false;
    // A word the tables accept without a filter ends without any action.
    if (!command->call) return true;
    return RunOnActive([command](cBitFilter& f) { return command->call(f); });
}

void Application::copySelection(bool cut) {
    fImage& doc = *active_;
    Tools().DropPaste();
    port_.PumpEvents();
    int left = 0, top = 0, right = 0, bottom = 0;
    if (!doc.BitsRegion().BoundRect(left, top, right, bottom)) return;
    // The selection's box goes to the clipboard, unselected pixels black.
    cBitFilter f;
    f.BitsRegion(doc.BitsRegion().Region());
    f.BitsCropMasked(doc.Bits(), left, top, right, bottom);
    const velmar::Bits& part = f.BitsView();
    if (!part.IsAllocated()) return;
    ClipboardPicture picture{part.Width(), part.Height(), {}};
    for (int y = 0; y < part.Height(); ++y)
        picture.bgrx.insert(picture.bgrx.end(), part.Row(y), part.Row(y) + part.Width() * 4);
    port_.SetClipboardPicture(picture);
    if (!cut) return;
    RunOnActive([](cBitFilter& g) {
        g.BitsBlack();
        return g.TakeBits();
    });
}

void Application::createNewCopy() {
    fImage& source = *active_;
    fImage& copy = NewDocument();
    if (!BitsCopyToClipboard(source) || !PasteFromClipboard(copy)) {
        port_.MsgBox("hello", MsgIcon::None, MsgButtons::Ok, kAppTitle);
        UnloadDocument(copy);
        return;
    }
    copy.Caption = MakeCaption(source.Caption);
    copy.Tag = source.Tag;
    copy.SaveUndoBits();
    ShowDocument(copy);
}

void Application::createFromClipboard() {
    fImage& doc = NewDocument();
    if (!PasteFromClipboard(doc)) {
        UnloadDocument(doc);
        return;
    }
    doc.Caption = MakeCaption(Setup.ImagesFolder.Trimmed() + "New.bmp");
    doc.Tag = "New.bmp";
    doc.SaveUndoBits();
    ShowDocument(doc);
}

} // namespace velmar
