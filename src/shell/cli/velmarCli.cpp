#include "shell/cli/CliCommand.h"
#include "shell/version.h"

#include <ostream>

namespace velmar::cli {

namespace {

void printHelp(std::ostream& out) {
    out << "velmar-cli - " << productName() << " " << productVersion()
        << " from the command line\n\n"
        << "Usage:\n"
        << "  velmar-cli --help          show this text\n"
        << "  velmar-cli --version       show the program's version\n";
    for (const auto& c : allCommands())
        out << "  velmar-cli " << c.name << (c.usage.empty() ? "" : " ") << c.usage << "\n      "
            << c.summary << "\n";
    out << "\nExit status: 0 when the work was done, 1 when it failed, 2 for a usage error.\n";
}

} // namespace

const std::vector<CliCommand>& allCommands() {
    // Commands join this table as their subsystems are built.
    static const std::vector<CliCommand> commands = {
        convertCommand(),  depthCommand(),  encodeCommand(), gifFramesCommand(),
        gifFrameCommand(), filterCommand(), dialogCommand(), runCommand(),
        pdfCommand(),      batchCommand(),  iconsCommand(),  resourcesCommand(),
        frxCommand()};
    return commands;
}

int runVelmarCli(std::span<const std::string> args, std::ostream& out, std::ostream& err) {
    if (args.empty() || args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
        printHelp(out);
        return args.empty() ? 2 : 0;
    }
    if (args[0] == "--version") {
        out << productName() << " " << productVersion() << "\n";
        return 0;
    }
    for (const auto& c : allCommands()) {
        if (args[0] == c.name) {
            CliContext ctx{out, err};
            return c.run(ctx, args.subspan(1));
        }
    }
    err << "velmar-cli: unknown command '" << args[0] << "'. Try velmar-cli --help.\n";
    return 2;
}

} // namespace velmar::cli
