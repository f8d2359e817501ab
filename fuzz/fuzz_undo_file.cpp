// Arbitrary bytes as an undo state of a document that holds a small picture, read back by
// UndoBits and RedoBits.
//
// Beyond "no crash, no read past the file": an accepted state is exactly a header and the
// pixels it promises, and the document then holds those very bytes; a refused one leaves the
// document as it was, size, pixels and undo position.
#include "document/fImage.h"
#include "fuzzCheck.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <system_error>
#include <unistd.h>

namespace {

using velmar::fuzz::check;

// One folder for the whole run, removed when the fuzzer exits.
struct RunFolder {
    std::filesystem::path path;
    RunFolder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "velmar-fuzz-undo-XXXXXX").string();
        check(mkdtemp(pattern.data()) != nullptr);
        path = pattern;
    }
    ~RunFolder() {
        std::error_code ec;
        std::filesystem::remove_all(path, ec);
    }
};

void writeInput(const std::filesystem::path& file, const std::uint8_t* data, std::size_t size) {
    const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    check(fd >= 0);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = ::write(fd, data + done, size - done);
        check(n > 0);
        done += static_cast<std::size_t>(n);
    }
    check(::close(fd) == 0);
}

bool holds(const velmar::Bits& bits, const std::uint8_t* data, std::size_t size) {
    return size == 40 + bits.SizeBytes() &&
           std::equal(bits.Data(), bits.Data() + bits.SizeBytes(), data + 40);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmar;
    static RunFolder folder;

    // Three states of a 3 by 2 picture, marked 1 to 3; the input replaces states 0 and 1. Undo
    // from position 3 reads state 1, a second undo state 0; redo then reads state 1 and at last
    // state 2, the untouched picture.
    fImage doc(1, folder.path);
    doc.CreateBlank(3, 2);
    doc.SelectWholePicture();
    for (std::uint8_t marker = 1; marker <= 3; ++marker) {
        doc.Bits()(0, 0, 0) = marker;
        doc.SaveUndoBits();
    }
    writeInput(doc.UndoFileName(0), data, size);
    writeInput(doc.UndoFileName(1), data, size);

    if (doc.UndoBits()) {
        check(doc.UndoPos() == 2 && holds(doc.Bits(), data, size));
        check(doc.PictureWidth() >= 1 && doc.PictureHeight() >= 1);
        check(doc.UndoBits() && doc.UndoPos() == 1 && holds(doc.Bits(), data, size));
        check(doc.RedoBits() && doc.UndoPos() == 2 && holds(doc.Bits(), data, size));
        check(doc.RedoBits() && doc.UndoPos() == 3 && doc.Bits()(0, 0, 0) == 3);
    } else {
        check(doc.UndoPos() == 3 && doc.PictureWidth() == 3 && doc.PictureHeight() == 2 &&
              doc.Bits()(0, 0, 0) == 3);
        check(!doc.RedoBits() && doc.UndoPos() == 3);
    }
    doc.DeleteUndoFiles();
    return 0;
}
