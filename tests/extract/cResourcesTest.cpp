// cResources and the PE resource reader over modules the tests build (peBuilder.h), group icons
// rebuilt into .ico files and checked against icoutils, hostile directories, and the two
// velmar-cli commands.
#include "extract/cResources.h"
#include "extract/ExtractError.h"
#include "extract/cFileIcon.h"
#include "extract/peBuilder.h"
#include "pixel/RuntimeError.h"
#include "shell/cli/CliCommand.h"
#include "support/TempFolder.h"
#include "support/cliRuns.h"
#include "support/files.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

using test::Bytes;

std::string text(const Bytes& b) {
    return {b.begin(), b.end()};
}

TEST(cResources, ListsTypesAndNamesOfPe32AndPe32Plus) {
    for (const bool plus : {false, true}) {
        SCOPED_TRACE(plus ? "PE32+" : "PE32");
        cResources module;
        module.LoadBytes(test::sampleModule(plus).pe.bytes);
        EXPECT_EQ(module.IsPe32Plus(), plus);
        ASSERT_EQ(module.ResourceTypeCount(), 4);
        const char* names[] = {"Icon", "RC Data", "Group Icon", "Version"};
        for (int i = 1; i <= 4; ++i)
            EXPECT_EQ(module.ResourceTypeName(i), names[i - 1]);
        EXPECT_EQ(module.IndexOfResourceType(14), 3);
        EXPECT_EQ(module.IndexOfResourceType(5), 0);
        // Named entries come first in a directory, as the module stores them.
        ASSERT_EQ(module.ResourceNameCount(14), 2);
        EXPECT_EQ(module.ResourceName(14, 1).Text(), "MAINICON");
        EXPECT_EQ(module.ResourceName(14, 2), ResourceId(1));
        EXPECT_EQ(module.ResourceNameCount(5), 0);
        EXPECT_THROW(module.ResourceName(14, 3), RuntimeError);
        EXPECT_THROW(module.ResourceType(5), RuntimeError);
        // Names are found without regard to case, as the platform's lookup does.
        const auto data = module.ResourceData(10, ResourceId::FromText("data"));
        ASSERT_TRUE(data.has_value());
        EXPECT_EQ(Bytes(data->begin(), data->end()), (Bytes{1, 2, 3, 4, 5}));
        EXPECT_FALSE(module.ResourceData(10, ResourceId::FromText("#1")).has_value());
        module.UnloadModule();
        EXPECT_EQ(module.ResourceTypeCount(), 4);
        EXPECT_FALSE(module.ResourceData(10, ResourceId::FromText("DATA")).has_value());
    }
    const struct {
        ResourceId type;
        const char* name;
    } typeNames[] = {{1, "Cursor"},
                     {12, "Group Cursor"},
                     {13, "Other (13)"},
                     {17, "Dialog Include"},
                     {23, "HTML"},
                     {24, "Other (24)"},
                     {ResourceId::FromText("CUSTOM"), "CUSTOM"}};
    for (const auto& t : typeNames)
        EXPECT_EQ(ResourceTypeNameOf(t.type), t.name);
}

TEST(cResources, TypesDifferingInCaseStayApart) {
    cResources module;
    module.LoadBytes(test::buildPe(false, {{std::string("AB"), std::uint16_t{1}, 0, Bytes{1}},
                                           {std::string("AB"), std::uint16_t{1}, 9, Bytes{2}},
                                           {std::string("ab"), std::string("X"), 0, Bytes{3}},
                                           {std::string("ab"), std::uint16_t{2}, 0, Bytes{4}}})
                         .bytes);
    ASSERT_EQ(module.ResourceTypeCount(), 2);
    const ResourceId upper = ResourceId::FromText("AB"), lower = ResourceId::FromText("ab");
    EXPECT_EQ(module.IndexOfResourceType(upper), 1);
    EXPECT_EQ(module.IndexOfResourceType(lower), 2);
    EXPECT_EQ(module.IndexOfResourceType(ResourceId::FromText("Ab")), 1);
    EXPECT_EQ(module.ResourceNameCount(upper), 1); // two languages, one name
    EXPECT_EQ(module.ResourceNameCount(lower), 2);
    EXPECT_EQ(module.ResourceName(lower, 1).Text(), "X");
    auto bytes = [&](const ResourceId& type, const ResourceId& name) {
        const auto data = module.ResourceData(type, name);
        return data ? Bytes(data->begin(), data->end()) : Bytes{};
    };
    EXPECT_EQ(bytes(upper, 1), (Bytes{1}));
    EXPECT_EQ(bytes(lower, ResourceId::FromText("x")), (Bytes{3}));
    EXPECT_TRUE(module.HasResource(upper, 2)); // only "ab" has it: found without regard to case
    EXPECT_FALSE(module.HasResource(upper, 3));
}

