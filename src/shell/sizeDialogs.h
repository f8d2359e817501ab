#pragma once
// The logic of the six size dialogs: fNew makes a document, fSize, fCanvas, fOrientation,
// fRotate and fResolution change the active one. The windows in ui/ show these fields and call
// the buttons; velmar-cli's script runner fills them from its arguments.
#include "shell/Application.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace velmar {

inline constexpr const char* kMinimumSizeText = "Minimum size: 2 x 2";

// A width and height box pair with "Keep proportions": a change of one box sets the other by
// the ratio taken when the dialog opened, rounded; the guard stops the second box's change
// from coming back.
class ProportionalSize {
  public:
    ProportionalSize(int width, int height);
    int Width() const noexcept { return width_; }
    int Height() const noexcept { return height_; }
    bool KeepProportions = false;
    void SetWidth(int width);
    void SetHeight(int height);

  private:
    int width_;
    int height_;
    double ratio_; // height / width
    bool guard_ = false;
};

// Parses "W x H" into the two numbers; false for anything else ("<Custom>").
bool ParseSizeEntry(std::string_view entry, int& width, int& height);

class fNew {
  public:
    static constexpr std::string_view kTitle = "New";
    static constexpr std::array<std::string_view, 9> kDefaults{
        "<Custom>",  "240 x 320", "320 x 240",  "480 x 640", "640 x 480",
        "600 x 800", "800 x 600", "768 x 1024", "1024 x 768"};
    explicit fNew(Application& app);
    ProportionalSize Size;
    void cbDefault(int index);
    // False (after the message) when a side is below 2: the dialog stays.
    bool OK();

  private:
    Application& app_;
};

class fSize {
  public:
    static constexpr std::string_view kTitle = "Image size";
    static constexpr std::array<std::string_view, 4> kQuick{"1.5 *", "2.0 *", "1.5 /", "2.0 /"};
    explicit fSize(Application& app);
    ProportionalSize Size;
    bool chkInterpolate = false; // "Anti-Alias"
    void cbPreDef(int index);
    bool OK();

  private:
    Application& app_;
};

class fCanvas {
  public:
    static constexpr std::string_view kTitle = "Canvas size";
    explicit fCanvas(Application& app);
    ProportionalSize Size;
    void cbPreDef(int index);
    bool OK();

  private:
    Application& app_;
};

// The picture the filter holds, turned by fOrientation's choice (quarter turns clockwise) and
// then flipped; the filter is left empty.
velmar::Bits OrientPicture(cBitFilter& filter, int orientation, bool flipVertical,
                           bool flipHorizontal);

class fOrientation {
  public:
    static constexpr std::string_view kTitle = "Orientation";
    // The canvas turns by quarter turns clockwise.
    static constexpr std::array<std::string_view, 4> kOrientations{
        "Unchanged", "90 degrees clockwise", "180 degrees", "90 degrees counter-clockwise"};
    explicit fOrientation(Application& app) : app_(app) {}
    int cbOrientation = 0;
    bool FlipVertical = false;
    bool FlipHorizontal = false;
    bool OK();

  private:
    Application& app_;
};

class fRotate {
  public:
    static constexpr std::string_view kTitle = "Rotate";
    explicit fRotate(Application& app) : app_(app) {}
    std::int16_t Degrees = 0;
    bool chkAntialiasing = true;
    // "+ 45" and "- 45": the degrees stay within half a turn, by 16-bit arithmetic.
    void Plus45();
    void Minus45();
    bool OK();

  private:
    Application& app_;
};

class fResolution {
  public:
    static constexpr std::string_view kTitle = "Resolution";
    static constexpr std::array<std::string_view, 7> kPresets{
        "480 x 340", "340 x 220", "640 x 480", "720 x 480", "720 x 576", "800 x 600", "1024 x 768"};
    explicit fResolution(Application& app) : app_(app) {}
    int Width = 640;
    int Height = 480;
    bool chkAnti = true;
    void Preset(int index);
    bool OK();

  private:
    Application& app_;
};

} // namespace velmar
