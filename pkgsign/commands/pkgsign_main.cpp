// pkgsign: the release side.
#include <cstdio>
#include <exception>

#include "pkgsign/commands/command.h"

int main(int argc, char **argv)
{
    try {
        return pkgsign::RunCommandLine(argc, argv, pkgsign::AllCommands());
    } catch (const std::exception &error) { // no memory, for the most part
        (void)std::fprintf(stderr, "pkgsign: %s\n", error.what());
        return pkgsign::EXIT_NOT_DONE;
    }
}
