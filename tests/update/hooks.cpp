// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Stands before the system calls of the update program and acts at one of them, as its environment says:
//
//   HOOK_STEP      the number of the call, from 1
//   HOOK_CHANGES   set: only calls count that change files, or hand over
//   HOOK_ACT       fail          the call fails
//                  run COMMAND   the shell runs a command first
//                  cut KIND      the power goes off instead: what a disk may hold then is put into HOOK_IMAGE
//   HOOK_STATE     the directory on that disk
//   HOOK_STRUCK    a file that is made when it acts
//
// In every case a file or directory may only get another name when all of it, and the name that it has, is on the disk.
//
// What the disk holds: a file's content or a directory's names as of its last fsync, whatever was done since. Kinds:
//   synced         nothing else
//   names          all names, but contents as of the last fsync: empty for a file that had none
//   all            whatever was done
//   mixed SEED     each name and each content one or the other, or a part of it
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <spawn.h>
#include <stdarg.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

extern "C" {
int __real_openat64(int, const char *, int, ...);
ssize_t __real_read(int, void *, size_t);
ssize_t __real_write(int, const void *, size_t);
int __real_fsync(int);
int __real_mkdirat(int, const char *, mode_t);
int __real_renameat(int, const char *, int, const char *);
int __real_unlinkat(int, const char *, int);
int __real_fstat64(int, struct stat *);
int __real_fstatat64(int, const char *, struct stat *, int);
struct dirent *__real_readdir64(DIR *);
int __real_fchdir(int);
int __real_flock(int, int);
int __real_posix_spawn(pid_t *, const char *, const posix_spawn_file_actions_t *, const posix_spawnattr_t *,
                       char *const[], char *const[]);
int __real_execv(const char *, char *const[]);
}

namespace
{

namespace fs = std::filesystem;

constexpr int POWER_CUT = 77; // exit statuses
constexpr int NOT_ON_DISK = 78;

// A file or directory, as of its last fsync.
struct Node {
    bool isDirectory = false;
    std::string content;
    std::map<std::string, size_t> names; // and the nodes that they are of
};

std::vector<Node> g_nodes;
std::map<ino_t, size_t> g_nodeOf; // of files that are there: a number is given again when its file is gone

std::string Setting(const char *name)
{
    const char *const value = getenv(name);
    return value == nullptr ? "" : value;
}

std::string ReadAll(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

ino_t NumberOf(const fs::path &path)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

// What was there at the beginning is on the disk.
size_t AddAll(const fs::path &path)
{
    const size_t number = g_nodes.size();
    g_nodes.emplace_back();
    g_nodeOf[NumberOf(path)] = number;
    g_nodes[number].isDirectory = fs::is_directory(path);
    if (!g_nodes[number].isDirectory) {
        g_nodes[number].content = ReadAll(path);
        return number;
    }
    for (const fs::directory_entry &entry : fs::directory_iterator(path)) {
        const size_t below = AddAll(entry.path());
        g_nodes[number].names[entry.path().filename()] = below;
    }
    return number;
}

// A new file or directory is on the disk when it and its directory were brought there.
void NoteNew(const fs::path &path, bool isDirectory)
{
    if (NumberOf(path.parent_path()) != 0 && g_nodeOf.count(NumberOf(path.parent_path())) != 0) {
        g_nodeOf[NumberOf(path)] = g_nodes.size();
        g_nodes.push_back({isDirectory, "", {}});
    }
}

std::map<std::string, size_t> NamesIn(const fs::path &directory)
{
    std::map<std::string, size_t> names;
    for (const fs::directory_entry &entry : fs::directory_iterator(directory)) {
        names[entry.path().filename()] = g_nodeOf.at(NumberOf(entry.path()));
    }
    return names;
}

void NoteSync(int file)
{
    const fs::path path = fs::read_symlink("/proc/self/fd/" + std::to_string(file));
    const auto node = g_nodeOf.find(NumberOf(path));
    if (node == g_nodeOf.end()) {
        return;
    }
    if (g_nodes[node->second].isDirectory) {
        g_nodes[node->second].names = NamesIn(path);
    } else {
        g_nodes[node->second].content = ReadAll(path);
    }
}

// Puts what the disk may hold into a directory.
struct Disk {
    std::string kind;
    std::mt19937 random;
    std::map<size_t, fs::path> places; // where the nodes are that are there

    bool Coin()
    {
        return (random() & 1) != 0;
    }

    std::map<std::string, size_t> Names(size_t node)
    {
        const std::map<std::string, size_t> &kept = g_nodes[node].names;
        const auto place = places.find(node);
        const std::map<std::string, size_t> now = place == places.end() ? kept : NamesIn(place->second);
        if (kind != "mixed") {
            return kind == "synced" ? kept : now;
        }
        std::map<std::string, size_t> names;
        std::set<std::string> all;
        for (const auto *from : {&kept, &now}) {
            for (const auto &[name, below] : *from) {
                all.insert(name);
            }
        }
        for (const std::string &name : all) {
            const std::map<std::string, size_t> &from = Coin() ? kept : now;
            if (from.count(name) != 0) {
                names[name] = from.at(name);
            }
        }
        return names;
    }

    std::string Content(size_t node)
    {
        const auto place = places.find(node);
        const std::string &kept = g_nodes[node].content;
        if (kind == "synced" || kind == "names" || place == places.end() || (kind == "mixed" && Coin())) {
            return kept;
        }
        const std::string now = ReadAll(place->second);
        return kind == "mixed" && now != kept && Coin() ? now.substr(0, now.size() / 2) : now;
    }

    void Put(size_t node, const fs::path &to)
    {
        if (!g_nodes[node].isDirectory) {
            std::ofstream(to, std::ios::binary) << Content(node);
            return;
        }
        fs::create_directory(to);
        fs::permissions(to, fs::perms::owner_all);
        for (const auto &[name, below] : Names(node)) {
            Put(below, to / name);
        }
    }
};

void CutPower(const std::string &kind)
{
    Disk disk;
    disk.kind = kind.substr(0, kind.find(' '));
    if (disk.kind == "mixed") {
        disk.random.seed(static_cast<unsigned>(std::stoul(kind.substr(6))));
    }
    const fs::path state = Setting("HOOK_STATE");
    disk.places[0] = state;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(state)) {
        disk.places[g_nodeOf.at(NumberOf(entry.path()))] = entry.path();
    }
    disk.Put(0, Setting("HOOK_IMAGE"));
    _exit(POWER_CUT);
}

// Counts a call. True when it has to fail.
bool Step(bool isChange)
{
    static const unsigned long at = strtoul(Setting("HOOK_STEP").c_str(), nullptr, 10);
    static unsigned long calls = 0;
    if (at == 0 || (!isChange && !Setting("HOOK_CHANGES").empty())) {
        return false;
    }
    if (g_nodes.empty()) {
        (void)AddAll(Setting("HOOK_STATE"));
    }
    if (++calls != at) {
        return false;
    }
    const std::string act = Setting("HOOK_ACT");
    std::ofstream(Setting("HOOK_STRUCK")) << act;
    if (act.rfind("cut ", 0) == 0) {
        CutPower(act.substr(4));
    }
    if (act.rfind("run ", 0) == 0 && system(act.c_str() + 4) != 0) {
        _exit(POWER_CUT);
    }
    errno = EIO;
    return act == "fail";
}

bool IsOnDisk(const fs::path &path)
{
    const Node &node = g_nodes[g_nodeOf.at(NumberOf(path))];
    if (!node.isDirectory) {
        return node.content == ReadAll(path);
    }
    for (const fs::directory_entry &entry : fs::directory_iterator(path)) {
        if (!IsOnDisk(entry.path())) {
            return false;
        }
    }
    return node.names == NamesIn(path);
}

void ExpectNamedOnDisk(const fs::path &path)
{
    if (g_nodes.empty() || NumberOf(path) == 0) {
        return;
    }
    const std::map<std::string, size_t> &names = g_nodes[g_nodeOf.at(NumberOf(path.parent_path()))].names;
    const auto name = names.find(path.filename());
    if (name == names.end() || name->second != g_nodeOf.at(NumberOf(path)) || !IsOnDisk(path)) {
        (void)fprintf(stderr, "%s is not on the disk\n", path.c_str());
        _exit(NOT_ON_DISK);
    }
}

std::string PathOf(int directory, const char *name)
{
    return directory == AT_FDCWD ? name
                                 : fs::read_symlink("/proc/self/fd/" + std::to_string(directory)).string() + "/" + name;
}

} // namespace

