// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Attempts what every user may do and a hardened unit forbids, and prints of each whether it was allowed; then what
// this process is to the kernel.
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <fcntl.h>
#include <sched.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/personality.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/timex.h>
#include <sys/wait.h>
#include <unistd.h>

// The system has this address beside that of its loopback.
#define ELSEWHERE "192.0.2.1"
#define DISCARD 9 // port

static bool Opens(const char *path, int flags)
{
    return open(path, flags | O_CLOEXEC, 0600) >= 0;
}

// Where everybody may write.
static bool WritesElsewhere(void)
{
    const char *const path = "/srv/everybody/probe";
    return Opens(path, O_WRONLY | O_CREAT) && unlink(path) == 0;
}

static bool SeesTemporaryFiles(void)
{
    return Opens("/tmp/marker", O_RDONLY);
}

static bool SeesHomes(void)
{
    return Opens("/home/marker", O_RDONLY);
}

static bool SeesDevices(void)
{
    return Opens("/dev/marker", O_RDONLY);
}

static bool SeesProcesses(void)
{
    return Opens("/proc/1/status", O_RDONLY);
}

static bool SeesKernel(void)
{
    return Opens("/proc/meminfo", O_RDONLY);
}

static bool MakesNamespaces(void)
{
    return unshare(CLONE_NEWUSER) == 0;
}

static bool ChangesPersonality(void)
{
    return personality(ADDR_NO_RANDOMIZE) >= 0;
}

static bool SetsUserId(void)
{
    char path[] = "/tmp/probe.XXXXXX";
    const int file = mkstemp(path);
    const bool done = file >= 0 && fchmod(file, S_ISUID | S_IRWXU) == 0;
    (void)unlink(path);
    return done;
}

static bool WritesAndExecutes(void)
{
    return mmap(NULL, 1, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED;
}

static bool Traces(void)
{
    return ptrace(PTRACE_TRACEME, 0, NULL, NULL) == 0;
}

static bool AsksRoutes(void)
{
    return socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, 0) >= 0;
}

static bool SendsTo(const char *host)
{
    struct sockaddr_in to = {.sin_family = AF_INET, .sin_port = htons(DISCARD)};
    const int line = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    return line >= 0 && inet_pton(AF_INET, host, &to.sin_addr) == 1 &&
           sendto(line, "", 1, 0, (const struct sockaddr *)&to, sizeof to) == 1;
}

static bool SendsElsewhere(void)
{
    return SendsTo(ELSEWHERE);
}

static bool SendsHere(void)
{
    return SendsTo("127.0.0.1");
}

static bool SetsPriority(void)
{
    return setpriority(PRIO_PROCESS, 0, 1) == 0;
}

static bool ReadsKernelClock(void)
{
    struct timex state = {.modes = 0};
    return ntp_adjtime(&state) >= 0;
}

static const struct Attempt {
    const char *name;
    bool (*make)(void);
} g_attempts[] = {
    {"write-elsewhere", WritesElsewhere},
    {"see-temporary-files", SeesTemporaryFiles},
    {"see-homes", SeesHomes},
    {"see-devices", SeesDevices},
    {"see-processes", SeesProcesses},
    {"see-kernel", SeesKernel},
    {"make-namespaces", MakesNamespaces},
    {"change-personality", ChangesPersonality},
    {"set-user-id", SetsUserId},
    {"write-and-execute", WritesAndExecutes},
    {"trace", Traces},
    {"ask-routes", AsksRoutes},
    {"send-elsewhere", SendsElsewhere},
    {"send-here", SendsHere},
    {"set-priority", SetsPriority},
    {"read-kernel-clock", ReadsKernelClock},
};

// In a process of its own, which it may change.
static bool IsAllowed(const struct Attempt *attempt)
{
    int state = 0;
    const pid_t child = fork();
    if (child == 0) {
        _exit(attempt->make() ? 0 : 1);
    }
    if (child < 0 || waitpid(child, &state, 0) != child || !WIFEXITED(state)) {
        (void)fprintf(stderr, "probe: %s has no result\n", attempt->name);
        exit(1);
    }
    return WEXITSTATUS(state) == 0;
}

static void PrintStatus(void)
{
    char line[4096];
    FILE *const status = fopen("/proc/self/status", "re");
    while (status != NULL && fgets(line, sizeof line, status) != NULL) {
        (void)fputs(line, stdout);
    }
}

static void PrintNamespace(const char *kind)
{
    char path[64];
    char name[64] = "";
    (void)snprintf(path, sizeof path, "/proc/self/ns/%s", kind);
    (void)!readlink(path, name, sizeof name - 1);
    (void)printf("namespace %s\n", name);
}

int main(void)
{
    for (size_t i = 0; i < sizeof g_attempts / sizeof g_attempts[0]; ++i) {
        (void)printf("attempt %s %s\n", g_attempts[i].name, IsAllowed(&g_attempts[i]) ? "allowed" : "refused");
        (void)fflush(stdout);
    }
    PrintStatus();
    PrintNamespace("mnt");
    PrintNamespace("user");
    PrintNamespace("ipc");
    PrintNamespace("net");
    return 0;
}
