#pragma once
// The pictures the program carries inside itself: the stamp set that start-up writes into the
// "Stamps" folder and the default picture it writes into "Images". They are drawn by code, so
// nothing has to be shipped beside the executable and every build gives the same pixels.
#include "pixel/Bits.h"

#include <vector>

namespace velmar {

// The stamps, in the order they are numbered on disk (the first is "Velmar1.bmp"). Each is a
// small square of dark ink on white: the tiled stamp paints it as it is, and the black-and-white
// mask takes the dark ink as the part to colour. Edges are smoothed by sub-pixel coverage.
std::vector<Bits> StampPictures();

// The picture the editor opens with when the user has none: a 320 by 240 evening landscape
// (sky gradient, a setting sun with its glow, two rows of hills). Mask bytes are 0.
Bits DefaultPicture();

} // namespace velmar
