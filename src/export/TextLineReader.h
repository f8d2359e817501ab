#pragma once
// Reads a text file line by line for the PDF writer, in blocks, so a file of any size passes
// through a fixed amount of memory. A line ends at LF, CR LF or CR; the ending is not part of the
// line, and an ending at the very end of the file adds no empty line. The bytes are passed on as
// they are: the writer puts them into the PDF in the file's own code page.
#include "port/FileDescriptor.h"

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace velmar {

// "Cannot read "<path>": <reason>." with the system's reason.
class FileReadError : public std::runtime_error {
  public:
    FileReadError(const std::filesystem::path& path, int error);
};

class TextLineReader {
  public:
    // Opens the file; throws FileReadError when it cannot.
    explicit TextLineReader(const std::filesystem::path& path,
                            std::size_t blockSize = std::size_t{1} << 16);

    // The next line into `line`, valid until the next call; false (and `line` empty) when the
    // file has no more. Throws FileReadError when reading fails.
    bool Next(std::string_view& line);

  private:
    bool fill();
    std::size_t lineEnd();

    std::filesystem::path path_;
    FileDescriptor file_;
    std::vector<char> block_;
    std::string carry_;    // a line that runs across blocks
    std::size_t next_ = 0; // first unread byte of block_
    std::size_t end_ = 0;  // bytes held in block_
    // The block's next CR at or behind next_ (end_ when none), kept between lines: text with LF
    // endings has no CR, and looking for one at every line would read the block over and over.
    std::size_t nextCr_ = 0;
    bool crKnown_ = false;
    bool atEnd_ = false;
    bool skipLineFeed_ = false; // the last line ended in CR; an LF right behind it belongs to it
};

} // namespace velmar
