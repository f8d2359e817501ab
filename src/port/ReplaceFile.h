#pragma once
// Whole-file replacement: the new content goes to a fresh file beside the target, which is then
// renamed over it. Anyone reading the target sees the old file or the new one, never a part; a
// failure leaves the old file as it was and removes the new one. Every writer of the program
// that produces a file for the user goes through here.
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>

namespace velmar {

// "Cannot write "<path>": <reason>." with the system's reason.
class FileWriteError : public std::runtime_error {
  public:
    FileWriteError(const std::filesystem::path& path, int error);
    int errorNumber() const noexcept { return error_; }

  private:
    int error_;
};

// Writes `bytes` as the new content of `path`. With `sync` the data reach the disk before the
// rename (for small files whose loss would hurt, like a saved selection). Throws FileWriteError.
void ReplaceFile(const std::filesystem::path& path, std::span<const std::uint8_t> bytes,
                 bool sync = false);

// For writers that insist on opening a file by name themselves: `write` is given the temporary
// name and returns whether it wrote the file completely. True when the target now holds the new
// file; false (target untouched, temporary removed) when `write` failed or the rename did.
bool ReplaceFileWith(const std::filesystem::path& path,
                     const std::function<bool(const std::filesystem::path& temporary)>& write);

} // namespace velmar
