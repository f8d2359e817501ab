#pragma once
// Loading and saving the setup record: the file "Velmar.dat" in the application folder.
//
// The file is the record's bytes and nothing else (see SetupRecord.h): no signature, no
// version, no check. Settings reach the file only through SaveSetup at a clean exit; a change
// made while the program runs lives in memory until then.
#include "shell/SetupRecord.h"

#include <filesystem>

namespace velmar {

class UserPort;

// The configuration as the application object owns it: the record every panel reads and
// writes, and the mark that LoadSetup has filled it.
struct LoadedSetup {
    SetupRecord record;
    bool loaded = false;
};

// The file that holds the record: appFolder + "/Velmar.dat".
std::filesystem::path SetupFilePath(const std::filesystem::path& appFolder);

// Reads the record, called once at start-up. A missing file gives the defaults of a new
// installation and leaves an empty file behind (it is created for the read). A shorter file
// fills what it has and leaves the rest blank, without a message; a longer one is read up to
// the record's size. twipsPerPixel goes to SetupRecord::SetDefaults.
// Throws std::system_error when the file can be neither opened nor created, or not read.
LoadedSetup LoadSetup(const std::filesystem::path& appFolder, UserPort& port,
                      int twipsPerPixel = 15);

// Writes the whole record at the start of the file, creating it when missing. A longer file
// keeps its tail: the file is never truncated.
// Throws std::system_error when the file cannot be opened or written.
void SaveSetup(const std::filesystem::path& appFolder, const SetupRecord& record);

} // namespace velmar
