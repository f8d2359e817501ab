#pragma once
// The platform's settings store: an INI file "Velmar.ini" in the application folder, which
// holds the section "VeKes" (the tool bar layouts and "RunOnce").
//
// The file is written the way Qt's QSettings writes an INI file, so that the editor's widgets
// may read and write the same file through QSettings(IniFormat): section and key names escaped
// as QSettings escapes them ("/" as "\", other characters outside letters, digits, "_", "-"
// and "." as %XX or %UXXXX), values escaped and quoted as QSettings does for text ("a;b" is
// written "\"a;b\"", a line break as "\n"), a text beginning with "@" doubled to "@@". A plain
// setting is simply "[VeKes]\nRunOnce=1\n".
//
// Entries this object did not set are written back exactly as they stood in the file, so typed
// QSettings values ("@ByteArray(...)") survive. Save reads the file again and lays this object's
// changes over it, as QSettings does when it syncs, so that settings another writer saved in
// the meantime are not lost.
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmar {

// The section of the program's own settings.
inline constexpr std::string_view kSettingsSection = "VeKes";

// The file's content as read, for SettingsFile's own use.
namespace ini {
struct Entry {
    std::string key;  // unescaped
    std::string text; // the value as the file has it: escaped, quoted where needed
};
struct Section {
    std::string name; // unescaped
    std::vector<Entry> entries;
};
struct Change {
    std::string section, key, text;
};
} // namespace ini

// appFolder + "/Velmar.ini".
std::filesystem::path SettingsFilePath(const std::filesystem::path& appFolder);

class SettingsFile {
  public:
    // Loads the file of AppFolder. A missing or unreadable file is an empty store; a line that
    // is neither a section header nor "key=value" is ignored, as are comments (";" or "#"
    // first, or ";" after a value outside quotes). Keys before any header belong to "General",
    // as in QSettings. A key given twice keeps its last value.
    explicit SettingsFile(const std::filesystem::path& appFolder);

    // The text of Key in Section (names as the program spells them, not escaped), unescaped;
    // nothing when the file has no such key. A typed QSettings value other than text is given
    // as it stands in the file. Commas are kept: a QSettings list reads as its joined text.
    std::optional<std::string> Value(std::string_view section, std::string_view key) const;

    // Sets the text of Key in Section; a new key goes to the end of its section, a new section
    // to the end of the file. Nothing reaches the file before Save.
    void SetValue(std::string_view section, std::string_view key, std::string_view value);

    // Writes the file: the file as it is now on disk with this object's SetValue calls laid
    // over it. The new file replaces the old one whole (port/ReplaceFile.h), so a reader sees
    // one or the other. Throws FileWriteError when it cannot be written.
    void Save() const;

  private:
    std::filesystem::path path_;
    std::vector<ini::Section> sections_;
    std::vector<ini::Change> changes_;
};

} // namespace velmar
