// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Programs run as processes, as a user would run them.
#ifndef SUPPORT_PROCESS_H
#define SUPPORT_PROCESS_H

#include <sys/types.h>

#include <string>
#include <vector>

struct ProcessResult {
    int exitStatus = -1; // 0 to 255; -1 when the program could not be started or was ended by a signal
    std::string output;  // what it wrote to standard output
    std::string errors;  // what it wrote to standard error
};

// Runs a program with its arguments to its end. `environment` holds "NAME=value" settings added to this process's own.
ProcessResult RunProcess(const std::vector<std::string> &command, const std::vector<std::string> &environment = {});

// Starts a program beside this one, without input. output, errors: descriptors that become its standard output and
// error. -1 when it could not be started; else the caller waits for it.
pid_t StartProcess(const std::vector<std::string> &command, const std::vector<std::string> &environment, int output,
                   int errors);

// A directory of its own for one test, removed with everything in it at the end of the scope.
struct TemporaryDirectory {
    std::string path;

    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;

    std::string File(const std::string &name) const;
};

#endif
