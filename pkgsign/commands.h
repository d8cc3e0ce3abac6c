// The commands of the tool.
#ifndef PKGSIGN_COMMANDS_H
#define PKGSIGN_COMMANDS_H

#include "pkgsign/arguments.h"

#include <string>
#include <vector>

// How a command ends.
enum class PkgsignEnd {
    Done,   // exit status 0
    Failed, // exit status 1: the work could not be done
    Misuse, // exit status 2: the command line is wrong
};

struct PkgsignOutcome {
    PkgsignEnd end = PkgsignEnd::Failed;
    std::string reason; // one line; empty when done
};

struct PkgsignCommand {
    const char *name;
    const char *summary; // a line for the overview
    const char *help;    // the text for --help
    std::vector<PkgsignOption> options;
    size_t operandCount;
    PkgsignOutcome (*run)(const PkgsignArguments &arguments);
};

PkgsignCommand PkgsignInitCommand();
PkgsignCommand PkgsignCrlCommand();
PkgsignCommand PkgsignSignCommand();
PkgsignCommand PkgsignTimestampCommand();
PkgsignCommand PkgsignTokenCommand();
PkgsignCommand PkgsignSignatureCommand();
PkgsignCommand PkgsignEmbedTokenCommand();

// The outcome of work whose options were right.
inline PkgsignOutcome PkgsignFinish(const forge::Status &status)
{
    return {status.ok ? PkgsignEnd::Done : PkgsignEnd::Failed, status.reason};
}

// The outcome of options that were wrong.
inline PkgsignOutcome PkgsignRefuse(const forge::Status &status)
{
    return {PkgsignEnd::Misuse, status.reason};
}

#endif
