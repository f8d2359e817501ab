#pragma once
// velmar-cli's commands as data: each subsystem contributes rows, and --help is printed from
// the same rows, so the help can never disagree with what runs.
#include <functional>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmar::cli {

struct CliContext {
    std::ostream& out;
    std::ostream& err;
};

struct CliCommand {
    std::string_view name;    // first word on the command line
    std::string_view usage;   // arguments after the name, as shown in --help
    std::string_view summary; // one line for --help
    // Returns the process exit code: 0 success, 1 failure of the work, 2 bad usage.
    std::function<int(CliContext&, std::span<const std::string>)> run;
};

// The commands of the subsystems, each in its own file.
CliCommand convertCommand();
CliCommand depthCommand();
CliCommand encodeCommand();
CliCommand filterCommand();
CliCommand dialogCommand();
CliCommand gifFramesCommand();
CliCommand gifFrameCommand();
CliCommand runCommand();
CliCommand pdfCommand();
CliCommand batchCommand();
CliCommand iconsCommand();
CliCommand resourcesCommand();
CliCommand frxCommand();

// All commands, in the order --help lists them.
const std::vector<CliCommand>& allCommands();

// The whole program: argv[0] is ignored. Output goes to the given streams.
int runVelmarCli(std::span<const std::string> args, std::ostream& out, std::ostream& err);

} // namespace velmar::cli
