// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "src/verify_frame_main.h"

#include <string.h>
#include <unistd.h>

#include "annexk.h"
#include "qzlog.h"
#include "src/module.h"
#include "src/upgrade_sigkit_handle.h"

#define SOURCE_NAME "verify_frame_main"

namespace
{

constexpr int MAX_ARGUMENTS = 10; // the program's name included
constexpr char OPTIONS[] = "f:e:c:h:";

// The events' line numbers in the log.
constexpr int LINE_OPCODE = 27;
constexpr int LINE_CRL_PATH = 34;
constexpr int LINE_CHECKSUM_PATH = 41;
constexpr int LINE_CMS_PATH = 48;
constexpr int LINE_PARAMETER_ERROR = 70;
constexpr int LINE_OPTION_FAILED = 81;
constexpr int LINE_EXECUTE = 105;
constexpr int LINE_EXECUTED = 107;
constexpr int LINE_NO_OPCODE = 111;
constexpr int LINE_PARSE_FAILED = 123;
constexpr int LINE_EXECUTE_FAILED = 130;

// Copies the option's argument, cut to the field. Returns whether it was copied.
bool StoreArgument(char *field, size_t fieldSize)
{
    return strncpy_s(field, fieldSize, optarg, fieldSize - 1) == 0;
}

const VerifyFunc *FindOperation(const char *opcode)
{
    for (const VerifyFunc &row : g_verifyFuncTable) {
        if (strcmp(row.name, opcode) == 0) {
            return &row;
        }
    }
    return nullptr;
}

} // namespace

VerifyParam g_verifyParam = {};

const VerifyFunc g_verifyFuncTable[VERIFY_FUNC_COUNT] = {{"CHECK_PKG_INTEGRITY", UPGRADE_CheckPkgIntegrity}};

int UPGRADE_MainExe(int argc, char **argv)
{
    const int parsed = UPGRADE_CmdParse(argc, argv);
    if (parsed != 0) {
        LOG_EVENT(QZLOG_ERROR, LINE_PARSE_FAILED, "Upgrade Command parse fail!");
        return parsed;
    }
    const int status = UPGRADE_CmdExe();
    if (status != 0) {
        LOG_EVENT(QZLOG_ERROR, LINE_EXECUTE_FAILED, "Verify VKB Command exec fail!");
        return status;
    }
    return 0;
}

int UPGRADE_CmdParse(int argc, char **argv)
{
    if (argv == nullptr || argc > MAX_ARGUMENTS) {
        LOG_EVENT(QZLOG_ERROR, LINE_PARAMETER_ERROR, "API parameter error.");
        return -1;
    }
    for (int option = getopt(argc, argv, OPTIONS); option != -1; option = getopt(argc, argv, OPTIONS)) {
        if (UPGRADE_CmdParseSingle(option) != 0) {
            LOG_EVENT(QZLOG_ERROR, LINE_OPTION_FAILED, "API parameter parse fail.");
            return -1;
        }
    }
    return 0;
}

int UPGRADE_CmdParseSingle(int optionChar)
{
    VerifyParam &param = g_verifyParam;
    switch (optionChar) {
    case 'f':
        if (!StoreArgument(param.opcode, sizeof(param.opcode))) {
            return -1;
        }
        LOG_EVENT(QZLOG_INFO, LINE_OPCODE, "The Opcode is : %s.", param.opcode);
        return 0;
    case 'c':
        if (!StoreArgument(param.crlPath, sizeof(param.crlPath))) {
            return -1;
        }
        LOG_EVENT(QZLOG_INFO, LINE_CRL_PATH, "The path of crl file is : %s.", param.crlPath);
        return 0;
    case 'e':
        if (!StoreArgument(param.checksumPath, sizeof(param.checksumPath))) {
            return -1;
        }
        LOG_EVENT(QZLOG_INFO, LINE_CHECKSUM_PATH, "The path of checksum file is : %s.", param.checksumPath);
        return 0;
    case 'h':
        if (!StoreArgument(param.cmsPath, sizeof(param.cmsPath))) {
            return -1;
        }
        LOG_EVENT(QZLOG_INFO, LINE_CMS_PATH, "The path of cms file is (%s).", param.cmsPath);
        return 0;
    default:
        return -1;
    }
}

int UPGRADE_CmdExe()
{
    const VerifyFunc *const operation = FindOperation(g_verifyParam.opcode);
    if (operation == nullptr) {
        LOG_EVENT(QZLOG_ERROR, LINE_NO_OPCODE, "VERIFY_TOOL: Cannot find opcode(%s).", g_verifyParam.opcode);
        return -1;
    }
    LOG_EVENT(QZLOG_INFO, LINE_EXECUTE, "VERIFY_TOOL: Execute function (%s).", g_verifyParam.opcode);
    const int status = operation->handler(&g_verifyParam);
    LOG_EVENT(QZLOG_INFO, LINE_EXECUTED, "VERIFY_TOOL: Execute ret(%d).", status);
    return status;
}
