#pragma once
// fgif: the logic of the animated-GIF viewer and extractor window ("Animated GIF: Viewer Cum
// Extractor"). The window shows the frames and runs the player's timer; this class holds the
// animation, the playback state and what each menu key word does.
#include "formats/AnimatedGif.h"
#include "port/UserPort.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace velmar {

class fgif {
  public:
    static constexpr std::string_view kCaption = "Animated GIF: Viewer Cum Extractor";
    static constexpr std::string_view kSaveTitle = "Save as";
    static constexpr std::string_view kSaveFilter =
        "All Supported graphic formats "
        "|*.bmp;*.dib;*.rle;*.gif;*.jpg;*.jpeg;*.jpe;*.jif;*.png;*.tga;"
        "*.vst;*.vda;*.icb;*.tif;*.pbm;*.pgm;*.ppm|Windows Bitmap Files "
        "(*.bmp;*.dib;*.rle)|*.bmp;*.dib;"
        "*.rle|Graphical Interface Format (*.GIF)|*.gif|Independent JPEG Group "
        "(*.JPG;*.JPEG;*.JPE;*.JIF)|"
        "*.jpg;*.jpeg;*.jpe;*.jif|Portable Network Graphics (*.PNG)|*.png|Targa files "
        "(*.TGA;*.VDA;*.VST;*.ICB)|*.tga;*.vda;*.vst;*.icb|Tagged Image File Format "
        "(*.TIF)|*.tif|ASCII "
        "bitmap format(*.ppm)(*.pgm)(*.pbm)|*.ppm;*.pgm;*.pbm";
    static constexpr std::string_view kExtractStem = "temp000";

    // The menu and tool bar key words and their action numbers.
    struct MenuAction {
        std::string_view key;
        int number;
    };
    static const std::vector<MenuAction>& MenuActions();

    // `tempFolder` is where EXTRACT writes the frames (the application's Temp folder).
    fgif(std::filesystem::path tempFolder, UserPort& port);

    // Runs a key word; `chosenFile` is the file picked in the save dialog for "SAVE" (empty when
    // the user cancelled). Returns false for a word it does not know.
    bool MenuGIF(std::string_view key, const std::filesystem::path& chosenFile = {});

    // Browsing: a click on a file loads it when its extension is gif.
    bool Browse(const std::filesystem::path& file);

    // Writes every frame as tempFolder / ("temp000" + i + ".gif"), i from 1, and returns the
    // files. With fewer than 2 frames nothing happens: a still GIF is not taken apart.
    std::vector<std::filesystem::path> Extract();

    // Saves the current frame by the chosen name's extension through the document's save route.
    // A name ending in ppm, pgm or pbm loses those letters and is saved as "pnm", so the route
    // adds the letters of the depth. False after "Unexpected error saving image".
    bool SaveFrame(const std::filesystem::path& chosenFile);

    // A thumbnail click: frame n from 1.
    void SelectFrame(int n);
    int CurrentFrame() const noexcept { return currentFrame_; }

    // Playback state the window's timer follows.
    bool Playing() const noexcept { return playing_; }
    bool Looping() const noexcept { return looping_; }
    int ShownFrame() const noexcept { return shown_; } // from 0
    // One timer tick: the next frame, wrapping only while looping; stops at the end otherwise.
    void Advance();

    AnimatedGif AniGif;

  private:
    std::filesystem::path tempFolder_;
    UserPort& port_;
    int currentFrame_ = 1;
    int shown_ = 0;
    bool playing_ = false;
    bool looping_ = true;
};

} // namespace velmar
