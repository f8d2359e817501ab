#include "shell/setupStore.h"

#include "port/UserPort.h"

#include <cerrno>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

namespace velmar {

namespace {

// A file descriptor closed on every path out, exceptions included.
class FileHandle {
  public:
    FileHandle(const std::filesystem::path& path, int flags) {
        fd_ = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
        if (fd_ < 0) fail("cannot open " + path.string());
    }
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    ~FileHandle() {
        if (fd_ >= 0) ::close(fd_);
    }

    // Reads from the start until buffer is full or the file ends; returns the bytes read.
    std::size_t readFromStart(std::span<std::uint8_t> buffer) {
        std::size_t done = 0;
        while (done < buffer.size()) {
            const ssize_t n =
                ::pread(fd_, buffer.data() + done, buffer.size() - done, static_cast<off_t>(done));
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) fail("cannot read the setup file");
            if (n == 0) break;
            done += static_cast<std::size_t>(n);
        }
        return done;
    }

    void writeAtStart(std::span<const std::uint8_t> bytes) {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t n =
                ::pwrite(fd_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) fail("cannot write the setup file");
            done += static_cast<std::size_t>(n);
        }
    }

    // close() is where a delayed write error shows up, so it is checked on the write path.
    void closeChecked() {
        const int fd = fd_;
        fd_ = -1;
        if (::close(fd) != 0) fail("cannot write the setup file");
    }

  private:
    [[noreturn]] static void fail(const std::string& what) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    int fd_ = -1;
};

// The directory search of the old program found files only, so a folder of that name does
// not count as the file.
bool setupFileFound(const std::filesystem::path& path) {
    std::error_code ec;
    const auto status = std::filesystem::status(path, ec);
    return !ec && std::filesystem::exists(status) && !std::filesystem::is_directory(status);
}

} // namespace

std::filesystem::path SetupFilePath(const std::filesystem::path& appFolder) {
    return std::filesystem::path(appFolder.string() + "/Velmar.dat");
}

LoadedSetup LoadSetup(const std::filesystem::path& appFolder, UserPort& port, int twipsPerPixel) {
    const std::filesystem::path path = SetupFilePath(appFolder);
    const std::string pathText = path.string();
    bool useDefaults = false;

    if (!setupFileFound(path)) {
        useDefaults = true;
    } else if (pathText.empty()) {
        // The guard measures the name, not the file: only an empty name takes it, and a
        // truncated file is deliberately read as it is, its missing fields left blank.
        port.MsgBox("Configuration data file is corrupted\nValues will be initilized",
                    MsgIcon::Warning, MsgButtons::Ok, kAppTitle);
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
        useDefaults = true;
    }

    // Opened read-write with creation, as the old binary open did: after a first run the empty
    // file exists even though nothing has been saved yet.
    SetupBytes bytes{};
    std::size_t got = 0;
    {
        FileHandle file(path, O_RDWR | O_CREAT);
        got = file.readFromStart(bytes);
    }

    // A file with no byte in it holds no record at all (a first start that never reached a
    // clean exit leaves one): start from the defaults, as for a missing file, rather than from a
    // blank record with no frame size and every box hidden. A file that holds part of a record
    // is read as it stands.
    if (got == 0) useDefaults = true;

    LoadedSetup setup;
    setup.record = FromBytes(std::span<const std::uint8_t>(bytes.data(), got));
    if (useDefaults) setup.record.SetDefaults(appFolder.string(), twipsPerPixel);
    setup.loaded = true;
    return setup;
}

void SaveSetup(const std::filesystem::path& appFolder, const SetupRecord& record) {
    const SetupBytes bytes = ToBytes(record);
    // No O_TRUNC: a longer file keeps whatever lies past the record.
    FileHandle file(SetupFilePath(appFolder), O_WRONLY | O_CREAT);
    file.writeAtStart(bytes);
    file.closeChecked();
}

} // namespace velmar
