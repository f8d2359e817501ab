// The ways a picture comes in and goes out: User_File's steps (shared by File, Open, the
// Recent menu, the album and dropped files), Save, Save As and the clipboard.
#include "formats/gateway.h"
#include "shell/Application.h"

#include <cstring>
#include <exception>
#include <filesystem>
#include <system_error>

namespace velmar {

namespace {

constexpr const char* kLoadError = "Unexpected error loading image";
constexpr const char* kSaveError = "Unexpected error saving image";

std::string bareName(const std::string& path) {
    return std::filesystem::path(path).filename().string();
}

// The extensions "SAVE" writes without asking for a name.
bool savesDirect(const std::string& extension) {
    for (const char* e : {"bmp", "gif", "jpg", "tga", "tif", "png", "pcx"})
        if (extension == e) return true;
    return false;
}

} // namespace

const std::vector<std::string>& OpenDialogFilters() {
    static const std::vector<std::string> filters = {
        "All Supported Picture Formats|*.bmp;*.dib;*.rle;*.wmf;*.emf;*.gif;*.jpg;*.jpe;*.jpeg;"
        "*.jif;*.jbig;*.jbg;*.jff;*.jfi;*.jfif;*.jtif;*.png;*.pcx;*.wbmp;*.pbm;*.pgm;*.ppm;*.ico;"
        "*.psd;*.pdd;*.jng;*.mng;*.tif;*.tiff;*.koa;*.pcd;*.ras;*.sun;*.tga;*.vda;*.icb;*.vst;"
        "*.cut;*.iff;*.lbm",
        "Bitmap Files (*.BMP;*.DIB;*.RLE)|*.bmp;*.dib;*.rle",
        "Meta Files (*.WMF;*.EMF)|*.wmf;*.emf",
        "Graphical Interface Format(*.GIF)|*.gif",
        "JPEG Group (*.JPG;*.JPE;*.JPEG;*.JIF)|*.jpg;*.jpe;*.jpeg;*.jif",
        "JBIG Group "
        "(*.JBIG;*.JBG;*.JFF;*.JFI;*.JFIF;*.JTIF)|*.jbig;*.jbg;*.jff;*.jfi;*.jfif;*.jtif",
        "Portable Network Graphics (*.PNG)|*.png",
        "Zsoft Paintbrush Files (*.PCX)|*.pcx",
        "Wireless Bitmap (*.WBMP)|*.wbmp",
        "Portable Bitmap (*.PBM)|*.pbm",
        "Portable Graymap (*.PGM)|*.pgm",
        "Portable Pixelmap (*.PPM)|*.ppm",
        "Windows Icon (*.ICO)|*.ico",
        "Photoshop (*.PSD;*.PDD)|*.psd;*.pdd",
        "JPEG Network Graphics (*.JNG)|*.jng",
        "Multiple Network Graphics (*.MNG)|*.mng",
        "Tagged Image File Format (*.TIF;*.TIFF)|*.tif;*.tiff",
        "Commodore 64 Koala format (*.KOA)|*.koa",
        "Kodak PhotoCD (*.PCD)|*.pcd",
        "Sun Rasterfile (*.RAS;*.SUN)|*.ras;*.sun",
        "Targa files (*.TGA;*.VDA;*.ICB;*.VST)|*.tga;*.vda;*.icb;*.vst",
        "Dr.Halo bitmap (*.CUT)|*.cut",
        "Interchanged File Format (*.IFF)|*.iff",
        "Deluxe Paint package (*.LBM)|*.lbm",
    };
    return filters;
}

const std::vector<std::string>& SaveDialogFilters() {
    static const std::vector<std::string> filters = {
        "All Supported graphic formats |*.bmp;*.dib;*.rle;*.gif;*.jpg;*.jpeg;*.jpe;*.jif;*.png;"
        "*.tga;*.vda;*.vst;*.icb;*.pcx;*.tif;*.ppm;*.pgm;*.pbm",
        "Windows Bitmap Files (*.bmp;*.dib;*.rle)|*.bmp;*.dib;*.rle",
        "Graphical Interface Format (*.GIF)|*.gif",
        "Independent JPEG Group (*.JPG;*.JPEG;*.JPE;*.JIF)|*.jpg;*.jpeg;*.jpe;*.jif",
        "Portable Network Graphics (*.PNG)|*.png",
        "Targa files (*.TGA;*.VDA;*.VST;*.ICB)|*.tga;*.vda;*.vst;*.icb",
        "Zsoft Paintbrush (*.PCX)|*.pcx",
        "Tagged Image File Format (*.TIF)|*.tif",
        "ASCII bitmap format(*.ppm)(*.pgm)(*.pbm)|*.ppm;*.pgm;*.pbm",
    };
    return filters;
}

bool Application::User_File(const std::string& file) {
    port_.PumpEvents();
    fImage& doc = NewDocument();
    bool loaded = false;
    try {
        loaded = doc.SetPicture(file, ExtensionOf(file));
    } catch (const std::exception&) {
        loaded = false;
    }
    if (!loaded) {
        port_.MsgBox(kLoadError, MsgIcon::Warning, MsgButtons::Ok, kAppTitle);
        UnloadDocument(doc);
        return false;
    }
    doc.SelectWholePicture();
    doc.Caption = MakeCaption(file);
    doc.Tag = bareName(file);
    // A big picture's first state is a write as long as a good part of the decode; it goes on
    // while the window shows the picture, and the first change waits for it.
    doc.SaveUndoBitsInBackground();
    AddRecent(file);
    FillRecent();
    ShowDocument(doc);
    if (Setup.DefaultZoom > 1) doc.ZoomFactor(Setup.DefaultZoom);
    return true;
}

void Application::Open() {
    const FileDialogSetup dialog{"Open File :: Velmar Kestrin v2", OpenDialogFilters(),
                                 Setup.ImagesFolder.Trimmed(), "*.bmp"};
    const std::vector<std::string> files = port_.OpenFileDialog(dialog, true);
    if (files.empty()) return;
    if (IsSet(Setup.PreserveLastFolder))
        // Kept with its closing separator: captions of new pictures are the folder + "New.bmp".
        Setup.ImagesFolder = (std::filesystem::path(files.front()).parent_path() / "").string();
    for (const std::string& file : files)
        User_File(file);
}

namespace {

// Writes the picture by the name's extension; false after "Unexpected error saving image"
// when the save itself broke down. A writer that fails has said so itself.
bool saveDocument(const fImage& doc, const std::string& file, const std::string& extension,
                  UserPort& port, bool& written) {
    try {
        written = SaveDocumentPicture(doc.Bits(), file, extension, port) != SaveResult::Failed;
        return true;
    } catch (const std::exception&) {
        port.MsgBox(kSaveError, MsgIcon::Warning, MsgButtons::Ok, kAppTitle);
        return false;
    }
}

} // namespace

void Application::Save() {
    fImage* doc = nullptr;
    if (!GetActiveImage(doc)) return;
    const std::string extension = LowerCase(ExtensionOf(doc->Caption));
    if (!savesDirect(extension)) {
        SaveAs();
        return;
    }
    bool written = false;
    if (!saveDocument(*doc, doc->Caption, extension, port_, written) || !written) return;
    doc->Changed = false;
    AddRecent(doc->Caption);
    FillRecent();
}

void Application::SaveAs() {
    fImage* doc = nullptr;
    if (!GetActiveImage(doc)) return;
    const FileDialogSetup dialog{"Save as", SaveDialogFilters(), Setup.ImagesFolder.Trimmed(), ""};
    const std::optional<std::string> chosen = port_.SaveFileDialog(dialog);
    if (!chosen) return;
    std::string target = *chosen;
    std::string extension = LowerCase(ExtensionOf(target));
    // ppm, pgm and pbm go to the pnm writer, which puts the letters of the depth back.
    if (const auto stem = PnmStem(target)) {
        target = stem->string();
        extension = "pnm";
    }
    bool written = false;
    if (!saveDocument(*doc, target, extension, port_, written) || !written) return;
    doc->Changed = false;
    doc->Caption = *chosen;
    doc->Tag = bareName(*chosen);
    AddRecent(*chosen);
    FillRecent();
}

bool Application::BitsCopyToClipboard(const fImage& doc) {
    if (!doc.PictureExists()) return false;
    const velmar::Bits& bits = doc.Bits();
    ClipboardPicture picture{bits.Width(), bits.Height(), {}};
    picture.bgrx.resize(static_cast<std::size_t>(bits.Width()) * bits.Height() * 4);
    for (int y = 0; y < bits.Height(); ++y)
        std::memcpy(&picture.bgrx[static_cast<std::size_t>(y) * bits.Width() * 4], bits.Row(y),
                    static_cast<std::size_t>(bits.Width()) * 4);
    return port_.SetClipboardPicture(picture);
}

bool Application::PasteFromClipboard(fImage& doc) {
    const std::optional<ClipboardPicture> picture = port_.GetClipboardPicture();
    if (!picture || picture->width < 1 || picture->height < 1 ||
        picture->bgrx.size() != static_cast<std::size_t>(picture->width) * picture->height * 4)
        return false;
    doc.CreateBlank(picture->width, picture->height);
    velmar::Bits& bits = doc.Bits();
    for (int y = 0; y < picture->height; ++y)
        std::memcpy(bits.Row(y), &picture->bgrx[static_cast<std::size_t>(y) * picture->width * 4],
                    static_cast<std::size_t>(picture->width) * 4);
    doc.SelectWholePicture();
    return true;
}

} // namespace velmar
