// Arbitrary bytes through the icon loader of cFileIcon, and what the model does with an
// accepted file.
//
// Beyond "no crash, no read past the input": an accepted file has as many images as its
// directory counts, whose images together fit in the input; the model's
// .ico bytes load again to the same bytes; and removing an image and adding it back as a new
// entry keeps the directory's offsets consistent with the images behind it.
#include "extract/ExtractError.h"
#include "extract/cFileIcon.h"
#include "fuzzCheck.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

namespace {

using velmar::fuzz::check;

// Every entry's offset and size point at exactly its image in the model's file.
void checkLayout(const velmar::cFileIcon& icon) {
    const std::vector<std::uint8_t> file = icon.IconFileBytes();
    check(file.size() >= 6 + 16 * static_cast<std::size_t>(icon.ImageCount()));
    for (int i = 1; i <= icon.ImageCount(); ++i) {
        const auto& e = icon.Entry(i);
        const auto image = icon.ImageBytes(i);
        check(e.BytesInRes == image.size());
        check(e.ImageOffset <= file.size() && image.size() <= file.size() - e.ImageOffset);
        check(std::equal(image.begin(), image.end(), file.begin() + e.ImageOffset));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmar;
    const std::span<const std::uint8_t> input(data, size);
    cFileIcon icon;
    try {
        icon.LoadIconBytes(input);
    } catch (const ExtractError& e) {
        check(e.number() == kIconLoadError && icon.ImageCount() == 0);
        return 0;
    }
    check(icon.ImageCount() >= 1 && icon.ImageCount() == icon.Header().Count);
    std::size_t total = 0;
    for (int i = 1; i <= icon.ImageCount(); ++i) {
        total += icon.ImageBytes(i).size();
        check(icon.ImageColourCount(i) >= 1);
    }
    check(total <= size);
    checkLayout(icon);

    const std::vector<std::uint8_t> file = icon.IconFileBytes();
    cFileIcon again;
    again.LoadIconBytes(file);
    check(again.IconFileBytes() == file);

    const auto first = icon.Entry(1);
    const auto bytes = icon.ImageBytes(1);
    const std::vector<std::uint8_t> image(bytes.begin(), bytes.end());
    icon.RemoveImage(1);
    try {
        icon.AddImage(first.Width, first.Height, first.ColorCount, image);
    } catch (const ExtractError& e) {
        check(e.number() == kIconImageExists);
    }
    checkLayout(icon);
    return 0;
}
