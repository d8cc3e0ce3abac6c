// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "crltool/comparison.h"

#include <string.h>

#include "crltool/certificates.h"

namespace
{

constexpr int64_t DAY = 86400; // seconds

// The number, from 1, of the first decoded CRL without a summary; 0 when there is none. SigkitCrlCompare finds one
// between others, but not at the end: the count of summaries does not reach so far.
uint32_t FindUnreadable(const LoadedCrlFile &file)
{
    for (uint32_t i = 0; i < file.decodedCrls; ++i) {
        if (file.bundle->crls[i] == nullptr) {
            return i + 1;
        }
    }
    return 0;
}

// The number, from 1, of the first CRL whose issuer's name cannot be printed; 0 when there is none.
uint32_t FindNameless(const SigkitCrlBundle &bundle)
{
    for (uint32_t i = 0; i < SIGKIT_LIST_CAPACITY; ++i) {
        if (bundle.crls[i] != nullptr && bundle.crls[i]->issuerName[0] == '\0') {
            return i + 1;
        }
    }
    return 0;
}

// Why no package could be verified with a file for want of space.
Problem SpaceProblem(const LoadedCrlFile &file)
{
    if (file.images > FILE_IMAGES_MAX) {
        return {Obstacle::TOO_MANY_IMAGES, &file};
    }
    if (file.certs > FILE_CERTS_MAX) {
        return {Obstacle::TOO_MANY_CERTS, &file, file.certs};
    }
    return {};
}

Problem StrayProblem(const LoadedCrlFile &file)
{
    uint32_t status = SIGKIT_OK;
    const SigkitX509Cert *const cert = FindStrayCert(file, &status);
    return cert == nullptr ? Problem{} : Problem{Obstacle::STRAY_CERT, &file, status, cert};
}

// What hinders whoever wants to verify packages with a file.
Problem UseProblem(const LoadedCrlFile &file)
{
    const Problem problem = SpaceProblem(file);
    return problem.obstacle == Obstacle::NONE ? StrayProblem(file) : problem;
}

// What makes a file one that cannot be compared with any other.
Problem FileProblem(const LoadedCrlFile &file)
{
    if (file.skippedCrls != 0) {
        const Problem problem = SpaceProblem(file);
        return problem.obstacle == Obstacle::NONE ? Problem{Obstacle::SKIPPED_CRLS, &file, file.skippedCrls} : problem;
    }
    const uint32_t unreadable = FindUnreadable(file);
    if (unreadable != 0) {
        return {Obstacle::UNREADABLE_CRL, &file, unreadable};
    }
    const uint32_t nameless = FindNameless(*file.bundle);
    return nameless == 0 ? Problem{} : Problem{Obstacle::NAMELESS_CRL, &file, nameless};
}

// The first of two problems, if any.
Problem Either(const Problem &one, const Problem &other)
{
    return one.obstacle == Obstacle::NONE ? other : one;
}

// Asks the library.
Problem LibraryProblem(const LoadedCrlFile &first, const LoadedCrlFile &second, uint32_t *result)
{
    const uint32_t status = SigkitCrlCompare(first.ctx, first.bundle, second.bundle, result);
    if (status == SIGKIT_ERR_CRL_BUNDLE_UNVERIFIED) { // a certificate that stands for a CRL's issuer may be why
        const Problem stray = Either(StrayProblem(first), StrayProblem(second));
        return Either(stray, {Obstacle::LIBRARY, nullptr, status});
    }
    if (status != SIGKIT_OK) {
        return {Obstacle::LIBRARY, nullptr, status};
    }
    return *result == SIGKIT_CRL_CONFLICT ? Problem{Obstacle::CONFLICT} : Problem{};
}

// What hinders the file that the answer recommends, both when it recommends either: a device whose file is no good is
// helped by a newer one that is.
Problem AnswerProblem(const LoadedCrlFile &first, const LoadedCrlFile &second, uint32_t result)
{
    const Problem ofFirst = result == SIGKIT_CRL_SECOND_NEWER ? Problem{} : UseProblem(first);
    if (ofFirst.obstacle != Obstacle::NONE || result == SIGKIT_CRL_FIRST_NEWER) {
        return ofFirst;
    }
    return UseProblem(second);
}

const SigkitCrlInfo *NewestOf(const SigkitCrlBundle &bundle)
{
    const SigkitCrlInfo *newest = nullptr;
    for (const SigkitCrlInfo *const info : bundle.crls) {
        if (info != nullptr && (newest == nullptr || info->thisUpdate > newest->thisUpdate)) {
            newest = info;
        }
    }
    return newest;
}

// The CRL of the same issuer and another date, or null.
const SigkitCrlInfo *OtherIssueOf(const SigkitCrlInfo &crl, const SigkitCrlBundle &bundle)
{
    for (const SigkitCrlInfo *const info : bundle.crls) {
        if (info != nullptr && strcmp(info->issuerName, crl.issuerName) == 0 && info->thisUpdate != crl.thisUpdate) {
            return info;
        }
    }
    return nullptr;
}

// Points out the newest CRL of a file when its date is not one that an honest release explains: nobody can know whether
// it is of the future without a clock, which a device may not have, but until then its file counts as the newer one. A
// release either signs its CRLs on one day, or renews one of them before that ends; a CRL that is not in the other file
// should not be dated after all those of its own file have ended.
FarAhead FindFarAhead(const LoadedCrlFile &file, const LoadedCrlFile &other)
{
    const SigkitCrlInfo *const newest = NewestOf(*file.bundle);
    if (newest == nullptr) {
        return {};
    }
    const SigkitCrlInfo *lastToEnd = nullptr; // of the others in its file
    for (const SigkitCrlInfo *const info : file.bundle->crls) {
        if (info == nullptr || info == newest) {
            continue;
        }
        if (newest->thisUpdate - info->thisUpdate <= DAY) {
            return {};
        }
        lastToEnd = lastToEnd == nullptr || info->nextUpdate > lastToEnd->nextUpdate ? info : lastToEnd;
    }
    const SigkitCrlInfo *const renewed = OtherIssueOf(*newest, *other.bundle);
    const SigkitCrlInfo *const due = renewed != nullptr ? renewed : lastToEnd;
    if (due == nullptr || newest->thisUpdate - due->nextUpdate <= DAY) {
        return {};
    }
    return {&file, newest, due->nextUpdate};
}

} // namespace

Comparison CompareFiles(const LoadedCrlFile &first, const LoadedCrlFile &second)
{
    Comparison comparison = {first,
                             second,
                             Either(FileProblem(first), FileProblem(second)),
                             SIGKIT_CRL_CONFLICT,
                             {FindFarAhead(first, second), FindFarAhead(second, first)}};
    uint32_t result = SIGKIT_CRL_CONFLICT;
    if (comparison.problem.obstacle == Obstacle::NONE) {
        comparison.problem = LibraryProblem(first, second, &result);
    }
    if (comparison.problem.obstacle == Obstacle::NONE) {
        comparison.problem = AnswerProblem(first, second, result);
    }
    comparison.result = comparison.problem.obstacle == Obstacle::NONE ? result : SIGKIT_CRL_CONFLICT;
    return comparison;
}
