// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Texts in the form in which a program is given its arguments and its environment.
#ifndef PKGSIGN_CRYPTO_POINTERS_H
#define PKGSIGN_CRYPTO_POINTERS_H

#include <string>
#include <vector>

namespace pkgsign
{

// Pointers into `texts`, which must outlive them, and a null pointer behind the last.
inline std::vector<char *> Pointers(std::vector<std::string> *texts)
{
    std::vector<char *> pointers;
    for (std::string &text : *texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace pkgsign

#endif
