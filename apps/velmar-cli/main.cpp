#include "shell/cli/CliCommand.h"

#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    return velmar::cli::runVelmarCli(args, std::cout, std::cerr);
}
