// The command line of one command: long options and operands.
#ifndef PKGSIGN_ARGUMENTS_H
#define PKGSIGN_ARGUMENTS_H

#include "tests/forge/forge.h"

#include <string>
#include <utility>
#include <vector>

// An option that a command knows.
struct PkgsignOption {
    const char *name; // without the dashes
    bool takesValue = false;
};

struct PkgsignArguments {
    std::vector<std::string> operands;
    std::vector<std::pair<std::string, std::string>> options; // name and value, as given
};

// Sorts words into options ("--name", "--name VALUE" or "--name=VALUE") and operands. A word "--" ends the options.
// Fails on an unknown option, a missing value or a value that does not belong.
forge::Status PkgsignParseArguments(const std::vector<std::string> &words, const std::vector<PkgsignOption> &known,
                                    PkgsignArguments *argumentsOut);

bool PkgsignHasOption(const PkgsignArguments &arguments, const std::string &name);

// The value of an option, the last one if it is repeated, or `fallback`.
std::string PkgsignOptionValue(const PkgsignArguments &arguments, const std::string &name,
                               const std::string &fallback = {});

// The values of an option that may be repeated, in order.
std::vector<std::string> PkgsignOptionValues(const PkgsignArguments &arguments, const std::string &name);

#endif