TEST(cResources, GroupIconsMatchWrestoolByteForByte) {
    test::TempFolder folder;
    for (const bool plus : {false, true}) {
        SCOPED_TRACE(plus ? "PE32+" : "PE32");
        const test::SampleModule sample = test::sampleModule(plus);
        const auto path = folder / "sample.dll";
        test::writeFile(path, sample.pe.bytes);
        const struct {
            ResourceId id;
            const char* wrestoolName;
            Bytes expected;
        } groups[] = {{1, "1", test::icoFile(sample.entries1, sample.images1)},
                      {ResourceId::FromText("MainIcon"), "MAINICON",
                       test::icoFile(sample.entriesMain, sample.imagesMain)}};
        for (const auto& g : groups) {
            SCOPED_TRACE(g.wrestoolName);
            cFileIcon icon;
            ASSERT_TRUE(icon.LoadIconFromEXE(path, g.id));
            EXPECT_EQ(icon.FileName(), path);
            EXPECT_EQ(icon.ResourceID(), g.id);
            const Bytes ours = icon.IconFileBytes();
            EXPECT_EQ(ours, g.expected);
            if (!test::haveProgram("wrestool")) continue;
            const auto theirs = folder / "wrestool.ico";
            ASSERT_EQ(test::run("wrestool -x -t 14 -n " + std::string(g.wrestoolName) + " -o '" +
                                theirs.string() + "' '" + path.string() + "' 2>/dev/null"),
                      0);
            // wrestool 0.32 writes as many bytes again as the group resource has behind the
            // icon (uninitialised buffer); the icon itself is the part its directory spans.
            const Bytes written = test::readFile(theirs);
            ASSERT_GE(written.size(), ours.size());
            EXPECT_EQ(Bytes(written.begin(), written.begin() + ours.size()), ours);
        }
    }
}

