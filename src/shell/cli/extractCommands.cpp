// velmar-cli icons and resources: the icon extractor's reading of icon files and modules.
//
// `icons FILE OUTDIR` writes every icon of FILE as an .ico file named after FILE's stem and
// the icon's number from 1: an .ico file is one icon ("app1.ico"), a module gives one file for
// each of its group icons in the directory's order ("shell1.ico", "shell2.ico", ...), each
// rebuilt from its group and icon resources. A group that cannot be read is reported and
// skipped; its number is not given to the next one, so names follow the module's list.
//
// `resources FILE` lists every resource of a module, one line for each type, name and language
// in the form icoutils' `wrestool -l` prints, so that scripts written for it read ours.
#include "extract/ExtractError.h"
#include "extract/cFileIcon.h"
#include "extract/cResources.h"
#include "formats/gateway.h"
#include "shell/cli/CliCommand.h"

#include <cstdio>
#include <ostream>

namespace velmar::cli {

namespace {

bool saveIcon(CliContext& ctx, const cFileIcon& icon, const std::filesystem::path& target) {
    try {
        icon.SaveIcon(target);
        ctx.out << target.string() << "\n";
        return true;
    } catch (const ExtractError& e) {
        ctx.err << "velmar-cli icons: " << target.string() << ": " << e.what() << "\n";
        return false;
    }
}

int iconsOfIconFile(CliContext& ctx, const std::filesystem::path& file,
                    const std::filesystem::path& folder) {
    cFileIcon icon;
    try {
        icon.LoadIcon(file);
    } catch (const ExtractError& e) {
        ctx.err << "velmar-cli icons: " << file.string() << ": " << e.what() << "\n";
        return 1;
    }
    return saveIcon(ctx, icon, folder / (file.stem().string() + "1.ico")) ? 0 : 1;
}

int iconsOfModule(CliContext& ctx, const std::filesystem::path& file,
                  const std::filesystem::path& folder) {
    cResources module;
    try {
        module.FILE(file);
    } catch (const ExtractError& e) {
        ctx.err << "velmar-cli icons: " << file.string() << ": " << e.what() << "\n";
        return 1;
    }
    const ResourceId groupIcon(std::uint16_t{14});
    const int count = module.ResourceNameCount(groupIcon);
    if (count == 0) {
        ctx.err << "No icon resources were found.\n";
        return 1;
    }
    int failed = 0;
    for (int i = 1; i <= count; ++i) {
        const ResourceId& name = module.ResourceName(groupIcon, i);
        cFileIcon icon;
        try {
            icon.LoadIconFromEXE(module, name);
        } catch (const ExtractError& e) {
            ctx.err << "velmar-cli icons: icon " << name.Text() << ": " << e.what() << "\n";
            ++failed;
            continue;
        }
        const std::string target = file.stem().string() + std::to_string(i) + ".ico";
        failed += saveIcon(ctx, icon, folder / target) ? 0 : 1;
    }
    return failed == 0 ? 0 : 1;
}

int runIcons(CliContext& ctx, std::span<const std::string> args) {
    if (args.size() != 2) {
        ctx.err << "velmar-cli icons: give the icon file or module and the folder for its icons.\n"
                   "Usage: velmar-cli icons FILE OUTDIR\n";
        return 2;
    }
    if (!std::filesystem::is_directory(args[1])) {
        ctx.err << "velmar-cli icons: the folder '" << args[1] << "' does not exist.\n";
        return 1;
    }
    // As the extractor decides: an .ico file by its extension, anything else as a module.
    if (LowerCase(ExtensionOf(args[0])) == "ico") return iconsOfIconFile(ctx, args[0], args[1]);
    return iconsOfModule(ctx, args[0], args[1]);
}

// wrestool's text for an id: a number as it is, a name between single quotes.
std::string wrestoolId(const ResourceId& id) {
    return id.IsNumber() ? id.Text() : "'" + id.Text() + "'";
}

// wrestool's names of the numbered types it knows; others get no "type=" part.
const char* wrestoolTypeName(const ResourceId& type) {
    static constexpr const char* kNames[] = {
        nullptr,        "cursor",   "bitmap",     "icon",        "menu",    "dialog",
        "string",       "fontdir",  "font",       "accelerator", "rcdata",  "messagelist",
        "group_cursor", nullptr,    "group_icon", nullptr,       "version", "dlginclude",
        nullptr,        "plugplay", "vxd",        "anicursor",   "aniicon"};
    if (!type.IsNumber() || type.Number() >= std::size(kNames)) return nullptr;
    return kNames[type.Number()];
}

int runResources(CliContext& ctx, std::span<const std::string> args) {
    if (args.size() != 1) {
        ctx.err << "velmar-cli resources: give the module to list.\n"
                   "Usage: velmar-cli resources FILE\n";
        return 2;
    }
    cResources module;
    try {
        module.FILE(args[0]);
    } catch (const ExtractError& e) {
        ctx.err << "velmar-cli resources: " << args[0] << ": " << e.what() << "\n";
        return 1;
    }
    for (const PeResource& r : module.Resources()) {
        char where[48];
        std::snprintf(where, sizeof where, "offset=0x%x size=%u]", r.dataRva, r.size);
        ctx.out << "--type=" << wrestoolId(r.type) << " --name=" << wrestoolId(r.name)
                << " --language=" << wrestoolId(r.language) << " [";
        if (const char* name = wrestoolTypeName(r.type)) ctx.out << "type=" << name << " ";
        ctx.out << where << "\n";
    }
    return 0;
}

} // namespace

CliCommand iconsCommand() {
    return {"icons", "FILE OUTDIR",
            "write every icon of the .ico file, program or library FILE to OUTDIR as .ico files "
            "named stem + number (from 1)",
            runIcons};
}

CliCommand resourcesCommand() {
    return {"resources", "FILE",
            "list the resource types, names and languages of the program or library FILE, one "
            "line each as wrestool -l prints them",
            runResources};
}

} // namespace velmar::cli
