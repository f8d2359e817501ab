#pragma once
// The PDF writer's output: whole lines, each ended by a CR alone, gathered in a buffer that goes
// to the file when it reaches kPdfFlushSize characters or when the caller asks. The position
// counts every byte handed over so far, from the file's first byte; object offsets and the
// stream lengths are taken from it.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>

namespace velmar {

inline constexpr std::size_t kPdfFlushSize = 32001;

class PdfOutput {
  public:
    // `fd` is an open descriptor positioned at the file's end, owned by the caller; `target` is
    // the name shown when a write fails.
    PdfOutput(int fd, std::filesystem::path target);

    // Appends the parts as one line and its CR. With `flush` the buffer then goes to the file.
    // Throws FileWriteError.
    void WriteLine(std::initializer_list<std::string_view> parts, bool flush = false);
    void WriteLine(std::string_view text, bool flush = false) { WriteLine({text}, flush); }

    std::int64_t Position() const noexcept { return position_; }

  private:
    void flush();

    int fd_;
    std::filesystem::path target_;
    std::string buffer_;
    std::int64_t position_ = 0;
};

} // namespace velmar
