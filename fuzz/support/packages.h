// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Files for the command line: a package that is authentic and many that are not.
#ifndef FUZZ_PACKAGES_H
#define FUZZ_PACKAGES_H

#include <string>

// Writes them into a new directory and returns its path.
std::string FuzzWritePackages();

// Removes the directory and everything in it.
void FuzzRemovePackages(const std::string &directory);

#endif
