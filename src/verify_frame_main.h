// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The frame of the tool: reads the command line, finds the operation that it names and runs it.
#ifndef SRC_VERIFY_FRAME_MAIN_H
#define SRC_VERIFY_FRAME_MAIN_H

#include <stddef.h>
#include <stdint.h>

#include "src/verify_param.h"

// One operation: takes the VerifyParam and returns its status.
using VerifyHandler = int32_t (*)(void *param);

struct VerifyFunc {
    char name[OPCODE_SIZE];
    VerifyHandler handler;
};

inline constexpr size_t VERIFY_FUNC_COUNT = 1;

extern VerifyParam g_verifyParam;
extern const VerifyFunc g_verifyFuncTable[VERIFY_FUNC_COUNT];

// Parses the command line and runs the operation. Returns 0 or the first failure's status, for the process to end with.
[[nodiscard]] int UPGRADE_MainExe(int argc, char **argv);

// Fills g_verifyParam from the command line. No option is mandatory, arguments that are no options are ignored, and a
// repeated option overwrites.
//
//   argc  in, at most 10, the program's name included.
//   argv  in/out, reordered by getopt.
//
// Returns 0, or -1 for too many arguments, no argument vector, or an option that cannot be stored; options behind that
// one are not read.
[[nodiscard]] int UPGRADE_CmdParse(int argc, char **argv);

// Stores the argument of one option, which getopt left in `optarg`.
//
//   optionChar  in, what getopt returned.
//
// Returns 0, or -1 for an unknown option or a text that cannot be copied; neither is logged here.
[[nodiscard]] int UPGRADE_CmdParseSingle(int optionChar);

// Runs the operation that g_verifyParam names. Returns its status, or -1 when there is none of that name.
[[nodiscard]] int UPGRADE_CmdExe();

#endif
