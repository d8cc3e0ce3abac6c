// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Takes an upgrade package from where others can write, and hands it over when it is authentic.
//
//   update -s STATE -r ROOT [-c CRLS] PACKAGE COMMAND [ARGUMENT...]
//
//   STATE    directory that nobody else can write; it holds
//              crls.der   the newest CRL file so far
//              version    "version N", of the newest package that was handed over
//              verified   the files of that package
//              incoming   what is not verified
//            The first two are put there when the device is made: a device that has lost them takes nothing.
//   ROOT     the root certificate, for crl_compare; absolute
//   CRLS     a CRL file that came with the package
//   PACKAGE  directory with the files of the package, checksums and checksums.cms
//   COMMAND  what installs it; absolute. It takes this program's place, in the directory `verified`, and is run again
//            for the same package when it was interrupted.
//
// Exit status: 1 the package is refused or something failed, 2 wrong usage; else that of COMMAND.
#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <spawn.h>
#include <stdio.h>
#include <string.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include "checksums.h"
#include "files.h"

#ifndef VERIFY_TOOL
#define VERIFY_TOOL "/usr/bin/verify_tool"
#endif
#ifndef CRL_COMPARE
#define CRL_COMPARE "/usr/bin/crl_compare"
#endif
#ifndef PACKAGE_OCTETS_MAX
#define PACKAGE_OCTETS_MAX UINT64_C(4294967296) // of all files together
#endif
#define SMALL_OCTETS_MAX 2000000 // of checksum file, signature and CRL file each

#define CRLS "crls.der"
#define VERSION "version"
#define VERIFIED "verified"
#define INCOMING "incoming"
#define CHECKSUMS "checksums"
#define SIGNATURE "checksums.cms"
#define FILES "files"

enum { FIRST_STAYS = 0, SECOND_IS_NEWER = 1, INCOMPARABLE = 2 }; // exit statuses of crl_compare

struct Update {
    const char *root;
    const char *crls; // or null
    int state;
    int package;
    int incoming;
    int files; // in incoming
    struct Checksums checksums;
};

// Starts one of the two programs, with nothing of the environment. Standard output stays COMMAND's own.
static bool Start(const char *const *command, pid_t *childOut)
{
    char *const environment[] = {NULL};
    posix_spawn_file_actions_t actions;
    int failure = posix_spawn_file_actions_init(&actions);
    if (failure != 0) {
        return Refuse("%s: %s", command[0], strerror(failure));
    }
    failure = posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO);
    if (failure == 0) {
        failure = posix_spawn(childOut, command[0], &actions, NULL, (char *const *)(uintptr_t)command, environment);
    }
    (void)posix_spawn_file_actions_destroy(&actions);
    return failure == 0 || Refuse("%s: %s", command[0], strerror(failure));
}

