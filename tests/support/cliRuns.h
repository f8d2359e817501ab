#pragma once
// Running velmar-cli inside a test, and comparing the pictures its commands write.
#include "pixel/Bits.h"
#include "shell/cli/CliCommand.h"

#include <sstream>
#include <string>
#include <vector>

namespace velmar::test {

// What a run returned and printed.
struct CliOutcome {
    int code;
    std::string out, err;
};

// The whole program, as a shell would call it (without argv[0]'s meaning).
inline CliOutcome runCli(const std::vector<std::string>& args) {
    std::ostringstream out, err;
    const int code = cli::runVelmarCli(args, out, err);
    return {code, out.str(), err.str()};
}

// One command's own entry, given the words after its name.
inline CliOutcome runCommand(const cli::CliCommand& command, const std::vector<std::string>& args) {
    std::ostringstream out, err;
    cli::CliContext ctx{out, err};
    const int code = command.run(ctx, args);
    return {code, out.str(), err.str()};
}

// Same size and the same colour bytes (channels 0..2) everywhere; picture files carry no mask.
inline bool sameColours(const Bits& a, const Bits& b) {
    if (a.Width() != b.Width() || a.Height() != b.Height()) return false;
    for (int y = 0; y < a.Height(); ++y)
        for (int x = 0; x < a.Width(); ++x)
            for (int c = 0; c < 3; ++c)
                if (a(c, x, y) != b(c, x, y)) return false;
    return true;
}

// Every pixel grey: red, green and blue equal.
inline bool allGrey(const Bits& b) {
    for (int y = 0; y < b.Height(); ++y)
        for (int x = 0; x < b.Width(); ++x)
            if (b(Bits::Red, x, y) != b(Bits::Green, x, y) ||
                b(Bits::Green, x, y) != b(Bits::Blue, x, y))
                return false;
    return true;
}

} // namespace velmar::test