TEST(cResources, LoadIconFromEXERaisesItsErrors) {
    test::TempFolder folder;
    const test::SampleModule sample = test::sampleModule(false);
    auto build = [](std::vector<test::BuildResource> r) { return test::buildPe(false, r).bytes; };
    const std::vector<test::IconEntry> one = {test::entryFor(16, 16, 4)};
    const Bytes image = test::iconImage(16, 16, 4);
    const struct {
        const char* what;
        Bytes module;
        const char* reason;
    } cases[] = {
        {"not a module", Bytes(500, 'x'), "Can't load library."},
        {"no such group", sample.pe.bytes, "Can't find resource."},
        {"group outside the file",
         [&] {
             Bytes b = build(
                 {{std::uint16_t{14}, std::uint16_t{7}, 0, test::groupIcon(one, {image}, {1})}});
             // Three directories of one entry each, then the data entry.
             test::put32(b, 0x200 + 3 * (16 + 8), 0x7FFFFF00u);
             return b;
         }(),
         "Can't load resource."},
        {"group shorter than its count",
         build({{std::uint16_t{14}, std::uint16_t{7}, 0, Bytes{0, 0, 1, 0, 2, 0}}}),
         "Can't lock resource."},
        {"group naming a missing icon",
         build({{std::uint16_t{3}, std::uint16_t{1}, 0, image},
                {std::uint16_t{14}, std::uint16_t{7}, 0, test::groupIcon(one, {image}, {2})}}),
         "Failed to read bitmap bits from resource."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::writeFile(folder / "m.dll", c.module);
        cFileIcon icon;
        try {
            icon.LoadIconFromEXE(folder / "m.dll", 7);
            ADD_FAILURE() << "loaded";
        } catch (const ExtractError& e) {
            EXPECT_EQ(e.number(), 2147746842u);
            EXPECT_EQ(std::string(e.what()), std::string("Failed to load icon: ") + c.reason);
            EXPECT_EQ(e.source(), "Velmar32.cFileIcon");
        }
        EXPECT_EQ(icon.ImageCount(), 0);
    }
}

// The root directory is at file offset 0x200; its first entry's target field at 0x214.
TEST(PeResourceDirectory, RefusesHostileFilesAndNeverReadsPastThem) {
    const Bytes good = test::sampleModule(true).pe.bytes;
    auto patched = [&](std::size_t at, std::uint32_t value) {
        Bytes b = good;
        test::put32(b, at, value);
        return b;
    };
    const struct {
        const char* what;
        Bytes file;
        const char* fault;
    } cases[] = {
        {"no MZ", patched(0, 0), "no MZ header"},
        {"PE header past the end", patched(0x3C, 0xFFFFFFF0u), "no PE header"},
        {"unknown magic", patched(0x58, 0x30B), "unknown optional header"},
        {"type directory is the root", patched(0x214, 0x80000000u), "resource directory loops"},
        {"entry count beyond the section", patched(0x20C, 0xFFFF0000u),
         "resource directory has too many entries"},
        {"subdirectory past the section", patched(0x214, 0x80FF0000u),
         "resource directory points outside its section"},
        {"data entry at the type level", patched(0x214, 0x10),
         "resource directory has a leaf at "
         "the wrong level"},
        {"resources outside every section", patched(0x44 + 20 + 112 + 16, 0x900000),
         "resource directory outside the file"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        try {
            ParsePeResources(c.file);
            ADD_FAILURE() << "accepted";
        } catch (const PeFormatError& e) {
            EXPECT_EQ(std::string(e.what()), c.fault);
        }
        cResources module;
        try {
            module.LoadBytes(c.file);
            ADD_FAILURE() << "accepted";
        } catch (const ExtractError& e) {
            EXPECT_EQ(std::string(e.what()), std::string("Can't load library: ") + c.fault + ".");
            EXPECT_EQ(e.source(), "Velmar32.cResources");
        }
        EXPECT_EQ(module.ResourceTypeCount(), 0);
    }
    // Every prefix of the file is refused or read without touching bytes past its end (the
    // sanitizer builds of the fuzzers watch the second half of that promise).
    int accepted = 0;
    for (std::size_t n = 0; n < good.size(); ++n) {
        try {
            const PeResourceDirectory d = ParsePeResources(std::span(good.data(), n));
            ++accepted;
            for (const PeResource& r : d.resources)
                if (const auto bytes = ResourceBytes(std::span(good.data(), n), r)) {
                    EXPECT_LE(*r.fileOffset + bytes->size(), n);
                }
        } catch (const PeFormatError&) {
        }
    }
    EXPECT_GT(accepted, 0);
}

TEST(ExtractCommands, IconsWritesEveryIconAndResourcesListsAsWrestool) {
    test::TempFolder folder;
    const test::SampleModule sample = test::sampleModule(false);
    test::writeFile(folder / "shell.dll", sample.pe.bytes);
    const test::CliOutcome icons =
        test::runCommand(cli::iconsCommand(), {(folder / "shell.dll").string(), folder.path()});
    EXPECT_EQ(icons.code, 0) << icons.err;
    EXPECT_EQ(icons.out,
              (folder / "shell1.ico").string() + "\n" + (folder / "shell2.ico").string() + "\n");
    EXPECT_EQ(test::readFile(folder / "shell1.ico"),
              test::icoFile(sample.entriesMain, sample.imagesMain));
    EXPECT_EQ(test::readFile(folder / "shell2.ico"),
              test::icoFile(sample.entries1, sample.images1));

    // An .ico file is one icon, whatever the case of its extension.
    test::writeFile(folder / "app.ICO", test::icoFile(sample.entries1, sample.images1));
    const auto sub = folder / "out";
    std::filesystem::create_directory(sub);
    EXPECT_EQ(test::runCommand(cli::iconsCommand(), {(folder / "app.ICO").string(), sub}).code, 0);
    EXPECT_EQ(test::readFile(sub / "app1.ico"), test::icoFile(sample.entries1, sample.images1));

    const struct {
        std::vector<std::string> args;
        int code;
        std::string err;
    } failures[] = {
        {{(folder / "shell1.ico").string()}, 2, ""},
        {{(folder / "shell.dll").string(), (folder / "none").string()},
         1,
         "velmar-cli icons: the folder '" + (folder / "none").string() + "' does not exist.\n"},
        {{(folder / "shell1.ico").string() + ".dll", folder.path()},
         1,
         "velmar-cli icons: " + (folder / "shell1.ico").string() +
             ".dll: Can't load library: the file cannot be read.\n"},
    };
    for (const auto& f : failures) {
        const test::CliOutcome r = test::runCommand(cli::iconsCommand(), f.args);
        EXPECT_EQ(r.code, f.code);
        if (!f.err.empty()) {
            EXPECT_EQ(r.err, f.err);
        }
    }
    test::writeFile(
        folder / "plain.dll",
        test::buildPe(false, {{std::uint16_t{10}, std::uint16_t{1}, 0, Bytes{1}}}).bytes);
    const test::CliOutcome none =
        test::runCommand(cli::iconsCommand(), {(folder / "plain.dll").string(), folder.path()});
    EXPECT_EQ(none.code, 1);
    EXPECT_EQ(none.err, "No icon resources were found.\n");

    if (!test::haveProgram("wrestool")) return;
    for (const bool plus : {false, true}) {
        const auto path = folder / "list.dll";
        test::writeFile(path, test::sampleModule(plus).pe.bytes);
        ASSERT_EQ(test::run("wrestool -l '" + path.string() + "' > '" +
                            (folder / "list.txt").string() + "'"),
                  0);
        const test::CliOutcome listed = test::runCommand(cli::resourcesCommand(), {path.string()});
        EXPECT_EQ(listed.code, 0);
        EXPECT_EQ(listed.out, text(test::readFile(folder / "list.txt")));
    }
}

} // namespace
} // namespace velmar