extern "C" {

int __wrap_openat64(int directory, const char *name, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const bool makes = (flags & O_CREAT) != 0;
    const mode_t mode = makes ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (Step(makes)) {
        return -1;
    }
    const int file = __real_openat64(directory, name, flags, mode);
    if (makes && file >= 0) {
        NoteNew(PathOf(directory, name), false);
    }
    return file;
}

ssize_t __wrap_read(int file, void *data, size_t length)
{
    return Step(false) ? -1 : __real_read(file, data, length);
}

ssize_t __wrap_write(int file, const void *data, size_t length)
{
    return Step(true) ? -1 : __real_write(file, data, length);
}

int __wrap_fsync(int file)
{
    if (Step(true)) {
        return -1;
    }
    NoteSync(file);
    return __real_fsync(file);
}

int __wrap_mkdirat(int directory, const char *name, mode_t mode)
{
    const int made = Step(true) ? -1 : __real_mkdirat(directory, name, mode);
    if (made == 0) {
        NoteNew(PathOf(directory, name), true);
    }
    return made;
}

int __wrap_renameat(int from, const char *name, int to, const char *other)
{
    if (Step(true)) {
        return -1;
    }
    ExpectNamedOnDisk(PathOf(from, name));
    return __real_renameat(from, name, to, other);
}

int __wrap_unlinkat(int directory, const char *name, int flags)
{
    return Step(true) ? -1 : __real_unlinkat(directory, name, flags);
}

int __wrap_fstat64(int file, struct stat *status)
{
    return Step(false) ? -1 : __real_fstat64(file, status);
}

int __wrap_fstatat64(int directory, const char *name, struct stat *status, int flags)
{
    return Step(false) ? -1 : __real_fstatat64(directory, name, status, flags);
}

struct dirent *__wrap_readdir64(DIR *directory)
{
    return Step(false) ? nullptr : __real_readdir64(directory);
}

int __wrap_fchdir(int directory)
{
    return Step(false) ? -1 : __real_fchdir(directory);
}

int __wrap_flock(int file, int operation)
{
    return Step(false) ? -1 : __real_flock(file, operation);
}

int __wrap_posix_spawn(pid_t *child, const char *path, const posix_spawn_file_actions_t *actions,
                       const posix_spawnattr_t *attributes, char *const argv[], char *const environment[])
{
    return Step(false) ? EIO : __real_posix_spawn(child, path, actions, attributes, argv, environment);
}

int __wrap_execv(const char *path, char *const argv[])
{
    return Step(true) ? -1 : __real_execv(path, argv);
}
}
