#include "shell/cli/CliCommand.h"

#include <gtest/gtest.h>

#include <sstream>

namespace velmar::cli {
namespace {

struct CliRun {
    int code;
    std::string out, err;
};

CliRun run(std::vector<std::string> args) {
    std::ostringstream out, err;
    const int code = runVelmarCli(args, out, err);
    return {code, out.str(), err.str()};
}

TEST(VelmarCli, VersionHelpAndUnknownCommands) {
    const CliRun version = run({"--version"});
    EXPECT_EQ(version.code, 0);
    EXPECT_EQ(version.out, "Velmar Kestrin SILK " VELMAR_TEST_VERSION "\n");

    const CliRun help = run({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_NE(help.out.find("velmar-cli --version"), std::string::npos);
    for (const auto& c : allCommands())
        EXPECT_NE(help.out.find(std::string(c.name)), std::string::npos) << c.name;

    const CliRun none = run({});
    EXPECT_EQ(none.code, 2);
    EXPECT_NE(none.out.find("Usage:"), std::string::npos);

    const CliRun unknown = run({"frobnicate"});
    EXPECT_EQ(unknown.code, 2);
    EXPECT_EQ(unknown.err, "velmar-cli: unknown command 'frobnicate'. Try velmar-cli --help.\n");
}

} // namespace
} // namespace velmar::cli
