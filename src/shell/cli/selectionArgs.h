#pragma once
// The selection options of velmar-cli's picture commands. A selection is built as the editor's
// selection tool builds one: shapes added (OR) or subtracted (DIFF) in the order given, each cut
// to the picture.
//
//   --rect L,T,R,B            add a rectangle (right and bottom exclusive)
//   --ellipse L,T,R,B         add the ellipse of that box
//   --polygon X1,Y1,X2,Y2,... add a polygon of at least three corners (filled WINDING)
//   --subtract-rect L,T,R,B   take a rectangle away
//   --subtract-ellipse L,T,R,B
//   --region FILE             add the selection saved in a region file
#include "pixel/cBitRegion.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmar::cli {

struct SelectionStep {
    enum class Kind { Rect, Ellipse, Polygon, SubtractRect, SubtractEllipse, RegionFile };
    Kind kind = Kind::Rect;
    std::vector<std::int32_t> numbers;
    std::filesystem::path file;
};

using SelectionSteps = std::vector<SelectionStep>;

inline constexpr std::string_view kSelectionUsage =
    "[--rect L,T,R,B] [--ellipse L,T,R,B] [--polygon X1,Y1,X2,Y2,...] [--subtract-rect L,T,R,B] "
    "[--subtract-ellipse L,T,R,B] [--region FILE]";

enum class SelectionOption { NotOne, Taken, Bad };

// Looks at args[i]: a selection option with a good value is appended to `steps` and i moves
// past its value (Taken); a selection option with a missing or malformed value gives Bad and
// the reason in `error`; anything else is NotOne and nothing changes.
SelectionOption TakeSelectionOption(std::span<const std::string> args, std::size_t& i,
                                    SelectionSteps& steps, std::string& error);

// The selection of a width by height picture: `region` is Init to the picture, then the steps
// are applied in order, each result cut to the picture. Region files are read here and throw
// RegionFileError.
void BuildSelection(const SelectionSteps& steps, int width, int height, cBitRegion& region);

// Comma-separated whole numbers ("3,-4,5"); false when any part is not one.
bool ParseNumberList(std::string_view text, std::vector<std::int32_t>& numbers);

} // namespace velmar::cli
