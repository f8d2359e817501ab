#include "shell/settingsFile.h"
#include "port/ReplaceFile.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

namespace velmar {
namespace {

namespace fs = std::filesystem;
using test::TempFolder;

std::string readText(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}
void writeText(const fs::path& p, const std::string& text) {
    std::ofstream(p, std::ios::binary) << text;
}

TEST(SettingsFile, MissingFileIsEmptyAndAPlainSettingIsWrittenPlainly) {
    TempFolder app;
    SettingsFile settings(app.path());
    EXPECT_FALSE(settings.Value(kSettingsSection, "RunOnce"));
    EXPECT_FALSE(fs::exists(app / "Velmar.ini")); // nothing is written before Save
    settings.SetValue(kSettingsSection, "RunOnce", "1");
    EXPECT_EQ(settings.Value(kSettingsSection, "RunOnce"), "1");
    settings.Save();
    EXPECT_EQ(readText(app / "Velmar.ini"), "[VeKes]\nRunOnce=1\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(app.path()), fs::directory_iterator()), 1);

    // A folder under the file's name reads as an empty store, and Save says it cannot write.
    TempFolder blocked;
    fs::create_directory(blocked / "Velmar.ini");
    SettingsFile refused(blocked.path());
    EXPECT_FALSE(refused.Value(kSettingsSection, "RunOnce"));
    refused.SetValue(kSettingsSection, "RunOnce", "1");
    EXPECT_THROW(refused.Save(), FileWriteError);
}

TEST(SettingsFile, ReadsWhatQSettingsWritesAndSkipsWhatItCannotRead) {
    TempFolder app;
    writeText(app / "Velmar.ini", "; a comment\n"
                                  "Orphan=7\n"
                                  "[VeKes]\r\n"
                                  "  RunOnce = 1  \n"
                                  "Quoted=\"a;b, c\"\n"
                                  "Escaped=C:\\\\dir\\x41\\n\\\"q\\\"\n"
                                  "Tail=5 ; note\n"
                                  "Empty=\n"
                                  "Twice=1\n"
                                  "Twice=2\n"
                                  "a line without an equals sign\n"
                                  "=orphan value\n"
                                  "[broken\n"
                                  "Tool%20Bar\\Left=3\n"
                                  "At=@@home\n"
                                  "Bytes=@ByteArray(xyz)\n"
                                  "[Other]\n"
                                  "RunOnce=9\n");
    const SettingsFile s(app.path());
    const struct {
        const char* section;
        const char* key;
        std::optional<std::string> value;
    } cases[] = {
        {"General", "Orphan", "7"}, // keys before any header are QSettings' top level
        {"VeKes", "RunOnce", "1"},
        {"VeKes", "Quoted", "a;b, c"},
        {"VeKes", "Escaped", "C:\\dirA\n\"q\""}, // \x41 is "A"
        {"VeKes", "Tail", "5"},
        {"VeKes", "Empty", ""},
        {"VeKes", "Twice", "2"},
        {"VeKes", "Tool Bar/Left", "3"},
        {"VeKes", "At", "@home"},
        {"VeKes", "Bytes", "@ByteArray(xyz)"},
        {"Other", "RunOnce", "9"},
        {"VeKes", "a line without an equals sign", std::nullopt},
        {"VeKes", "", std::nullopt},
        {"VeKes", "runonce", std::nullopt}, // names are exact
    };
    for (const auto& c : cases)
        EXPECT_EQ(s.Value(c.section, c.key), c.value) << c.section << "/" << c.key;
}

// Each text as QSettings writes it, and back.
TEST(SettingsFile, TextsAreEscapedAsQSettingsDoes) {
    const struct {
        const char* key;
        std::string value;
        const char* line;
    } cases[] = {
        {"RunOnce", "1", "RunOnce=1"},
        {"List", "a;b", "List=\"a;b\""},
        {"Lead", " x", "Lead=\" x\""},
        {"Path", "C:\\dir", "Path=C:\\\\dir"},
        {"Say", "say \"hi\"", "Say=say \\\"hi\\\""},
        {"Lines", "two\nlines\t", "Lines=two\\nlines\\t"},
        // \x1 is followed by "A", which is a hex digit and is escaped too ("A" is 0x41).
        {"Control",
         std::string("\x01"
                     "AZ"),
         "Control=\\x1\\x41Z"},
        {"At", "@home", "At=@@home"},
        {"Accent", "caf\xC3\xA9", "Accent=caf\xC3\xA9"},
        {"Tool Bar/Left", "3", "Tool%20Bar\\Left=3"},
        {"caf\xC3\xA9", "4", "caf%E9=4"},
    };
    for (const auto& c : cases) {
        TempFolder app;
        SettingsFile settings(app.path());
        settings.SetValue(kSettingsSection, c.key, c.value);
        settings.Save();
        EXPECT_EQ(readText(app / "Velmar.ini"), std::string("[VeKes]\n") + c.line + "\n");
        EXPECT_EQ(SettingsFile(app.path()).Value(kSettingsSection, c.key), c.value) << c.key;
    }
}

TEST(SettingsFile, SaveKeepsOtherEntriesAndWhatOthersWroteSinceLoading) {
    TempFolder app;
    writeText(app / "Velmar.ini",
              "[General]\nSize=@Size(1 2)\n\n[VeKes]\nLayout=@ByteArray(\\0\\x1)\n"
              "RunOnce=0\n");
    SettingsFile settings(app.path());
    settings.SetValue(kSettingsSection, "RunOnce", "1");
    settings.SetValue("Bars", "Top", "2");
    // The editor's own QSettings saves after this object loaded.
    writeText(app / "Velmar.ini",
              "[General]\nSize=@Size(1 2)\n\n[VeKes]\nLayout=@ByteArray(\\0\\x2)\n"
              "RunOnce=0\nShown=true\n");
    settings.Save();
    EXPECT_EQ(readText(app / "Velmar.ini"), "[General]\nSize=@Size(1 2)\n\n"
                                            "[VeKes]\nLayout=@ByteArray(\\0\\x2)\nRunOnce=1\n"
                                            "Shown=true\n\n"
                                            "[Bars]\nTop=2\n");
}

} // namespace
} // namespace velmar
