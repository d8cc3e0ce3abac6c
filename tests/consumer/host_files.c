// Files that are areas of memory.
#include <string.h>

#include <sigkit/sigkit_host.h>

#include "host.h"

#define MAX_FILES 4

typedef struct File {
    const char *name;
    const uint8_t *data;
    size_t size;
} File;

typedef struct OpenFile {
    const File *file; // null: this place is free
    size_t position;
} OpenFile;

static File g_files[MAX_FILES];
static size_t g_fileCount;
static OpenFile g_open[MAX_FILES];

bool HostAddFile(const char *name, const uint8_t *data, size_t size)
{
    if (g_fileCount == MAX_FILES) {
        return false;
    }
    g_files[g_fileCount].name = name;
    g_files[g_fileCount].data = data;
    g_files[g_fileCount].size = size;
    ++g_fileCount;
    return true;
}

static const File *FindFile(const char *name)
{
    for (size_t i = 0; i < g_fileCount; ++i) {
        if (strcmp(g_files[i].name, name) == 0) {
            return &g_files[i];
        }
    }
    return NULL;
}

void *SigkitFileOpen(const char *path, const char *mode)
{
    const File *file = FindFile(path);
    for (size_t i = 0; file != NULL && strcmp(mode, "rb") == 0 && i < MAX_FILES; ++i) {
        if (g_open[i].file == NULL) {
            g_open[i].file = file;
            g_open[i].position = 0;
            ++HostCount()->opened;
            ++HostCount()->stillOpen;
            return &g_open[i];
        }
    }
    return NULL;
}

size_t SigkitFileRead(void *buffer, size_t size, void *file)
{
    OpenFile *const open = (OpenFile *)file;
    const size_t left = open->file->size - open->position;
    const size_t count = size < left ? size : left;
    if (count > 0) {
        (void)memcpy(buffer, open->file->data + open->position, count);
        open->position += count;
    }
    return count;
}

int SigkitFileClose(void *file)
{
    if (file == NULL) {
        return -1;
    }
    ((OpenFile *)file)->file = NULL;
    --HostCount()->stillOpen;
    return 0;
}

size_t SigkitFileGetSize(void *file)
{
    return file == NULL ? 0 : ((OpenFile *)file)->file->size;
}