// Runs one of the two programs in a directory. Returns its exit status; -1 when it has none. This program stays in the
// directory: no relative path of its command line is used any more.
static int Run(int directory, const char *const *command)
{
    pid_t child = -1;
    int state = 0;
    if (fchdir(directory) != 0 || !Start(command, &child)) {
        return -1;
    }
    while (waitpid(child, &state, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return WIFEXITED(state) ? WEXITSTATUS(state) : -1;
}

// The lock is on the directory itself, so none is left behind, and stays with COMMAND: no other run takes the files
// away that it installs.
static bool Begin(struct Update *update)
{
    if (flock(update->state, LOCK_EX | LOCK_NB) != 0) {
        return Refuse("another update is under way");
    }
    if (!RemoveDirectory(update->state, INCOMING)) {
        return false;
    }
    if (mkdirat(update->state, INCOMING, 0700) != 0 ||
        (update->incoming = OpenDirectory(update->state, INCOMING)) < 0 ||
        mkdirat(update->incoming, FILES, 0700) != 0 || (update->files = OpenDirectory(update->incoming, FILES)) < 0) {
        return Refuse("%s: %s", INCOMING, strerror(errno));
    }
    return true;
}

// A CRL file proves itself, whatever package it came with. What cannot be compared is as good as none.
static bool KeepNewestCrls(const struct Update *update)
{
    uint64_t space = SMALL_OCTETS_MAX;
    if (update->crls == NULL) {
        return true;
    }
    if (!CopyFile(AT_FDCWD, update->crls, update->incoming, CRLS, &space, NULL)) {
        return false;
    }
    const char *const compare[] = {CRL_COMPARE, "--root", update->root, "../" CRLS, CRLS, NULL};
    switch (Run(update->incoming, compare)) {
    case SECOND_IS_NEWER:
        return Publish(update->incoming, CRLS, update->state, CRLS);
    case FIRST_STAYS:
    case INCOMPARABLE:
        return true;
    default:
        return Refuse("the CRL files cannot be read");
    }
}

// What is judged is the copy, and nothing but the copy is used afterwards. A message without a signer is authentic over
// nothing, so an empty checksum file is refused first.
static bool VerifyChecksums(struct Update *update)
{
    uint64_t space = SMALL_OCTETS_MAX;
    if (!CopyFile(update->package, CHECKSUMS, update->incoming, CHECKSUMS, &space, NULL)) {
        return false;
    }
    if (space == SMALL_OCTETS_MAX) {
        return Refuse("the checksum file is empty");
    }
    space = SMALL_OCTETS_MAX;
    if (!CopyFile(update->package, SIGNATURE, update->incoming, SIGNATURE, &space, NULL)) {
        return false;
    }
    // Short names: verify_tool cuts a path to 127 characters.
    const char *const verify[] = {VERIFY_TOOL, "-f", "CHECK_PKG_INTEGRITY", "-h", SIGNATURE, "-e", CHECKSUMS, "-c",
                                  "../" CRLS,  NULL};
    return Run(update->incoming, verify) == 0 || Refuse("the package is not authentic");
}

static bool CheckVersion(const struct Update *update)
{
    uint64_t installed = 0;
    if (!ReadVersion(update->state, VERSION, &installed)) {
        return false;
    }
    return update->checksums.version >= installed ||
           Refuse("version %" PRIu64 " is older than %" PRIu64, update->checksums.version, installed);
}

static bool CheckListed(const struct Entry *entry, void *context)
{
    const struct Update *const update = context;
    if (S_ISDIR(entry->status->st_mode)) {
        return true; // what is in it counts
    }
    if (!S_ISREG(entry->status->st_mode) || entry->status->st_nlink > 1) {
        return Refuse("%s is no regular file, or has other names", entry->path);
    }
    return strcmp(entry->path, CHECKSUMS) == 0 || strcmp(entry->path, SIGNATURE) == 0 ||
           FindListed(&update->checksums, entry->path) != NULL || Refuse("%s is not listed", entry->path);
}

static bool IsDigest(const unsigned char *digest, const char *digits)
{
    char text[DIGEST_DIGITS + 1];
    for (size_t i = 0; i < DIGEST_OCTETS; ++i) {
        (void)snprintf(text + 2 * i, 3, "%02x", (unsigned)digest[i]);
    }
    return memcmp(text, digits, DIGEST_DIGITS) == 0;
}

// Copies a file that lies `from` a directory on, with the directories on its way, below `to`.
static bool CopyListed(int from, int to, const char *name, const char *digits, uint64_t *space)
{
    char part[PATH_OCTETS];
    unsigned char digest[DIGEST_OCTETS];
    const size_t length = strcspn(name, "/");
    if (name[length] == '\0') {
        return CopyFile(from, name, to, name, space, digest) &&
               (IsDigest(digest, digits) || Refuse("%s is not as it was signed", name));
    }
    memcpy(part, name, length); // names were checked to fit
    part[length] = '\0';
    const int fromBelow = OpenDirectory(from, part);
    const int toBelow = mkdirat(to, part, 0700) == 0 || errno == EEXIST ? OpenDirectory(to, part) : -1;
    const bool done = fromBelow >= 0 && toBelow >= 0 ? CopyListed(fromBelow, toBelow, name + length + 1, digits, space)
                                                     : Refuse("%s: %s", part, strerror(errno));
    if (fromBelow >= 0) {
        (void)close(fromBelow);
    }
    if (toBelow >= 0) {
        (void)close(toBelow);
    }
    return done;
}

static bool CopyFiles(const struct Update *update)
{
    uint64_t space = PACKAGE_OCTETS_MAX;
    for (size_t i = 0; i < update->checksums.count; ++i) {
        const struct Listed *const file = &update->checksums.files[i];
        if (!CopyListed(update->package, update->files, file->name, file->digest, &space)) {
            return false;
        }
    }
    return SyncDirectories(update->files);
}

// The version goes up before anything can be installed: whatever is interrupted from here on, no older package is taken
// any more, and this one is.
static bool PublishFiles(const struct Update *update)
{
    char text[64];
    (void)snprintf(text, sizeof text, "version %" PRIu64 "\n", update->checksums.version);
    if (!WriteText(update->incoming, VERSION, text) || !Publish(update->incoming, VERSION, update->state, VERSION)) {
        return false;
    }
    if (renameat(update->state, VERIFIED, update->incoming, "old") != 0 && errno != ENOENT) {
        return Refuse("%s: %s", VERIFIED, strerror(errno));
    }
    return Publish(update->incoming, FILES, update->state, VERIFIED) && RemoveDirectory(update->state, INCOMING);
}

static bool Accept(struct Update *update)
{
    const bool done = Begin(update) && KeepNewestCrls(update) && VerifyChecksums(update) &&
                      ReadChecksums(update->incoming, CHECKSUMS, &update->checksums) && CheckVersion(update) &&
                      Walk(update->package, CheckListed, update) && CopyFiles(update) && PublishFiles(update);
    FreeChecksums(&update->checksums);
    if (!done && update->incoming >= 0) {
        (void)RemoveDirectory(update->state, INCOMING);
    }
    return done;
}

// Only returns when the command cannot be run. It inherits one descriptor, which holds the lock.
static int HandOver(const struct Update *update, char **command)
{
    if (fchdir(update->files) != 0 || fcntl(update->state, F_SETFD, 0) != 0 || execv(command[0], command) != 0) {
        (void)Refuse("%s: %s", command[0], strerror(errno));
    }
    return 1;
}

int main(int argc, char **argv)
{
    struct Update update = {NULL, NULL, -1, -1, -1, -1, {NULL, 0, NULL, 0}};
    const char *state = NULL;
    for (int option = 0; (option = getopt(argc, argv, "+s:r:c:")) != -1;) {
        switch (option) {
        case 's':
            state = optarg;
            break;
        case 'r':
            update.root = optarg;
            break;
        case 'c':
            update.crls = optarg;
            break;
        default:
            return 2;
        }
    }
    if (state == NULL || update.root == NULL || update.root[0] != '/' || argc - optind < 2 ||
        argv[optind + 1][0] != '/') {
        (void)Refuse("wants -s STATE -r ROOT [-c CRLS] PACKAGE COMMAND [ARGUMENT...]; ROOT and COMMAND absolute");
        return 2;
    }
    (void)umask(077);
    update.state = OpenOwnDirectory(state);
    update.package = update.state < 0 ? -1 : OpenDirectory(AT_FDCWD, argv[optind]);
    if (update.package < 0) {
        (void)(update.state < 0 || Refuse("%s: %s", argv[optind], strerror(errno)));
        return 1;
    }
    return Accept(&update) ? HandOver(&update, argv + optind + 1) : 1;
}
