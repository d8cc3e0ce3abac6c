// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/pki.h"

#include <algorithm>

namespace pkgsign
{
namespace
{

constexpr size_t NAME_SIZE_MAX = 100; // a file name holds what is put before and behind as well
constexpr const char *ROLE_NAMES[] = {"root", "issuing-ca", "signer", "timestamp"};

} // namespace

const char *RoleName(Role role)
{
    return ROLE_NAMES[static_cast<size_t>(role)];
}

Status ParseRole(const std::string &text, Role *roleOut)
{
    for (size_t i = 0; i < std::size(ROLE_NAMES); ++i) {
        if (text == ROLE_NAMES[i]) {
            *roleOut = static_cast<Role>(i);
            return {};
        }
    }
    return Fail("'" + text + "' is none of root, issuing-ca, signer and timestamp");
}

bool IsName(const std::string &text)
{
    static constexpr char CHARACTERS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
    return !text.empty() && text.size() <= NAME_SIZE_MAX && text[0] != '.' && text[0] != '-' &&
           text.find_first_not_of(CHARACTERS) == std::string::npos;
}

const Entry *FindEntry(const Pki &pki, const std::string &name)
{
    const auto found = std::find_if(pki.certificates.begin(), pki.certificates.end(),
                                    [&](const Entry &entry) { return entry.name == name; });
    return found == pki.certificates.end() ? nullptr : &*found;
}

Entry *FindEntry(Pki *pki, const std::string &name)
{
    return const_cast<Entry *>(FindEntry(*pki, name));
}

const Entry *FindSerial(const Pki &pki, const std::string &issuer, const std::string &serial)
{
    const auto found = std::find_if(pki.certificates.begin(), pki.certificates.end(), [&](const Entry &entry) {
        return entry.issuer == issuer && entry.serial == serial && entry.state != State::Requested;
    });
    return found == pki.certificates.end() ? nullptr : &*found;
}

const Revocation *FindRevocation(const Pki &pki, const std::string &issuer, const std::string &serial)
{
    const auto found = std::find_if(pki.revocations.begin(), pki.revocations.end(), [&](const Revocation &revocation) {
        return revocation.issuer == issuer && revocation.serial == serial;
    });
    return found == pki.revocations.end() ? nullptr : &*found;
}

std::vector<Revocation> RevocationsOf(const Pki &pki, const std::string &issuer)
{
    std::vector<Revocation> revocations;
    std::copy_if(pki.revocations.begin(), pki.revocations.end(), std::back_inserter(revocations),
                 [&](const Revocation &revocation) { return revocation.issuer == issuer; });
    return revocations;
}

const PublishedCrl *FindCrl(const Pki &pki, const std::string &authority)
{
    const auto found = std::find_if(pki.crls.begin(), pki.crls.end(),
                                    [&](const PublishedCrl &crl) { return crl.issuer == authority; });
    return found == pki.crls.end() ? nullptr : &*found;
}

const Entry *FindAuthority(const Pki &pki, const std::string &authority)
{
    const Entry *last = nullptr;
    for (const Entry &entry : pki.certificates) {
        if (IsCa(entry.role) && entry.state == State::Issued && entry.authority == authority &&
            (last == nullptr || entry.notAfter > last->notAfter)) {
            last = &entry;
        }
    }
    return last;
}

void RememberCrl(const PublishedCrl &crl, Pki *pki)
{
    for (PublishedCrl &known : pki->crls) {
        if (known.issuer == crl.issuer) {
            known = crl;
            return;
        }
    }
    pki->crls.push_back(crl);
}

std::string FreeName(const Pki &pki, const std::string &name)
{
    std::string free = name;
    for (int i = 2; FindEntry(pki, free) != nullptr; ++i) {
        free = name + "-" + std::to_string(i);
    }
    return free;
}

int CompareNumbers(const std::string &a, const std::string &b)
{
    if (a.size() != b.size()) {
        return a.size() < b.size() ? -1 : 1; // neither has leading zeros
    }
    return a.compare(b);
}

} // namespace pkgsign
