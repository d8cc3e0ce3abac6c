#include "crltool/comparison.h"

#include <string.h>

#include <algorithm>
#include <vector>

#include "crltool/text.h"

namespace
{

// What a verifier's context holds, and what of it is not the CRL file's: the root, the at most two certificates of a
// message and of its token each, and the image of a message that is PEM. A message in DER and the token take no image.
constexpr uint32_t CAPACITY = sizeof(SigkitCrlBundle::crls) / sizeof(SigkitCrlInfo *);
constexpr uint32_t CERTIFICATES_MAX = CAPACITY - 1 - 2 - 2;
constexpr uint32_t IMAGES_MAX = CAPACITY - 1 - 1;

constexpr int64_t DAY = 86400; // seconds

// The number, from 1, of the first CRL whose issuer's name cannot be printed; 0 when there is none.
size_t FindNameless(const SigkitCrlBundle &bundle)
{
    for (size_t i = 0; i < CAPACITY; ++i) {
        if (bundle.crls[i] != nullptr && bundle.crls[i]->issuerName[0] == '\0') {
            return i + 1;
        }
    }
    return 0;
}

// Why no package could be verified with a file; empty when one could.
std::string SpaceObstacle(const CrlFile &file)
{
    const SigkitCrlBundle &bundle = *file.bundle;
    if (bundle.images > IMAGES_MAX) {
        return file.path + " has more than " + std::to_string(IMAGES_MAX) +
               " PEM blocks of CRLs and certificates, which leaves the verifier no space for a package";
    }
    if (bundle.storedCerts > CERTIFICATES_MAX) {
        return file.path + " has " + std::to_string(bundle.storedCerts) + " CA certificates, more than " +
               std::to_string(CERTIFICATES_MAX) + ", which leaves the verifier no space for a package";
    }
    return "";
}

// What makes a file one that cannot be compared with any other; empty when nothing does.
std::string FileObstacle(const CrlFile &file)
{
    const SigkitCrlBundle &bundle = *file.bundle;
    if (bundle.skippedCrls != 0) {
        const std::string space = SpaceObstacle(file);
        const std::string skipped = "X509 CRL blocks of " + file.path + " were skipped (" +
                                    std::to_string(bundle.skippedCrls) +
                                    "): they do not decode, or there is no space for them";
        return space.empty() ? skipped : space;
    }
    const size_t nameless = FindNameless(bundle);
    if (nameless != 0) {
        return "the issuer's name of CRL " + std::to_string(nameless) + " of " + file.path + " cannot be printed";
    }
    return "";
}

// Why the library does not compare the files; empty when it does.
std::string LibraryObstacle(uint32_t status, uint32_t result)
{
    if (status != SIGKIT_OK) {
        return SigkitStatusText(status);
    }
    return result == SIGKIT_CRL_CONFLICT ? "each file is newer than the other for some issuer" : "";
}

struct Entry {
    const CrlFile *file;
    const SigkitCrlInfo *info;
};

// The summaries of both files, the newest first.
std::vector<Entry> NewestFirst(const CrlFile &first, const CrlFile &second)
{
    std::vector<Entry> entries;
    for (const CrlFile *const file : {&first, &second}) {
        for (const SigkitCrlInfo *const info : file->bundle->crls) {
            if (info != nullptr) {
                entries.push_back({file, info});
            }
        }
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry &a, const Entry &b) { return a.info->thisUpdate > b.info->thisUpdate; });
    return entries;
}

// Points out the newest CRL when it is dated more than a day after every other one, a copy of itself in the other file
// aside. Without a clock nobody can tell whether it is of the future, but until then its file counts as the newer one.
std::string FarAheadWarning(const CrlFile &first, const CrlFile &second)
{
    const std::vector<Entry> entries = NewestFirst(first, second);
    const auto next = std::find_if(entries.begin(), entries.end(), [&entries](const Entry &entry) {
        const SigkitCrlInfo &newest = *entries.front().info;
        return entry.info->thisUpdate != newest.thisUpdate || strcmp(entry.info->issuerName, newest.issuerName) != 0;
    });
    if (next == entries.end() || entries.front().info->thisUpdate - next->info->thisUpdate <= DAY) {
        return "";
    }
    const Entry &newest = entries.front();
    return "the CRL of " + std::string(newest.info->issuerName) + " in " + newest.file->path + " is of " +
           TimeText(newest.info->thisUpdate) + ", more than a day after every other one: is that date right?";
}

} // namespace

Comparison CompareFiles(const CrlFile &first, const CrlFile &second)
{
    Comparison comparison = {first, second, FileObstacle(first), SIGKIT_CRL_CONFLICT, FarAheadWarning(first, second)};
    if (comparison.obstacle.empty()) {
        comparison.obstacle = FileObstacle(second);
    }
    uint32_t result = SIGKIT_CRL_CONFLICT;
    if (comparison.obstacle.empty()) {
        const uint32_t status = SigkitCrlCompare(first.ctx, first.bundle, second.bundle, &result);
        comparison.obstacle = LibraryObstacle(status, result);
    }
    // Space matters of the file that the answer recommends alone: a device that holds a file without space is helped by
    // one that has it.
    if (comparison.obstacle.empty() && result != SIGKIT_CRL_SECOND_NEWER) {
        comparison.obstacle = SpaceObstacle(first);
    }
    if (comparison.obstacle.empty() && result != SIGKIT_CRL_FIRST_NEWER) {
        comparison.obstacle = SpaceObstacle(second);
    }
    comparison.result = comparison.obstacle.empty() ? result : SIGKIT_CRL_CONFLICT;
    return comparison;
}
